#include "app/laps_estimate.h"
#include "support/scripted_race.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

/// A field of two: car 0 leads, car 1 follows; each has lap times to tell from.
struct TimedRace {
    LapsEstimate state;
    SimFrame frame;
    bool tellsLeader = true;
    bool stage = false;

    TimedRace(int player, float leaderLap, float otherLap) {
        raceAt(frame, kSimAms2, 2, player, 0);
        for (int lap = 1; lap < 5; ++lap) {
            for (CarRow& row : frame.cars) {
                row.lap = lap;
                row.bestLapTime = 0;
                row.lastLapTime =
                    (row.carIdx == 0 ? leaderLap : otherLap) + 0.001f * static_cast<float>(lap);
            }
            frame.lap = lap;
            frame.lastLapTime = frame.cars[static_cast<size_t>(player)].lastLapTime;
            frame.bestLapTime = 0;
            tick();
        }
    }
    float tick() {
        lapsEstimateTick(state, frame, tellsLeader, stage);
        return frame.lapsEstimate;
    }
    float at(double timeRemain, float leaderPct, float otherPct) {
        frame.timeRemain = timeRemain;
        frame.cars[0].lapDistPct = leaderPct;
        frame.cars[1].lapDistPct = otherPct;
        frame.lapDistPct = frame.cars[frame.playerCarIdx == 0 ? 0 : 1].lapDistPct;
        return tick();
    }
};

TEST(LapsEstimate, TheLeaderFinishesTheLapHeIsOn) {
    TimedRace race(0, 100, 110);
    EXPECT_NEAR(race.at(450, 0.25f, 0.1f), 4.75f, 0.01f); // in laps from his last crossing
    EXPECT_EQ(race.frame.lapsEstimateIsExact, 0);
    EXPECT_NEAR(race.at(0, 0.25f, 0.1f), 1.0f, 1e-6f);
    EXPECT_EQ(race.frame.lapsEstimateIsExact, 1);
}

TEST(LapsEstimate, OthersFinishTheLapInWhichTheLeaderDoes) {
    TimedRace race(1, 100, 125);
    // The leader crosses the line 375 s from now at the end of his lap 4: 3.0 laps of ours plus
    // 0.1 make 4 crossings.
    EXPECT_NEAR(race.at(350, 0.25f, 0.1f), 4.0f - 0.25f, 0.02f);
    EXPECT_EQ(race.frame.lapsEstimateIsExact, 0);
    EXPECT_EQ(race.at(0, 0.25f, 0.9f), 2.0f); // he needs 75 s, we are at the line in 12.5
    EXPECT_EQ(race.frame.lapsEstimateIsExact, 1);
    EXPECT_EQ(race.at(-5, 0.99f, 0.0f), 1.0f);
}

TEST(LapsEstimate, WithoutTheOtherCarsThePlayerIsTheLeader) {
    TimedRace race(1, 100, 125);
    race.tellsLeader = false;
    EXPECT_NEAR(race.at(350, 0.25f, 0.1f), 350.0f / 125 + 0.1f, 0.01f);
}

TEST(LapsEstimate, WhenThereIsNone) {
    const struct {
        const char* what;
        std::function<void(TimedRace&)> change;
    } cases[] = {
        {"laps race", [](TimedRace& r) { r.frame.timedSession = 0; }},
        {"not a race", [](TimedRace& r) { r.frame.isRace = 0; }},
        {"stage", [](TimedRace& r) { r.stage = true; }},
        {"chequered flag", [](TimedRace& r) { r.frame.sessionFlags = kFlagChequered; }},
        {"player not in the world", [](TimedRace& r) { r.frame.cars[1].lapDistPct = -1; }},
        {"no leader", [](TimedRace& r) { r.frame.cars[0].position = 0; }},
        {"leader not in the world", [](TimedRace& r) { r.frame.cars[0].lapDistPct = -1; }},
        {"leader beyond the table", [](TimedRace& r) { r.frame.cars[0].carIdx = 9999; }},
        {"not connected", [](TimedRace& r) { r.frame.connected = 0; }},
        {"another session", [](TimedRace& r) { r.frame.sessionNum += 1; }},
    };
    for (const auto& c : cases) {
        TimedRace race(1, 100, 125);
        ASSERT_GT(race.at(350, 0.25f, 0.1f), 0) << c.what;
        c.change(race);
        EXPECT_EQ(race.tick(), -1) << c.what;
        EXPECT_EQ(race.frame.lapsEstimateIsExact, 0) << c.what;
    }
}

TEST(LapsEstimate, TimeLeftThatRisesByMoreThanThirtySecondsIsAnotherRace) {
    for (const double rise : {29.0, 31.0}) {
        TimedRace race(0, 100, 110);
        race.at(450, 0.25f, 0.1f);
        EXPECT_EQ(race.at(450 + rise, 0.25f, 0.1f) > 0, rise < 30) << rise;
    }
}

TEST(LapsEstimate, ATimeNeverSeenIsNotATimeRunOut) {
    TimedRace race(0, 100, 110);
    race.state.timeSeen = 0;
    EXPECT_EQ(race.at(-1, 0.25f, 0.1f), -1);
}

TEST(LapsEstimate, BestLapsOfAnEarlierSessionDoNotCount) {
    TimedRace race(1, 100, 125);
    const float plain = race.at(350, 0.25f, 0.1f);
    race.frame.cars[0].bestLapTime = 60; // would leave no usual lap
    race.frame.cars[0].bestFromEarlier = 1;
    EXPECT_EQ(race.tick(), plain);
    race.frame.cars[0].bestFromEarlier = 0;
    EXPECT_EQ(race.tick(), -1);
}

} // namespace
} // namespace vt
