#include "overlay/overlays/spotter_overlay.h"
#include "platform/picture_file.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace vt {
namespace {

class SpotterWindow : public testing::Test {
protected:
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    SimFrame frame;

    void SetUp() override {
        frame.connected = 1;
        frame.simKind = kSimLmu;
        frame.trackLength = 5000;
        frame.speed = 60;
        frame.playerCarIdx = 0;
        add(0, 0, 1);
    }
    CarRow& add(float along, float across, int number) {
        CarRow row;
        row.carIdx = static_cast<int>(frame.cars.size());
        row.carNumberValue = number;
        row.lapDistPct = 0.5f + along / 5000;
        row.pathLateral = 0.5f + across;
        frame.cars.push_back(row);
        return frame.cars.back();
    }
    void shoot(const char* name) {
        static const char* const kNames[] = {"bars", "radar", "disc"};
        for (int mode = 0; mode < 3; ++mode) {
            config.spotter.spotterMode = mode;
            SpotterOverlay overlay(host);
            overlay.layoutForStyle();
            applyScale(overlay);
            const BitmapRef picture = renderPreview(overlay, 2, &frame);
            ASSERT_TRUE(picture) << kNames[mode];
            const PixelView pixels = bitmapPixels(*picture);
            bool any = false;
            for (int y = 0; y < pixels.height && !any; ++y)
                for (int x = 0; x < pixels.width && !any; ++x)
                    any = pixels.data[y * pixels.stride + x * 4 + 3] > 40;
            EXPECT_TRUE(any) << kNames[mode];
            if (const char* folder = std::getenv("VT_PICTURES"))
                savePng(*picture,
                        std::string(folder) + "/spotter_" + kNames[mode] + "_" + name + ".png");
        }
    }
};

struct Neighbour {
    float along, across; // m
    int number;
    bool inPits = false;
};
struct Scene {
    const char* name;
    std::vector<Neighbour> cars;
    int simsWord = 0; // of the one sim that tells sides in a word and no places across
};

TEST_F(SpotterWindow, Pictures) {
    const Scene scenes[] = {
        {"alone", {}},
        {"left", {{-1.5f, -2.6f, 44}}},
        {"right", {{2, 2.7f, 7}}},
        {"both", {{-1.5f, -2.6f, 44}, {2.5f, 2.8f, 7}}},
        {"three_wide_left", {{0.5f, 2.5f, 7}, {-1, 5.2f, 118}}},
        {"three_wide_right", {{0.5f, -2.5f, 7}, {-1, -5.2f, 118}}},
        {"corner", {{3.9f, -1.7f, 44}, {-6.5f, 1.4f, 9}}},
        {"pits", {{6, -0.2f, 3, true}, {0, 3.5f, 8, true}, {2, -9, 51}}},
        {"start",
         {{8, 0.2f, 1},
          {4, -3.8f, 2},
          {-4, -3.9f, 4},
          {-8, 0, 5},
          {12, -4, 21},
          {-12, -3.6f, 6},
          {16, 0.3f, 77},
          {-16, 0.1f, 100}}},
        {"sims_left", {{1, 0, 44}, {-3.2f, 0, 7}, {9, 0, 23}}, 2},
        {"sims_two_left", {{1, 0, 44}, {-2, 0, 7}, {-11, 0, 111}}, 5},
    };
    for (const Scene& scene : scenes) {
        frame.cars.resize(1);
        frame.simKind = scene.simsWord != 0 ? kSimIRacing : kSimLmu;
        frame.carLeftRight = scene.simsWord;
        for (const Neighbour& car : scene.cars)
            add(car.along, car.across, car.number).onPitRoad = car.inPits;
        if (scene.simsWord != 0)
            for (CarRow& row : frame.cars)
                row.pathLateral = 0;
        shoot(scene.name);
    }
}

TEST_F(SpotterWindow, NobodyAroundIsOneHashAndNoPicture) {
    for (const auto& [mode, idle] : {std::pair{0, 364567ull}, {1, 5418409ull}, {2, 5418409ull}}) {
        config.spotter.spotterMode = mode;
        SpotterOverlay overlay(host);
        overlay.frame = &frame;
        EXPECT_EQ(overlay.contentHash(), idle);
        SimFrame busy = frame;
        CarRow row = frame.cars[0];
        row.carIdx = 1;
        row.pathLateral += 2.5f;
        row.lapDistPct += 0.0001f;
        busy.cars.push_back(row);
        overlay.frame = &busy;
        advance(clock, 0.033);
        const uint64_t one = overlay.contentHash();
        EXPECT_NE(one, idle);
        advance(clock, 0.033);
        EXPECT_NE(overlay.contentHash(), one) << "it pulses";
        overlay.frame = &frame;
        for (int i = 0; i < 200; ++i) {
            advance(clock, 0.033);
            overlay.contentHash();
        }
        EXPECT_EQ(overlay.contentHash(), idle) << "faded away";
    }
}

TEST_F(SpotterWindow, TheBarsStandAsFarApartAsAsked) {
    config.spotter.spotterMode = 0;
    config.spotter.spotterBarGap = 300;
    config.spotter.spotterBarWidth = 500;
    SpotterOverlay overlay(host);
    overlay.layoutForStyle();
    EXPECT_EQ(overlay.baseWidth, 512);
    EXPECT_EQ(overlay.baseHeight, 340);
    EXPECT_TRUE(overlay.widthFixed);
    EXPECT_EQ(overlay.gapField(), &config.spotter.spotterBarGap);
    std::snprintf(frame.sessionName, sizeof frame.sessionName, "Open Qualify");
    overlay.frame = &frame;
    EXPECT_FALSE(overlay.visibilityGate());
    config.spotter.spotterShowInQualy = true;
    EXPECT_TRUE(overlay.visibilityGate());
}

} // namespace
} // namespace vt
