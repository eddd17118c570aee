#include "platform/headless/headless.h"
#include "platform/main_loop.h"
#include "platform/shared/virtual_keys.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace vt;

namespace {

struct Seen {
    std::vector<WindowEvent> events;
    int count(EventKind kind) const {
        return static_cast<int>(std::count_if(
            events.begin(), events.end(), [kind](const WindowEvent& e) { return e.kind == kind; }));
    }
    const WindowEvent* last(EventKind kind) const {
        for (auto e = events.rbegin(); e != events.rend(); ++e)
            if (e->kind == kind) return &*e;
        return nullptr;
    }
};

class HeadlessTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(platformStart(PlatformKind::headless)); }
    void TearDown() override { platformStop(); }

    static WindowId make(WindowKind kind, RectI rect, Seen* seen = nullptr,
                         bool clickThrough = false, WindowId owner = 0) {
        WindowSpec spec;
        spec.kind = kind;
        spec.rect = rect;
        spec.visible = true;
        spec.clickThrough = clickThrough;
        spec.owner = owner;
        return createWindow(spec, [seen](const WindowEvent& event) {
            if (seen) seen->events.push_back(event);
            return event.kind != EventKind::close;
        });
    }

    static void click(PointI at) {
        headlessMouseMove(at);
        headlessMouseButton(0, true);
        headlessMouseButton(0, false);
    }

    static void fill(Bitmap& bitmap, uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
        const PixelView view = bitmapPixels(bitmap);
        uint8_t* pixels = bitmapWritablePixels(bitmap);
        const uint8_t one[4] = {b, g, r, a};
        for (int y = 0; y < view.height; ++y)
            for (int x = 0; x < view.width; ++x)
                std::memcpy(pixels + ptrdiff_t{y} * view.stride + ptrdiff_t{x} * 4, one, 4);
        bitmapChanged(bitmap);
    }

    static std::vector<int> pixel(const Bitmap& bitmap, int x, int y) {
        const PixelView view = bitmapPixels(bitmap);
        const uint8_t* p = view.data + ptrdiff_t{y} * view.stride + ptrdiff_t{x} * 4;
        return {p[0], p[1], p[2]};
    }
};

} // namespace

TEST_F(HeadlessTest, OverlaysLieAboveAndLetTheMouseThrough) {
    Seen below, above;
    const WindowId overlay = make(WindowKind::overlay, {100, 100, 300, 200}, &above, true);
    const WindowId panel = make(WindowKind::panel, {0, 0, 500, 500}, &below);
    EXPECT_EQ(headlessWindows(), (std::vector<WindowId>{panel, overlay}));
    EXPECT_EQ(headlessFocus(), panel);

    click({150, 150});
    EXPECT_EQ(below.count(EventKind::mouseDown), 1);
    EXPECT_EQ(below.last(EventKind::mouseDown)->position, (PointI{150, 150}));
    EXPECT_EQ(above.count(EventKind::mouseDown), 0);

    setInputRegion(overlay, InputRegion::rects, {{0, 0, 20, 20}});
    EXPECT_EQ(headlessWindowAt({119, 119}), overlay);
    EXPECT_EQ(headlessWindowAt({120, 119}), panel);
    setInputRegion(overlay, InputRegion::all);
    click({150, 150});
    EXPECT_EQ(above.last(EventKind::mouseDown)->position, (PointI{50, 50}));
    EXPECT_EQ(headlessFocus(), panel) << "a click on an overlay takes no focus";
    raiseWindow(overlay);
    EXPECT_EQ(headlessFocus(), panel);

    const WindowId second = make(WindowKind::panel, {0, 0, 50, 50});
    EXPECT_EQ(headlessFocus(), second);
    EXPECT_EQ(below.count(EventKind::focusLost), 1);
    setWindowRect(panel, {10, 10, 510, 510});
    EXPECT_EQ(headlessWindows(), (std::vector<WindowId>{panel, second, overlay}))
        << "moving changes no order";
    EXPECT_EQ(headlessFocus(), second);
    setWindowTopmost(panel, true);
    EXPECT_EQ(headlessWindows().back(), panel);
    showWindow(second, false);
    EXPECT_EQ(headlessFocus(), 0u);
    EXPECT_EQ(headlessWindowAt({5, 5}), 0u);
}

