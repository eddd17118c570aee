// The built program on a real X server with a window manager, driven by mouse and keys as a user
// would, with another program's window around.
#include "base/geometry.h"
#include "desktop/x11_client.h"
#include "platform/file.h"
#include "support/child_process.h"
#include "support/eventually.h"
#include "support/xvfb.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <sched.h>
#include <sys/inotify.h>

using namespace vt;
using namespace vt::test;
using nlohmann::json;

namespace {

constexpr int kSlow = kPatienceMs;
constexpr const char* kRelative = "VT Relative";
constexpr const char* kStandings = "VT Standings";
constexpr const char* kPanel = "VT Overlays";

// In the panel's client area at 96 dpi.
constexpr int kOverlays = 10; // rows of the program's window
constexpr int kButtons = 86 + kOverlays * 34 + 27;
constexpr PointI kRelativeRow{190, 101}, kDemoButton{100, kButtons}, kArrangeButton{280, kButtons};

struct Shown {
    bool visible = false;
    RectI rect;
};

template <typename Condition>
bool until(Condition condition, int milliseconds = kSlow) {
    return eventually(condition, 20, milliseconds);
}

Shown shown(const std::string& title) {
    Shown out;
    int x = 0, y = 0, width = 0, height = 0;
    const std::string text = shellOutput("xwininfo -name '" + title + "'");
    const auto number = [&](const char* label, int& value) {
        const size_t at = text.find(label);
        if (at != std::string::npos) value = std::atoi(text.c_str() + at + std::strlen(label));
    };
    number("Absolute upper-left X:", x);
    number("Absolute upper-left Y:", y);
    number("Width:", width);
    number("Height:", height);
    out.rect = {x, y, x + width, y + height};
    out.visible = text.find("IsViewable") != std::string::npos;
    return out;
}

bool visible(const std::string& title) {
    return shown(title).visible;
}

RectI place(const std::string& title) {
    return shown(title).rect;
}

/// The pointer's and keyboard's way in: the words of one xdotool command.
void input(const std::string& words) {
    shellOutput("xdotool " + words);
}

std::string at(PointI p) {
    return " mousemove " + std::to_string(p.x) + " " + std::to_string(p.y) + " ";
}

PointI inside(const std::string& title, PointI client) {
    const RectI r = place(title);
    return {r.left + client.x, r.top + client.y};
}

std::string focused() {
    return shellOutput("xdotool getwindowfocus getwindowname");
}

/// How many lines of the stack, the top first, stand before this window's.
size_t depthOf(const std::string& mark) {
    const std::string tree = shellOutput("xwininfo -root -tree");
    const size_t found = tree.find(mark);
    if (found == std::string::npos) return 0;
    return static_cast<size_t>(
        std::count(tree.begin(), tree.begin() + static_cast<long>(found), '\n'));
}

class X11Program : public testing::Test {
protected:
    void SetUp() override {
        // A program of the same name may run on this machine. What tells a second start of the
        // first one lives in the network's namespace; without the right to a new one this does
        // nothing.
        static const int apart = unshare(CLONE_NEWNET);
        (void)apart;
        std::string lacks = Xvfb::missing({"openbox", "xdotool", "xwininfo", "xprop"});
        if (lacks.empty() && !screen.start("1600x1000x24")) lacks = "Xvfb (it does not start)";
        if (lacks.empty() && !screen.startWindowManager()) lacks = "a running openbox";
        if (!lacks.empty()) GTEST_SKIP() << "needs " << lacks;
        char name[] = "/tmp/vt_x11_XXXXXX";
        folder = mkdtemp(name);
        std::filesystem::create_directories(settingsFolder());
    }
    void TearDown() override {
        program.reset();
        screen.stop();
        if (!folder.empty()) std::filesystem::remove_all(folder);
    }

    std::string settingsFolder() const { return folder + "/Vantorel/overlays"; }

