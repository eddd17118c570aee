#include "overlay/overlays/track_map_overlay.h"
#include "overlay/overlays/track_map_view.h"
#include "perf/demo_road.h"
#include "platform/picture_file.h"
#include "support/race_frames.h"
#include "telemetry/demo_feed.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

using namespace vt;
using namespace vt::test;

namespace {

/// Straights of 300 m and a hairpin of 15 m at each end.
TrackShape hairpins() {
    TrackShape shape;
    shape.scale = 1;
    constexpr float kStraight = 300, kRadius = 15, kArc = kRadius * 3.14159265f;
    shape.length = 2 * (kStraight + kArc);
    const int count = static_cast<int>(shape.length);
    for (int i = 0; i < count; ++i) {
        float s = shape.length * static_cast<float>(i) / static_cast<float>(count);
        const bool back = s >= kStraight + kArc;
        if (back) s -= kStraight + kArc;
        PointF p;
        if (s < kStraight)
            p = {s - kStraight / 2, -kRadius};
        else {
            const float a = (s - kStraight) / kRadius;
            p = {kStraight / 2 + kRadius * std::sin(a), -kRadius * std::cos(a)};
        }
        shape.line.push_back(back ? PointF{-p.x, -p.y} : p);
    }
    shape.turns = {{1, "", (kStraight + kArc / 2) / shape.length, 15},
                   {2, "", (kStraight * 1.5f + kArc * 1.5f) / shape.length, 15}};
    return shape;
}

constexpr RectF kRect{0, 0, 300, 300};

TEST(TrackMapFollow, TheRoadAheadPointsUpAndTurnsWithoutJumps) {
    const TrackShape shape = hairpins();
    FollowView view;
    float lastSine = 0, lastCosine = 1, worst = 0;
    for (int i = 0; i <= 3000; ++i) {
        const float pct = static_cast<float>(i) / 2000; // over the line and on
        ASSERT_TRUE(buildFollow(view, shape, pct - std::floor(pct), 80, kRect));
        if (i > 0)
            worst = std::max(worst,
                             std::abs(std::atan2(view.sine * lastCosine - view.cosine * lastSine,
                                                 view.cosine * lastCosine + view.sine * lastSine)));
        lastSine = view.sine;
        lastCosine = view.cosine;
        const PointF ahead = view(shapeAt(shape, pct + 4 / shape.length));
        EXPECT_LT(ahead.y, view.anchor.y + 1) << pct;
    }
    EXPECT_LT(worst, 0.1f) << "rad between two frames 0.35 m apart";
    ASSERT_TRUE(buildFollow(view, shape, 0.1f, 80, kRect));
    const PointF top = view(shapeAt(shape, 0.1f + 80 / shape.length));
    EXPECT_NEAR(top.x, 150, 1);
    EXPECT_NEAR(top.y, 0, 1) << "80 m fit between the car and the top";
    const PointF right = view({shapeAt(shape, 0.1f).x, shapeAt(shape, 0.1f).y - 10});
    EXPECT_GT(right.x, 150) << "driven eastwards, south is to the right";

    TrackShape point = shape;
    for (PointF& p : point.line)
        p = {};
    EXPECT_FALSE(buildFollow(view, point, 0.3f, 80, kRect));
    EXPECT_FALSE(buildFollow(view, shape, NAN, 80, kRect));
    EXPECT_FALSE(buildFollow(view, TrackShape(), 0, 80, kRect));
}

TEST(TrackMapFollow, TheNextCornerIsTheOneAhead) {
    const TrackShape shape = hairpins();
    const float first = shape.turns[0].pct;
    CornerCall call = nextCorner(shape, 0);
    EXPECT_EQ(call.severity, 1);
    EXPECT_EQ(call.direction, 'L');
    EXPECT_NEAR(call.distance, first * shape.length, 0.1f);
    call = nextCorner(shape, shape.turns[1].pct + 0.01f);
    EXPECT_NEAR(call.distance, (1 + first - shape.turns[1].pct - 0.01f) * shape.length, 0.1f)
        << "over the line";
    EXPECT_FALSE(nextCorner(TrackShape(), 0).known);
    EXPECT_EQ(cornerSeverity(-19), 1);
    EXPECT_EQ(cornerSeverity(400), 6);

    const CornerCall demo = nextCorner(demoShape(), 0.05f);
    EXPECT_NEAR(demo.pct, 0.14f, 0.02f);
    EXPECT_EQ(demo.direction, 'R');
    EXPECT_GT(demo.brakePct, 0.03f);
    EXPECT_LT(demo.brakePct, demo.pct);
    EXPECT_NEAR(demo.speed * 3.6f, 85, 12);
}

TEST(TrackMapWords, SayWhyThereIsNoMap) {
    SimFrame frame;
    frame.simKind = kSimLmu;
    EXPECT_EQ(trackMapWord(frame, true, 0), nullptr);
    EXPECT_STREQ(trackMapWord(frame, false, 0), "Recording track…");
    EXPECT_STREQ(trackMapWord(frame, false, 1), "Learning track…");
    frame.simKind = kSimAcc;
    EXPECT_STREQ(trackMapWord(frame, false, 3), "No track map");
    frame.simKind = kSimDirtRally2;
    EXPECT_STREQ(trackMapWord(frame, false, 0), "Recording stage…");
    frame.simKind = kSimAcRally;
    EXPECT_STREQ(trackMapWord(frame, false, 0), "No stage map");
}

TEST(TrackMapFit, KeepsTheProportion) {
    const MapFit fit = fitMap(hairpins(), {10, 10, 410, 110});
    const PointF left = fit({-165, 0}), right = fit({165, 0}), top = fit({0, 15});
    EXPECT_NEAR(right.x - left.x, 400, 1);
    EXPECT_NEAR(fit({0, 0}).y - top.y, 15 * 400 / 330.0f, 0.5f) << "north is up";
    EXPECT_NEAR((left.x + right.x) / 2, 210, 0.1f);
}

TEST(TrackMapPictures, TheRoadAheadThroughAHairpin) {
    const TrackShape shape = hairpins();
    RoadMap road;
    road.simKind = kSimLmu;
    road.trackId = 77;
    road.length = shape.length;
    road.laps = 5;
    road.normalSign = 1;
    for (const PointF& point : shape.line) {
        RoadBin bin;
        bin.x = point.x;
        bin.y = point.y;
        bin.count = bin.leftCount = bin.rightCount = 9;
        bin.edgeLeft = bin.edgeRight = 5;
        road.bins.push_back(bin);
    }
    roadNormals(road);
    const auto folder =
        std::filesystem::temp_directory_path() / ("vt_hairpin_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    ASSERT_TRUE(roadMapSave(road, folder));
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    host.tracks.baseDir = folder;
    config.trackmap.enabled = config.trackmap.tmFollow = true;
    SimFrame frame;
    frame.connected = frame.isOnTrack = frame.worldOk = 1;
    frame.simKind = kSimLmu;
    frame.trackId = 77;
    frame.trackLength = shape.length;
    for (const float metres : {240.0f, 295.0f, 323.0f, 350.0f, 692.0f, 4.0f}) {
        TrackMapOverlay overlay(host);
        frame.lapDistPct = metres / shape.length;
        overlay.prepareFrame(&frame);
        const BitmapRef picture = renderPreview(overlay, 1, &frame);
        ASSERT_TRUE(picture);
        const char* out = std::getenv("VT_PICTURES");
        if (out)
            savePng(*picture, std::string(out) + "/map_hairpin_" +
                                  std::to_string(static_cast<int>(metres)) + ".png");
    }
    std::filesystem::remove_all(folder);
}

TEST(TrackMapPictures, Styles) {
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    config.trackmap.enabled = true;
    config.trackmap.bgOpacity = 0.8f;
    config.trackmap.textScale = 1;
    const auto shoot = [&](const SimFrame& frame, const std::string& name, float scale = 1) {
        TrackMapOverlay overlay(host);
        overlay.prepareFrame(&frame);
        const BitmapRef picture = renderPreview(overlay, scale, &frame);
        const char* folder = std::getenv("VT_PICTURES");
        if (folder && picture) savePng(*picture, std::string(folder) + "/map_" + name + ".png");
        return picture != nullptr;
    };
    SimFrame demo;
    demoFrameAt(demo, 40);
    for (int style = 0; style < 2; ++style) {
        config.trackmap.tmStyle = style;
        config.trackmap.tmFollow = false;
        EXPECT_TRUE(shoot(demo, "lap" + std::to_string(style)));
        config.trackmap.tmFollow = true;
        for (const double t : {29.0, 31.0, 33.5, 51.9, 52.3}) {
            demoFrameAt(demo, t);
            EXPECT_TRUE(shoot(demo, "follow" + std::to_string(style) + "_" + std::to_string(t)));
        }
    }
    config.trackmap.tmFollow = false;
    SimFrame sixty = sixtyCarFrame();
    sixty.simKind = kSimIRacing;
    sixty.worldOk = 1;
    EXPECT_TRUE(shoot(sixty, "sixty", 2));
    sixty.worldOk = 0;
    EXPECT_TRUE(shoot(sixty, "none"));
}

} // namespace
