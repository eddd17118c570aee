// What AC EVO's reader infers, piece by piece.
#include "telemetry/readers/ac_evo_learned.h"
#include "telemetry/readers/ac_evo_line.h"
#include "telemetry/readers/ac_evo_sectors.h"
#include "telemetry/readers/ac_evo_world.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vt {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(AcEvoLine, LearnsWhereLapsAreCounted) {
    struct Case {
        float npos;
        int32_t before, after;
        bool learnable, learned, refused;
        float offset;
    };
    constexpr Case cases[] = {
        {0.03f, 3, 4, true, true, false, 0.03f},
        {0.05f, 0, 1, true, true, false, 0.05f},
        {0.96f, 3, 4, true, true, false, -0.04f},
        {1.00f, 3, 4, true, true, false, 0},
        {0.50f, 3, 4, true, false, true, 0},
        {0.0501f, 3, 4, true, false, true, 0},
        {0.9499f, 3, 4, true, false, true, 0},
        {0.03f, 3, 4, false, false, false, 0}, // in the pits or in the menu
        {0.03f, 3, 5, true, false, false, 0},
        {0.03f, 4, 3, true, false, false, 0},
        {0.03f, -1, 0, true, false, false, 0},
        {0.03f, -2147483647 - 1, 2147483647, true, false, false, 0},
    };
    for (const Case& c : cases) {
        AcEvoLine line;
        acEvoLineStep(line, 0.5f, c.before, true);
        const AcEvoLineStep step = acEvoLineStep(line, c.npos, c.after, c.learnable);
        EXPECT_EQ(step.learned, c.learned) << c.npos;
        EXPECT_EQ(step.refused, c.refused) << c.npos;
        EXPECT_NEAR(line.offset, c.offset, 1e-6) << c.npos;
        EXPECT_TRUE(!c.learned || step.position < 1e-6f) << c.npos;
    }
}

TEST(AcEvoLine, TellsOnceThatALapWasCountedTooFarOffAndStillLearns) {
    AcEvoLine line;
    acEvoLineStep(line, 0.4f, 0, true);
    EXPECT_TRUE(acEvoLineStep(line, 0.5f, 1, true).refused);
    EXPECT_FALSE(acEvoLineStep(line, 0.5f, 2, true).refused);
    EXPECT_TRUE(acEvoLineStep(line, 0.02f, 3, true).learned);
    EXPECT_FALSE(acEvoLineStep(line, 0.04f, 4, true).learned); // for good
    EXPECT_NEAR(line.offset, 0.02f, 1e-6);
}

struct Page {
    float npos;
    int32_t laps;
    float shown;
};

void drive(AcEvoLine& line, std::initializer_list<Page> pages) {
    int n = 0;
    for (const Page& page : pages) {
        const AcEvoLineStep step = acEvoLineStep(line, page.npos, page.laps, true);
        EXPECT_NEAR(step.position, page.shown, 1e-5f) << "page " << n;
        ++n;
    }
}

TEST(AcEvoLine, BeforeTheOffsetIsKnownThePositionWaitsForTheLap) {
    AcEvoLine late;
    drive(late, {{0.97f, 2, 0.97f},
                 {0.01f, 2, 0.9999f},
                 {0.025f, 2, 0.9999f},
                 {0.03f, 3, 0}, // learned
                 {0.04f, 3, 0.01f}});
    AcEvoLine never; // driven on without a lap
    drive(never, {{0.97f, 2, 0.97f}, {0.04f, 2, 0.9999f}, {0.06f, 2, 0.06f}, {0.01f, 2, 0.01f}});
}

TEST(AcEvoLine, LapAndPositionWrapOnDifferentPages) {
    AcEvoLine line;
    line.known = true;
    line.offset = 0.03f;
    drive(line, {{0.025f, 2, 0.995f},
                 {0.035f, 2, 0.9999f}, // the position first
                 {0.037f, 2, 0.9999f},
                 {0.039f, 3, 0.009f},
                 {0.50f, 3, 0.47f},
                 {0.028f, 4, 0}, // the lap first
                 {0.029f, 4, 0},
                 {0.031f, 4, 0.001f},
                 {0.029f, 4, 0.999f},  // driven back over the line
                 {0.033f, 4, 0.9999f}, // and on again
                 {0.033f, 9, 0.003f},  // another session
                 {0.045f, 9, 0.015f}});
}