    /// Relative at 100,700 and Standings at 300,100, both on and locked, with these changes.
    void seed(const json& changes = json::object()) {
        json settings = {
            {"relative", {{"enabled", true}, {"x", 100}, {"y", 700}, {"locked", true}}},
            {"standings", {{"enabled", true}, {"x", 300}, {"y", 100}, {"locked", true}}}};
        settings.merge_patch(changes);
        ASSERT_TRUE(writeFileAtomic(settingsFolder() + "/overlays.json", settings.dump()));
    }

    /// What is stored of an overlay, null when nothing is.
    json stored(const char* overlay) const {
        std::string text;
        readFile(settingsFolder() + "/overlays.json", text);
        const json all = json::parse(text, nullptr, false);
        return all.is_object() && all.contains(overlay) ? all[overlay] : json();
    }

    std::unique_ptr<ChildProcess> launch(std::vector<std::string> words) const {
        words.insert(words.begin(), VT_PROGRAM);
        return std::make_unique<ChildProcess>(std::move(words),
                                              std::vector<std::string>{"APPDATA=" + folder});
    }

    /// The demo race with both overlays up, at the length that its cars give them.
    void start() {
        program = launch({"--platform", "x11", "--demo"});
        ASSERT_TRUE(until([] {
            return visible(kRelative) && visible(kPanel) && visible(kStandings) &&
                   place(kStandings).height() > 300;
        })) << program->output();
    }

    void end() {
        program->signal(SIGTERM);
        EXPECT_EQ(program->waitForExit(kSlow), 0) << program->output();
    }

    void arrange(bool on) {
        input("key alt+F6");
        EXPECT_TRUE(until([&] {
            return stored("standings").value("locked", on) != on &&
                   stored("relative").value("locked", on) != on;
        }));
    }

    /// Drags Standings to that corner and waits there until it is at `wanted`, then lets go.
    void dragStandings(PointI corner, PointI wanted, const char* heldKey = nullptr) {
        const RectI from = place(kStandings);
        const PointI grab{from.left + 200, from.top + 200};
        if (heldKey) input(std::string("keydown ") + heldKey);
        input(at(grab) + "mousedown 1" + at({corner.x + 200, corner.y + 200}));
        EXPECT_TRUE(until([&] {
            const RectI now = place(kStandings);
            return now.left == wanted.x && now.top == wanted.y;
        })) << "stands at "
            << place(kStandings).left << "," << place(kStandings).top << " in place of " << wanted.x
            << "," << wanted.y;
        input("mouseup 1");
        if (heldKey) input(std::string("keyup ") + heldKey);
        EXPECT_TRUE(until([&] {
            return stored("standings").value("x", -1) == wanted.x &&
                   stored("standings").value("y", -1) == wanted.y;
        }));
    }

    Xvfb screen;
    std::string folder;
    std::unique_ptr<ChildProcess> program;
};

/// How often the settings file was put in place since the last question.
class SaveCount {
public:
    explicit SaveCount(const std::string& folder) : fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        // Both ends of each rename: equal events in a row would count as one.
        inotify_add_watch(fd_, folder.c_str(), IN_MOVED_FROM | IN_MOVED_TO);
    }
    ~SaveCount() { close(fd_); }
    SaveCount(const SaveCount&) = delete;
    SaveCount& operator=(const SaveCount&) = delete;
    int take() {
        alignas(inotify_event) char block[8192];
        int count = 0;
        for (ssize_t n = 0; (n = read(fd_, block, sizeof block)) > 0;)
            for (ssize_t i = 0; i < n;) {
                const auto* event = reinterpret_cast<const inotify_event*>(block + i);
                count += std::string(event->name) == "overlays.json";
                i += static_cast<ssize_t>(sizeof *event + event->len);
            }
        return count;
    }

private:
    int fd_;
};

} // namespace

