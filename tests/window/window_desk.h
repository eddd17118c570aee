// A headless desktop with overlays on it and a clock that the test turns.
#pragma once
#include "overlay/settings/slots.h"
#include "platform/headless/headless.h"
#include "platform/main_loop.h"
#include "support/test_overlay.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace vt {

/// Live and in the car, with an empty field.
inline SimFrame drivingFrame() {
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = kSimIRacing;
    frame.isOnTrack = 1;
    return frame;
}

class Desk : public ::testing::Test {
protected:
    void SetUp() override {
        // Every test begins with an empty desktop of one screen.
        headlessFailCreation(false, false);
        headlessHoldFrames(false);
        headlessSetMonitors({screenAt(0)});
        headlessMouseMove({1900, 1070});
        host.overlays.assign(kSlotCount, nullptr);
        host.saveSettings = [this] {
            ++saves;
            config.settingsDirty = false;
        };
    }

    static Monitor screenAt(int left, bool primary = true) {
        const RectI rect{left, 0, left + 1920, 1080};
        return {rect, {rect.left, 0, rect.right, 1040}, 96, primary};
    }

    /// Without a window.
    TestOverlay& make(int slot, int width = 200, int height = 100) {
        kept.push_back(std::make_unique<TestOverlay>(host, slot, width, height));
        host.overlays[static_cast<size_t>(slot)] = kept.back().get();
        OverlayConfig& common = *kept.back()->configBase();
        common = OverlayConfig{};
        common.enabled = true;
        common.refreshHz = 60;
        common.showInCar = true;
        common.x = 300;
        common.y = 300;
        return *kept.back();
    }

    TestOverlay& add(int slot, int x = 300, int y = 300, int width = 200, int height = 100) {
        TestOverlay& overlay = make(slot, width, height);
        overlay.configBase()->x = x;
        overlay.configBase()->y = y;
        int failures = 0;
        EXPECT_TRUE(createOverlay(overlay, overlaySlot(slot)->windowTitle, failures));
        return overlay;
    }

    /// One tick of 16.67 ms for everybody, as the main tick does it.
    void tick(const SimFrame& frame, int count = 1) {
        for (int i = 0; i < count; ++i) {
            advance(clock, 1.0 / 60);
            ++frameStamp;
            for (OverlayWindow* overlay : host.overlays)
                if (overlay && (overlay->configBase()->enabled || overlay->editMode))
                    overlayTick(*overlay, &frame);
            loopPump();
        }
    }

    void drag(PointI from, PointI to, bool release = true) {
        headlessMouseMove(from);
        headlessMouseButton(0, true);
        headlessMouseMove(to);
        loopPump();
        if (!release) return;
        headlessMouseButton(0, false);
        loopPump();
    }

    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    std::vector<std::unique_ptr<TestOverlay>> kept;
    SimFrame live = drivingFrame();
    int saves = 0;
};

} // namespace vt
