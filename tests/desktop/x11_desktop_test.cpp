#include "x11_fixture.h"

#include <atomic>
#include <sys/resource.h>
#include <thread>

using namespace vt;
using namespace vt::test;

TEST_F(X11Test, ADragStaysWithItsWindow) {
    VT_OPEN(true);
    SeenEvents seen;
    const WindowId overlay = make(WindowKind::overlay, {200, 200, 300, 300}, "VT Delta", &seen);
    SeenEvents other;
    make(WindowKind::overlay, {300, 200, 600, 300}, "VT Other", &other);
    pumpFor(100);
    run("xdotool mousemove 250 250 mousedown 1");
    ASSERT_TRUE(saw(seen, EventKind::mouseDown, 1));
    captureMouse(overlay);
    EXPECT_TRUE(keyDown(1));
    seen.events.clear();
    for (int i = 1; i <= 5; ++i) {
        run("xdotool mousemove_relative 40 10");
        const PointI there{250 + 40 * i, 250 + 10 * i};
        EXPECT_TRUE(pumpUntil([&] {
            const WindowEvent* move = seen.last(EventKind::mouseMove);
            return move && move->screen == there;
        }));
        EXPECT_EQ(cursorPosition(), there);
        setWindowRect(overlay, {200 + 40 * i, 200 + 10 * i, 300 + 40 * i, 300 + 10 * i});
    }
    pumpFor(100);
    EXPECT_EQ(windowRect(overlay), (RectI{400, 250, 500, 350}));
    EXPECT_TRUE(saw(seen, EventKind::moved, 5)) << "no echoes of older places";
    EXPECT_EQ(other.count(EventKind::mouseMove), 0);
    run("xdotool mouseup 1");
    EXPECT_TRUE(saw(seen, EventKind::mouseUp, 1));
    releaseMouse();
    EXPECT_TRUE(saw(seen, EventKind::captureLost, 1));
    EXPECT_FALSE(keyDown(1));
    run("xdotool mousemove 590 210");
    EXPECT_TRUE(pumpUntil([&] { return other.count(EventKind::mouseMove) >= 1; }));
    EXPECT_TRUE(pumpUntil([&] { return seen.count(EventKind::mouseLeave) >= 1; }));
}

TEST_F(X11Test, ShortcutsFireOnceUnderEveryLock) {
    VT_OPEN(true);
    std::vector<int> fired;
    setHotkeyHandler([&](int id) { fired.push_back(id); });
    ForeignWindow other({0, 0, 50, 50}, 0, false);
    EXPECT_TRUE(registerHotkey(1, kModAlt, 0x79)); // Alt+F10
    EXPECT_TRUE(registerHotkey(2, 0, 0x75));       // F6
    EXPECT_FALSE(registerHotkey(3, 0, 0x75));
    run("xdotool key F6");
    EXPECT_TRUE(pumpUntil([&] { return fired == std::vector<int>{2}; }));
    run("xdotool key alt+F10 key F10");
    EXPECT_TRUE(pumpUntil([&] { return fired == std::vector<int>{2, 1}; }));
    run("xdotool key Num_Lock key F6 key Num_Lock");
    EXPECT_TRUE(pumpUntil([&] { return fired.size() >= 3; }) && fired.size() == 3);
    run("xdotool key Caps_Lock key F6 key Caps_Lock");
    EXPECT_TRUE(pumpUntil([&] { return fired.size() >= 4; }) && fired.size() == 4);
    run("xdotool keydown F6 sleep 1.5 keyup F6"); // the server repeats held keys after 0.66 s
    EXPECT_TRUE(pumpUntil([&] { return fired.size() >= 5; }) && fired.size() == 5)
        << "repeats are no presses";
    run("xdotool key F6");
    EXPECT_TRUE(pumpUntil([&] { return fired.size() >= 6; }) && fired.size() == 6);
    unregisterHotkey(2);
    run("xdotool key F6");
    EXPECT_TRUE(pumpUntil([&] { return fired.size() >= 6; }) && fired.size() == 6);

    EXPECT_TRUE(other.grabKey(0, 74)); // F8
    EXPECT_FALSE(registerHotkey(4, 0, 0x77)) << "another program has it";
    EXPECT_TRUE(other.grabKey(XCB_MOD_MASK_SHIFT, 74));
    EXPECT_FALSE(registerHotkey(4, 0, 0)) << "no key";
}