TEST_F(X11Program, OverlaysStayAboveAGameAndLeaveItTheFocus) {
    seed();
    start();
    ForeignWindow game({50, 50, 1250, 950}, 0x404040, false);
    ASSERT_TRUE(until([] { return depthOf("VT Standings") > 0; }));
    const std::string id = std::to_string(game.id());
    char hex[32];
    std::snprintf(hex, sizeof hex, "0x%x ", game.id());
    const auto above = [&] {
        const size_t depth = depthOf(hex);
        return depthOf(kStandings) < depth && depthOf(kRelative) < depth;
    };
    const auto hasFocus = [&] { return shellOutput("xdotool getwindowfocus") == id; };
    input("windowactivate " + id);
    EXPECT_TRUE(until(hasFocus));
    EXPECT_TRUE(until(above));
    // Gone and back again, which maps the windows anew.
    input("key alt+F7");
    EXPECT_TRUE(until([] { return !visible(kRelative) && !visible(kStandings); }));
    input("key alt+F7");
    EXPECT_TRUE(until([] { return visible(kRelative) && visible(kStandings); }));
    EXPECT_TRUE(hasFocus()) << focused();
    game.fillScreen();
    EXPECT_TRUE(until([&] {
        return shellOutput("xprop -id " + id + " _NET_WM_STATE").find("FULLSCREEN") !=
               std::string::npos;
    }));
    game.raise();
    EXPECT_TRUE(until(above));
    EXPECT_TRUE(hasFocus()) << focused();
    // One that no window manager keeps below.
    ForeignWindow splash({50, 50, 1250, 950}, 0x404040, true);
    splash.raise();
    std::snprintf(hex, sizeof hex, "0x%x ", splash.id());
    EXPECT_TRUE(until(above));
}

TEST_F(X11Program, AClickReachesWhatLiesUnderALockedOverlayOnly) {
    seed();
    start();
    ForeignWindow game({0, 0, 1500, 990}, 0x404040, false);
    input("windowactivate --sync " + std::to_string(game.id()));
    const PointI point = inside(kStandings, {200, 200});
    int sent = 0;
    ASSERT_TRUE(until([&] { // the window manager may still be at placing it
        input(at(point) + "click 1");
        ++sent;
        return game.clicks() > 0;
    }));
    until([&] { return game.clicks() == sent; }, 1000); // those that are still on their way
    const int before = game.clicks();
    arrange(true);
    input(at(point) + "click 1" + at(inside(kRelative, {200, 60})) + "click 1");
    arrange(false);
    EXPECT_EQ(game.clicks(), before);
    input(at(point) + "click 1" + at(inside(kRelative, {200, 60})) + "click 1");
    EXPECT_TRUE(until([&] { return game.clicks() == before + 2; })) << game.clicks() - before;
}

TEST_F(X11Program, TheArrangeKeyLocksAllWhenOneIsUnlocked) {
    seed({{"standings", {{"locked", false}}}});
    start(); // the unlocked list, too, grows to the length of its field
    arrange(false);
    arrange(true);
    arrange(false);
}

TEST_F(X11Program, ADragSnapsSavesOnceAndIsFoundAgainAfterARestart) {
    seed();
    start();
    arrange(true);
    SaveCount saves(settingsFolder());
    dragStandings({8, 110}, {0, 110}); // less than nine pixels snap
    EXPECT_EQ(saves.take(), 1);
    dragStandings({9, 120}, {9, 120});
    dragStandings({5, 130}, {5, 130}, "alt");
    // Beside the other overlay: 700 is Relative's top edge.
    const int height = place(kStandings).height();
    dragStandings({400, 700 - height - 8}, {400, 700 - height});
    EXPECT_EQ(saves.take(), 3);
    arrange(false);
    end();

    start();
    EXPECT_EQ(place(kStandings).left, 400);
    EXPECT_EQ(place(kStandings).top, 700 - height);
    EXPECT_EQ(place(kRelative).left, 100);
}