TEST(AcEvoPlace, RunsOnBetweenPagesForAWhileAndNeverBack) {
    AcEvoPlace place;
    constexpr double rate = 0.02; // of the lap per second
    EXPECT_FLOAT_EQ(acEvoPlaceNow(place, 0.5f, 10.0, rate), 0.5f);
    EXPECT_NEAR(acEvoPlaceNow(place, 0.5f, 10.1, rate), 0.502f, 1e-6);
    EXPECT_NEAR(acEvoPlaceNow(place, 0.5f, 10.15, rate), 0.503f, 1e-6);
    EXPECT_NEAR(acEvoPlaceNow(place, 0.5f, 12.0, rate), 0.503f, 1e-6); // no further
    EXPECT_NEAR(acEvoPlaceNow(place, 0.5f, 12.1, rate / 10), 0.503f, 1e-6);
    EXPECT_NEAR(acEvoPlaceNow(place, 0.502f, 12.2, rate), 0.503f, 1e-6); // waits for the car
    EXPECT_NEAR(acEvoPlaceNow(place, 0.502f, 12.3, rate), 0.504f, 1e-6);
    EXPECT_FLOAT_EQ(acEvoPlaceNow(place, 0.501f, 12.4, rate), 0.501f); // driven backwards
    EXPECT_FLOAT_EQ(acEvoPlaceNow(place, 0.9995f, 13.0, rate), 0.9995f);
    EXPECT_FLOAT_EQ(acEvoPlaceNow(place, 0.9995f, 13.1, rate), 0.9999f);
    EXPECT_FLOAT_EQ(acEvoPlaceNow(place, 0.0003f, 13.2, rate), 0.0003f);
    EXPECT_FLOAT_EQ(acEvoPlaceNow(place, 0, 13.3, 0), 0);
    EXPECT_FLOAT_EQ(acEvoPlaceNow(place, 0, 13.4, 0), 0);
}

/// Contact points of a car with its axes along the given world axes.
struct Stance {
    float points[4][3] = {};
};
Stance stance(const float (&forward)[3], const float (&right)[3], float base = 2.7f,
              float width = 1.6f) {
    Stance out;
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 3; ++k)
            out.points[i][k] = 100.0f * static_cast<float>(k) +
                               (i < 2 ? 0.5f : -0.5f) * base * forward[k] +
                               (i % 2 ? 0.5f : -0.5f) * width * right[k];
    return out;
}

TEST(AcEvoWorld, GeometryOfACarOnly) {
    const AcEvoGeometry good = acEvoGeometry(stance({1, 0, 0}, {0, 0, 1}).points);
    ASSERT_TRUE(good.ok);
    EXPECT_NEAR(good.wheelBase, 2.7f, 1e-4);
    EXPECT_NEAR(good.trackWidth, 1.6f, 1e-4);
    EXPECT_NEAR(good.centre[2], 200, 1e-3);
    EXPECT_NEAR(good.forward[0], 1, 1e-5);
    EXPECT_FALSE(acEvoGeometry(stance({1, 0, 0}, {0, 0, 1}, 0.9f).points).ok);
    EXPECT_FALSE(acEvoGeometry(stance({1, 0, 0}, {0, 0, 1}, 6.1f).points).ok);
    EXPECT_FALSE(acEvoGeometry(stance({1, 0, 0}, {0, 0, 1}, 2.7f, 0.7f).points).ok);
    EXPECT_FALSE(acEvoGeometry(stance({1, 0, 0}, {0, 0, 1}, 2.7f, 3.1f).points).ok);
    Stance broken = stance({1, 0, 0}, {0, 0, 1});
    broken.points[2][1] = kNan;
    EXPECT_FALSE(acEvoGeometry(broken.points).ok);
    EXPECT_FALSE(acEvoGeometry(Stance().points).ok);
}

