// A car on roads of known shape: what the survey learns is measured against them in metres.
#include "perf/road_saver.h"
#include "perf/road_survey.h"
#include "telemetry/coach_log.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <unistd.h>

namespace vt {
namespace {

constexpr float kTwoPi = 6.2831853f;
constexpr float kCircle = 1200; // m round
constexpr float kStage = 900;   // m

/// A frame on a circle that is driven clockwise (`lateral` to the right is inwards), or on a stage
/// with one bend of 90 degrees and 25 m radius.
SimFrame frameAt(SimKind sim, float metres, float lateral) {
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = sim;
    frame.trackId = 77;
    frame.worldOk = 1;
    frame.speed = 30;
    frame.throttle = 0.8f;
    frame.gear = 4;
    frame.trackSurface = 3;
    float heading = 0;
    if (sim == kSimDirtRally2) {
        frame.trackLength = kStage;
        frame.lapDistPct = metres / kStage;
        const float bend = 400, radius = 25, arc = radius * kTwoPi / 4;
        if (metres < bend) {
            frame.worldX = metres;
        } else if (metres < bend + arc) {
            heading = (metres - bend) / radius;
            frame.worldX = bend + radius * std::sin(heading);
            frame.worldY = radius * (1 - std::cos(heading));
            frame.speed = 15;
        } else {
            heading = kTwoPi / 4;
            frame.worldX = bend + radius;
            frame.worldY = radius + metres - bend - arc;
        }
        frame.trackSurface = -1; // rally sims tell none
    } else {
        frame.trackLength = kCircle;
        const float lap = std::fmod(metres, kCircle);
        frame.lapDistPct = lap / kCircle;
        const float angle = -lap / kCircle * kTwoPi, radius = kCircle / kTwoPi;
        heading = angle - kTwoPi / 4;
        frame.worldX = radius * std::cos(angle);
        frame.worldY = radius * std::sin(angle);
    }
    frame.forwardX = std::cos(heading);
    frame.forwardY = std::sin(heading);
    frame.rightX = frame.forwardY;
    frame.rightY = -frame.forwardX;
    frame.worldX += lateral * frame.rightX;
    frame.worldY += lateral * frame.rightY;
    return frame;
}

class RoadSurveyTest : public testing::Test {
protected:
    RoadSurvey survey;
    std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("vt_road_" + std::to_string(getpid()));
    Clock clock;

    void SetUp() override {
        std::filesystem::create_directories(folder);
        survey.baseDir = folder;
        coachLogOpen(folder, clock);
    }
    void TearDown() override {
        coachLogOpen({}, clock);
        std::filesystem::remove_all(folder);
    }
    std::string log() const {
        std::ifstream file(folder / "logs" / "coach.log");
        return (std::stringstream() << file.rdbuf()).str();
    }