TEST_F(HeadlessTest, TheHolderOfTheMouseGetsItAll) {
    Seen one, two;
    const WindowId a = make(WindowKind::overlay, {0, 0, 100, 100}, &one);
    const WindowId b = make(WindowKind::overlay, {100, 0, 200, 100}, &two);
    headlessMouseMove({50, 50});
    headlessMouseButton(0, true);
    captureMouse(a);
    headlessMouseMove({150, 40});
    EXPECT_EQ(one.last(EventKind::mouseMove)->position, (PointI{150, 40}));
    EXPECT_EQ(one.count(EventKind::mouseLeave), 0);
    EXPECT_EQ(two.events.size(), 0u);
    headlessMouseButton(0, false);
    EXPECT_EQ(one.count(EventKind::mouseUp), 1);
    releaseMouse();
    releaseMouse();
    EXPECT_EQ(one.count(EventKind::captureLost), 1);
    headlessMouseMove({151, 40});
    EXPECT_EQ(one.count(EventKind::mouseLeave), 1);
    EXPECT_EQ(two.count(EventKind::mouseMove), 1);

    captureMouse(a);
    captureMouse(b);
    EXPECT_EQ(one.count(EventKind::captureLost), 2) << "taken by another";
    showWindow(b, false);
    EXPECT_EQ(two.count(EventKind::captureLost), 1) << "hidden";
    captureMouse(a);
    destroyWindow(a);
    EXPECT_EQ(mouseCapture(), 0u);
    EXPECT_EQ(one.count(EventKind::captureLost), 2) << "who is gone hears nothing";
}

TEST_F(HeadlessTest, DoubleClicksAndDisabledWindows) {
    Clock clock = manualClock();
    headlessUseClock(&clock);
    Seen panel, overlay;
    const WindowId window = make(WindowKind::panel, {0, 0, 100, 100}, &panel);
    make(WindowKind::overlay, {200, 0, 300, 100}, &overlay);
    struct {
        double pause;
        PointI at;
        int downs, doubles;
    } const steps[] = {
        {5.0, {10, 10}, 1, 0}, {0.4, {12, 9}, 1, 1}, // soon and close by
        {0.4, {12, 9}, 2, 1},                        // the third starts anew
        {0.6, {12, 9}, 3, 1},                        // too late
        {0.1, {16, 9}, 4, 1},                        // too far
    };
    for (const auto& step : steps) {
        advance(clock, step.pause);
        click(step.at);
        EXPECT_EQ(panel.count(EventKind::mouseDown), step.downs);
        EXPECT_EQ(panel.count(EventKind::mouseDouble), step.doubles);
    }
    click({210, 10});
    click({210, 10});
    EXPECT_EQ(overlay.count(EventKind::mouseDown), 2);

    enableWindow(window, false);
    const int before = panel.count(EventKind::mouseDown);
    click({10, 10});
    headlessKey('A', true);
    headlessClose(window);
    EXPECT_EQ(panel.count(EventKind::mouseDown), before);
    EXPECT_EQ(panel.count(EventKind::keyDown), 0);
    EXPECT_TRUE(windowVisible(window)) << "still there";
    headlessUseClock(nullptr);
}

TEST_F(HeadlessTest, ClosingTakesOwnedWindowsAlong) {
    Seen owner, child;
    const WindowId panel = make(WindowKind::panel, {0, 0, 100, 100}, &owner);
    const WindowId dialog = make(WindowKind::dialog, {10, 10, 60, 60}, &child, false, panel);
    headlessClose(panel); // the handler does not handle it
    EXPECT_EQ(owner.count(EventKind::close), 1);
    EXPECT_TRUE(headlessWindows().empty());
    EXPECT_FALSE(postToWindow(dialog, 1, 1));

    // A handler may end its own window while it runs.
    auto marker = std::make_shared<int>(3);
    const std::weak_ptr<int> held = marker;
    WindowSpec spec;
    spec.kind = WindowKind::panel;
    spec.rect = {0, 0, 100, 100};
    spec.visible = true;
    WindowId self = 0;
    int value = 0;
    self = createWindow(spec, [&value, &self, marker = std::move(marker)](const WindowEvent& e) {
        if (e.kind != EventKind::mouseDown) return false;
        destroyWindow(self);
        value = *marker;
        return true;
    });
    click({50, 50});
    EXPECT_EQ(value, 3);
    EXPECT_TRUE(held.expired()) << "and then its handler is released";
}

