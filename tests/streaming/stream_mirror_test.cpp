// Mirrors on a desktop in memory: what they show, when they draw, how they move and close.
#include "streaming/stream_mirror.h"
#include "window/window_desk.h"

namespace vt {
namespace {

class Mirrors : public Desk {
protected:
    StreamMirror mirrors{host};
    const SimFrame frame = drivingFrame();

    TestOverlay& shown(int slot, int width = 200, int height = 100) {
        TestOverlay& overlay = add(slot, 300, 300, width, height);
        overlay.configBase()->mirrorOnStream = true;
        tick(frame, 3);
        return overlay;
    }
    /// Ticks of the program, mirrors included.
    void run(int ticks) {
        for (int i = 0; i < ticks; ++i) {
            tick(frame);
            mirrors.Tick();
        }
    }
    WindowId window(int slot) const { return mirrors.record(slot).window; }
    const uint8_t* pixel(int slot, int x, int y) {
        kept_ = headlessPicture(window(slot));
        const PixelView view = bitmapPixels(*kept_);
        return view.data + y * view.stride + x * 4;
    }
    BitmapRef kept_;
};

TEST_F(Mirrors, ShowsThePictureOnTheBackdropAndOnlyWhenItChanged) {
    TestOverlay& overlay = shown(kSlotFuel);
    mirrors.OpenMirror(kSlotFuel);
    ASSERT_TRUE(mirrors.IsOpen(kSlotFuel));
    EXPECT_TRUE(overlay.configBase()->mirrorWindowOpen);
    EXPECT_EQ(headlessTitle(window(kSlotFuel)), "VT Mirror - Fuel");
    EXPECT_EQ(headlessFocus(), 0u);
    run(10);
    const int first = headlessPresents(window(kSlotFuel));
    EXPECT_GE(first, 1);
    EXPECT_LE(first, 2);
    // 0.1, 0.35, 0.6 at 60 % over 0.043, 0.051, 0.047; blue, green, red.
    const uint8_t* p = pixel(kSlotFuel, 50, 50);
    EXPECT_NEAR(p[0], (0.6 * 0.6 + 0.4 * 0.047) * 255, 2);
    EXPECT_NEAR(p[1], (0.35 * 0.6 + 0.4 * 0.051) * 255, 2);
    EXPECT_NEAR(p[2], (0.1 * 0.6 + 0.4 * 0.043) * 255, 2);
    EXPECT_EQ(p[3], 255);
    run(60);
    EXPECT_EQ(headlessPresents(window(kSlotFuel)), first) << "nothing has changed";
    for (int i = 0; i < 120; ++i) {
        ++overlay.hash;
        run(1);
    }
    EXPECT_NEAR(headlessPresents(window(kSlotFuel)) - first, 60, 3) << "30 a second for 2 s";
    // Hidden: the backdrop once, then silence; shown again: the picture.
    const int before = headlessPresents(window(kSlotFuel));
    showOverlay(overlay, false);
    for (int i = 0; i < 30; ++i) {
        advance(clock, 1.0 / 60);
        mirrors.Tick();
    }
    EXPECT_EQ(headlessPresents(window(kSlotFuel)), before + 1);
    EXPECT_NEAR(pixel(kSlotFuel, 50, 50)[1], 0.051 * 255, 1);
    showOverlay(overlay, true);
    ++overlay.hash;
    run(4);
    EXPECT_GT(pixel(kSlotFuel, 50, 50)[1], 40);
}

TEST_F(Mirrors, FollowsTheSizeKeepsItsPlaceAndIsDraggedAnywhere) {
    TestOverlay& overlay = shown(kSlotRelative);
    mirrors.OpenMirror(kSlotRelative);
    run(4);
    EXPECT_EQ(windowRect(window(kSlotRelative)).width(), 200);
    const RectI old = windowRect(window(kSlotRelative));
    headlessMouseMove({old.left + 150, old.top + 20});
    headlessMouseButton(0, true);
    headlessMouseMove({old.left + 650, old.top + 320});
    loopPump();
    const RectI moved = windowRect(window(kSlotRelative));
    EXPECT_EQ(moved.left, old.left + 500);
    EXPECT_EQ(moved.top, old.top + 300);
    headlessMouseButton(0, false);
    headlessMouseMove({10, 10});
    loopPump();
    EXPECT_EQ(windowRect(window(kSlotRelative)), moved) << "let go";
    overlay.wantedWidth = 320;
    overlay.wantedHeight = 90;
    relayout(overlay);
    run(4);
    const RectI wide = windowRect(window(kSlotRelative));
    EXPECT_EQ(wide.left, moved.left);
    EXPECT_EQ(wide.width(), 320);
    EXPECT_EQ(wide.height(), 90);
    EXPECT_GT(pixel(kSlotRelative, 310, 80)[1], 40) << "drawn in the new size";
    // An overlay that has no size yet.
    TestOverlay& bare = make(kSlotSession);
    mirrors.OpenMirror(kSlotSession);
    EXPECT_EQ(windowRect(window(kSlotSession)).width(), 320);
    EXPECT_EQ(windowRect(window(kSlotSession)).height(), 160);
    EXPECT_FALSE(bare.picture);
}

TEST_F(Mirrors, ABusyOrLostDeviceIsTriedAgain) {
    TestOverlay& overlay = shown(kSlotFuel);
    mirrors.OpenMirror(kSlotFuel);
    run(4);
    const auto presents = [&] { return headlessPresents(window(kSlotFuel)); };
    const int before = presents();
    // Uncovered while the last picture is still on its way: nothing in the overlay changes after.
    headlessHoldFrames(true);
    invalidateWindow(window(kSlotFuel));
    loopPump();
    run(10);
    EXPECT_EQ(presents(), before);
    headlessHoldFrames(false);
    run(4);
    EXPECT_EQ(presents(), before + 1);
    // The overlay's new picture, and the mirror's window is not ready for it.
    ++overlay.hash;
    tick(frame, 2);
    headlessHoldFrames(true);
    mirrors.Tick();
    headlessHoldFrames(false);
    run(4);
    EXPECT_EQ(presents(), before + 2);
    mirrors.ReleaseSurfaces();
    ++overlay.hash;
    run(4);
    EXPECT_EQ(presents(), before + 2) << "waits for the device";
    mirrors.RemakeSurfaces();
    run(4);
    EXPECT_EQ(presents(), before + 3);
    shown(kSlotRelative);
    headlessFailCreation(false, true);
    mirrors.OpenMirror(kSlotRelative);
    EXPECT_FALSE(mirrors.IsOpen(kSlotRelative)) << "no surface, no window";
}

TEST_F(Mirrors, WhatIsOpenIsKept) {
    TestOverlay& fuel = shown(kSlotFuel);
    TestOverlay& relative = shown(kSlotRelative);
    shown(kSlotSession).configBase()->mirrorOnStream = false;
    mirrors.OpenAll();
    EXPECT_TRUE(mirrors.IsOpen(kSlotFuel) && mirrors.IsOpen(kSlotRelative));
    EXPECT_FALSE(mirrors.IsOpen(kSlotSession));
    EXPECT_TRUE(config.streamMirrorsOpen);
    headlessClose(window(kSlotFuel));
    loopPump();
    EXPECT_FALSE(mirrors.IsOpen(kSlotFuel));
    EXPECT_FALSE(fuel.configBase()->mirrorWindowOpen);
    mirrors.CloseAll(false);
    EXPECT_TRUE(relative.configBase()->mirrorWindowOpen);
    config.streamMirrorsOpen = false; // the overlays' own word holds
    mirrors.OpenSaved();
    EXPECT_TRUE(mirrors.IsOpen(kSlotRelative));
    EXPECT_FALSE(mirrors.IsOpen(kSlotFuel));
    mirrors.ToggleMirror(kSlotRelative);
    EXPECT_FALSE(relative.configBase()->mirrorWindowOpen);
    mirrors.OpenAll();
    mirrors.CloseAll(true);
    EXPECT_FALSE(fuel.configBase()->mirrorWindowOpen || relative.configBase()->mirrorWindowOpen);
}

} // namespace
} // namespace vt