TEST(AcEvoWorld, SettlesOnAMapThatIsNotMirroredWhateverTheSimsAxes) {
    constexpr float x[3] = {1, 0, 0}, y[3] = {0, 1, 0}, z[3] = {0, 0, 1};
    struct Case {
        const float (&forward)[3];
        const float (&right)[3];
        int up;
        float flip;
    };
    const Case cases[] = {{x, z, 1, -1}, {z, x, 1, 1},  {x, y, 2, -1},
                          {y, x, 2, 1},  {y, z, 0, -1}, {z, y, 0, 1}};
    for (const Case& c : cases) {
        AcEvoAxes axes;
        const AcEvoGeometry geometry = acEvoGeometry(stance(c.forward, c.right).points);
        for (int i = 0; i < 14; ++i)
            EXPECT_FALSE(acEvoVote(axes, geometry));
        SimFrame frame;
        acEvoFillWorld(frame, axes, geometry);
        EXPECT_EQ(frame.worldOk, 0);
        EXPECT_TRUE(acEvoVote(axes, geometry));
        EXPECT_FALSE(acEvoVote(axes, geometry)); // settled already
        EXPECT_EQ(axes.up, c.up);
        EXPECT_EQ(axes.flip, c.flip);
        acEvoFillWorld(frame, axes, geometry);
        ASSERT_EQ(frame.worldOk, 1);
        // Right is 90 degrees clockwise of forward.
        EXPECT_NEAR(frame.rightX, frame.forwardY, 1e-5);
        EXPECT_NEAR(frame.rightY, -frame.forwardX, 1e-5);
    }
}

TEST(AcEvoWorld, OnlyVotesInARowSettleIt) {
    const AcEvoGeometry flat = acEvoGeometry(stance({1, 0, 0}, {0, 0, 1}).points);
    const AcEvoGeometry mirrored = acEvoGeometry(stance({1, 0, 0}, {0, 0, -1}).points);
    const float s = std::sqrt(0.5f);
    const AcEvoGeometry banked = acEvoGeometry(stance({1, 0, 0}, {0, s, s}).points);
    for (const AcEvoGeometry& between : {mirrored, banked, AcEvoGeometry()}) {
        AcEvoAxes axes;
        for (int i = 0; i < 14; ++i)
            acEvoVote(axes, flat);
        EXPECT_FALSE(acEvoVote(axes, between));
        for (int i = 0; i < 14; ++i)
            EXPECT_FALSE(acEvoVote(axes, flat));
        EXPECT_TRUE(acEvoVote(axes, flat));
    }
    AcEvoAxes axes;
    for (int i = 0; i < 15; ++i)
        acEvoVote(axes, flat);
    SimFrame frame; // nose up: there is no heading
    acEvoFillWorld(frame, axes, acEvoGeometry(stance({0.1f, 0.99f, 0}, {0, 0, 1}).points));
    EXPECT_EQ(frame.worldOk, 0);
}

/// A car that turns to the left at 1 rad/s, seen at 30 Hz.
struct Turning {
    AcEvoYaw yaw;
    SimFrame frame;
    double now = 5, heading = 3; // passes half a turn on the way
    Turning() { frame.speed = 30, frame.worldOk = 1; }
    bool step(float word, double seconds = 0.03, double rate = 1) {
        now += seconds;
        heading += rate * seconds;
        frame.forwardX = static_cast<float>(std::cos(heading));
        frame.forwardY = static_cast<float>(std::sin(heading));
        return acEvoLearnYaw(yaw, frame, word, now);
    }
};

