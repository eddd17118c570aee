// rFactor 2: what its records become. The pages are filled by the sim's own offsets.
#include "support/vehicle_image.h"
#include "telemetry/readers/rf2_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

namespace vt::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

struct Records {
    PageImage scoringImage{75304}, carImage{1888};
    std::unique_ptr<Rf2Scoring> scoring = std::make_unique<Rf2Scoring>();
    VehicleMemory memory;
    SimFrame frame;

    RecordImage info{scoringImage, 4};
    RecordImage scored(int i) { return {scoringImage, 552 + static_cast<size_t>(i) * 584}; }
    RecordImage car{carImage};

    Records() {
        putRaceInfo(info, 2);
        putScored(scored(0), 5, 1500, 1, "GT3");
        putScored(scored(1), 9, 1000, 2, "GT3");
        scored(1).u8(196, 1);
        car.i(0, 9).d(12, 50).d(24, 30).d(200, -40);
    }
    const SimFrame& map() {
        *scoring = scoringImage.as<Rf2Scoring>();
        fillRf2Frame(frame, *scoring, carImage.as<VehicleTelemetry>(), memory);
        return frame;
    }
};

TEST(Rf2Frame, ByItsOwnOffsets) {
    Records r;
    // The same words as in the sim's table, counted from the start of the copy.
    r.scoringImage.put(72, 100.0).put(80, 700.0).put(88, 20).put(92, 4000.0);
    r.scoringImage.put(224, 0.25).put(232, 21.5).put(240, 33.5).put(336, 0.75);
    r.car.d(184, -2).d(388, 0.9).d(420, 0.8).d(436, 0.5).i(352, -1).u8(604, 1);
    r.scored(1).d(168, 95.5).d(112, 3).u8(102, 2).u8(198, 1);
    const SimFrame& f = r.map();
    EXPECT_EQ(f.connected, 1);
    EXPECT_EQ(f.simKind, 12);
    EXPECT_STREQ(f.trackName, "Sebring");
    EXPECT_EQ(f.trackLength, 4000);
    EXPECT_EQ(f.timeRemain, 600);
    EXPECT_EQ(f.lapsRemain, 17);
    EXPECT_EQ(f.precipitation, 0.25f);
    EXPECT_EQ(f.airTemp, 21.5f);
    EXPECT_EQ(f.trackTemp, 33.5f);
    EXPECT_EQ(f.wetness, 0.75f);
    EXPECT_EQ(f.sessionTime, 50);
    EXPECT_EQ(f.throttle, 0.8f) << "always the filtered one";
    EXPECT_NEAR(f.steerLock, 270 * kRadPerDeg, 1e-5);
    EXPECT_NEAR(f.steerAngle, 135 * kRadPerDeg, 1e-5);
    EXPECT_EQ(f.gear, -1);
    EXPECT_EQ(f.speed, 40);
    EXPECT_EQ(f.pitLimiterOn, 1);
    EXPECT_NEAR(f.slipAngle, std::atan2(2, 40) * kDegPerRad, 1e-4);
    EXPECT_EQ(f.slipPairSource, 2);
    EXPECT_EQ(f.lap, 3);
    EXPECT_EQ(f.lastLapTime, 95.5f);
    EXPECT_EQ(f.currentLapTime, 20);
    EXPECT_EQ(f.lapDistPct, 0.25f);
    EXPECT_EQ(f.currentSector, 2);
    EXPECT_EQ(f.onPitRoad, 1);
    EXPECT_STREQ(f.carModel, "Falcon GT3 #12");
    EXPECT_EQ(f.playerCarIdx, 9);
    ASSERT_EQ(f.cars.size(), 2u);
    EXPECT_EQ(f.cars[1].pathLateral, 3);
    EXPECT_EQ(f.cars[0].lapDistPct, 0.375f);
}

TEST(Rf2Frame, WhatThisSimDoesNotTell) {
    Records r;
    r.car.d(160, 100).d(232, -1).d(184, -2).d(312, 1).d(704, 0.5).u8(748, 1).u8(746, 1).u8(544, 2);
    r.carImage.text(848 + 160, "GRASS").put(848 + 176, uint8_t{2});
    r.info.u8(109, 3);
    r.scored(1).put(192, int16_t{2}).u8(578, 100);
    const SimFrame& f = r.map();
    const SimFrame none;
    EXPECT_EQ(f.isRace, -1);
    EXPECT_TRUE(frameIsRace(f));
    EXPECT_EQ(f.racePhase, 2);
    EXPECT_EQ(f.gridPosition, -1);
    EXPECT_EQ(f.pitLimiterOn, 0) << "the second byte is not a limiter here";
    EXPECT_EQ(f.dynamicsMask, 0u);
    EXPECT_EQ(f.yawRate, 0);
    EXPECT_EQ(f.latVelocity, 0);
    EXPECT_EQ(f.absActive, 0);
    EXPECT_EQ(f.worldOk, 0);
    EXPECT_EQ(f.tyreDataLevel, 0);
    EXPECT_EQ(f.trackSurface, none.trackSurface);
    EXPECT_EQ(f.damageLevel, none.damageLevel);
    EXPECT_EQ(f.batteryCharge, none.batteryCharge);
    EXPECT_EQ(f.motorState, none.motorState);
    EXPECT_EQ(f.trackId, 0);
    EXPECT_EQ(f.cautionPhase, 0);
    EXPECT_STREQ(f.carName, "");
    EXPECT_TRUE(f.sectorStarts.empty());
    EXPECT_EQ(f.cars[1].classPosition, 0);
    EXPECT_EQ(f.cars[1].pitStops, -1);
    EXPECT_EQ(f.cars[1].fuelFraction, -1);
}

TEST(Rf2Frame, FlagsAndRemainingTime) {
    struct Case {
        int phase, yellow, sectorFlag;
        double now, end;
        uint32_t flags;
        double remain;
    };
    const Case cases[] = {
        {5, 0, 0, 100, 0, 0x4, -1},       {5, 0, 1, 100, 99, 0x10, -1},
        {5, 2, 0, 100, 100, 0x10, 0},     {6, 0, 0, 0, 86400, 0x10, -1},
        {4, 0, 1, 0, 86399, 0x10, 86399}, {3, 0, 0, 0, kNan, 0, -1},
        {8, 0, 1, kNan, 100, 0x110, -1},  {8, 0, 0, -1e300, 1, 0x100, -1},
    };
    for (const Case& c : cases) {
        Records r;
        r.info.u8(108, c.phase).u8(109, c.yellow).u8(112, c.sectorFlag).d(68, c.now).d(76, c.end);
        const SimFrame& f = r.map();
        EXPECT_EQ(f.sessionFlags, c.flags) << c.phase;
        EXPECT_EQ(f.timeRemain, c.remain) << c.phase;
    }
}

TEST(Rf2Frame, SlipNeedsNumbers) {
    Records r;
    r.map();
    r.car.d(12, 50.1).d(184, -4);
    EXPECT_NE(r.map().slipRate, 0);
    r.car.d(12, 50.2).d(184, kNan);
    EXPECT_EQ(r.map().slipSource, 0);
    r.car.d(12, 50.3).d(184, -2);
    EXPECT_EQ(r.map().slipRate, 0) << "nothing to compare with";
    EXPECT_NE(r.frame.slipAngle, 0);
    r.carImage.put(848 + 48, kNan).put(848 + 260 + 48, kNan);
    EXPECT_EQ(r.map().slipPairSource, 0) << "an axle without a number";
    r.info.i(104, 5000);
    EXPECT_EQ(r.map().cars.size(), 128u);
}

} // namespace
} // namespace vt::test