TEST_F(HeadlessTest, ShortcutsFireOnceAndBelongToOne) {
    Seen seen;
    make(WindowKind::panel, {0, 0, 100, 100}, &seen);
    std::vector<int> fired;
    setHotkeyHandler([&](int id) { fired.push_back(id); });
    EXPECT_TRUE(registerHotkey(1, kModAlt, 0x79)); // Alt+F10
    EXPECT_TRUE(registerHotkey(1, kModAlt, 0x79)) << "once more by the same id";
    EXPECT_FALSE(registerHotkey(2, kModAlt, 0x79)) << "taken";
    EXPECT_TRUE(registerHotkey(2, 0, 0x75));
    headlessKey(0x79, true);
    headlessKey(0x79, false);
    EXPECT_TRUE(fired.empty()) << "without Alt it is a key like any other";
    EXPECT_EQ(seen.count(EventKind::keyDown), 1);
    headlessKey(0x12, true);
    EXPECT_TRUE(keyDown(0x12));
    headlessKey(0x79, true);
    headlessKey(0x79, true); // held down: repeats
    EXPECT_EQ(fired, std::vector<int>{1});
    EXPECT_EQ(seen.last(EventKind::keyDown)->key, 0x12u);
    headlessKey(0x79, false);
    headlessKey(0x12, false);
    EXPECT_FALSE(keyDown(0x12));

    EXPECT_FALSE(registerHotkey(2, kModAlt, 0x79));
    headlessKey(0x75, true);
    EXPECT_EQ(fired.back(), 2) << "a refused change leaves the old shortcut in place";
    unregisterHotkey(1);
    EXPECT_TRUE(registerHotkey(2, kModAlt, 0x79));
    fired.clear();
    headlessKey(0x75, false);
    headlessKey(0x75, true);
    EXPECT_TRUE(fired.empty());
}

TEST_F(HeadlessTest, SurfacesKeepTheirPictureAndCompose) {
    const WindowId below = make(WindowKind::panel, {0, 0, 40, 40});
    const WindowId above = make(WindowKind::overlay, {20, 20, 60, 60});
    const SurfaceRef plain = createSurface(below, false, false);
    const SurfaceRef alpha = createSurface(above, true, true);
    ASSERT_TRUE(plain && alpha);
    EXPECT_EQ(bitmapWidth(*surfaceBitmap(*alpha)), 40);
    fill(*surfaceBitmap(*plain), 0, 0, 200, 255);
    fill(*surfaceBitmap(*alpha), 100, 0, 0, 128); // half blue, premultiplied
    EXPECT_FALSE(headlessPicture(above));
    ASSERT_TRUE(surfaceBeginFrame(*alpha));
    EXPECT_TRUE(presentSurface(*plain).ok());
    EXPECT_TRUE(presentSurface(*alpha).ok());
    const BitmapRef screen = headlessScreen({0, 1, 0, 1});
    EXPECT_EQ(pixel(*screen, 10, 10), (std::vector<int>{0, 0, 200}));
    EXPECT_EQ(pixel(*screen, 30, 30), (std::vector<int>{100, 0, 100}));
    EXPECT_EQ(pixel(*screen, 50, 50), (std::vector<int>{100, 127, 0}));
    EXPECT_EQ(pixel(*screen, 61, 61), (std::vector<int>{0, 255, 0}));

    headlessHoldFrames(true);
    EXPECT_FALSE(surfaceBeginFrame(*alpha));
    fill(*surfaceBitmap(*alpha), 0, 0, 0, 255);
    const DrawResult busy = presentSurface(*alpha);
    EXPECT_EQ(busy.status, DrawStatus::busy);
    EXPECT_EQ(busy.code, kDrawStillBusy);
    EXPECT_EQ(pixel(*headlessPicture(above), 5, 5), (std::vector<int>{100, 0, 0}))
        << "drawn but not presented";
    headlessHoldFrames(false);
    EXPECT_EQ(headlessPresents(above), 1);

    EXPECT_TRUE(resizeSurface(*alpha, 0, 30));
    EXPECT_EQ(bitmapWidth(*surfaceBitmap(*alpha)), 1);
    raiseDeviceLost();
    EXPECT_EQ(presentSurface(*alpha).status, DrawStatus::lost);
    EXPECT_FALSE(createSurface(above, true, true));
    EXPECT_TRUE(remakeDevice());
    EXPECT_TRUE(createSurface(above, true, true));

    headlessFailCreation(true, true);
    EXPECT_EQ(make(WindowKind::overlay, {0, 0, 9, 9}), 0u);
    EXPECT_FALSE(createSurface(above, true, true));
    headlessFailCreation(false, false);
    destroyWindow(above);
    EXPECT_FALSE(surfaceBeginFrame(*alpha)) << "a surface may outlive its window";
    EXPECT_EQ(presentSurface(*alpha).status, DrawStatus::failed);
}