TEST(AcEvoYaw, FortySamplesDecide) {
    struct Case {
        int agree, disagree;
        float sign;
    };
    for (const Case& c : {Case{36, 4, 1},
                          {40, 0, 1},
                          {4, 36, -1},
                          {0, 40, -1},
                          {30, 10, 0},
                          {35, 5, 0},
                          {5, 35, 0}}) {
        Turning car;
        car.step(1); // the first heading has none before it
        bool settled = false;
        for (int i = 0; i < c.agree + c.disagree; ++i) {
            EXPECT_FALSE(settled);
            settled = car.step(i < c.agree ? 1 : -1);
        }
        EXPECT_EQ(settled, c.sign != 0);
        EXPECT_EQ(car.yaw.sign, c.sign);
        EXPECT_EQ(car.yaw.agree + car.yaw.disagree, c.sign == 0 ? 0 : 40);
    }
}

TEST(AcEvoYaw, CountsOnlyWhatSaysSomething) {
    Turning car;
    car.step(1);
    const auto count = [&] { return car.yaw.agree + car.yaw.disagree; };
    car.step(0.15f);
    car.step(kNan);
    car.step(1, 0.03, 0.1);
    car.step(1, 0.3);
    car.step(1, 0.004);
    car.frame.speed = 10;
    car.step(1);
    car.frame.speed = 30;
    EXPECT_EQ(count(), 0);
    car.frame.worldOk = 0;
    car.step(1);
    car.frame.worldOk = 1;
    car.step(1); // the heading of long ago is forgotten
    EXPECT_EQ(count(), 0);
    car.step(1);
    EXPECT_EQ(count(), 1);
}

TEST(AcEvoSectors, NumberFromLength) {
    const std::pair<float, int> cases[] = {{0, 0},      {1, 0},      {kNan, 0},   {500, 3},
                                           {5000, 3},   {6999, 3},   {7000, 4},   {9000, 5},
                                           {20832, 10}, {31000, 16}, {40000, 16}, {1e9f, 16}};
    for (const auto& [length, count] : cases)
        EXPECT_EQ(acEvoSectorCount(length), count) << length;
}

/// A lap of 6000 m at 60 m/s: sectors of 2000 m.
struct Lapping {
    AcEvoSectors sectors;
    SimFrame frame;
    double time = 1, metres = 0;
    Lapping() { frame.trackLength = 6000, frame.trackId = 1, frame.speed = 60; }
    void step(double seconds, bool interrupted = false) {
        time += seconds;
        metres += static_cast<double>(frame.speed) * seconds;
        frame.sectorStarts.clear();
        frame.sessionTime = time;
        frame.lapDistPct = static_cast<float>(metres / 6000 - std::floor(metres / 6000));
        acEvoTimeSectors(frame, sectors, seconds, interrupted);
    }
    void run(double seconds, bool interrupted = false) {
        for (double t = 0; t < seconds - 1e-9; t += 1.0 / 30)
            step(1.0 / 30, interrupted);
    }
};

TEST(AcEvoSectors, TimesWholeSectorsOnly) {
    Lapping lap;
    lap.run(20);
    ASSERT_EQ(lap.frame.sectorStarts.size(), 3u);
    EXPECT_FLOAT_EQ(lap.frame.sectorStarts[2], 2.0f / 3);
    EXPECT_EQ(lap.frame.currentSector, 0);
    EXPECT_EQ(lap.sectors.timing.lastSector, -1);
    lap.run(20);
    EXPECT_EQ(lap.sectors.timing.lastSector, -1); // the first was entered in its middle
    lap.run(40);
    const SectorTiming& timing = lap.sectors.timing;
    EXPECT_EQ(timing.lastSector, 1);
    EXPECT_NEAR(timing.lastTime, 33.333, 0.01);
    lap.run(100);
    EXPECT_EQ(timing.lastSector, 1);
    EXPECT_NEAR(timing.prevTime, 33.333, 0.01);
    lap.frame.speed = 50;
    lap.run(110);
    CarRow row;
    fillSectorTimes(row, timing);
    EXPECT_EQ(row.lastSectorIdx, 1);
    EXPECT_GT(row.lastSectorTime, 38);
    EXPECT_NEAR(row.prevSectorTime, 33.333, 0.01);
    EXPECT_NEAR(row.bestSectorTime, 33.333, 0.01);
}

