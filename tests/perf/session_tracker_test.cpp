// Laps out of samples: marks and sectors of each lap, traces that must hold together.
#include "perf/session_tracker.h"
#include "support/perf_samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace vt {
namespace {

/// A car on a 3 km circle at a pace that gives laps of `lapTime`, 60 ticks a second.
struct Car {
    SessionTracker tracker;
    PerfSample s;
    double way = 0; // laps
    float lapTime = 60;

    Car() {
        s.isOnTrack = true;
        s.sessionTime = 100;
        s.trackLength = 3000;
        s.trackId = 7;
        s.lap = 1;
        s.sectorCount = 3;
        s.sectorStarts = {0, 0.3f, 0.6f};
        s.trackSurface = 3;
        s.throttle = 1;
        s.fuel = 50;
    }
    void tick(double dt = 1.0 / 60) {
        way += dt / static_cast<double>(lapTime);
        s.sessionTime += dt;
        s.lap = 1 + static_cast<int32_t>(std::max(way, 0.0));
        s.lapPct = static_cast<float>(way - std::floor(way));
        s.speed = 3000 / lapTime;
        trackerTick(tracker, s);
    }
    void toLap(int lap) {
        while (s.lap < lap)
            tick();
    }
    void seconds(double time) {
        for (double t = 0; t < time; t += 1.0 / 60)
            tick();
    }
};

TEST(SessionTracker, SectorsAddUpAndMarksBelongToTheirLap) {
    Car car;
    car.toLap(2);
    car.seconds(10);
    car.s.sessionFlags = 0x800;
    car.tick();
    car.s.sessionFlags = 0;
    car.s.incidents = 4; // was unknown when the lap began
    car.toLap(3);
    car.seconds(10);
    car.s.incidents = 5;
    car.toLap(3);
    car.s.onPitRoad = true;
    car.toLap(4);
    car.s.onPitRoad = false;
    car.toLap(6);
    const auto& laps = car.tracker.laps();
    ASSERT_EQ(laps.size(), 5u);
    EXPECT_EQ(laps[1].invalid, kLapInvalidSim);
    EXPECT_EQ(laps[2].invalid, kLapInvalidIncident);
    EXPECT_TRUE(laps[2].inLap);
    EXPECT_TRUE(laps[3].outLap);
    EXPECT_EQ(laps[1].tyreLaps, -1);
    EXPECT_EQ(laps[3].tyreLaps, 0);
    EXPECT_EQ(laps[4].tyreLaps, 1);
    for (size_t i = 1; i < laps.size(); ++i) {
        ASSERT_EQ(laps[i].sectorCount, 3) << i;
        EXPECT_NEAR(laps[i].sectorSec[0], 18, 0.05) << i;
        EXPECT_NEAR(laps[i].sectorSec[0] + laps[i].sectorSec[1] + laps[i].sectorSec[2],
                    laps[i].lapTime, 0.02)
            << i;
    }
}

TEST(SessionTracker, TracesHaveNoHolesAndComeBackToTheirStart) {
    Car car;
    const auto steer = [&car] { // on a circle, heading turns once a lap; the compass is a bit off
        const double heading = 2 * M_PI * car.way * 1.002;
        car.s.velX = car.s.speed;
        car.s.yaw = static_cast<float>(heading);
    };
    while (car.s.lap < 2) {
        steer();
        car.tick();
    }
    while (car.s.lap < 3) {
        steer();
        if (car.s.lapPct > 0.4f && car.s.lapPct < 0.401f) car.s.sessionTime -= 0.1;
        car.tick();
    }
    ASSERT_EQ(car.tracker.lapCount(), 2);
    const LapTrace& lap = car.tracker.traces()[1];
    EXPECT_TRUE(lap.valid);
    size_t first = 0, last = 0, holes = 0;
    for (size_t i = 0; i < 3000; ++i) {
        holes += i < 2997 && lap.have[i] == 0; // the last thousandth of a lap has no bins
        if (lap.have[i]) last = i;
    }
    EXPECT_EQ(holes, 0u);
    EXPECT_NEAR(lap.x[first], lap.x[last], 0.01);
    EXPECT_NEAR(lap.y[first], lap.y[last], 0.01);
    const float radius = 3000 / 2 / static_cast<float>(M_PI);
    EXPECT_NEAR(std::hypot(lap.x[750] - lap.x[2250], lap.y[750] - lap.y[2250]), 2 * radius, 5);
    for (size_t i = 1; i <= last; ++i)
        ASSERT_GE(lap.elapsed[i], lap.elapsed[i - 1]) << i;
}

TEST(SessionTracker, AStartBeforeTheLineIsNoPartOfTheFirstLap) {
    Car car;
    car.way = -0.05;
    while (car.way < 0) // 3 s from the grid to the line, in lap 1 already
        car.tick();
    car.toLap(3);
    ASSERT_EQ(car.tracker.lapCount(), 2);
    EXPECT_NEAR(car.tracker.laps()[0].lapTime, 60, 0.05);
    EXPECT_NEAR(car.tracker.laps()[0].sectorSec[0], 18, 0.05);
}

TEST(SessionTracker, BeyondAHundredOnlyTheBestAndWorstMove) {
    Car car;
    car.lapTime = 6;
    car.toLap(101);
    EXPECT_EQ(car.tracker.lapCount(), 100);
    car.lapTime = 5.5f;
    car.toLap(104);
    EXPECT_EQ(car.tracker.lapCount(), 100);
    EXPECT_EQ(car.tracker.traces().size(), 100u);
    EXPECT_NEAR(car.tracker.summary().bestLapTime, 5.5, 0.05);
    EXPECT_EQ(car.tracker.take().totalLaps, 103);
    EXPECT_EQ(car.tracker.lapCount(), 0);
}

TEST(PerfRing, AStallOfATenthLosesNothingAndAResetIsNotForgotten) {
    PerfRing ring;
    PerfSample sample, out;
    for (int i = 0; i < 36; ++i)
        ring.push(sample);
    EXPECT_EQ(ring.dropped(), 0u);
    for (int i = 36; i < 64; ++i)
        ring.push(sample);
    sample.resetFlag = true;
    ring.push(sample);
    EXPECT_EQ(ring.dropped(), 1u);
    sample.resetFlag = false;
    while (ring.pop(out))
        EXPECT_FALSE(out.resetFlag);
    ring.push(sample);
    ASSERT_TRUE(ring.pop(out));
    EXPECT_TRUE(out.resetFlag);
}

} // namespace
} // namespace vt
