#include "telemetry/demo_feed.h"
#include "telemetry/demo_track.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>

using namespace vt;

namespace {

SimFrame at(double t) {
    SimFrame frame;
    demoFrameAt(frame, t);
    return frame;
}

} // namespace

TEST(DemoFeed, IsTheSameForTheSameTimeWhateverTheFrameHeldBefore) {
    for (double t : {0.0, 1.0, 13.0, 40.0, 72.25, 1234.5}) {
        const SimFrame fresh = at(t);
        SimFrame used = at(t + 500);
        used.setupHash = 7;
        used.wheelOnKerb[2] = 1;
        demoFrameAt(used, t);
        ASSERT_EQ(used.cars.size(), fresh.cars.size());
        for (size_t i = 0; i < fresh.cars.size(); ++i) {
            EXPECT_EQ(used.cars[i].lapDistPct, fresh.cars[i].lapDistPct);
            EXPECT_EQ(used.cars[i].gapToLeader, fresh.cars[i].gapToLeader);
            EXPECT_STREQ(used.cars[i].driverName, fresh.cars[i].driverName);
        }
        EXPECT_EQ(used.sectorStarts, fresh.sectorStarts);
        EXPECT_EQ(used.rpm, fresh.rpm);
        EXPECT_EQ(used.slipAngle, fresh.slipAngle);
        EXPECT_EQ(used.setupHash, 0);
        EXPECT_EQ(used.wheelOnKerb[2], 0);
    }
}

TEST(DemoFeed, ReusesTheFrameWithoutNewMemory) {
    SimFrame frame = at(0);
    const CarRow* rows = frame.cars.data();
    const float* sectors = frame.sectorStarts.data();
    for (int i = 1; i < 50; ++i)
        demoFrameAt(frame, i * 7.3);
    EXPECT_EQ(frame.cars.data(), rows);
    EXPECT_EQ(frame.sectorStarts.data(), sectors);
}

TEST(DemoFeed, StartsInThePitsOnTheFirstLap) {
    const SimFrame start = at(0);
    EXPECT_EQ(start.connected, 1);
    EXPECT_EQ(start.simKind, 0);
    EXPECT_EQ(start.lap, 1);
    EXPECT_NEAR(start.lastLapTime, 91.6 - 0.5 * std::sin(1.0), 1e-4);
    EXPECT_EQ(start.timeRemain, 2700);
    EXPECT_FLOAT_EQ(start.fuelLevel, 60);
    const CarRow* player = playerRow(start);
    ASSERT_TRUE(player);
    EXPECT_STREQ(player->driverName, "Morgan Vale");
    EXPECT_EQ(player->classPosition, 5);
    EXPECT_EQ(std::count_if(start.cars.begin(), start.cars.end(),
                            [](const CarRow& c) { return !std::strcmp(c.carClass, "GT3"); }),
              8);
    // The pit patterns belong to laps that were driven: nobody pitted before the first one.
    EXPECT_LT(findCar(start, 6)->lastLapTime, 100);

    const SimFrame second = at(1);
    EXPECT_EQ(second.onPitRoad, 1);
    EXPECT_EQ(second.inPitStall, 1);
    EXPECT_NEAR(second.lapDistPct, 0.04, 0.001);
    EXPECT_EQ(second.speed, 0);
    EXPECT_EQ(playerRow(second)->trackSurface, 1);
}

TEST(DemoFeed, TheCarIsWhereTheRoadIs) {
    const std::vector<DemoTrackPoint>& track = demoTrack();
    const DemoTrackPoint& last = track.back();
    EXPECT_NEAR(std::hypot(last.x + last.forwardX, last.y + last.forwardY), 0, 0.05)
        << "the lap closes";
    SimFrame before = at(5);
    for (double t = 5.02; t < 25; t += 0.02) {
        const SimFrame now = at(t);
        ASSERT_EQ(now.worldOk, 1);
        const float way = (now.lapDistPct - before.lapDistPct) * 3000;
        const float dx = now.worldX - before.worldX, dy = now.worldY - before.worldY;
        if (way > 0.5f && way < 50) { // out of the pits it is set on the lap
            EXPECT_NEAR(std::hypot(dx, dy), way, 0.02f);
            EXPECT_GT(dx * now.forwardX + dy * now.forwardY, 0.98f * way);
        }
        EXPECT_NEAR(now.rightX * now.forwardX + now.rightY * now.forwardY, 0, 1e-6);
        before = now;
    }
}