    template <class Change>
    void drive(SimKind sim, float from, float to, Change change) {
        for (float metres = from; metres < to; metres += 0.5f) {
            SimFrame frame = frameAt(sim, metres, 0);
            frame.currentLapTime =
                (sim == kSimDirtRally2 ? metres : std::fmod(metres, kCircle)) / 30;
            change(frame, metres);
            roadSurveyTick(survey, frame);
        }
    }
    /// LMU tells its offset from the path and the edge on that side.
    void lmuLaps(float from, float to, float lateral) {
        drive(kSimLmu, from * kCircle, to * kCircle, [lateral](SimFrame& frame, float metres) {
            const SimFrame moved = frameAt(kSimLmu, metres, lateral);
            frame.worldX = moved.worldX;
            frame.worldY = moved.worldY;
            frame.pathLateral = lateral;
            frame.pathLateralOk = 1;
            frame.trackEdge = lateral >= 0 ? 6.5f : -5.0f;
            frame.trackEdgeOk = 1;
        });
    }
};

TEST_F(RoadSurveyTest, ACircuitWithAPathIsLearnedToTheCentimetre) {
    lmuLaps(0.5f, 1.01f, 2); // joined mid-lap: not counted
    EXPECT_EQ(survey.map.laps, 0);
    EXPECT_NE(log().find("LOST (part lap only, joined mid-lap)"), std::string::npos);
    lmuLaps(1.01f, 2, 2);
    lmuLaps(2, 3.01f, -3);
    ASSERT_EQ(survey.map.laps, 2);
    EXPECT_TRUE(roadMapGood(survey.map));
    EXPECT_STREQ(survey.statusText, "ROAD LAP OK - 2 RUNS");
    ASSERT_EQ(survey.map.binCount(), 1200);
    int points = 0;
    for (const RoadBin& bin : survey.map.bins) {
        if (bin.count == 0) continue;
        ++points;
        EXPECT_NEAR(std::hypot(bin.x, bin.y), kCircle / kTwoPi, 0.05f);
        // Driven clockwise, the right points to the middle.
        EXPECT_GT(-(bin.normalX * bin.x + bin.normalY * bin.y), 0.99f * kCircle / kTwoPi);
    }
    EXPECT_GE(points, 1190);
    EXPECT_FLOAT_EQ(survey.map.bins[600].edgeRight, 6.5f);
    EXPECT_FLOAT_EQ(survey.map.bins[600].edgeLeft, 5.0f);
    const SimFrame right = frameAt(kSimLmu, 300, 4.25f);
    const RoadLateral lateral =
        roadLateral(survey.map, right.lapDistPct, right.worldX, right.worldY);
    EXPECT_TRUE(lateral.ok);
    EXPECT_NEAR(lateral.metres, 4.25f, 0.1f);
    EXPECT_FALSE(roadLateral(survey.map, 0.25f, 5000, 0).ok);
    EXPECT_FALSE(roadLateral(survey.map, NAN, 0, 0).ok);
}

TEST_F(RoadSurveyTest, WhatLiesOffTheRoadNeverReachesTheMap) {
    lmuLaps(0.9f, 3.01f, 0);
    ASSERT_EQ(survey.map.laps, 2);
    const RoadBin before = survey.map.bins[500];
    // Through the grass at 480..520 m, 10 m off: off road there and for the next 25 m.
    drive(kSimLmu, 3.01f * kCircle, 4.01f * kCircle, [](SimFrame& frame, float metres) {
        frame.pathLateralOk = 1;
        const float lap = std::fmod(metres, kCircle);
        if (lap < 480 || lap > 520) return;
        frame.trackSurface = 0;
        frame.worldX += 10;
    });
    EXPECT_EQ(survey.map.laps, 3);
    EXPECT_EQ(survey.map.bins[500].count, before.count);
    EXPECT_EQ(survey.map.bins[530].count, before.count) << "within the first 25 m back";
    EXPECT_EQ(survey.map.bins[560].count, before.count + 1);
    EXPECT_FLOAT_EQ(survey.map.bins[500].x, before.x);

    // A point 24 m off its place is folded, one 26 m off is not.
    for (const float off : {26.0f, 24.0f}) {
        const uint8_t count = survey.map.bins[800].count;
        const float start = off > 25 ? 4.01f : 5.01f;
        drive(kSimLmu, start * kCircle, (start + 1) * kCircle,
              [off](SimFrame& frame, float metres) {
                  frame.pathLateralOk = 1;
                  if (std::abs(std::fmod(metres, kCircle) - 800.25f) > 0.6f) return;
                  const float radius = kCircle / kTwoPi;
                  frame.worldX *= (radius + off) / radius;
                  frame.worldY *= (radius + off) / radius;
              });
        EXPECT_EQ(survey.map.bins[800].count, off < 25 ? count + 1 : count);
    }
}

TEST_F(RoadSurveyTest, APassWithAJumpOrTooManyGapsDoesNotCount) {
    lmuLaps(0.9f, 1.01f, 0);
    lmuLaps(1.01f, 1.4f, 0);
    lmuLaps(1.6f, 2.01f, 0);
    EXPECT_EQ(survey.map.laps, 0);
    EXPECT_NE(log().find("the car jumped position mid-lap"), std::string::npos);
    // 30 % of the lap in the pits: a quarter may be missing, not more.
    drive(kSimLmu, 2.01f * kCircle, 3.01f * kCircle, [](SimFrame& frame, float) {
        frame.pathLateralOk = 1;
        frame.onPitRoad = frame.lapDistPct > 0.4f && frame.lapDistPct < 0.7f;
    });
    EXPECT_EQ(survey.map.laps, 0);
    EXPECT_STREQ(survey.statusText, "ROAD LAP THIN - 68% MAPPED, 32% OFF");
    EXPECT_GT(survey.map.bins[100].count, 0) << "what it saw is kept";
}

TEST_F(RoadSurveyTest, TheUsedRoadIsAsWideAsTheLinesSpread) {
    std::mt19937 random(4);
    std::normal_distribution<float> line(0, 2);
    drive(kSimAcEvo, 0.9f * kCircle, kCircle, [](SimFrame&, float) {});
    for (int lap = 1; lap <= 40; ++lap) {
        const float lateral = line(random);
        drive(kSimAcEvo, static_cast<float>(lap) * kCircle, static_cast<float>(lap + 1) * kCircle,
              [lateral](SimFrame& frame, float metres) {
                  const SimFrame moved = frameAt(kSimAcEvo, metres, lateral);
                  frame.worldX = moved.worldX;
                  frame.worldY = moved.worldY;
              });
    }
    EXPECT_GE(survey.map.laps, 39);
    const RoadBin& bin = survey.map.bins[700];
    // 1.645 deviations of the mean's spread and half a car to each side.
    EXPECT_NEAR(bin.edgeLeft + bin.edgeRight, 2 * (1.645f * 2 + 0.75f), 2.5f);
    // A lap that the game did not count is thrown away.
    const int laps = survey.map.laps;
    drive(kSimAcEvo, 41.0f * kCircle, 42.01f * kCircle,
          [](SimFrame& frame, float) { frame.lapValidity = 0; });
    EXPECT_LE(survey.map.laps, laps + 1);
    EXPECT_NE(log().find("the game did not count the lap"), std::string::npos);
}

TEST_F(RoadSurveyTest, AStageKeepsItsRoadAndTheBestOfEveryCorner) {
    const auto run = [this](float pace, float to) {
        drive(kSimDirtRally2, 0, to, [pace](SimFrame& frame, float metres) {
            frame.currentLapTime = metres / 30 * pace + 0.01f;
        });
    };
    run(1.0f, kStage - 1);
    run(1.0f, 10); // back at the start: a restart, the run is folded
    ASSERT_EQ(survey.map.laps, 1);
    EXPECT_TRUE(roadMapGood(survey.map));
    EXPECT_STREQ(survey.statusText, "ROAD STAGE OK - 1 RUNS");
    const float first = survey.map.bestSeconds;
    EXPECT_NEAR(first, kStage / 30, 0.2f);
    ASSERT_EQ(survey.map.corners.size(), 1u);
    EXPECT_NEAR(survey.map.corners[0].apex, 400 + 20, 12);
    const float corner = survey.map.corners[0].seconds;

    run(0.9f, kStage - 1); // quicker
    run(1.0f, 500);        // then a partial one, slower
    SimFrame gone;
    roadSurveyTick(survey, gone);
    EXPECT_LT(survey.map.bestSeconds, first);
    EXPECT_LT(survey.map.corners[0].seconds, corner);
    EXPECT_EQ(survey.map.corners.size(), 1u);
    const float best = survey.map.bestSeconds;

    // It is on the disk, and the same after a new start.
    RoadMap loaded;
    ASSERT_TRUE(roadMapLoad(loaded, folder, kSimDirtRally2, 77));
    EXPECT_FLOAT_EQ(loaded.bestSeconds, best);
    EXPECT_TRUE(loaded.lineOnly);
    EXPECT_EQ(loaded.binCount(), survey.map.binCount());
    EXPECT_FLOAT_EQ(loaded.bins[450].x, survey.map.bins[450].x);
    EXPECT_FLOAT_EQ(loaded.bins[450].normalY, survey.map.bins[450].normalY);
    EXPECT_EQ(loaded.best[450].throttle, 80);
    EXPECT_EQ(loaded.corners[0].exit, survey.map.corners[0].exit);
}

TEST_F(RoadSurveyTest, FilesThatAreNotMapsCountAsAbsent) {
    lmuLaps(0.9f, 2.01f, 0);
    const std::string good = roadMapText(survey.map);
    RoadMap map;
    ASSERT_TRUE(roadMapParse(map, good));
    const auto spoilt = [&](const std::string& from, const std::string& to) {
        std::string text = good;
        const size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return text.replace(at, from.size(), to);
    };
    for (const std::string& text :
         {std::string(), std::string("[]"), good.substr(0, good.size() / 2),
          spoilt("\"binCount\": 1200", "\"binCount\": 1201"),
          spoilt("\"binCount\": 1200", "\"binCount\": 2000000000"),
          spoilt("\"laps\": 1", "\"laps\": \"1\""), spoilt("\"cx\": [", "\"cx\": [null,"),
          spoilt("\"version\": 1", "\"version\": 2"), spoilt("\"eL\"", "\"e\"")})
        EXPECT_FALSE(roadMapParse(map, text)) << text.substr(0, 60);
    EXPECT_TRUE(map.bins.empty());
}

TEST_F(RoadSurveyTest, TheSaverWritesTheLatestAndLosesNothingAtTheEnd) {
    RoadMap map;
    map.simKind = kSimLmu;
    map.bins.resize(26000);
    {
        RoadSaver saver(folder);
        for (int i = 1; i <= 5; ++i) {
            map.trackId = i % 2 + 1;
            map.laps = i;
            saver.store(map);
        }
        EXPECT_TRUE(saver.flush(20000));
        EXPECT_TRUE(roadMapLoad(map, folder, kSimLmu, 2));
        EXPECT_EQ(map.laps, 5);
        map.laps = 6;
        saver.store(map);
    }
    ASSERT_TRUE(roadMapLoad(map, folder, kSimLmu, 2));
    EXPECT_EQ(map.laps, 6);
    RoadSaver nowhere("/proc/no/such/folder");
    nowhere.store(map);
    EXPECT_FALSE(nowhere.flush(50));
}

TEST(RoadMap, BinsAndPaths) {
    EXPECT_EQ(roadBinCount(300), 500);
    EXPECT_EQ(roadBinCount(30000), 26000);
    EXPECT_EQ(roadBinCount(5793.9f), 5793);
    EXPECT_EQ(roadBinCount(NAN), 500);
    EXPECT_EQ(roadMapPath("/base", kSimEaWrc, 12), "/base/simmaps/eawrc/12.json");
}

} // namespace
} // namespace vt
