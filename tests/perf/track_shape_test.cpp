#include "perf/live_map.h"
#include "perf/track_shape.h"
#include "perf/turn_names.h"
#include "platform/file.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <memory>
#include <unistd.h>

namespace vt {
namespace {

constexpr double kTwoPi = 6.283185307179586;

class TrackShapeTest : public testing::Test {
protected:
    std::string folder =
        std::filesystem::temp_directory_path() / ("vt_shape_" + std::to_string(getpid()));
    std::unique_ptr<LiveMap> map;

    void SetUp() override {
        std::filesystem::create_directories(folder);
        map = std::make_unique<LiveMap>(folder);
    }
    void TearDown() override {
        map.reset();
        std::filesystem::remove_all(folder);
    }

    /// An ellipse of 1 by 0.5 km at 60 degrees north, driven clockwise.
    static SimFrame frameAt(double pct) {
        SimFrame frame;
        frame.connected = 1;
        frame.simKind = kSimIRacing;
        frame.trackId = 390;
        frame.speed = 40;
        frame.lapDistPct = static_cast<float>(pct);
        const double a = -pct * kTwoPi;
        frame.longitude = 15 + 500 * std::cos(a) / (111320 * std::cos(60 * kTwoPi / 360));
        frame.latitude = 60 + 250 * std::sin(a) / 111320;
        return frame;
    }
    void drive(double from, double to, bool pit = false) {
        for (double at = from; at < to; at += 0.00037) {
            SimFrame frame = frameAt(at - std::floor(at));
            frame.onPitRoad = pit && frame.lapDistPct < 0.05f;
            map->tick(frame);
        }
    }
};

TEST_F(TrackShapeTest, ThreeLapsDrawTheTrackAndMoreGoOnTop) {
    drive(0.5, 3.4);
    map->wait();
    EXPECT_EQ(map->laps(), 3);
    EXPECT_EQ(map->saved(), 1u);
    TrackShape shape;
    ASSERT_TRUE(loadTrackShape(shape, "", folder, kSimIRacing, 390, 2422));
    ASSERT_EQ(shape.line.size(), 1000u);
    EXPECT_TRUE(shape.closed);
    // North is up, east is right: the lap begins in the east and goes south.
    EXPECT_NEAR(shape.line[0].x, 1000, 2);
    EXPECT_LT(shape.line[250].y, shape.line[0].y);
    const float width = shape.line[0].x - shape.line[500].x;
    const float height = shape.line[750].y - shape.line[250].y;
    EXPECT_NEAR(height / width, 0.5, 0.005) << "one scale for both axes";
    EXPECT_NEAR(shape.scale, 1.0f, 0.02f) << "metres of a unit";
    const PointF between = shapeAt(shape, 0.0005f), wrapped = shapeAt(shape, -0.9995f);
    EXPECT_NEAR(between.x, wrapped.x, 0.01);

    map = std::make_unique<LiveMap>(folder);
    drive(0.5, 1.2);
    EXPECT_EQ(map->laps(), 4) << "what was learned before counts";
}

TEST_F(TrackShapeTest, WhatIsNotEnoughIsKeptButDrawsNothing) {
    for (int lap = 0; lap < 3; ++lap) {
        drive(0.94, 1.0);
        drive(0, 0.035);
    }
    map->wait();
    EXPECT_EQ(map->laps(), 3);
    EXPECT_EQ(map->saved(), 0u) << "95 of 1000 bins";
    TrackShape shape;
    EXPECT_FALSE(loadTrackShape(shape, "", folder, kSimIRacing, 390, 2422));
    LiveMapSums sums;
    int32_t laps = 0;
    EXPECT_TRUE(loadLiveSums(folder, 390, sums, laps));

    const std::string file = folder + "/tracks/iracing/390_acc.json";
    ASSERT_TRUE(writeFileAtomic(file, R"({"trackId":390,"lapsRecorded":3,"raceBins":[[1,2,-1]]})"));
    EXPECT_FALSE(loadLiveSums(folder, 390, sums, laps));
    map = std::make_unique<LiveMap>(folder);
    drive(0.1, 0.2);
    EXPECT_EQ(map->laps(), 0);
}

TEST_F(TrackShapeTest, PassingTheLineInThePitsIsNoLap) {
    drive(0.5, 1.5, true);
    EXPECT_EQ(map->laps(), 0);
    drive(1.5, 2.5);
    EXPECT_EQ(map->laps(), 1);
    SimFrame frame = frameAt(0.5);
    frame.latitude = frame.longitude = 0;
    map->tick(frame);
    frame = frameAt(0.5);
    frame.latitude = NAN;
    map->tick(frame);
}

TEST_F(TrackShapeTest, MapFilesFromElsewhere) {
    std::filesystem::create_directories(folder + "/data/tracks/iracing");
    const std::string file = folder + "/data/tracks/iracing/7.json";
    std::string path = "[";
    for (int i = 0; i < 100; ++i)
        path += (i ? "," : "") + std::string("[") + std::to_string(i) + "," +
                std::to_string(i % 7) + "]";
    path += "]";
    const auto loads = [&](const std::string& text) {
        EXPECT_TRUE(writeFileAtomic(file, text));
        TrackShape shape;
        return loadTrackShape(shape, folder + "/data", folder, kSimIRacing, 7, 3000);
    };
    EXPECT_TRUE(loads(R"({"trackId":7,"path":)" + path + "}"));
    for (const char* text :
         {"", "[]", R"({"trackId":8,"path":[]})", R"({"trackId":7,"path":[[1,2]]})",
          R"({"trackId":7,"path":7})", R"({"trackId":7})", R"({"trackId":"7","path":[]})"})
        EXPECT_FALSE(loads(text)) << text;
    EXPECT_FALSE(loads(R"({"trackId":7,"pitPath":[1],"path":)" + path + "}"));
    EXPECT_FALSE(loads(R"({"trackId":7,"path":[[1e300,0])" + path.substr(2) + "}"));
}

TEST_F(TrackShapeTest, NamesOfTurnsApplyToTheLayoutTheyWereWrittenFor) {
    const auto write = [](const std::string& root, const std::string& text) {
        std::filesystem::create_directories(root + "/turnnames/iracing");
        ASSERT_TRUE(writeFileAtomic(root + "/turnnames/iracing/390.json", text));
    };
    const std::string shipped = folder + "/shipped", own = folder + "/own";
    const auto named = [&](float length) {
        TrackShape shape;
        shape.closed = true;
        shape.length = length;
        shape.turns = {{1, "", 0.1f, 0}, {2, "Kept", 0.3f, 0}, {3, "", 0.995f, 0}};
        nameTurns(shape, shipped, own, kSimIRacing, 390, 0);
        return shape.turns[0].name + "," + shape.turns[1].name + "," + shape.turns[2].name;
    };
    EXPECT_EQ(named(2422), ",Kept,");
    const std::string match = R"({"match":{"lengthM":2400,"lengthTolPct":1},"turns":)";
    write(shipped, match + R"([{"name":"First"},{"name":"Other"},{"name":7},{"name":"Fourth"},
        {"name":"Last","pct":0.008},{"name":"Nowhere","pct":0.5}]})");
    EXPECT_EQ(named(2422), "First,Kept,Last");
    EXPECT_EQ(named(2425), ",Kept,") << "another layout";
    EXPECT_EQ(named(0), ",Kept,");
    write(own, match + "[null,{},{\"name\":\"" + std::string(80, 'x') + "\"}]}");
    EXPECT_EQ(named(2400), ",Kept," + std::string(63, 'x')) << "the driver's own file is taken";
    for (const char* bad : {"", "[]", "{}", "{\"turns\":[{\"name\":\"a\"}]}", "{\"match\":3}"}) {
        write(own, bad);
        named(2400);
    }
}