TEST_F(HeadlessTest, PlacementAndMonitorsAreTold) {
    Seen seen;
    const WindowId window = make(WindowKind::overlay, {0, 0, 100, 100}, &seen);
    loopPump();
    seen.events.clear();
    setWindowRect(window, {5, 5, 105, 105});
    EXPECT_EQ(seen.count(EventKind::moved), 1);
    EXPECT_EQ(seen.count(EventKind::resized), 0);
    setWindowRect(window, {5, 5, 205, 105});
    EXPECT_EQ(seen.count(EventKind::moved), 1);
    EXPECT_EQ(seen.last(EventKind::resized)->rect, (RectI{5, 5, 205, 105}));
    loopPump();
    EXPECT_EQ(seen.count(EventKind::paint), 1);
    showWindow(window, false);
    invalidateWindow(window);
    loopPump();
    EXPECT_EQ(seen.count(EventKind::paint), 1) << "hidden windows do not paint";
    showWindow(window, true);
    loopPump();
    EXPECT_EQ(seen.count(EventKind::paint), 2);

    int calls = 0;
    setDisplayHandler([&] { ++calls; });
    headlessSetMonitors({{{-1280, 0, 0, 1024}, {-1280, 0, 0, 984}, 96, false},
                         {{0, 0, 2560, 1440}, {0, 40, 2560, 1440}, 144, true}});
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(seen.count(EventKind::displayChanged), 1);
    EXPECT_EQ(listMonitors()[0].dpi, 144);
    EXPECT_EQ(primarySize(), (PointI{2560, 1440}));
    EXPECT_EQ(windowDpi(make(WindowKind::overlay, {-500, 0, -400, 50})), 96);
    headlessDpi(window, 120, {5, 5, 255, 130});
    EXPECT_EQ(seen.last(EventKind::dpiChanged)->value, 120);
    EXPECT_EQ(windowDpi(window), 120);
}

TEST_F(HeadlessTest, MonitorArithmetic) {
    headlessSetMonitors({{{0, 0, 1920, 1080}, {0, 40, 1920, 1080}, 96, true},
                         {{1920, 0, 3840, 1080}, {1920, 0, 3840, 1040}, 96, false}});
    struct {
        RectI rect;
        int left; // of the monitor
        bool touches;
    } const cases[] = {
        {{100, 100, 200, 200}, 0, true},
        {{1900, 100, 2000, 200}, 1920, true},  // 20 px here, 80 there
        {{1870, 100, 1970, 200}, 0, true},     // half and half: the primary
        {{5000, 100, 5100, 200}, 1920, false}, // to the right of all
        {{-300, -300, -100, -100}, 0, false},
        {{1919, 1080, 2919, 1200}, 0, false},   // touches an edge only; equally near
        {{2000, 1079, 2100, 1200}, 1920, true}, // one row
    };
    for (const auto& c : cases) {
        bool touches = false;
        EXPECT_EQ(monitorFor(c.rect, &touches).rect.left, c.left) << c.rect.left;
        EXPECT_EQ(touches, c.touches) << c.rect.left;
    }
    const RectI work{0, 40, 1920, 1080};
    EXPECT_EQ(pushInside({-50, 0, 50, 100}, work), (RectI{0, 40, 100, 140}));
    EXPECT_EQ(pushInside({1900, 1070, 2000, 1170}, work), (RectI{1820, 980, 1920, 1080}));
    EXPECT_EQ(pushInside({5, 50, 15, 60}, work), (RectI{5, 50, 15, 60}));
    EXPECT_EQ(pushInside({100, 100, 3000, 2000}, work), (RectI{0, 40, 2900, 1940}));
}

TEST(VirtualKeys, NumbersOfBothWorlds) {
    struct {
        uint32_t keysym, key, character;
    } const cases[] = {
        {'a', 'A', 'a'},     {'A', 'A', 'A'},         {'7', '7', '7'},
        {0xffc3, 0x75, 0},   {0xffd5, 0x87, 0},       // F6, F24
        {0xff51, 0x25, 0},   {0xff54, 0x28, 0},       // Left, Down
        {0xffb7, 0x67, '7'}, {0xffae, 0x6E, '.'},     // keypad
        {0xff0d, 0x0D, 0},   {0xff08, 0x08, 0},       // Return types no character
        {0xe9, 0, 0xe9},     {0x010020bf, 0, 0x20bf}, // é, ₿
        {0x6c1, 0, 0x430},   {0x6e1, 0, 0x410},       // Cyrillic a, A
        {'?', 0xBF, '?'},    {0xffe2, kVkShift, 0},   {0xfe20, 0x09, 0},
        {0, 0, 0},           {0xffffff, 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(virtualKeyOf(c.keysym), c.key) << std::hex << c.keysym;
        EXPECT_EQ(characterOf(c.keysym), c.character) << std::hex << c.keysym;
    }
}