TEST_F(X11Program, TheGripResizesAndArrowKeysNudgeWhatTheyPointAt) {
    seed();
    start();
    arrange(true);
    const RectI before = place(kStandings);
    const double multiplier = stored("standings").value("widthMul", 0.0);
    const PointI grip{before.right - 4, before.bottom - 4};
    input(at(grip) + "mousedown 1" + at({grip.x - 120, grip.y + 60}));
    EXPECT_TRUE(until([&] {
        const RectI now = place(kStandings);
        return now.width() == before.width() - 120 && now.height() == before.height() + 60;
    })) << place(kStandings).width() - before.width();
    input("mouseup 1");
    EXPECT_TRUE(until(
        [&] { return stored("standings").value("widthMul", multiplier) < multiplier - 0.05; }));

    input(at(inside(kRelative, {200, 60})) + "key Right key Right key Up key shift+Down");
    EXPECT_TRUE(until([] {
        const RectI now = place(kRelative);
        return now.left == 102 && now.top == 709;
    })) << place(kRelative).left;
    EXPECT_EQ(place(kStandings).left, before.left);
    EXPECT_TRUE(until([&] { return stored("relative").value("y", 0) == 709; }));
    arrange(false);
    // Locked, the keys are everybody's again.
    ForeignWindow other({1000, 700, 1200, 800}, 0x404040, false);
    EXPECT_TRUE(until([&] { return other.grabKey(0, 114); })); // Right
}

TEST_F(X11Program, OverlaysOffEveryMonitorComeBack) {
    seed({{"relative", {{"x", 5000}, {"y", -3000}}}});
    start();
    const RectI whole{0, 0, 1600, 1000};
    EXPECT_EQ(intersect(place(kRelative), whole), place(kRelative));
    EXPECT_EQ(place(kRelative).right, 1600); // the nearest edge
    EXPECT_TRUE(until([&] { return stored("relative").value("y", -1) == 0; }));

    if (!programExists("xrandr")) GTEST_SKIP() << "the rest needs xrandr";
    // The screen shrinks under Relative.
    shellOutput("xrandr --newmode small 40 800 840 968 1056 600 601 605 628"
                " && xrandr --addmode screen small && xrandr --output screen --mode small");
    EXPECT_TRUE(until([] { return place(kRelative).right == 800; })) << place(kRelative).right;
    EXPECT_TRUE(until([&] { return stored("relative").value("x", -1) == place(kRelative).left; }));
    EXPECT_EQ(place(kStandings).left, 300); // still in sight: stays
}

TEST_F(X11Program, AHalfTransparentOverlayBlendsOverTheRoot) {
    if (const std::string lacks = Xvfb::missing({"picom", "import"}); !lacks.empty())
        GTEST_SKIP() << "needs " << lacks;
    if (!screen.startCompositor()) GTEST_SKIP() << "needs a running picom";
    seed({{"relative", {{"bgOpacity", 0.5}, {"useGeneralOpacity", false}}}});
    ForeignWindow wallpaper({0, 0, 1, 1}, 0, true);
    start();
    // Its neighbourhood is in the picture as well: 20 px of bare root on every side.
    const RectI r = place(kRelative);
    const int width = r.width() + 40, height = r.height() + 40;
    const std::string area = std::to_string(width) + "x" + std::to_string(height) + "+" +
                             std::to_string(r.left - 20) + "+" + std::to_string(r.top - 20);
    const auto picture = [&](uint32_t root) {
        wallpaper.paintRoot(root);
        std::string pixels;
        // The very corner shows the root and nothing else.
        EXPECT_TRUE(until([&] {
            pixels = shellOutput("import -window root -crop " + area + " -depth 8 rgb:-");
            return pixels.size() >= 3 && static_cast<uint8_t>(pixels[0]) == (root >> 16 & 255) &&
                   static_cast<uint8_t>(pixels[2]) == (root & 255);
        }));
        return pixels;
    };
    const std::string red = picture(0xff0000), blue = picture(0x0000ff);
    const size_t count = static_cast<size_t>(width * height);
    ASSERT_TRUE(red.size() == 3 * count && blue.size() == 3 * count) << red.size();
    size_t through = 0, half = 0, solid = 0; // of the pixels of the overlay's own rectangle
    for (int y = 20; y < height - 20; ++y)
        for (int x = 20; x < width - 20; ++x) {
            const size_t i = static_cast<size_t>(y * width + x) * 3;
            const int gain = static_cast<uint8_t>(red[i]) - static_cast<uint8_t>(blue[i]);
            through += gain > 230;
            half += gain > 90 && gain < 165;
            solid += gain < 25 && gain > -25;
        }
    const size_t own = static_cast<size_t>(r.width() * r.height());
    EXPECT_LT(through, own / 50);
    EXPECT_GT(half, own / 3);
    EXPECT_GT(solid, own / 100); // texts and badges
}