TEST_F(TrackShapeTest, ARoadOfAnotherSim) {
    RoadMap road;
    road.simKind = kSimLmu;
    road.trackId = 5;
    road.length = 1000;
    road.normalSign = -1;
    road.laps = 2;
    road.bins.resize(1000);
    for (int i = 0; i < 1000; ++i) {
        const float a = static_cast<float>(i) / 1000 * static_cast<float>(kTwoPi);
        if (i % 10 != 0) continue; // gaps
        road.bins[static_cast<size_t>(i)] = {
            .x = 159 * std::cos(a), .y = 159 * std::sin(a), .count = 1};
    }
    ASSERT_TRUE(roadMapSave(road, folder));
    TrackShape shape;
    ASSERT_TRUE(loadTrackShape(shape, "", folder, kSimLmu, 5, 1000));
    ASSERT_EQ(shape.line.size(), 1000u);
    EXPECT_NEAR(shape.line[250].y, -159, 0.1) << "seen from above";
    EXPECT_NEAR(std::hypot(shape.line[255].x, shape.line[255].y), 159, 0.2);
    EXPECT_NEAR(std::hypot(shape.line[997].x, shape.line[997].y), 159, 0.2) << "over the line";
    road.laps = 1;
    ASSERT_TRUE(roadMapSave(road, folder));
    EXPECT_FALSE(loadTrackShape(shape, "", folder, kSimLmu, 5, 1000)) << "not good enough yet";
}

} // namespace
} // namespace vt