TEST(AcEvoSectors, JumpsPitsAndAnotherTrackEndTheTiming) {
    const auto spoil = [](auto&& how) {
        Lapping lap;
        lap.run(40); // in sector 1, entered cleanly
        how(lap);
        lap.run(35);
        return lap.sectors.timing.lastSector;
    };
    EXPECT_EQ(spoil([](Lapping&) {}), 1);
    EXPECT_EQ(spoil([](Lapping& lap) { lap.metres -= 30; }), -1);
    EXPECT_EQ(spoil([](Lapping& lap) { lap.metres += 30; }), -1);
    EXPECT_EQ(spoil([](Lapping& lap) { lap.step(0.03, true); }), -1);
    EXPECT_EQ(spoil([](Lapping& lap) { lap.frame.trackId = 2; }), -1);
    EXPECT_EQ(spoil([](Lapping& lap) { lap.step(0.5); }), 1); // a stutter is no jump
}

TEST(AcEvoLearned, ClockRunsWhileDriven) {
    AcEvoClock clock;
    const auto tick = [&](double now, bool live = true, int misses = 0) {
        acEvoClockTick(clock, now, live, misses);
        return clock.session;
    };
    EXPECT_EQ(tick(100), 1.0);
    EXPECT_NEAR(tick(100.1), 1.1, 1e-9);
    EXPECT_NEAR(tick(105.1), 1.35, 1e-9); // a quarter of a second at most
    EXPECT_NEAR(tick(105.2, false), 1.35, 1e-9);
    EXPECT_NEAR(tick(105.3), 1.45, 1e-9);
    EXPECT_NEAR(tick(105.4, true, 2), 1.55, 1e-9);
    EXPECT_NEAR(tick(105.5, true, 3), 1.55, 1e-9);
    EXPECT_NEAR(tick(105.5), 1.55, 1e-9);
    EXPECT_NEAR(tick(105.4), 1.55, 1e-9);
}

TEST(AcEvoLearned, TankPitLimitAndWheel) {
    const auto tank = [](float litres, float fraction) {
        AcEvoTank t;
        acEvoLearnTank(t, litres, fraction);
        return t.capacity;
    };
    EXPECT_NEAR(tank(45, 0.5f), 90, 1e-3);
    EXPECT_NEAR(tank(45, 50), 90, 1e-3);
    EXPECT_NEAR(tank(90, 1), 90, 1e-3);
    for (const auto& [litres, fraction] : {std::pair{0.5f, 0.1f},
                                           {2.0f, 0.02f},
                                           {45.0f, 0.0f},
                                           {45.0f, -1.0f},
                                           {45.0f, kNan},
                                           {kNan, 0.5f},
                                           {0.6f, 0.9f},
                                           {300.0f, 0.5f}})
        EXPECT_EQ(tank(litres, fraction), 0) << litres << " " << fraction;
    AcEvoTank last; // one litre left, told as 1.1 percent
    acEvoLearnTank(last, 45, 50);
    acEvoLearnTank(last, 1, 1.1f);
    acEvoLearnTank(last, 0.9f, 0.99f);
    EXPECT_NEAR(last.capacity, 90, 1e-3);

    EXPECT_NEAR(acEvoPitLimit(62, 2), 60 / 3.6, 1e-4);
    EXPECT_NEAR(acEvoPitLimit(40, -20), 60 / 3.6, 1e-4);
    for (const auto& [kmh, above] :
         {std::pair{5.0f, -55.0f}, {29.0f, 0.0f}, {121.0f, 0.0f}, {kNan, 1.0f}, {60.0f, kNan}})
        EXPECT_EQ(acEvoPitLimit(kmh, above), 0) << kmh;

    AcEvoWheel wheel;
    EXPECT_EQ(acEvoLearnLock(wheel, 1.5f), 0);
    EXPECT_FLOAT_EQ(acEvoLearnLock(wheel, -2), 2);
    EXPECT_FLOAT_EQ(acEvoLearnLock(wheel, 0), 2);
}

} // namespace
} // namespace vt