TEST(DemoFeed, StaysPlausibleThroughTheWholeRace) {
    SimFrame f;
    for (double t = 0; t < 2700; t += 0.1) {
        demoFrameAt(f, t);
        ASSERT_EQ(f.cars.size(), 11u);
        std::set<std::pair<std::string, int>> classPlaces;
        for (size_t i = 0; i < f.cars.size(); ++i) {
            const CarRow& car = f.cars[i];
            ASSERT_EQ(car.carIdx, static_cast<int>(i));
            ASSERT_EQ(car.position, static_cast<int>(i) + 1);
            ASSERT_TRUE(car.lapDistPct >= 0 && car.lapDistPct < 1) << t << " car " << i;
            ASSERT_TRUE(classPlaces.insert({car.carClass, car.classPosition}).second);
            ASSERT_TRUE(car.lastSectorIdx >= 0 && car.lastSectorIdx <= 2);
            ASSERT_LT(car.bestLapTime, car.lastLapTime + 1e-3) << t << " car " << i;
            ASSERT_LT(std::abs(car.gapToPlayer), 12);
        }
        ASSERT_EQ(playerRow(f)->lapDistPct, f.lapDistPct);
        ASSERT_EQ(playerRow(f)->gapToPlayer, 0);
        ASSERT_TRUE(f.throttle >= 0 && f.throttle <= 1 && f.brake >= 0 && f.brake <= 1) << t;
        ASSERT_TRUE(f.speed >= 0 && f.speed < 70) << t;
        ASSERT_TRUE(f.rpm >= 900 && f.rpm <= f.maxRpm && f.gear >= 0 && f.gear <= 6) << t;
        ASSERT_TRUE(f.fuelLevel > 10 && f.fuelLevel <= 60) << t;
        ASSERT_TRUE(std::isfinite(f.slipAngle) && std::abs(f.slipRate) <= 400) << t;
        ASSERT_LE(f.incidents, 8);
    }
    EXPECT_EQ(at(10 * 26 * 9).incidents, 8);
}

TEST(DemoFeed, ShowsTheFlagsOfTheRace) {
    const struct {
        double t;
        uint32_t flags;
    } cases[] = {
        {30, kFlagGreen},
        {3 * 26 + 13, kFlagYellow},
        {3 * 26 + 2, kFlagGreen},  // before the yellow part of that lap
        {3 * 26 + 20, kFlagGreen}, // behind it
        {8 * 26 + 13, kFlagYellow},
        {2608, kFlagGreen},
        {2609, kFlagGreen | kFlagWhite},
        {2690, kFlagYellow | kFlagWhite},
        {2696.9, kFlagGreen | kFlagWhite},
        {2697.1, kFlagChequered},
        {2699.9, kFlagChequered},
        {2700, kFlagGreen}, // the clock starts again
    };
    for (const auto& c : cases)
        EXPECT_EQ(at(c.t).sessionFlags, c.flags) << c.t;
}

TEST(DemoFeed, PitsEveryThirdLapInOrder) {
    // One visit is 0.6 laps long and reaches over the line: limiter, pit road, stall and back.
    int steps = 0, stallSeconds10 = 0;
    bool road = at(60).onPitRoad, left = false;
    for (double t = 60; t < 60 + 78; t += 0.1) {
        const SimFrame f = at(t);
        if (f.onPitRoad && !road) ++steps;
        if (!f.onPitRoad && road) left = true;
        road = f.onPitRoad;
        if (f.inPitStall) {
            ++stallSeconds10;
            EXPECT_EQ(f.speed, 0) << t;
            EXPECT_TRUE(f.pitLimiterOn && f.onPitRoad) << t;
            EXPECT_EQ(f.slipAngle, 0) << t;
        }
        if (f.onPitRoad) {
            EXPECT_EQ(f.carLeftRight, 1) << t;
        }
        if (f.pitLimiterOn && f.speed > 0) {
            EXPECT_LT(f.speed, 60) << t;
        }
    }
    EXPECT_EQ(steps, 1);
    EXPECT_TRUE(left);
    EXPECT_NEAR(stallSeconds10, 25, 2); // 0.16 of 15.6 s
    // On the limiter between the braking zone and the box: 58 km/h.
    EXPECT_NEAR(at(78 * 0.9 + 15.6 * 0.3).speed, 58 / 3.6, 1e-4);
}

