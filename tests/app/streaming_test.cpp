// From an overlay's window to a viewer: who gets which picture, and when nothing is copied at all.
#include "app/streaming.h"
#include "platform/main_loop.h"
#include "support/test_overlay.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace vt {
namespace {

int freePort() {
    FrameHub hub;
    BrowserServer probe(hub);
    EXPECT_EQ(probe.start(0, false, "x"), ListenResult::listening);
    return probe.port();
}

struct StreamingRig {
    StreamingRig() {
        platformStart(PlatformKind::headless);
        drawingInit("");
        host.overlays.assign(kSlotCount, nullptr);
        host.overlays[kSlotFuel] = &overlay;
        host.saveSettings = [this] { ++saves; };
        *overlay.configBase() = OverlayConfig{};
        overlay.configBase()->enabled = true;
        overlay.configBase()->refreshHz = 60;
        overlay.configBase()->showInCar = true;
        int failures = 0;
        createOverlay(overlay, "VT Fuel", failures);
        frame.connected = 1;
        frame.isOnTrack = 1;
        config.browserSourceEnabled = true;
        config.browserSourceLan = false;
        config.browserSourcePort = freePort();
        startStreaming(streaming);
    }
    ~StreamingRig() {
        destroyOverlay(overlay);
        drawingShutdown();
        platformStop();
    }

    void tick() {
        advance(clock, 1.0 / 60);
        streamingTick(streaming);
        overlayTick(overlay, &frame);
    }
    FrameHub& hub() { return streaming.browser.hub; }

    Clock clock = manualClock();
    AppConfig config;
    OverlayHost host{config, clock};
    TestOverlay overlay{host, kSlotFuel, 40, 30};
    SimFrame frame;
    int saves = 0;
    Streaming streaming{host};
};

TEST(StreamingProgram, AStillOverlayIsSeenAtOnceAndTheSettingsAreFollowed) {
    StreamingRig rig;
    ASSERT_EQ(rig.saves, 1) << "the new key is kept";
    for (int i = 0; i < 5; ++i)
        rig.tick();
    ASSERT_EQ(rig.overlay.draws, 1) << "it does not change";
    EXPECT_FALSE(rig.hub().exchanges[kSlotFuel].holdsMemory) << "nobody looks: nothing is copied";

    std::atomic<int> width{0}, alpha{-1};
    hubSubscribe(rig.hub(), kSlotFuel, {}, [&](StreamMessage message) {
        if (message.pixels)
            alpha = message.pixels->at(message.pixels->size() / 2 + 3);
        else
            width = std::atoi(message.text.c_str() + message.text.find("\"w\":") + 4);
    });
    rig.tick();
    EXPECT_EQ(rig.overlay.draws, 2) << "and it is painted anew";
    const auto until = [](auto condition) {
        for (int i = 0; i < 2000 && !condition(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        return condition();
    };
    EXPECT_TRUE(until([&] { return width == bitmapWidth(*rig.overlay.picture); })) << width;
    {
        // The first message has left; this viewer has no socket to say so.
        const std::lock_guard lock(rig.hub().clientsMutex);
        rig.hub().clients[0].writing = false;
    }
    EXPECT_TRUE(until([&] { return alpha >= 0; }));
    const PixelView picture = bitmapPixels(*rig.overlay.picture);
    EXPECT_EQ(alpha, picture.data[picture.height / 2 * picture.stride + 3]);

    const std::string key = BrowserSourceKey(rig.streaming.browser);
    rig.config.browserSourcePort = freePort();
    rig.tick();
    EXPECT_TRUE(rig.hub().clients.empty()) << "a new start";
    EXPECT_EQ(BrowserSourceKey(rig.streaming.browser), key);
    EXPECT_EQ(rig.saves, 1);
    rig.config.browserSourceEnabled = false;
    rig.tick();
    EXPECT_EQ(BrowserSourceKey(rig.streaming.browser), "");
}

} // namespace
} // namespace vt
