// ACC's pages and snapshots as frames and rows.
#include "telemetry/readers/acc_classes.h"
#include "telemetry/readers/acc_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vt {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

struct AccCase {
    AcPhysics physics;
    AccGraphics graphics;
    AcStatic statics;
    AccSnapshot snapshot;
    SteerWords steer;
    AccMemory memory;
    SimFrame frame;
    bool live = false;

    AccCase() { statics.splineLength = 4000; }

    const SimFrame& fill() {
        live = fillAccFrame(frame, {physics, statics, 0.033, steer}, graphics, memory, snapshot);
        return frame;
    }
    /// Cars with ids 100, 101, ... ; the player is `player`.
    void cars(int count, int player) {
        graphics.activeCars = count;
        for (int i = 0; i < count; ++i)
            graphics.carId[i] = 100 + i;
        graphics.playerCarId = 100 + player;
    }
    void place(int slot, float x, float z) {
        graphics.carPosition[slot][0] = x;
        graphics.carPosition[slot][2] = z;
    }
    AccCar& add(int index, int position, int model) {
        AccCar& car = snapshot.cars[snapshot.carCount++];
        car.carIndex = index;
        car.position = position;
        car.carModel = model;
        car.entryKnown = car.realtimeKnown = 1;
        snapshot.registered = 1;
        return car;
    }
    const CarRow& row(int carIdx) const {
        const CarRow* found = findCar(frame, carIdx);
        static const CarRow none;
        return found ? *found : none;
    }
};

TEST(AccFrame, ItsOwnFields) {
    AccCase c;
    c.graphics.session.status = kAcLive;
    c.physics.clutch = 0.25f;
    c.physics.maxRpm = 0;
    c.statics.maxRpm = 7600;
    c.physics.turboBoost = 0.9f;
    c.statics.maxTurboBoost = 1.2f;
    c.graphics.tcLevel = 4;
    c.graphics.absLevel = 5;
    c.graphics.penalty = 64;
    c.graphics.rain = 3;
    c.graphics.trackStatus = 4;
    c.graphics.session.bestLapMs = 4'000'000;
    c.graphics.session.lastLapMs = 0x7FFFFFFF;
    c.fill();
    EXPECT_EQ(c.frame.simKind, kSimAcc);
    EXPECT_EQ(c.frame.isOnTrack, 1);
    EXPECT_FLOAT_EQ(c.frame.clutch, 0.75f);
    EXPECT_EQ(c.frame.maxRpm, 7600);
    EXPECT_FLOAT_EQ(c.frame.boost, 0.9f);
    EXPECT_FLOAT_EQ(c.frame.boostFrac, 0.75f);
    EXPECT_EQ(c.frame.tcLevel, 4);
    EXPECT_EQ(c.frame.absLevel, 5);
    EXPECT_EQ(c.frame.penalties, 1);
    EXPECT_FLOAT_EQ(c.frame.precipitation, 0.6f);
    EXPECT_FLOAT_EQ(c.frame.wetness, 0.5f);
    EXPECT_FLOAT_EQ(c.frame.bestLapTime, 4000) << "no hour's limit here";
    EXPECT_EQ(c.frame.lastLapTime, 0) << "none";
    EXPECT_EQ(c.frame.lapsRemain, -1);
    c.graphics.penalty = 65;
    c.graphics.rain = 6;
    c.graphics.trackStatus = 7;
    c.physics.maxRpm = 8100;
    c.physics.clutch = kNan;
    c.fill();
    EXPECT_EQ(c.frame.penalties, 0);
    EXPECT_EQ(c.frame.precipitation, 0);
    EXPECT_EQ(c.frame.wetness, 0);
    EXPECT_EQ(c.frame.maxRpm, 8100);
    EXPECT_EQ(c.frame.clutch, 0);
}

TEST(AccFrame, FlagsOfAllWords) {
    using Set = void (*)(AccGraphics&);
    const std::pair<Set, uint32_t> cases[] = {
        {[](AccGraphics& g) { g.sectorYellow[2] = 1; }, 0x10},
        {[](AccGraphics& g) { g.globalYellow = 1; }, 0x10},
        {[](AccGraphics& g) { g.globalWhite = 1; }, 0x80},
        {[](AccGraphics& g) { g.globalGreen = 1; }, 0x4},
        {[](AccGraphics& g) { g.globalChequered = 1; }, 0x100},
        {[](AccGraphics& g) { g.flag = 7; }, 0x4},
        {[](AccGraphics& g) { g.flag = 3; }, 0},
        {[](AccGraphics& g) { g.sectorYellow[0] = g.flag = 1; }, 0x2010},
    };
    for (const auto& [set, flags] : cases) {
        AccCase c;
        set(c.graphics);
        EXPECT_EQ(c.fill().sessionFlags, flags);
    }
}

