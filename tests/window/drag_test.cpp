// The mouse on unlocked overlays, and clicks on locked ones.
#include "window/window_desk.h"

namespace vt {
namespace {

TEST(Snap, NineIsTooFarEightIsNot) {
    const RectI work{0, 0, 1920, 1040};
    const std::vector<RectI> other{{800, 500, 1000, 600}};
    const struct {
        const char* what;
        RectI moving;
        PointI corner;
    } cases[] = {
        {"left edge", {8, 300, 108, 350}, {0, 300}},
        {"left edge, too far", {9, 300, 109, 350}, {9, 300}},
        {"beyond the left edge", {-8, 300, 92, 350}, {0, 300}},
        {"right edge", {1812, 300, 1912, 350}, {1820, 300}},
        {"right edge, too far", {1811, 300, 1911, 350}, {1811, 300}},
        {"bottom of the work area", {300, 982, 400, 1032}, {300, 990}},
        {"both axes on their own", {5, 9, 105, 59}, {0, 9}},
        {"abuts on the right", {1008, 100, 1108, 150}, {1000, 100}},
        {"abuts on the right, too far", {1009, 100, 1109, 150}, {1009, 100}},
        {"abuts on the left", {693, 100, 793, 150}, {700, 100}},
        {"left to left", {796, 100, 896, 150}, {800, 100}},
        {"right to right", {894, 100, 994, 150}, {900, 100}},
        {"on top of it", {300, 443, 400, 493}, {300, 450}},
        {"below it", {300, 605, 400, 655}, {300, 600}},
        {"the nearer edge wins", {803, 100, 1001, 150}, {802, 100}},
        {"already there", {800, 100, 1003, 150}, {800, 100}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(snap(c.moving, work, other), c.corner);
    }
}

class Drag : public Desk {
protected:
    TestOverlay& unlocked(int slot, int x = 300, int y = 300) {
        TestOverlay& overlay = add(slot, x, y);
        setEditMode(overlay, true);
        saves = 0;
        return overlay;
    }
};

TEST_F(Drag, MovesAndSavesOnce) {
    TestOverlay& overlay = unlocked(kSlotChat);
    headlessMouseMove({350, 350});
    headlessMouseButton(0, true);
    EXPECT_TRUE(overlay.dragMove);
    for (int x = 351; x <= 450; ++x)
        headlessMouseMove({x, 360});
    EXPECT_EQ(saves, 0);
    headlessMouseButton(0, false);
    loopPump();
    EXPECT_EQ(saves, 1);
    EXPECT_EQ(windowRect(overlay.window), (RectI{400, 310, 600, 410}));
    EXPECT_EQ(config.chat.x, 400);
    EXPECT_EQ(config.chat.y, 310);
    EXPECT_FALSE(config.chat.locked);
    EXPECT_EQ(mouseCapture(), 0u);
    headlessMouseMove({900, 900}); // let go
    EXPECT_EQ(config.chat.x, 400);
}

TEST_F(Drag, LosingTheMouseEndsIt) {
    TestOverlay& overlay = unlocked(kSlotChat);
    drag({350, 350}, {380, 350}, false);
    releaseMouse();
    loopPump();
    EXPECT_FALSE(overlay.dragMove);
    EXPECT_EQ(saves, 1);
    EXPECT_EQ(config.chat.x, 330);
}

TEST_F(Drag, SnapsToShownOverlaysUnlessAltIsHeld) {
    unlocked(kSlotChat);
    TestOverlay& shown = add(kSlotFuel, 800, 600);
    TestOverlay& hidden = add(kSlotCover, 500, 600);
    hidden.gate = false;
    tick(live);
    ASSERT_TRUE(windowVisible(shown.window));
    drag({350, 350}, {350 + 492, 350}); // left edge at 792
    EXPECT_EQ(config.chat.x, 800);
    headlessKey(0x12, true);
    drag({850, 350}, {843, 350});
    EXPECT_EQ(config.chat.x, 793);
    headlessKey(0x12, false);
    drag({843, 350}, {843 - 297, 350}); // 496: only the hidden one is near
    EXPECT_EQ(config.chat.x, 496);
    drag({546, 350}, {546, 350 + 633}); // 933: bottom edge 7 px from the work area's
    EXPECT_EQ(config.chat.y, 940);
}

TEST_F(Drag, GripsOfAResizableOverlay) {
    const struct {
        const char* what;
        bool heightResizable, uniform;
        PointI press; // in the window of 200 x 100
        bool move, right, bottom;
    } cases[] = {
        {"middle", true, false, {100, 50}, true, false, false},
        {"just outside the bands", true, false, {185, 85}, true, false, false},
        {"right band", true, false, {186, 50}, false, true, false},
        {"bottom band", true, false, {100, 86}, false, false, true},
        {"corner", true, false, {199, 99}, false, true, true},
        {"bottom of a fixed height", false, false, {100, 99}, true, false, false},
        {"corner of a fixed height", false, false, {199, 99}, false, true, false},
        {"bottom of a uniform one", false, true, {100, 99}, false, false, true},
    };
    TestOverlay& overlay = unlocked(kSlotChat);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        overlay.heightResizable = c.heightResizable;
        overlay.uniformScale = c.uniform;
        drag({300 + c.press.x, 300 + c.press.y}, {300 + c.press.x, 300 + c.press.y}, false);
        EXPECT_EQ(overlay.dragMove, c.move);
        EXPECT_EQ(overlay.dragRight, c.right);
        EXPECT_EQ(overlay.dragBottom, c.bottom);
        headlessMouseButton(0, false);
    }
}

TEST_F(Drag, ResizesByMultipliers) {
    TestOverlay& overlay = unlocked(kSlotChat);
    overlay.heightResizable = true;
    drag({499, 399}, {549, 449});
    EXPECT_FLOAT_EQ(config.chat.widthMul, 1.25f);
    EXPECT_FLOAT_EQ(config.chat.heightMul, 1.5f);
    EXPECT_EQ(windowRect(overlay.window), (RectI{300, 300, 550, 450}));
    EXPECT_EQ(saves, 1);
    drag({549, 350}, {0, 350});
    EXPECT_FLOAT_EQ(config.chat.widthMul, 0.25f);
    EXPECT_FLOAT_EQ(config.chat.heightMul, 1.5f); // only the right side moved
}

TEST_F(Drag, StripsDoNotMakeItJump) {
    TestOverlay& overlay = unlocked(kSlotSession);
    overlay.usesChrome = overlay.heightResizable = true;
    config.session.showHeader = config.session.showFooter = true;
    resizeToSettings(overlay);
    ASSERT_EQ(windowRect(overlay.window).height(), 152);
    drag({400, 451}, {400, 461});
    EXPECT_EQ(windowRect(overlay.window).height(), 162);
    EXPECT_NEAR(config.session.heightMul, 1.1f, 1e-4);
}

TEST_F(Drag, UniformScaleStopsAtFour) {
    TestOverlay& overlay = unlocked(kSlotChat, 10, 10);
    overlay.uniformScale = true;
    drag({209, 60}, {1009, 60}); // five times as wide
    EXPECT_FLOAT_EQ(config.chat.widthMul, 4.0f);
    EXPECT_FLOAT_EQ(config.chat.heightMul, 1.0f);
    EXPECT_EQ(windowRect(overlay.window), (RectI{10, 10, 810, 410}));
    drag({100, 409}, {100, 209}); // by its bottom: half
    EXPECT_FLOAT_EQ(config.chat.widthMul, 2.0f);
}

TEST_F(Drag, TheGapMovesInPlaceOfTheScale) {
    TestOverlay& overlay = unlocked(kSlotSpotter);
    overlay.hasGap = overlay.widthFixed = true;
    overlay.gap = 140; // with two bars of 30: 200
    relayout(overlay);
    drag({499, 350}, {549, 350});
    EXPECT_FLOAT_EQ(overlay.gap, 190);
    EXPECT_EQ(windowRect(overlay.window).width(), 250);
    EXPECT_FLOAT_EQ(config.spotter.widthMul, 1);
    drag({549, 350}, {310, 350});
    EXPECT_FLOAT_EQ(overlay.gap, 20);
}

TEST_F(Drag, WorksInPixelsOfItsMonitor) {
    TestOverlay& overlay = unlocked(kSlotChat);
    headlessDpi(overlay.window, 144, {300, 300, 600, 450});
    loopPump();
    EXPECT_FLOAT_EQ(overlay.dpiScale, 1.5f);
    EXPECT_EQ(windowRect(overlay.window), (RectI{300, 300, 600, 450}));
    tick(live);
    EXPECT_FLOAT_EQ(bitmapDpi(*overlay.picture), 144);
    EXPECT_EQ(overlay.lastRect, (RectF{0, 0, 200, 100}));
    drag({580, 350}, {730, 350}); // within the band of 21 px
    EXPECT_FLOAT_EQ(config.chat.widthMul, 1.5f);
}

TEST_F(Drag, ALockedOverlayLetsTheMouseThrough) {
    TestOverlay& overlay = add(kSlotChat);
    tick(live);
    EXPECT_EQ(headlessWindowAt({350, 350}), 0u);
    overlay.clickArea = true;
    overlay.liveArea = {40, 20, 80, 60};
    overlay.hash = 2;
    tick(live);
    EXPECT_EQ(headlessWindowAt({339, 330}), 0u);
    EXPECT_EQ(headlessWindowAt({340, 320}), overlay.window);
    EXPECT_EQ(headlessWindowAt({379, 359}), overlay.window);
    EXPECT_EQ(headlessWindowAt({380, 359}), 0u);
    drag({350, 330}, {360, 330});
    EXPECT_EQ(overlay.lastClick, (PointI{50, 30}));
    EXPECT_EQ(windowRect(overlay.window).left, 300);
    setEditMode(overlay, true);
    EXPECT_EQ(headlessWindowAt({301, 301}), overlay.window);
    setEditMode(overlay, false);
    EXPECT_EQ(headlessWindowAt({301, 301}), 0u);
    EXPECT_EQ(headlessWindowAt({350, 330}), overlay.window);
}

} // namespace
} // namespace vt