TEST_F(X11Test, ThePanelGetsKeysCharactersAndTheWheel) {
    VT_OPEN(true);
    SeenEvents seen;
    WindowSpec spec;
    spec.kind = WindowKind::panel;
    spec.rect = {100, 100, 500, 400};
    spec.title = "VT Overlay";
    spec.className = "VTOverlayControlPanel";
    spec.visible = spec.resizable = true;
    spec.minSize = {300, 200};
    const WindowId panel = createWindow(spec, [&](const WindowEvent& event) {
        seen.events.push_back(event);
        return event.kind != EventKind::close;
    });
    ASSERT_TRUE(pumpUntil([&] { return seen.count(EventKind::focusGained) > 0; }));
    EXPECT_TRUE(pumpUntil([&] { return windowRect(panel) == spec.rect; })) << "as we wanted it";
    run("xdotool key a shift+b Return");
    EXPECT_TRUE(pumpUntil([&] { return seen.count(EventKind::keyDown) >= 4; }));
    std::vector<uint32_t> keys, characters;
    for (const WindowEvent& e : seen.events) {
        if (e.kind == EventKind::keyDown) keys.push_back(e.key);
        if (e.kind == EventKind::character) characters.push_back(e.key);
    }
    EXPECT_EQ(keys, (std::vector<uint32_t>{'A', 0x10, 'B', 0x0D}));
    EXPECT_EQ(characters, (std::vector<uint32_t>{'a', 'B'}));
    EXPECT_TRUE(pumpUntil([&] { return seen.count(EventKind::keyUp) >= 4; }));
    const int ups = seen.count(EventKind::keyUp);
    run("xdotool keydown Left sleep 1.2 keyup Left");
    EXPECT_TRUE(saw(seen, EventKind::keyUp, ups + 1)) << "a held key is let go once";
    run("xdotool keydown ctrl");
    EXPECT_TRUE(pumpUntil([] { return keyDown(0x11); }));
    run("xdotool keyup ctrl");
    EXPECT_TRUE(pumpUntil([] { return !keyDown(0x11); }));

    run("xdotool mousemove 200 200 click 4 click 5 click 5");
    EXPECT_TRUE(saw(seen, EventKind::mouseWheel, 3));
    EXPECT_EQ(seen.last(EventKind::mouseWheel)->wheel, -1);
    // On a busy machine the second click may come too late.
    EXPECT_TRUE(eventually([&] {
        pumpFor(600); // not one with the click before
        seen.events.clear();
        run("xdotool mousemove 220 220 click 1 click 1");
        EXPECT_TRUE(pumpUntil([&] { return seen.count(EventKind::mouseUp) >= 2; }));
        return seen.count(EventKind::mouseDown) == 1 && seen.count(EventKind::mouseDouble) == 1;
    }));
    run("xdotool click 3");
    EXPECT_TRUE(pumpUntil([&] { return seen.last(EventKind::mouseDown)->button == 1; }));

    // The window manager moves, resizes and closes it.
    run("xdotool search --name 'VT Overlay' windowsize 450 350 windowmove 150 160");
    EXPECT_TRUE(pumpUntil([&] {
        return windowRect(panel) == RectI{150, 160, 600, 510};
    })) << windowRect(panel).left
        << " " << windowRect(panel).top << " " << windowRect(panel).width();
    EXPECT_TRUE(pumpUntil([&] { return seen.count(EventKind::resized) >= 1; }));
    setWindowTopmost(panel, true);
    EXPECT_TRUE(pumpUntil([] { // the window manager answers in its own time
        return run("xprop -name 'VT Overlay' _NET_WM_STATE").find("ABOVE") != std::string::npos;
    }));
    EXPECT_NE(run("xprop -name 'VT Overlay' WM_NORMAL_HINTS").find("300 by 200"),
              std::string::npos);
    setWindowTitle(panel, "VT Ünïcode");
    const std::string name = "xprop -id $(xdotool getactivewindow) -notype 8u _NET_WM_NAME";
    EXPECT_TRUE(pumpUntil([&] {
        return run("LC_ALL=C.UTF-8 " + name).find("VT Ünïcode") != std::string::npos;
    })) << run(name);
}