TEST(AccFrame, AxleSlipsTakeWhatIsFinite) {
    AccCase c;
    c.physics.speedKmh = 100;
    c.physics.slipAngle[0] = 2 * kRadPerDeg;
    c.physics.slipAngle[1] = kNan;
    c.physics.slipAngle[2] = -3 * kRadPerDeg;
    c.physics.slipAngle[3] = 5 * kRadPerDeg;
    c.fill();
    EXPECT_NEAR(c.frame.frontSlip, 0.25, 1e-4);
    EXPECT_NEAR(c.frame.rearSlip, 0.5, 1e-4);
    EXPECT_NEAR(c.frame.balance, 0.25, 1e-4);
    EXPECT_EQ(c.frame.balanceSource, 2);
}

TEST(AccFrame, WithoutTheBroadcastOnlyThePlayerIsPlaced) {
    AccCase c;
    c.cars(3, 1);
    c.graphics.session.position = 2;
    c.graphics.session.lapPosition = 0.3f;
    c.graphics.session.completedLaps = 5;
    const std::u16string_view compound = u"wet_compound";
    std::copy(compound.begin(), compound.end(), c.graphics.session.tyreCompound);
    c.statics.firstName[0] = u'J';
    c.fill();
    EXPECT_FALSE(c.live);
    ASSERT_EQ(c.frame.cars.size(), 3u);
    EXPECT_EQ(c.frame.playerCarIdx, 101);
    EXPECT_EQ(c.row(101).position, 2);
    EXPECT_EQ(c.row(101).lap, 5);
    EXPECT_FLOAT_EQ(c.row(101).lapDistPct, 0.3f);
    EXPECT_EQ(c.row(101).tyreCompound, 2);
    EXPECT_STREQ(c.row(101).driverName, "J");
    for (const int other : {100, 102}) {
        EXPECT_LT(c.row(other).lapDistPct, 0) << "not on the line, nowhere";
        EXPECT_EQ(c.row(other).position, 0);
        EXPECT_EQ(c.row(other).classPosition, 0);
        EXPECT_EQ(c.row(other).tyreCompound, -1);
    }
    c.graphics.session.tyreCompound[0] = u'd'; // "det_compound"
    EXPECT_EQ(c.fill().cars[1].tyreCompound, 1);
}

TEST(AccFrame, CoordinatesCountOnceACarHasMoved) {
    AccCase c;
    c.cars(3, 0);
    c.graphics.session.lapPosition = 0.995f;
    c.physics.velocity[2] = 50; // along z
    c.place(0, 10, 1000);
    c.place(1, 13, 1040);
    c.place(2, 6, 900);
    c.fill();
    EXPECT_FALSE(c.memory.coordinatesLive);
    c.place(0, 10, 1001); // the player alone
    c.fill();
    EXPECT_FALSE(c.memory.coordinatesLive);
    c.place(1, 13, 1200); // a jump
    c.fill();
    EXPECT_FALSE(c.memory.coordinatesLive);
    std::swap(c.graphics.carId[1], c.graphics.carId[2]); // another car in the slot
    c.place(1, 13, 1201);
    c.place(2, 6, 900);
    c.fill();
    EXPECT_FALSE(c.memory.coordinatesLive);
    c.place(1, 13, kNan);
    c.fill();
    EXPECT_FALSE(c.memory.coordinatesLive);
    c.place(1, 13, 1041);
    c.place(2, 6, 901);
    c.fill();
    ASSERT_TRUE(c.memory.coordinatesLive);
    // 40 m ahead of 0.995 of 4000 m: over the line. Three metres to the right of z is +x.
    EXPECT_NEAR(c.row(102).lapDistPct, 0.005, 1e-5);
    EXPECT_NEAR(c.row(102).pathLateral, 3, 1e-4);
    EXPECT_NEAR(c.row(101).lapDistPct, 0.97, 1e-5);
    EXPECT_NEAR(c.row(101).pathLateral, -4, 1e-4);
    // Slower than 8 m/s the last direction stays.
    c.physics.velocity[0] = -7;
    c.physics.velocity[2] = 0;
    c.fill();
    EXPECT_NEAR(c.row(102).pathLateral, 3, 1e-4);
    c.physics.velocity[0] = -9; // along -x: now z is to the right
    c.fill();
    EXPECT_NEAR(c.row(102).pathLateral, 40, 1e-4);
    c.graphics.playerCarId = 7; // not in the field
    c.fill();
    EXPECT_LT(c.row(102).lapDistPct, 0);
}