TEST(DemoFeed, PutsCarsBesideAheadAndBehind) {
    const struct {
        double fraction;
        int carLeftRight;
    } cases[] = {{0.10, 1}, {0.23, 2}, {0.40, 1}, {0.53, 3}, {0.65, 1}, {0.76, 4}, {0.85, 1}};
    for (const auto& c : cases) {
        const SimFrame f = at((1 + c.fraction) * 26); // the second lap has no pit stop
        EXPECT_EQ(f.carLeftRight, c.carLeftRight) << c.fraction;
        const double beside = (f.cars[0].lapDistPct - f.lapDistPct) * f.trackLength;
        if (c.carLeftRight != 1) {
            EXPECT_LT(std::abs(beside), 14.01) << c.fraction;
        }
        // In the middle of its range the other car is level with the player.
        if (c.fraction == 0.23) {
            EXPECT_NEAR(beside, 0, 0.01);
        }
        EXPECT_NEAR((f.cars[4].lapDistPct - f.lapDistPct) * f.trackLength, 18, 3.01);
        EXPECT_NEAR((f.cars[9].lapDistPct - f.lapDistPct) * f.trackLength, -20, 3.01);
    }
    // The hunter: from its base to 2.2 s and back over six laps.
    EXPECT_NEAR(at(6 * 26.0).cars[8].gapToPlayer, -6.5, 1e-4);
    EXPECT_NEAR(at(9 * 26.0).cars[8].gapToPlayer, 2.2, 1e-4);
    EXPECT_NEAR(at(10.5 * 26.0).cars[8].gapToPlayer, -2.15, 1e-4);
}

TEST(DemoFeed, KeepsThePitLapsOfOthers) {
    // Car 4 pits on laps 3, 10, ...: that lap's time shows on the next lap.
    EXPECT_EQ(at((3 + 0.2) * 26).cars[4].onPitRoad, 1);
    EXPECT_EQ(at((3 + 0.5) * 26).cars[4].onPitRoad, 0);
    EXPECT_EQ(at((2 + 0.2) * 26).cars[4].onPitRoad, 0);
    EXPECT_NEAR(at(4.5 * 26).cars[4].lastLapTime, 91.6 + 4 * 0.35 + 22, 1e-3);
    EXPECT_FLOAT_EQ(at(5.5 * 26).cars[4].lastLapTime, 90.15f); // its best lap
    EXPECT_NEAR(at(7.5 * 26).cars[6].lastLapTime, 91.6 + 0.35 + 22, 1e-3);
}

TEST(DemoFeed, SlipSwingsBetweenTheSidesAndNeverVanishesOnTheMove) {
    int left = 0, right = 0;
    for (double s = 0.8; s < 19; s += 0.05) {
        const SimFrame f = at(26 + s); // a lap that is driven through
        if (f.onPitRoad) continue;
        EXPECT_GE(std::abs(f.slipAngle), 6 - 1e-4) << s;
        (f.slipAngle < 0 ? left : right) += 1;
    }
    EXPECT_GT(left, 50);
    EXPECT_GT(right, 50);
    EXPECT_EQ(at(26 + 22).slipAngle, 0);
}

TEST(DemoFeed, BearsTimesThatNoClockShouldGive) {
    for (double t : {-1.0, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(at(t).lap, 1);
        EXPECT_EQ(at(t).sessionTime, 0);
    }
    EXPECT_EQ(at(1e300).cars.size(), 11u);
}

TEST(DemoFeed, CountsFromItsFirstCallInWholeMilliseconds) {
    SimFrame f;
    demoFrame(f, 1000.0004);
    EXPECT_EQ(f.sessionTime, 0);
    demoFrame(f, 1013.2509);
    EXPECT_DOUBLE_EQ(f.sessionTime, 13.25);
    demoFrame(f, 999);
    EXPECT_EQ(f.sessionTime, 0) << "a clock that fell back";
}
