#include "app/live_delta.h"
#include "support/scripted_drive.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

struct LapDrive : ScriptedDrive {
    LiveDeltaTracker tracker;

    LapDrive() {
        frame.connected = 1;
        frame.simKind = kSimAc;
        frame.isOnTrack = 1;
        way = 0.9;
        tick = [this](SimFrame& f, double now) { liveDeltaTick(tracker, f, now, true); };
        step();
    }
};

TEST(LiveDelta, AgainstBestAndLastLap) {
    LapDrive car;
    car.drive(0.1, 90); // up to the line: nothing is timed yet
    EXPECT_EQ(car.tracker.started, 1);
    car.drive(1, 90);
    EXPECT_NEAR(car.tracker.runs.bestTime, 90, 0.05);
    car.drive(1, 110);
    EXPECT_NEAR(car.tracker.runs.bestTime, 90, 0.05);
    EXPECT_NEAR(car.tracker.runs.lastTime, 110, 0.05);
    car.drive(0.5, 100);
    ASSERT_EQ(car.frame.liveDeltaBestOk, 1);
    constexpr double kHalfBin = 110.0 / 255 / 2; // a bin holds the last time seen in it
    EXPECT_NEAR(car.frame.liveDeltaBest, 5, kHalfBin + 0.05);
    EXPECT_NEAR(car.frame.liveDeltaLast, -5, kHalfBin + 0.05);
}

TEST(LiveDelta, WhatDoesNotCount) {
    const struct {
        const char* what;
        std::function<void(LapDrive&)> spoil;
    } cases[] = {
        {"a jump back", [](LapDrive& car) { car.way -= 0.2; }},
        {"three seconds standing", [](LapDrive& car) { car.stand(3); }},
        {"out of the car",
         [](LapDrive& car) {
             car.frame.isOnTrack = 0;
             car.step();
             car.frame.isOnTrack = 1;
         }},
    };
    for (const auto& c : cases) {
        LapDrive car;
        car.drive(0.6, 90);
        c.spoil(car);
        car.drive(std::ceil(car.way) - car.way, 90);
        EXPECT_EQ(car.tracker.runs.hasLast, 0) << c.what;
        EXPECT_EQ(car.tracker.started, 1) << c.what; // and the next lap does
        car.drive(1, 90);
        EXPECT_EQ(car.tracker.runs.hasLast, 1) << c.what;
    }
    LapDrive hasty; // a car put round the lap in four seconds
    hasty.drive(0.1, 90);
    hasty.drive(1, 4);
    EXPECT_EQ(hasty.tracker.runs.hasLast, 0);
}

TEST(LiveDelta, AShortStopIsTakenOut) {
    LapDrive car;
    car.drive(0.6, 90);
    car.stand(2.3);
    car.drive(0.5, 90);
    ASSERT_EQ(car.tracker.runs.hasLast, 1);
    EXPECT_NEAR(car.tracker.runs.lastTime, 90.5, 0.1);
}

TEST(LiveDelta, AfterAJumpBackNothingIsShownUntilTheLine) {
    LapDrive car;
    car.drive(1.3, 90);
    ASSERT_EQ(car.frame.liveDeltaLastOk, 1);
    car.way -= 0.15;
    car.step();
    EXPECT_EQ(car.tracker.started, 0);
    EXPECT_EQ(car.frame.liveDeltaLastOk, 0);
    EXPECT_EQ(car.frame.liveDeltaLast, 0);
}

TEST(LiveDelta, OnlyWhereThePositionIsPreciseAndTheSimTheSame) {
    LapDrive car;
    car.drive(1.3, 90);
    car.frame.simKind = kSimAcc;
    car.step();
    EXPECT_EQ(car.frame.liveDeltaBestOk, 0);
    LapDrive coarse;
    coarse.tick = [&](SimFrame& f, double now) { liveDeltaTick(coarse.tracker, f, now, false); };
    coarse.drive(1.3, 90);
    EXPECT_EQ(coarse.frame.liveDeltaBestOk, 0);
}

} // namespace
} // namespace vt
