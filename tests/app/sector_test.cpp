#include "app/sector_tracker.h"
#include "support/scripted_drive.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

/// A car that has just passed the line. `sim` other than iRacing numbers its sectors 1, 2, 0.
struct SectorDrive : ScriptedDrive {
    SectorTracker tracker;

    explicit SectorDrive(int32_t sim) {
        frame.connected = 1;
        frame.simKind = sim;
        frame.isOnTrack = 1;
        frame.sessionTime = 40;
        way = 0.001;
        if (sim == kSimIRacing)
            frame.sectorStarts = {0.0f, 0.3f, 0.6f};
        else
            sectorOf = [](float pct) { return pct < 0.3f ? 1 : pct < 0.6f ? 2 : 0; };
        tick = [this](SimFrame& f, double now) { sectorTick(tracker, f, now, true); };
        step();
    }
};

class BothWays : public testing::TestWithParam<int32_t> {};
INSTANTIATE_TEST_SUITE_P(Sectors, BothWays, testing::Values(kSimIRacing, kSimLmu));

TEST_P(BothWays, DeltaAgainstBestAndLastRun) {
    SectorDrive car(GetParam());
    car.drive(0.999, 90); // sectors of 27, 27 and 36 s
    car.drive(1.0, 120);
    EXPECT_EQ(car.frame.optimalLapTimeOk, 1);
    EXPECT_NEAR(car.frame.optimalLapTime, 90, 0.3);
    car.drive(0.15, 105);
    ASSERT_EQ(car.frame.sectorDeltaBestOk, 1);
    ASSERT_EQ(car.frame.sectorDeltaLastOk, 1);
    constexpr double kHalfBin = 120.0 / 90 / 2; // a bin holds the last time seen in it
    EXPECT_NEAR(car.frame.sectorDeltaBest, 0.15 * (105 - 90), kHalfBin + 0.05);
    EXPECT_NEAR(car.frame.sectorDeltaLast, 0.15 * (105 - 120), kHalfBin + 0.05);
    car.drive(0.85, 80); // quicker in the two whole sectors only
    EXPECT_NEAR(car.frame.optimalLapTime, 0.3 * 90 + 0.3 * 80 + 0.4 * 80, 0.4);
}

TEST_P(BothWays, AJumpBackStartsAfreshAndCountsNothing) {
    SectorDrive car(GetParam());
    car.drive(0.25, 90);
    car.way = 0.05;
    car.step();
    EXPECT_EQ(car.frame.sectorDeltaBestOk, 0);
    EXPECT_EQ(car.frame.sectorDeltaBest, 0);
    for (const SectorBest& sector : car.tracker.sectors)
        EXPECT_EQ(sector.hasLast, 0);
    EXPECT_EQ(car.tracker.started, 1);
}

TEST_P(BothWays, LeavingTheCarSpoilsTheRun) {
    SectorDrive car(GetParam());
    car.drive(0.1, 90);
    car.frame.isOnTrack = 0;
    car.step();
    car.frame.isOnTrack = 1;
    car.drive(0.3, 90);
    for (const SectorBest& sector : car.tracker.sectors)
        EXPECT_EQ(sector.hasLast, 0);
    car.drive(0.3, 90); // the next one counts
    int kept = 0;
    for (const SectorBest& sector : car.tracker.sectors)
        kept += sector.hasLast;
    EXPECT_EQ(kept, 1);
}

TEST_P(BothWays, AnotherSimOrNoneForgetsAll) {
    SectorDrive car(GetParam());
    car.drive(1.1, 90);
    ASSERT_EQ(car.frame.sectorDeltaBestOk, 1);
    car.frame.connected = 0;
    car.step();
    EXPECT_EQ(car.frame.sectorDeltaBestOk, 0);
    EXPECT_EQ(car.frame.optimalLapTimeOk, 0);
    car.frame.connected = 1;
    car.drive(0.05, 90);
    EXPECT_EQ(car.frame.sectorDeltaBestOk, 0);
}

TEST(Sectors, StandingStillIsTakenOutAndAfterTwoSecondsSpoilsTheRun) {
    for (const double pause : {2.3, 3.0}) {
        SectorDrive car(kSimLmu);
        car.drive(0.15, 90);
        car.stand(pause);
        car.drive(0.2, 90);
        const SectorBest& sector = car.tracker.sectors[1];
        EXPECT_EQ(sector.hasLast, pause < 2.5);
        // The first half second counts: a stop is only one once it has lasted that long.
        if (sector.hasLast) {
            EXPECT_NEAR(sector.lastTime, 0.3 * 90 + 0.5, 0.15);
        }
    }
    SectorDrive ownClock(kSimIRacing);
    ownClock.drive(0.15, 90);
    ownClock.stand(5);
    ownClock.drive(0.2, 90);
    EXPECT_NEAR(ownClock.tracker.sectors[0].lastTime, 0.3 * 90 + 5, 0.15);
}

TEST(Sectors, ACrawlIsNoPauseHoweverOftenItIsLookedAt) {
    SectorDrive car(kSimLmu);
    car.drive(0.01, 2000); // 0.0000167 of a lap a tick
    EXPECT_EQ(car.tracker.ok, 1);
    EXPECT_EQ(car.tracker.pause.pausedFor, 0);
}

TEST(Sectors, ANewTableOfStartsBeginsAnew) {
    SectorDrive car(kSimIRacing);
    car.drive(1.1, 90);
    car.frame.sectorStarts[1] += 0.00005f;
    car.step();
    EXPECT_EQ(car.frame.sectorDeltaBestOk, 1);
    car.frame.sectorStarts[1] += 0.001f;
    car.step();
    EXPECT_EQ(car.frame.sectorDeltaBestOk, 0);
    car.frame.sectorStarts.assign(5000, 0.5f); // not a sector table
    car.step();
    EXPECT_EQ(car.frame.optimalLapTimeOk, 0);
    EXPECT_LE(car.tracker.sectors.size(), size_t{kMostSectors});
}

TEST(Sectors, ClockOfAnotherSessionStartsAfresh) {
    SectorDrive car(kSimIRacing);
    car.drive(1.1, 90);
    car.frame.sessionTime = 3;
    car.step();
    EXPECT_EQ(car.frame.sectorDeltaBestOk, 0);
    car.drive(0.05, 90);
    EXPECT_GT(car.frame.sectorDeltaBest, -10);
}

TEST(Sectors, NumbersOutsideTheTable) {
    SectorDrive car(kSimRaceRoom);
    car.drive(0.1, 90);
    car.sectorOf = [](float) { return -1; };
    car.step();
    EXPECT_EQ(car.tracker.started, 0);
    car.sectorOf = [](float) { return 4000; };
    car.drive(0.1, 90);
    EXPECT_EQ(car.tracker.prevSector, kNumberedSectors - 1);
}

} // namespace
} // namespace vt
