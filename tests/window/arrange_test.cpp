// Creation, places, arrange mode, shortcuts, previews and the device's loss.
#include "base/log.h"
#include "overlay/window/overlay_hotkeys.h"
#include "window/window_desk.h"

#include <cstring>
#include <limits>

namespace vt {
namespace {

// ---- creation ----

class Creation : public Desk {
protected:
    void SetUp() override {
        Desk::SetUp();
        setLogSink(
            [](void* user, std::string_view line) { *static_cast<std::string*>(user) += line; },
            &log);
    }
    void TearDown() override { setLogSink(nullptr, nullptr); }
    std::string log;
};

TEST_F(Creation, NameStateAndTraits) {
    TestOverlay& overlay = make(kSlotChat);
    overlay.configBase()->locked = false;
    int failures = 0;
    ASSERT_TRUE(createOverlay(overlay, "VT Chat", failures));
    EXPECT_STREQ(overlay.name, "Chat");
    EXPECT_TRUE(overlay.editMode);
    EXPECT_TRUE(overlay.surface);
    EXPECT_FALSE(windowVisible(overlay.window)); // the first tick decides
    EXPECT_EQ(headlessTitle(overlay.window), "VT Chat");
    destroyOverlay(overlay);
    const std::string title = "VT " + std::string(45, 'x') + "\u00e9\u00e9";
    ASSERT_TRUE(createOverlay(overlay, title.c_str(), failures));
    EXPECT_EQ(std::string(overlay.name), std::string(45, 'x') + "\u00e9"); // 47 bytes
}

TEST_F(Creation, AFailureLeavesAnOverlayWithoutAWindow) {
    const struct {
        bool windows, surfaces;
        const char* line;
    } cases[] = {{true, false, "[overlay] CreateWindowExW failed\n"},
                 {false, true, "[overlay] composition window creation failed\n"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        log.clear();
        headlessFailCreation(c.windows, c.surfaces);
        TestOverlay& overlay = make(kSlotFuel);
        int failures = 2;
        EXPECT_FALSE(createOverlay(overlay, "VT Fuel", failures));
        EXPECT_EQ(failures, 3);
        EXPECT_EQ(log, std::string(c.line) + "[overlay] create FAILED: fuel (slot 2)\n");
        EXPECT_EQ(overlay.window, 0u);
        EXPECT_TRUE(headlessWindows().empty());
        headlessFailCreation(false, false);
        // Everything that meets it later.
        tick(live, 2);
        EXPECT_EQ(overlay.frameCounter, 1u); // the picture is there for captures
        EXPECT_TRUE(overlay.picture);
        toggleArrangeMode(host);
        nudge(overlay, 1, 1);
        moveTo(overlay, 40, 50, true);
        centerOnPrimary(overlay);
        EXPECT_EQ(config.fuel.x, (1920 - 200) / 2);
        restorePosition(overlay);
        relayout(overlay);
        resizeToSettings(overlay);
        showOverlay(overlay, true);
        tick(live);
        EXPECT_TRUE(renderPreview(overlay, 1, &live));
        toggleOverlayEnabled(host, kSlotFuel);
        toggleArrangeMode(host);
    }
}

// ---- places ----

class Place : public Desk {};

TEST_F(Place, ASavedPlaceOffAllMonitorsComesBackAndIsStored) {
    TestOverlay& gone = add(kSlotChat, 2500, 1300);
    EXPECT_EQ(windowRect(gone.window), (RectI{1720, 940, 1920, 1040}));
    EXPECT_EQ(config.chat.x, 1720);
    EXPECT_EQ(config.chat.y, 940);
    EXPECT_TRUE(config.settingsDirty);
    config.settingsDirty = false;
    add(kSlotFuel, 1919, 100); // one column of pixels is enough
    EXPECT_EQ(config.fuel.x, 1919);
    EXPECT_FALSE(config.settingsDirty);

    config.fuel.x = -9000;
    restorePosition(*host.overlays[kSlotFuel]);
    EXPECT_EQ(config.fuel.x, 0);
    EXPECT_EQ(config.fuel.y, 100);
}

TEST_F(Place, AMonitorThatIsUnpluggedGivesItsOverlaysBack) {
    headlessSetMonitors({screenAt(0), screenAt(1920, false)});
    TestOverlay& right = add(kSlotChat, 3000, 200);
    TestOverlay& left = add(kSlotFuel, 100, 200);
    tick(live);
    EXPECT_EQ(config.chat.x, 3000);
    headlessSetMonitors({screenAt(0)});
    loopPump();
    EXPECT_EQ(windowRect(right.window), (RectI{1720, 200, 1920, 300}));
    EXPECT_EQ(config.chat.x, 1720);
    EXPECT_EQ(windowRect(left.window).left, 100);
    tick(live);
    EXPECT_EQ(right.draws, 2);
}

TEST_F(Place, TheMonitorOfAMoveIsStored) {
    headlessSetMonitors({screenAt(0), screenAt(1920, false)});
    TestOverlay& overlay = add(kSlotChat);
    moveTo(overlay, 2500, 100, false);
    EXPECT_EQ(config.chat.monitor, 1);
    EXPECT_EQ(saves, 0);
    EXPECT_TRUE(config.settingsDirty);
    moveTo(overlay, 200, 100, true);
    EXPECT_EQ(config.chat.monitor, 0);
    EXPECT_EQ(saves, 1);
}

TEST_F(Place, SizesOfTheSettings) {
    TestOverlay& overlay = make(kSlotChat, 201, 101);
    OverlayConfig& common = *overlay.configBase();
    const auto size = [&] {
        applyScale(overlay);
        return PointI{overlay.scaledWidth, overlay.scaledHeight};
    };
    common.widthMul = 1.5f;
    common.heightMul = 2;
    EXPECT_EQ(size(), (PointI{302, 101})); // 301.5 + 0.5
    overlay.heightResizable = true;
    EXPECT_EQ(size(), (PointI{302, 202}));
    overlay.minHeightMul = 3;
    overlay.minWidthMul = 2;
    EXPECT_EQ(size(), (PointI{402, 303}));
    overlay.widthFixed = true;
    EXPECT_EQ(size(), (PointI{201, 303}));
    overlay.uniformScale = true; // beats the others
    EXPECT_EQ(size(), (PointI{302, 152}));
    for (const float wild : {0.0f, -4.0f}) {
        common.widthMul = wild;
        EXPECT_EQ(size(), (PointI{50, 25}));
    }
    common.widthMul = 100;
    EXPECT_EQ(size(), (PointI{804, 404}));
    common.widthMul = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(size(), (PointI{201, 101}));
}

TEST_F(Place, ResetKeepsTheSwitchAndThePlace) {
    TestOverlay& overlay = make(kSlotFuel);
    config.fuel.x = 7;
    config.fuel.fuelWarnLaps = 9;
    config.fuel.textScale = 2;
    overlay.resetConfig();
    EXPECT_TRUE(config.fuel.enabled);
    EXPECT_EQ(config.fuel.x, 7);
    EXPECT_EQ(config.fuel.fuelWarnLaps, FuelConfig{}.fuelWarnLaps);
    EXPECT_LT(config.fuel.textScale, 2);
}

// ---- arrange mode and shortcuts ----

class Arrange : public Desk {
protected:
    void TearDown() override { unregisterOverlayHotkeys(hotkeys); }

    void press(uint32_t key, uint32_t modifier = 0) {
        if (modifier) headlessKey(modifier, true);
        headlessKey(key, true);
        headlessKey(key, false);
        if (modifier) headlessKey(modifier, false);
        loopPump();
    }

    OverlayHotkeys hotkeys{&host};
    static constexpr uint32_t kShift = 0x10, kAlt = 0x12, kF6 = 117, kF7 = 118, kRight = 0x27,
                              kDown = 0x28;
};

TEST_F(Arrange, AnyUnlockedOverlayMeansLockAll) {
    TestOverlay& a = add(kSlotChat);
    TestOverlay& b = add(kSlotFuel, 700);
    int told = 0;
    host.editModeChanged = [&] { ++told; };
    toggleArrangeMode(host);
    EXPECT_TRUE(a.editMode && b.editMode);
    EXPECT_FALSE(config.chat.locked || config.fuel.locked);
    EXPECT_EQ(saves, 1); // not one for each
    EXPECT_EQ(told, 1);
    EXPECT_TRUE(windowVisible(a.window)); // without a sim
    setEditMode(a, false);
    EXPECT_TRUE(config.chat.locked);
    toggleArrangeMode(host);
    EXPECT_FALSE(a.editMode || b.editMode);
    EXPECT_TRUE(config.chat.locked && config.fuel.locked);
    EXPECT_EQ(saves, 3);
    const SimFrame none;
    tick(none);
    EXPECT_FALSE(windowVisible(a.window) || windowVisible(b.window));
}

TEST_F(Arrange, ADisabledOverlayStaysHiddenInEditMode) {
    TestOverlay& overlay = add(kSlotChat);
    config.chat.enabled = false;
    toggleArrangeMode(host);
    tick(live, 3);
    EXPECT_TRUE(overlay.editMode);
    EXPECT_FALSE(windowVisible(overlay.window));
}

TEST_F(Arrange, LeavingEditModeRedrawsAtOnce) {
    TestOverlay& overlay = add(kSlotChat);
    config.chat.refreshHz = 1;
    tick(live);
    setEditMode(overlay, true);
    setEditMode(overlay, false);
    const int before = overlay.draws;
    tick(live);
    EXPECT_EQ(overlay.draws, before + 1);
}

TEST_F(Arrange, ShortcutsOfTheSettings) {
    TestOverlay& overlay = add(kSlotChat);
    int demos = 0, others = 0;
    hotkeys.toggleDemo = [&] { ++demos; };
    hotkeys.other = [&](int id) { others += id; };
    config.chat.toggleHotkeyVk = 'K';
    config.chat.toggleHotkeyMod = 0x4000 | kModControl; // stored with more than the four bits
    registerOverlayHotkeys(hotkeys);
    press(kF6);
    EXPECT_FALSE(overlay.editMode);
    press(kF6, kAlt);
    EXPECT_TRUE(overlay.editMode);
    EXPECT_TRUE(hotkeys.nudgeKeysHeld);
    press(kF6, kAlt);
    EXPECT_FALSE(overlay.editMode);
    EXPECT_FALSE(hotkeys.nudgeKeysHeld);
    press(kF7, kAlt);
    EXPECT_EQ(demos, 1);
    press('K', 0x11);
    EXPECT_FALSE(config.chat.enabled);
    handleHotkey(hotkeys, 5);
    EXPECT_EQ(others, 5);

    config.arrangeHotkeyVk = 'P';
    config.arrangeHotkeyMod = 0;
    config.demoHotkeyVk = 0;
    registerOverlayHotkeys(hotkeys);
    press(kF6, kAlt);
    press(kF7, kAlt);
    EXPECT_FALSE(overlay.editMode);
    EXPECT_EQ(demos, 1);
    press('P');
    EXPECT_TRUE(overlay.editMode);
}

TEST_F(Arrange, ArrowsMoveTheOverlayUnderThePointerElseTheOnlyUnlockedOne) {
    TestOverlay& a = add(kSlotChat);
    TestOverlay& b = add(kSlotFuel, 700);
    registerOverlayHotkeys(hotkeys);
    press(kRight);
    EXPECT_EQ(windowRect(a.window).left, 300);
    setEditMode(a, true);
    updateNudgeKeys(hotkeys);
    tick(live);
    headlessMouseMove({750, 350}); // over the locked one
    press(kRight);
    EXPECT_EQ(windowRect(a.window).left, 301);
    press(kDown, kShift);
    EXPECT_EQ(windowRect(a.window).top, 310);
    setEditMode(b, true);
    press(kRight);
    EXPECT_EQ(windowRect(b.window).left, 701);
    EXPECT_EQ(windowRect(a.window).left, 301);
    headlessMouseMove({10, 10}); // two unlocked, none meant
    press(kRight);
    EXPECT_EQ(windowRect(a.window).left, 301);
    EXPECT_EQ(windowRect(b.window).left, 701);
}

TEST_F(Arrange, NudgesAreWrittenAtMostTwiceASecond) {
    TestOverlay& overlay = add(kSlotChat);
    setEditMode(overlay, true);
    saves = 0;
    int tickSaves = 0;
    const auto mainTick = [&] { // the main tick writes what is marked
        if (config.settingsDirty) {
            ++tickSaves;
            config.settingsDirty = false;
        }
        tick(live);
    };
    for (int i = 0; i < 60; ++i) { // one second of nudges
        nudge(overlay, 1, 0);
        mainTick();
    }
    EXPECT_EQ(config.chat.x, 360); // the settings follow at once
    EXPECT_EQ(saves, 2);
    EXPECT_EQ(tickSaves, 0);
    for (int i = 0; i < 60; ++i)
        mainTick();
    EXPECT_EQ(saves, 3); // the last one as well, once
    EXPECT_EQ(tickSaves, 0);
    nudge(overlay, 1, 0);
    nudge(overlay, 1, 0);
    destroyOverlay(overlay);
    EXPECT_TRUE(config.settingsDirty);
}

// ---- previews ----

class Preview : public Desk {};

TEST_F(Preview, SizesReuseAndState) {
    TestOverlay& overlay = make(kSlotChat);
    const auto width = [&](float scale) {
        const BitmapRef picture = renderPreview(overlay, scale, &live);
        return picture ? bitmapWidth(*picture) : 0;
    };
    EXPECT_EQ(width(1), 200);
    EXPECT_EQ(width(0.5f), 100);
    EXPECT_EQ(width(0.05f), 200);
    EXPECT_EQ(width(0), 200);
    EXPECT_EQ(width(-1), 200);
    EXPECT_EQ(width(std::numeric_limits<float>::quiet_NaN()), 200);
    EXPECT_EQ(width(20), 1600);
    EXPECT_EQ(overlay.lastRect, (RectF{0, 0, 200, 100}));

    const BitmapRef first = renderPreview(overlay, 2, nullptr);
    EXPECT_EQ(renderPreview(overlay, 2, nullptr, first), first);
    EXPECT_NE(renderPreview(overlay, 3, nullptr, first), first);
    EXPECT_FALSE(overlay.previewMode);
    EXPECT_EQ(overlay.frame, nullptr);
    EXPECT_EQ(overlay.frameCounter, 0u);
    config.chat.enabled = false; // the settings page shows a disabled one too
    EXPECT_EQ(width(1), 200);
}

// ---- the device ----

class Device : public Desk {
protected:
    void SetUp() override {
        Desk::SetUp();
        registerOverlayRecovery(host);
    }
    void TearDown() override { removeDeviceClient(&host); }
};

TEST_F(Device, LossAndRebuild) {
    TestOverlay& shown = add(kSlotChat);
    TestOverlay& disabled = add(kSlotFuel, 700);
    config.fuel.enabled = false;
    host.overlays[kSlotSession] = nullptr;
    tick(live, 2);
    ASSERT_EQ(shown.frameCounter, 1u);
    raiseDeviceLost();
    shown.hash = 2;
    tick(live, 2);
    EXPECT_EQ(shown.frameCounter, 1u);
    EXPECT_TRUE(deviceLost());

    host.tickFrame = &live;
    static uint64_t nowMs = 1'000'000; // the limit of rebuilds counts in the process's time
    recoverDevice(nowMs += 60'000);
    host.tickFrame = nullptr;
    EXPECT_FALSE(deviceLost());
    EXPECT_EQ(shown.frameCounter, 2u); // at once, so that nothing flashes
    EXPECT_TRUE(shown.surface);
    EXPECT_EQ(disabled.draws, 0);
    tick(live, 2);
    EXPECT_EQ(shown.frameCounter, 2u);

    setEditMode(disabled, true);
    setEditMode(shown, true);
    raiseDeviceLost();
    recoverDevice(nowMs += 60'000); // outside a tick only unlocked ones can be drawn
    EXPECT_TRUE(shown.picture);
    EXPECT_FALSE(windowVisible(disabled.window));
}

} // namespace
} // namespace vt