TEST(AccFrame, RowsFromTheSnapshot) {
    AccCase c;
    c.cars(3, 0);
    c.graphics.session.bestLapMs = 100'000;
    AccCar& player = c.add(100, 3, 0);
    player.entryKnown = 0;
    c.statics.surname[0] = u'P';
    AccCar& leader = c.add(101, 1, 50);
    std::snprintf(leader.firstName, sizeof leader.firstName, "Ada");
    std::snprintf(leader.surname, sizeof leader.surname, "Byron");
    leader.raceNumber = 27;
    leader.splinePosition = 0.25f;
    leader.laps = 9;
    leader.location = 2;
    leader.lastLapMs = 99'000;
    AccCar& brief = c.add(102, 2, 0);
    std::snprintf(brief.shortName, sizeof brief.shortName, "BRF");
    brief.splinePosition = 1.5f;
    brief.location = 1;
    c.add(103, 0, 0).realtimeKnown = 0;
    c.fill();
    EXPECT_TRUE(c.live);
    ASSERT_EQ(c.frame.cars.size(), 3u);
    EXPECT_EQ(c.frame.playerCarIdx, 100);
    EXPECT_STREQ(c.row(100).driverName, "P");
    const CarRow& row = c.row(101);
    EXPECT_STREQ(row.driverName, "Ada Byron");
    EXPECT_STREQ(row.carClass, "GT4");
    EXPECT_STREQ(row.carBrand, "Alpine");
    EXPECT_EQ(row.carNumberValue, 27);
    EXPECT_EQ(row.position, 1);
    EXPECT_EQ(row.lap, 9);
    EXPECT_EQ(row.onPitRoad, 1);
    EXPECT_FLOAT_EQ(row.lastLapTime, 99);
    EXPECT_EQ(row.bestLapTime, 0);
    EXPECT_FLOAT_EQ(row.estTime, 25);
    EXPECT_EQ(row.classPosition, 1);
    EXPECT_STREQ(c.row(102).driverName, "BRF");
    EXPECT_FLOAT_EQ(c.row(102).lapDistPct, 1);
    EXPECT_EQ(c.row(102).onPitRoad, 0);
    EXPECT_EQ(c.row(102).classPosition, 1) << "first GT3";
    EXPECT_EQ(c.row(100).classPosition, 1) << "its class is not known: a class of its own";
    c.snapshot.registered = 0;
    c.fill();
    EXPECT_FALSE(c.live);
    EXPECT_EQ(c.frame.cars.size(), 3u) << "those of the page";
    EXPECT_EQ(c.row(101).position, 0);
}

TEST(AccFrame, ThePlayerIsTheFocusedCarWhenItsIdIsUnknown) {
    AccCase c;
    c.cars(1, 0);
    c.add(7, 1, 0);
    c.add(8, 2, 0);
    c.snapshot.focusedCar = 8;
    EXPECT_EQ(c.fill().playerCarIdx, 8);
    c.snapshot.focusedCar = -1;
    EXPECT_EQ(c.fill().playerCarIdx, 100);
}

TEST(AccFrame, ReferenceLapInItsOrder) {
    AccCase c;
    c.add(1, 1, 0).splinePosition = 0.5f;
    c.snapshot.cars[0].kmh = 180;
    EXPECT_NEAR(c.fill().cars[0].estTime, 0.5 * 4000 / 50, 1e-3) << "length by the top speed";
    c.snapshot.cars[0].kmh = 0;
    EXPECT_NEAR(c.fill().cars[0].estTime, 0.5 * 4000 / 10, 1e-3);
    c.add(2, 2, 0).bestLapMs = 120'000;
    EXPECT_NEAR(c.fill().cars[0].estTime, 60, 1e-3);
    c.graphics.session.lastLapMs = 110'000;
    EXPECT_NEAR(c.fill().cars[0].estTime, 55, 1e-3);
    c.graphics.session.bestLapMs = 100'000;
    EXPECT_NEAR(c.fill().cars[0].estTime, 50, 1e-3);
    AccCase nothing;
    nothing.statics.splineLength = 0;
    nothing.add(1, 1, 0).splinePosition = 0.5f;
    EXPECT_EQ(nothing.fill().cars[0].estTime, 0);
}

TEST(AccFrame, CountsOutsideTheArraysAreLimited) {
    for (const int count : {-5, 61, INT32_MAX, INT32_MIN}) {
        AccCase c;
        c.cars(0, 59);
        c.graphics.activeCars = count;
        EXPECT_EQ(c.fill().cars.size(), count < 0 ? 0u : 60u);
    }
    AccCase c;
    for (int i = 0; i < kAccMaxCars; ++i)
        c.add(i, i + 1, 0);
    EXPECT_EQ(c.fill().cars.size(), 96u);
    EXPECT_EQ(c.row(95).classPosition, 96);
}

TEST(AccClasses, ListedNumbersOnly) {
    const struct {
        int32_t model;
        const char *carClass, *brand;
    } cases[] = {{0, "GT3", "Porsche"},  {9, "CUP", "Porsche"},  {18, "ST", "Lamborghini"},
                 {26, "CHL", "Ferrari"}, {27, "TCX", "BMW"},     {36, "GT3", "Ford"},
                 {54, "", ""},           {61, "GT4", "Porsche"}, {81, "", ""},
                 {86, "GT2", "Porsche"}, {87, "", ""},           {-1, "", ""},
                 {255, "", ""}};
    for (const auto& c : cases) {
        EXPECT_STREQ(accCarClass(c.model).carClass, c.carClass) << c.model;
        EXPECT_STREQ(accCarClass(c.model).brand, c.brand) << c.model;
    }
}

} // namespace
} // namespace vt