TEST_F(X11Test, RaisingTheHiddenPanelBringsItToTheFront) {
    VT_OPEN(true);
    SeenEvents seen;
    const WindowId panel = make(WindowKind::panel, {100, 100, 400, 300}, "VT Panel", &seen);
    ASSERT_TRUE(pumpUntil([&] { return seen.count(EventKind::focusGained) > 0; }));
    showWindow(panel, false);
    ForeignWindow other({50, 50, 600, 500}, 0x808080, false);
    ASSERT_TRUE(pumpUntil([&] { // the window manager has it in its frame
        return run("xwininfo -id " + std::to_string(other.id())).find("IsViewable") !=
               std::string::npos;
    }));
    pumpFor(200);
    showWindow(panel, true);
    raiseWindow(panel);
    EXPECT_TRUE(
        pumpUntil([] { return run("xdotool getactivewindow getwindowname") == "VT Panel"; }));
    EXPECT_TRUE(pumpUntil([&] { return windowRect(panel) == RectI{100, 100, 400, 300}; }));
    const std::string before = run("xdotool getactivewindow");
    make(WindowKind::mirror, {300, 300, 400, 400}, "VT Mirror");
    ASSERT_TRUE(pumpUntil([] { return !windowsNamed("VT Mirror").empty(); }));
    pumpFor(200);
    EXPECT_EQ(run("xdotool getactivewindow"), before) << "a mirror shows without the focus";
}

