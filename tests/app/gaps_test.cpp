#include "app/gap_rings.h"
#include "support/scripted_race.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

/// One tick as the pump does it.
void gapsOf(GapRings& rings, SimFrame& frame, bool useRings = true) {
    if (useRings) updateRings(rings, frame);
    computeGaps(rings, frame, referenceLap(frame, rings.scratch), useRings);
}

/// Position of a car on a track whose first half is driven at three times the speed of the second;
/// 100 s a lap.
float unevenPct(double t) {
    const double lap = t - 100.0 * std::floor(t / 100.0);
    return static_cast<float>(lap < 25 ? lap * 0.02 : 0.5 + (lap - 25) / 150.0);
}

SimFrame duel(double t, double aheadBy) {
    SimFrame frame;
    frame.connected = 1;
    frame.simKind = kSimIRacing;
    frame.sessionTime = t;
    frame.playerCarIdx = 5;
    frame.cars.resize(3);
    frame.cars[0].carIdx = 9;
    frame.cars[0].lapDistPct = unevenPct(t + aheadBy);
    frame.cars[1].carIdx = 5;
    frame.cars[1].lapDistPct = unevenPct(t);
    frame.cars[2].carIdx = 2;
    frame.cars[2].lapDistPct = unevenPct(t - 6);
    return frame;
}

TEST(Gaps, RingsGiveTheTrueTimeWhateverTheSpeed) {
    GapRings rings;
    for (double t = 1000; t < 1350; t += 0.1) {
        SimFrame frame = duel(t, 4);
        gapsOf(rings, frame);
        if (t < 1120) continue;
        ASSERT_EQ(frame.cars[0].gapFromRings, 1) << t;
        ASSERT_NEAR(frame.cars[0].gapToPlayer, 4.0f, 0.15f) << t;
        ASSERT_EQ(frame.cars[2].gapFromRings, 1) << t;
        ASSERT_NEAR(frame.cars[2].gapToPlayer, -6.0f, 0.15f) << t;
        ASSERT_EQ(frame.cars[1].gapToPlayer, 0.0f);
        ASSERT_EQ(frame.cars[1].gapFromRings, 0);
    }
}

TEST(Gaps, AParkedCarFallsBackToTheEstimateWhenItsCrossingsAreOld) {
    GapRings rings;
    for (double t = 0; t < 200; t += 0.1) {
        SimFrame frame = duel(1000 + t, 4);
        gapsOf(rings, frame);
    }
    // Now car 9 stands in its pit just ahead of where the player passes again and again.
    float parked = duel(1200, 4).cars[0].lapDistPct;
    bool sawRings = false;
    for (double t = 200; t < 600; t += 0.1) {
        SimFrame frame = duel(1000 + t, 4);
        frame.cars[0].lapDistPct = parked;
        gapsOf(rings, frame);
        const bool fromRings = frame.cars[0].gapFromRings;
        sawRings |= t > 260 && fromRings; // the player has been behind it for most of a lap
        if (t > 200 + 2 * 100 + 10 && frame.cars[1].lapDistPct < parked) {
            ASSERT_FALSE(fromRings) << t;
        }
    }
    EXPECT_TRUE(sawRings);
}

TEST(Gaps, EstimateWrapsByTheReferenceLap) {
    const struct {
        float playerEst, otherEst, best, gap;
    } cases[] = {
        {10, 14, 90, 4}, {10, 5, 90, -5}, {88, 3, 90, 5}, {2, 86, 90, -6}, {10, 20, 0.5f, 0},
    };
    GapRings rings;
    for (const auto& c : cases) {
        SimFrame frame = duel(10, 1);
        frame.simKind = kSimAms2;
        frame.cars[0].estTime = c.otherEst;
        frame.cars[1].estTime = c.playerEst;
        frame.cars[2].lapDistPct = -1;
        frame.cars[2].gapToPlayer = 7;
        computeGaps(rings, frame, c.best, false);
        EXPECT_NEAR(frame.cars[0].gapToPlayer, c.gap, 1e-4f) << c.playerEst;
        EXPECT_EQ(frame.cars[0].gapFromRings, 0);
        EXPECT_EQ(frame.cars[2].gapToPlayer, 0); // not in the world
    }
}

TEST(Gaps, WithoutAPlayerThereAreNone) {
    GapRings rings;
    for (double t = 1000; t < 1250; t += 0.1) {
        SimFrame frame = duel(t, 4);
        frame.playerCarIdx = t < 1240 ? 5 : 77;
        gapsOf(rings, frame);
        if (t < 1240) continue;
        for (const CarRow& row : frame.cars) {
            ASSERT_EQ(row.gapToPlayer, 0);
            ASSERT_EQ(row.gapFromRings, 0);
        }
    }
}

TEST(Gaps, ReferenceLapLadder) {
    SimFrame frame = duel(10, 1);
    frame.cars.emplace_back().carIdx = 20;
    std::vector<float> scratch;
    frame.cars[0].estTime = 71;
    EXPECT_EQ(referenceLap(frame, scratch), 71); // the largest estimated time
    frame.cars[0].lastLapTime = 95;
    frame.cars[2].bestLapTime = 99;
    frame.cars[2].lastLapTime = 120;
    frame.cars[3].bestLapTime = 901; // no lap time
    frame.cars[3].lastLapTime = 91;
    EXPECT_EQ(referenceLap(frame, scratch), 95); // median of 95, 99, 91
    frame.cars[1].lastLapTime = 101;
    EXPECT_EQ(referenceLap(frame, scratch), 101);
    frame.cars[1].bestLapTime = 100;
    EXPECT_EQ(referenceLap(frame, scratch), 100);
    frame.cars[1].bestLapTime = 900;
    EXPECT_EQ(referenceLap(frame, scratch), 101);
}

} // namespace
} // namespace vt