TEST_F(X11Program, ASecondStartRaisesTheFirstAndLeavesNothing) {
    seed();
    start();
    const std::string id = shellOutput("xdotool search --name '^VT Overlays$'");
    const auto iconic = [&] {
        return shellOutput("xprop -id " + id + " WM_STATE").find("Iconic") != std::string::npos;
    };
    const auto files = [&] {
        std::string names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
            names += entry.path().string() + "\n";
        return names;
    };
    for (const bool minimised : {false, true}) {
        ForeignWindow game({0, 0, 1500, 990}, 0x404040, false);
        input("windowactivate --sync " + std::to_string(game.id()));
        if (minimised) {
            input("windowminimize " + id);
            EXPECT_TRUE(until(iconic));
        }
        const std::string before = files();
        const auto second = launch({"--platform", "x11", "--demo"});
        EXPECT_EQ(second->waitForExit(kSlow), 0);
        EXPECT_TRUE(until([] { return focused() == kPanel; })) << focused();
        EXPECT_FALSE(iconic());
        EXPECT_EQ(shellOutput("xdotool search --name '^VT ' | wc -l"),
                  std::to_string(kOverlays + 1));
        EXPECT_EQ(files(), before);
    }
    EXPECT_TRUE(program->running());
}

TEST_F(X11Program, TheProgramsWindowWorksByMouse) {
    // A fresh profile: the demo's own set of overlays, laid out with room for this window.
    start();
    for (const char* overlay : {kRelative, kStandings})
        EXPECT_TRUE(intersect(place(kPanel), place(overlay)).empty()) << overlay;
    EXPECT_TRUE(intersect(place(kRelative), place(kStandings)).empty());

    const RectI before = place(kPanel);
    const PointI caption{before.left + 150, before.top - 8};
    input(at(caption) + "mousedown 1");
    EXPECT_TRUE(until([&] { // the window manager takes its time to see a drag in it
        input(at({caption.x - 50, caption.y + 30}) + at({caption.x - 60, caption.y + 40}));
        return place(kPanel).left == before.left - 60;
    })) << place(kPanel).left - before.left;
    input("mouseup 1");

    input(at(inside(kPanel, kRelativeRow)) + "click 1");
    EXPECT_TRUE(until([] { return !visible(kRelative); }));
    EXPECT_TRUE(visible(kStandings));
    input(at(inside(kPanel, kRelativeRow)) + "click 1");
    EXPECT_TRUE(until([] { return visible(kRelative); }));
    input(at(inside(kPanel, kDemoButton)) + "click 1");
    EXPECT_TRUE(until([] { return !visible(kRelative) && !visible(kStandings); }));
    input(at(inside(kPanel, kArrangeButton)) + "click 1"); // shows them without any race
    EXPECT_TRUE(until([] { return visible(kRelative) && visible(kStandings); }));
    input(at(inside(kPanel, kArrangeButton)) + "click 1");
    EXPECT_TRUE(until([] { return !visible(kRelative) && !visible(kStandings); }));

    // The rightmost button of the frame closes.
    const RectI panel = place(kPanel);
    input(at({panel.right - 8, panel.top - 10}) + "click 1");
    EXPECT_EQ(program->waitForExit(kSlow), 0);
    EXPECT_EQ(shellOutput("xdotool search --name '^VT '"), "");
}
