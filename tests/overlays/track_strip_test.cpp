#include "overlay/overlays/track_strip_overlay.h"
#include "platform/picture_file.h"
#include "support/race_frames.h"
#include "telemetry/demo_feed.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

using namespace vt;
using namespace vt::test;

namespace {

class TrackStrip : public testing::Test {
protected:
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    TrackStripView view;
    SimFrame frame;

    CarRow& add(int idx, float pct, float gap, const char* carClass = "GT3") {
        CarRow row;
        row.carIdx = idx;
        row.lapDistPct = pct;
        row.gapToPlayer = gap;
        row.position = idx + 1;
        std::snprintf(row.carClass, sizeof row.carClass, "%s", carClass);
        frame.cars.push_back(row);
        return frame.cars.back();
    }
    void SetUp() override {
        frame.connected = 1;
        frame.playerCarIdx = 0;
        frame.lap = 5;
        frame.timedSession = 0;
        frame.lapsRemain = 15;
        add(0, 0.5f, 0);
    }
    const TrackStripView& build() {
        buildTrackStrip(view, config.trackstrip, &frame);
        return view;
    }
    BitmapRef shoot(const SimFrame& from, const char* name) {
        TrackStripOverlay overlay(host);
        const BitmapRef picture = renderPreview(overlay, 1, &from);
        const char* folder = std::getenv("VT_PICTURES");
        if (folder && picture) savePng(*picture, std::string(folder) + "/strip_" + name + ".png");
        return picture;
    }
};

TEST_F(TrackStrip, TheLaneHoldsFiveSecondsAndCountsTheRest) {
    add(1, 0.53f, 5.0f);
    add(2, 0.51f, 1.2f, "GTP");
    add(3, 0.49f, -0.8f);
    add(4, 0.2f, -30);
    add(5, 0.9f, 5.1f);
    add(6, 0.02f, 2).onPitRoad = 1;
    add(7, -1, 0.5f);
    build();
    ASSERT_EQ(view.lane.size(), 3u);
    EXPECT_FLOAT_EQ(view.lane[0].at, 1) << "exactly five seconds: at the end";
    EXPECT_EQ(view.nearestAhead, 1);
    EXPECT_EQ(view.nearestBehind, 2);
    EXPECT_EQ(view.moreAhead, 1);
    EXPECT_EQ(view.moreBehind, 1);
    EXPECT_EQ(view.pits.size(), 1u);
    EXPECT_EQ(view.cars.size(), 6u) << "a car that is not in the world is nowhere";
    EXPECT_TRUE(view.cars.back().player) << "drawn above the others";
    EXPECT_STREQ(view.place, "P1");
    EXPECT_STREQ(view.laps, "LAP 5 / 20");
    config.trackstrip.tsMyClassOnly = true;
    EXPECT_EQ(build().lane.size(), 2u);
    config.trackstrip.tsShowGaps = false;
    EXPECT_TRUE(build().lane.empty());
    TrackStripOverlay overlay(host);
    EXPECT_EQ(overlay.baseHeight, 76);
}

TEST_F(TrackStrip, ANewPictureOnlyWhenADotHasMoved) {
    add(1, 0.25f, 2);
    const uint64_t before = hashTrackStrip(build(), 676);
    frame.cars[1].lapDistPct += 0.0003f;
    EXPECT_EQ(hashTrackStrip(build(), 676), before);
    frame.cars[1].lapDistPct += 0.002f;
    EXPECT_NE(hashTrackStrip(build(), 676), before);
    const uint64_t moved = hashTrackStrip(view, 676);
    frame.cars[1].gapToPlayer = 2.06f;
    EXPECT_NE(hashTrackStrip(build(), 676), moved) << "the label's last digit";
    frame.cars[1].gapToPlayer = NAN;
    build();
}

TEST_F(TrackStrip, WithoutPositionsItSaysSo) {
    frame.cars[0].lapDistPct = 0;
    add(1, 0, 0);
    EXPECT_FALSE(build().positions);
    EXPECT_TRUE(shoot(frame, "none"));
}

TEST_F(TrackStrip, Pictures) {
    SimFrame demo;
    demoFrameAt(demo, 40);
    demo.pitStallPct = 0.97f;
    EXPECT_TRUE(shoot(demo, "demo"));
    for (int theme = 0; theme < 4; ++theme) {
        config.overlayThemeV2 = theme;
        EXPECT_TRUE(shoot(sixtyCarFrame(), ("sixty_" + std::to_string(theme)).c_str()));
    }
    config.trackstrip.tsShowGaps = false;
    config.trackstrip.textScale = 2;
    config.trackstrip.widthMul = 0.6f;
    EXPECT_TRUE(shoot(demo, "narrow"));
}

} // namespace