TEST_F(X11Test, AFloodOfEventsLeavesRoomForMessages) {
    VT_OPEN(false);
    SeenEvents seen;
    int ticks = 0;
    WindowSpec spec;
    spec.kind = WindowKind::overlay;
    spec.rect = {100, 100, 200, 200};
    spec.title = "VT Flood";
    spec.visible = true;
    int notches = 0;
    const WindowId window = createWindow(spec, [&](const WindowEvent& event) {
        if (event.kind == EventKind::user) ++ticks;
        if (event.kind == EventKind::mouseWheel) ++notches;
        return true;
    });
    const std::string handle = windowsNamed("VT Flood");
    ASSERT_NE(handle, "");
    std::atomic<bool> stop{false};
    std::thread flood([&] {
        ForeignWindow sender({0, 0, 10, 10}, 0, true);
        while (!stop)
            sender.sendWheel(static_cast<uint32_t>(std::stoul(handle)), 200);
    });
    std::thread ticker([&] {
        for (int i = 0; i < 50; ++i) {
            postToWindow(window, 1, i);
            usleep(10'000);
        }
    });
    EXPECT_TRUE(pumpUntil([&] { return ticks == 50 && notches > 1000; }))
        << ticks << " " << notches;
    stop = true;
    flood.join();
    ticker.join();
}

TEST_F(X11Test, ClosingAsksTheHandler) {
    VT_OPEN(true);
    SeenEvents seen;
    const WindowId dialog = make(WindowKind::dialog, {300, 300, 500, 400}, "VT Question", &seen);
    // The focus event may reach us before openbox; it closes the window that it holds for active.
    ASSERT_TRUE(
        pumpUntil([] { return run("xdotool getactivewindow getwindowname") == "VT Question"; }));
    EXPECT_TRUE(pumpUntil([&] {
        return windowRect(dialog) == RectI{300, 300, 500, 400};
    })) << "the frame grows around it";
    run("xdotool key alt+F4"); // openbox asks the window to close
    EXPECT_TRUE(pumpUntil([&] { return seen.count(EventKind::close) == 1; }));
    EXPECT_FALSE(windowVisible(dialog)) << "not handled, so it went";
    EXPECT_TRUE(pumpUntil([] { return windowsNamed("VT Question").empty(); }));
}

TEST_F(X11Test, MonitorsChangeWhileWeRun) {
    VT_OPEN(true);
    if (!programExists("xrandr")) GTEST_SKIP() << "needs xrandr";
    SeenEvents seen;
    make(WindowKind::overlay, {900, 500, 1000, 600}, "VT Fuel", &seen);
    int calls = 0;
    setDisplayHandler([&] { ++calls; });
    pumpFor(200);
    ASSERT_TRUE(pumpUntil([] { return listMonitors().size() == 1; }));
    EXPECT_EQ(primarySize(), (PointI{1280, 800}));
    calls = 0;
    run("xrandr --setmonitor left 640/200x800/250+0+0 screen");
    run("xrandr --setmonitor right 640/200x800/250+640+0 none");
    EXPECT_TRUE(pumpUntil([] { return listMonitors().size() == 2; }));
    EXPECT_TRUE(pumpUntil([&] { return calls >= 1; }));
    EXPECT_EQ(monitorFor({700, 10, 800, 20}).rect, (RectI{640, 0, 1280, 800}));
    EXPECT_TRUE(pumpUntil([&] { return seen.count(EventKind::displayChanged) >= 1; }));
    run("xrandr --delmonitor right; xrandr --delmonitor left");
    EXPECT_TRUE(pumpUntil([] { return listMonitors().size() == 1; }));

    EXPECT_EQ(systemDpi(), 96);
    run("printf 'Xcursor.size:\\t24\\nXft.dpi:\\t144\\n' | xrdb -merge");
    if (programExists("xrdb")) {
        EXPECT_TRUE(pumpUntil([] { return systemDpi() == 144; }));
        ASSERT_TRUE(saw(seen, EventKind::dpiChanged, 1));
        EXPECT_EQ(seen.last(EventKind::dpiChanged)->rect, (RectI{900, 500, 1050, 650}));
    }
}

TEST_F(X11Test, ClipboardBothWays) {
    VT_OPEN(false);
    setClipboardText("größer");
    EXPECT_EQ(clipboardText(), "größer");
    ForeignWindow other({0, 0, 10, 10}, 0, true);
    std::string asked;
    std::atomic<bool> done{false};
    std::thread reader([&] {
        asked = other.askClipboard();
        done = true;
    });
    EXPECT_TRUE(pumpUntil([&] { return done.load(); }));
    reader.join();
    EXPECT_EQ(asked, "größer");

    other.ownClipboard();
    // A busy machine may let the answer come later than it is waited for.
    EXPECT_TRUE(pumpUntil([&] {
        std::thread owner([&] { other.answerClipboard("fremd"); });
        const std::string text = clipboardText();
        owner.join();
        return text == "fremd";
    }));
    // An owner that never answers has no text, and nobody waits for it long.
    const Clock clock;
    const uint64_t start = clockMs(clock);
    EXPECT_EQ(clipboardText(), "");
    EXPECT_LT(clockMs(clock) - start, 20000u);
}

TEST_F(X11Test, AnIdleLoopSleeps) {
    VT_OPEN(true);
    const WindowId overlay =
        make(WindowKind::overlay, {100, 100, 500, 700}, "VT Standings", nullptr, true);
    const SurfaceRef surface = createSurface(overlay, true, true);
    ASSERT_TRUE(surface);
    paintPlain(*surface, 0xFF404040);
    static int messages = 0;
    loopSetBeforeMessage([] { ++messages; });
    long wakeUps = 0;
    // The last of the stacking looks may be late on a busy machine.
    const auto sleeps = [&] {
        pumpFor(1500);
        messages = 0;
        rusage before{}, after{};
        getrusage(RUSAGE_THREAD, &before);
        std::thread quitter([] {
            usleep(3'000'000);
            loopQuit(0);
        });
        loopRun();
        getrusage(RUSAGE_THREAD, &after);
        quitter.join();
        // The sleep of three seconds, and the bell that ends it.
        wakeUps = after.ru_nvcsw - before.ru_nvcsw;
        return messages == 0 && wakeUps <= 3;
    };
    EXPECT_TRUE(eventually(sleeps))
        << messages << " messages and " << wakeUps << " wake-ups in three idle seconds";
    loopSetBeforeMessage(nullptr);
}

TEST_F(X11Test, AServerThatDiesIsALostDeviceAndNoMore) {
    VT_OPEN(false);
    const WindowId overlay = make(WindowKind::overlay, {100, 100, 200, 200}, "VT Fuel");
    const SurfaceRef surface = createSurface(overlay, true, true);
    ASSERT_TRUE(surface);
    paintPlain(*surface, 0xFF404040);
    screen.crash();
    EXPECT_TRUE(pumpUntil([] { return deviceLost(); }));
    EXPECT_FALSE(surfaceBeginFrame(*surface));
    EXPECT_EQ(presentSurface(*surface).status, DrawStatus::lost);
    ASSERT_TRUE(remakeDevice());
    EXPECT_EQ(presentSurface(*surface).status, DrawStatus::lost) << "and it stays away";
    EXPECT_FALSE(createSurface(overlay, true, true));
    setWindowRect(overlay, {0, 0, 50, 50});
    showWindow(overlay, false);
    showWindow(overlay, true);
    EXPECT_FALSE(registerHotkey(1, 0, 0x75));
    EXPECT_EQ(clipboardText(), "");
    EXPECT_FALSE(keyDown(0x10));
    cursorPosition();
    EXPECT_FALSE(listMonitors().empty());
    EXPECT_EQ(make(WindowKind::overlay, {0, 0, 10, 10}, "VT New"), 0u);
    // The loop goes on, and sleeps.
    rusage before{}, after{};
    getrusage(RUSAGE_THREAD, &before);
    loopPump(500);
    getrusage(RUSAGE_THREAD, &after);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 3);
    remakeDevice();
}
