// When an overlay shows, and when it draws.
#include "overlay/window/tick_rules.h"
#include "telemetry/sim_registry.h"
#include "window/window_desk.h"

namespace vt {
namespace {

// ---- showing ----

struct ShowCase {
    const char* what;
    bool enabled, editMode, live, inCar, garage, alongside, withoutSim;
    bool car, out, garageSwitch, spotting; // the show-when switches
    ShowDecision expected;
};

TEST(ShowRules, Table) {
    using enum ShowDecision;
    constexpr ShowDecision own = askExtraThenGate;
    const ShowCase cases[] = {
        // enabled, edit, live, inCar, garage, alongside, withoutSim | car, out, garage, spotting
        {"off beats everything", 0, 1, 1, 1, 0, 1, 1, 1, 1, 1, 1, hide},
        {"enabled, no sim", 1, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, hide},
        {"edit mode, no sim", 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, show},
        {"without sim", 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, show},
        {"shows without sim, but live", 1, 0, 1, 1, 0, 0, 1, 0, 0, 0, 0, own},
        {"in car", 1, 0, 1, 1, 0, 0, 0, 1, 0, 0, 0, askGate},
        {"in car, wanted outside", 1, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, own},
        {"out of car", 1, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, askGate},
        {"out of car, wanted inside", 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, own},
        {"garage is neither in nor out", 1, 0, 1, 1, 1, 0, 0, 1, 1, 0, 0, own},
        {"garage", 1, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, askGate},
        {"car alongside", 1, 0, 1, 1, 0, 1, 0, 0, 0, 0, 1, askGate},
        {"nobody alongside", 1, 0, 1, 1, 0, 0, 0, 0, 0, 0, 1, own},
        {"stale words of a lost sim", 1, 0, 0, 1, 0, 1, 0, 1, 1, 1, 1, hide},
    };
    for (const ShowCase& c : cases) {
        SCOPED_TRACE(c.what);
        OverlayConfig common;
        common.enabled = c.enabled;
        common.showInCar = c.car;
        common.showOutOfCar = c.out;
        common.showInGarage = c.garageSwitch;
        common.showSpotting = c.spotting;
        SimFrame frame;
        frame.connected = c.live;
        frame.isOnTrack = c.inCar;
        frame.inGarage = c.garage;
        frame.carLeftRight = c.alongside ? 2 : 1;
        EXPECT_EQ(decideShow(common, c.editMode, c.withoutSim, simStateOf(&frame)), c.expected);
    }
}

class Showing : public Desk {};

TEST_F(Showing, NothingOfAHiddenOverlayRuns) {
    TestOverlay& overlay = add(kSlotChat);
    SimFrame none;
    tick(none, 3);
    EXPECT_FALSE(windowVisible(overlay.window));
    EXPECT_EQ(overlay.draws + overlay.hashes + overlay.gates + overlay.extras, 0);
    EXPECT_EQ(overlay.prepared, 3); // models that run while hidden live there
    tick(live);
    EXPECT_TRUE(windowVisible(overlay.window));
    EXPECT_EQ(overlay.draws, 1);
    EXPECT_EQ(overlay.extras, 0); // the switches already wanted it
    EXPECT_EQ(overlay.gates, 1);
    tick(none);
    EXPECT_FALSE(windowVisible(overlay.window));
    EXPECT_EQ(overlay.surface, nullptr);
    tick(live);
    EXPECT_EQ(overlay.draws, 2); // the same hash, but a new picture
}

TEST_F(Showing, GateAndExtraReason) {
    TestOverlay& overlay = add(kSlotChat);
    overlay.gate = false;
    tick(live);
    EXPECT_FALSE(windowVisible(overlay.window));
    overlay.gate = true;
    live.isOnTrack = 0;
    tick(live);
    EXPECT_FALSE(windowVisible(overlay.window));
    overlay.extra = true;
    tick(live);
    EXPECT_TRUE(windowVisible(overlay.window));
    overlay.gate = false; // also closes what the extra reason opened
    tick(live);
    EXPECT_FALSE(windowVisible(overlay.window));
}

TEST_F(Showing, ATickWithoutAnyFrameChangesNothing) {
    TestOverlay& overlay = add(kSlotChat);
    tick(live);
    overlayTick(overlay, nullptr);
    EXPECT_TRUE(windowVisible(overlay.window));
    EXPECT_FALSE(overlay.contentValid);
    EXPECT_EQ(overlay.frame, nullptr);
}

TEST_F(Showing, SwitchingOffHidesAtOnce) {
    TestOverlay& overlay = add(kSlotChat);
    tick(live);
    toggleOverlayEnabled(host, kSlotChat);
    EXPECT_FALSE(windowVisible(overlay.window));
    EXPECT_FALSE(config.chat.enabled);
    EXPECT_EQ(saves, 1);
    toggleOverlayEnabled(host, kSlotChat);
    tick(live);
    EXPECT_TRUE(windowVisible(overlay.window));
    EXPECT_EQ(overlay.draws, 2);
    toggleOverlayEnabled(host, -1);
    toggleOverlayEnabled(host, kSlotCount);
    EXPECT_EQ(saves, 2);
}

TEST_F(Showing, KeepDrawingFillsThePictureOfAHiddenOverlay) {
    TestOverlay& overlay = add(kSlotChat);
    SimFrame none;
    host.keepDrawing = true;
    tick(none, 2);
    EXPECT_FALSE(windowVisible(overlay.window));
    EXPECT_EQ(overlay.frameCounter, 1u); // the second hash was the same
    ASSERT_TRUE(overlay.picture);
    EXPECT_EQ(bitmapWidth(*overlay.picture), 200);
    host.keepDrawing = false;
    overlay.hash = 2;
    tick(none, 2);
    EXPECT_EQ(overlay.frameCounter, 1u);
}

// ---- pacing ----

class Pacing : public Desk {};

TEST_F(Pacing, DrawsAtTheRateOfTheSettings) {
    const struct {
        int hz, ticks, draws;
    } cases[] = {{60, 60, 60}, {30, 60, 30}, {10, 60, 10}, {1, 120, 2}, {500, 60, 60}, {-3, 60, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hz);
        TestOverlay& overlay = add(kSlotChat);
        overlay.hash = 0; // draws whenever it is due
        overlay.configBase()->refreshHz = c.hz;
        tick(live, c.ticks);
        EXPECT_EQ(overlay.draws, c.draws);
        kept.clear();
    }
}

TEST_F(Pacing, ATickALittleEarlyCountsAndKeepsTheGrid) {
    TestOverlay& overlay = add(kSlotChat);
    overlay.hash = 0;
    overlay.configBase()->refreshHz = 10;
    const auto at = [&](double ms) {
        clock.manualTicks = 1'000'000'000 + static_cast<int64_t>(ms * 1e6);
        overlayTick(overlay, &live);
        return overlay.draws;
    };
    EXPECT_EQ(at(0), 1);
    EXPECT_EQ(at(91), 1);  // 9 ms early is too early
    EXPECT_EQ(at(97), 2);  // 3 ms early
    EXPECT_EQ(at(191), 2); // the next one is due at 200, not at 197
    EXPECT_EQ(at(193), 3);
    EXPECT_EQ(at(350), 4); // 50 ms late: the grid stays
    EXPECT_EQ(at(393), 5);
    EXPECT_EQ(at(800), 6); // more than a period late: a new grid from here
    EXPECT_EQ(at(891), 6);
    EXPECT_EQ(at(895), 7);
}

TEST_F(Pacing, EditModeDrawsTenTimesASecondADragEveryTick) {
    TestOverlay& overlay = add(kSlotChat);
    SimFrame none;
    setEditMode(overlay, true);
    EXPECT_EQ(overlay.draws, 1); // at once
    tick(none, 60);
    EXPECT_NEAR(overlay.draws, 11, 1);
    EXPECT_EQ(overlay.hashes, 0);
    drag({400, 350}, {420, 360}, false);
    const int before = overlay.draws;
    tick(none, 10);
    EXPECT_EQ(overlay.draws, before + 10);
}

TEST_F(Pacing, ABusySurfaceIsTriedAgainAtTheNextTick) {
    TestOverlay& overlay = add(kSlotChat);
    overlay.configBase()->refreshHz = 10;
    headlessHoldFrames(true);
    tick(live, 3);
    EXPECT_EQ(overlay.draws, 0);
    headlessHoldFrames(false);
    tick(live);
    EXPECT_EQ(overlay.draws, 1);
}

// ---- content ----

class Content : public Desk {
protected:
    /// Pictures of the one overlay in the next `ticks`.
    int drawsIn(TestOverlay& overlay, int ticks = 3) {
        const uint64_t before = overlay.frameCounter;
        tick(live, ticks);
        return static_cast<int>(overlay.frameCounter - before);
    }
};

TEST_F(Content, OnlyAChangedHashDraws) {
    TestOverlay& overlay = add(kSlotChat);
    EXPECT_EQ(drawsIn(overlay), 1);
    EXPECT_EQ(overlay.skippedFrames, 2u);
    EXPECT_EQ(host.timing[kSlotChat].skipped, 2u);
    overlay.hash = 77;
    EXPECT_EQ(drawsIn(overlay), 1);
    overlay.hash = 0;
    EXPECT_EQ(drawsIn(overlay), 3);
    overlay.hash = 77;
    EXPECT_EQ(drawsIn(overlay), 1);
    EXPECT_EQ(overlay.frameCounter, 6u);
}

TEST_F(Content, APaintBringsTheStandingPictureBack) {
    TestOverlay& overlay = add(kSlotChat);
    tick(live, 2);
    const int before = headlessPresents(overlay.window);
    invalidateWindow(overlay.window);
    loopPump();
    EXPECT_EQ(headlessPresents(overlay.window), before + 1);
    EXPECT_EQ(drawsIn(overlay), 0);
    overlay.contentValid = false;
    invalidateWindow(overlay.window);
    loopPump();
    EXPECT_EQ(headlessPresents(overlay.window), before + 1);
    EXPECT_EQ(drawsIn(overlay), 1);
}

TEST_F(Content, WhatTheFrameAroundItShowsDrawsToo) {
    TestOverlay& overlay = add(kSlotRelative);
    drawsIn(overlay);
    OverlayConfig& common = *overlay.configBase();
    const auto changes = [&](const char* what, auto&& change) {
        SCOPED_TRACE(what);
        EXPECT_EQ(drawsIn(overlay), 0);
        change();
        EXPECT_EQ(drawsIn(overlay), 1);
    };
    changes("accent", [&] { config.accentTheme = 3; });
    changes("background colour", [&] { config.overlayBgColor = 0x102030; });
    changes("theme", [&] { config.overlayThemeV2 = 2; });
    changes("own theme", [&] { config.overlayThemeOverride[kSlotRelative] = 0; });
    config.overlayThemeV2 = 3; // hidden behind its own
    EXPECT_EQ(drawsIn(overlay), 0);
    changes("content opacity", [&] { common.contentOpacity = 0.5f; });
    changes("background opacity", [&] { common.bgOpacity = 0.25f; });
    changes("general opacity", [&] { common.useGeneralOpacity = true; });
    common.contentOpacity = 1; // no longer asked
    EXPECT_EQ(drawsIn(overlay), 0);
    changes("text size", [&] { common.textScale = 1.5f; });
    changes("width", [&] { common.widthMul = 1.25f; });
    changes("fonts", [&] { overlay.fontsDirty = true; });
    changes("another sim that lacks other cars", [&] { live.simKind = kSimDirtRally2; });
}

TEST_F(Content, StripTextsCountWhileTheirStripShows) {
    TestOverlay& overlay = add(kSlotSession);
    overlay.usesChrome = true;
    OverlayConfig& common = *overlay.configBase();
    common.headerCenter = 14; // fuel, with one decimal
    live.fuelLevel = 20;
    drawsIn(overlay);
    live.fuelLevel = 19;
    EXPECT_EQ(drawsIn(overlay), 0);
    common.showHeader = true;
    EXPECT_EQ(drawsIn(overlay), 1);
    EXPECT_EQ(windowRect(overlay.window).height(), 126);
    EXPECT_EQ(overlay.lastRect, (RectF{0, 26, 200, 126}));
    live.fuelLevel = 18;
    EXPECT_EQ(drawsIn(overlay), 1);
    live.fuelLevel = 18.01f; // the same text
    EXPECT_EQ(drawsIn(overlay), 0);
    common.showFooter = true;
    EXPECT_EQ(drawsIn(overlay), 1);
    EXPECT_EQ(overlay.lastRect, (RectF{0, 26, 200, 126}));
    EXPECT_EQ(windowRect(overlay.window).height(), 152);
}

TEST_F(Content, TheThemeIsTheOverlaysForItsDrawOnly) {
    TestOverlay& overlay = add(kSlotRelative);
    config.overlayThemeOverride[kSlotRelative] = 2;
    setDrawTheme(1);
    tick(live);
    EXPECT_EQ(overlay.lastTheme, 2);
    EXPECT_EQ(drawTheme(), 1);
}

TEST_F(Content, ASimWithoutOtherCarsReplacesTheContent) {
    TestOverlay& relative = add(kSlotRelative);
    TestOverlay& fuel = add(kSlotFuel, 700);
    live.simKind = kSimDirtRally2;
    tick(live);
    EXPECT_EQ(relative.draws, 0);
    EXPECT_EQ(fuel.draws, 1);
    EXPECT_EQ(relative.frameCounter, 1u); // the words instead
    setEditMode(relative, true);
    tick(live);
    EXPECT_GE(relative.draws, 1);
}

TEST_F(Content, AUniformOverlayDrawsAtItsBaseSize) {
    TestOverlay& overlay = add(kSlotChat);
    overlay.uniformScale = true;
    overlay.configBase()->widthMul = 1.5f;
    tick(live);
    EXPECT_EQ(overlay.lastRect, (RectF{0, 0, 200, 100}));
    EXPECT_EQ(overlay.lastOnScreen, (RectF{0, 0, 300, 150}));
    EXPECT_EQ(windowRect(overlay.window).width(), 300);
}

TEST_F(Content, BrushesAreFlushedAtTheLimit) {
    TestOverlay& overlay = add(kSlotChat);
    for (int i = 0; i < static_cast<int>(kBrushCacheLimit); ++i)
        overlay.brush({static_cast<float>(i) / 255.0f, 0, 0, 1});
    ASSERT_GE(overlay.brushes.entries.size(), kBrushCacheLimit);
    tick(live);
    EXPECT_LT(overlay.brushes.entries.size(), 16u);
}

TEST_F(Content, AfterPaintTellsOfEachGoodPictureOnce) {
    TestOverlay& overlay = add(kSlotChat);
    int told = 0;
    host.afterPaint.push_back([&](OverlayWindow& painted) {
        EXPECT_EQ(&painted, &overlay);
        EXPECT_TRUE(painted.picture);
        EXPECT_EQ(painted.frameCounter, static_cast<uint64_t>(++told));
    });
    tick(live, 3);
    EXPECT_EQ(told, 1);
    overlay.hash = 2;
    tick(live, 3);
    EXPECT_EQ(told, 2);
}

TEST_F(Content, ASlowDrawIsOneLineOfThePerformanceLog) {
    class Slow : public TestOverlay {
    public:
        using TestOverlay::TestOverlay;
        Clock* turned = nullptr;
        void draw(Canvas& target, RectF rect) override {
            TestOverlay::draw(target, rect);
            advance(*turned, 0.0601);
        }
    } overlay(host, kSlotChat);
    overlay.turned = &clock;
    *overlay.configBase() = OverlayConfig{};
    overlay.configBase()->enabled = true;
    std::string lines;
    host.perfLine = [&](std::string_view line) { lines += line; };
    overlayTick(overlay, &live);
    EXPECT_EQ(lines, "1700000000,spike,chat,60.1,60.1,0.0,0.0,0.0,0\n");
    advance(clock, 0.2);
    overlayTick(overlay, &live);
    advance(clock, 0.2);
    overlay.hash = 9;
    overlayTick(overlay, &live);
    EXPECT_EQ(lines.substr(lines.find('\n') + 1),
              "1700000000,spike,chat,60.1,60.1,0.0,0.0,460.0,1\n");
    EXPECT_NEAR(host.timing[kSlotChat].peakMs, 60.1, 0.01);
    EXPECT_EQ(host.timing[kSlotChat].count, 3u);
}

} // namespace
} // namespace vt
