// Assetto Corsa's and AC Rally's pages as frames: the rules that both share with ACC, and where
// they differ.
#include "base/utf8.h"
#include "telemetry/readers/ac_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

namespace vt {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

void setText(char16_t (&field)[kAcTextLength], std::u16string_view text) {
    for (size_t i = 0; i < std::min<size_t>(text.size(), kAcTextLength); ++i)
        field[i] = text[i];
}

/// Pages and what belongs to them.
struct Pages {
    AcPhysics physics;
    AcGraphics ac;
    AccGraphics rally;
    AcStatic statics;
    SteerWords steer;
    AcMemory memory;
    SimFrame frame;
    double seconds = 0.033;

    Pages() {
        physics.gear = 1;
        ac.session.status = rally.session.status = kAcLive;
    }
    const SimFrame& fillAc() {
        fillAcFrame(frame, {physics, statics, seconds, steer}, ac, memory);
        return frame;
    }
    const SimFrame& fillRally() {
        fillAcRallyFrame(frame, {physics, statics, seconds, steer}, rally, memory);
        return frame;
    }
};

TEST(AcFrame, CommonFields) {
    Pages p;
    p.physics.gas = 0.75f;
    p.physics.brake = 0.25f;
    p.physics.fuel = 42.5f;
    p.physics.gear = 5;
    p.physics.rpm = 7100;
    p.physics.speedKmh = 180;
    p.physics.acceleration[0] = -1.5f;
    p.physics.acceleration[2] = 0.5f;
    p.physics.airTemp = 21;
    p.physics.roadTemp = 33;
    p.physics.pitLimiter = 1;
    p.physics.brakeBias = 0.565f;
    p.physics.clutch = 0.3f;
    p.physics.steer = 0.5f;
    p.steer.steerRotationDeg = 900;
    p.ac.session.completedLaps = 4;
    p.ac.session.position = 3;
    p.ac.session.currentLapMs = 12'345;
    p.ac.session.lastLapMs = 91'234;
    p.ac.session.bestLapMs = 3'600'000;
    p.ac.session.timeLeft = 600;
    p.ac.session.sector = 2;
    p.ac.session.session = 2;
    p.ac.session.lapPosition = 0.4f;
    p.ac.session.numberOfLaps = 10;
    p.ac.inPitLane = 1;
    setText(p.statics.carModel, u"falcon_gt3");
    setText(p.statics.track, u"monza\u00E9");
    setText(p.statics.firstName, u"Ada");
    setText(p.statics.surname, u"L\u00F8v");
    p.statics.maxRpm = 8000;
    p.statics.maxFuel = 110;
    p.statics.splineLength = 5793;
    const SimFrame& f = p.fillAc();
    EXPECT_EQ(f.connected, 1);
    EXPECT_EQ(f.simKind, kSimAc);
    EXPECT_EQ(f.isOnTrack, 1);
    EXPECT_FLOAT_EQ(f.throttle, 0.75f);
    EXPECT_FLOAT_EQ(f.brake, 0.25f);
    EXPECT_FLOAT_EQ(f.clutch, 0.3f);
    EXPECT_FLOAT_EQ(f.fuelLevel, 42.5f);
    EXPECT_FLOAT_EQ(f.fuelCapacity, 110);
    EXPECT_EQ(f.gear, 4);
    EXPECT_FLOAT_EQ(f.rpm, 7100);
    EXPECT_FLOAT_EQ(f.maxRpm, 8000);
    EXPECT_FLOAT_EQ(f.speed, 50);
    EXPECT_FLOAT_EQ(f.latAccel, -1.5f * 9.80665f);
    EXPECT_FLOAT_EQ(f.longAccel, 0.5f * 9.80665f);
    EXPECT_FLOAT_EQ(f.airTemp, 21);
    EXPECT_FLOAT_EQ(f.trackTemp, 33);
    EXPECT_FLOAT_EQ(f.brakeBias, 56.5f);
    EXPECT_EQ(f.pitLimiterOn, 1);
    EXPECT_NEAR(f.steerAngle, 225 * M_PI / 180, 1e-4);
    EXPECT_EQ(p.steer.steerRawX10000, 5000);
    EXPECT_EQ(f.lap, 4);
    EXPECT_FLOAT_EQ(f.currentLapTime, 12.345f);
    EXPECT_FLOAT_EQ(f.lastLapTime, 91.234f);
    EXPECT_FLOAT_EQ(f.bestLapTime, 0) << "an hour stands for none";
    EXPECT_EQ(f.timeRemain, 600);
    EXPECT_EQ(f.currentSector, 2);
    EXPECT_STREQ(f.sessionName, "Race");
    EXPECT_EQ(f.sessionState, kAcLive);
    EXPECT_EQ(f.lapsRemain, 6);
    EXPECT_EQ(f.timedSession, 0);
    EXPECT_EQ(f.onPitRoad, 1);
    EXPECT_EQ(f.inPitStall, 0);
    EXPECT_STREQ(f.carModel, "falcon_gt3");
    EXPECT_STREQ(f.trackName, "monza\u00E9");
    EXPECT_FLOAT_EQ(f.trackLength, 5793);
    EXPECT_EQ(f.pitStallPct, -1);
    EXPECT_EQ(f.incidents, -1);
    EXPECT_EQ(f.penalties, -1);
    EXPECT_EQ(f.tcLevel, -1000);
    EXPECT_EQ(f.slipPairSource, 0);
    ASSERT_EQ(f.cars.size(), 1u);
    const CarRow& row = f.cars[0];
    EXPECT_EQ(f.playerCarIdx, 0);
    EXPECT_EQ(row.carIdx, 0);
    EXPECT_EQ(row.position, 3);
    EXPECT_EQ(row.lap, 4);
    EXPECT_FLOAT_EQ(row.lapDistPct, 0.4f);
    EXPECT_FLOAT_EQ(row.lastLapTime, 91.234f);
    EXPECT_EQ(row.onPitRoad, 1);
    EXPECT_STREQ(row.driverName, "Ada L\u00F8v");
}

TEST(AcFrame, SessionNames) {
    const struct {
        int32_t session;
        const char *ac, *acc, *rally;
    } cases[] = {
        {-1, "", "", ""},
        {0, "Practice", "Practice", "Practice"},
        {2, "Race", "Race", "Race"},
        {6, "Drag", "Drag", "Drag"},
        {7, "", "Hot Stint", "Hotstint"},
        {8, "", "Superpole Qualifying", "Superpole"},
        {9, "", "", ""},
        {INT32_MIN, "", "", ""},
        {INT32_MAX, "", "", ""},
    };
    for (const auto& c : cases) {
        EXPECT_STREQ(acSessionName(kSimAc, c.session), c.ac) << c.session;
        EXPECT_STREQ(acSessionName(kSimAcc, c.session), c.acc) << c.session;
        EXPECT_STREQ(acSessionName(kSimAcRally, c.session), c.rally) << c.session;
    }
}

TEST(AcFrame, TimeLeftTurnsToMillisecondsForGood) {
    Pages p;
    const std::pair<float, double> steps[] = {
        {90'000, 90'000}, {kInf, 0}, {100'000, 100'000}, {-1, 0},    {100'001, 100.001},
        {90'000, 90},     {-5, 0},   {kNan, 0},          {500, 0.5},
    };
    for (const auto& [word, seconds] : steps) {
        p.ac.session.timeLeft = word;
        EXPECT_NEAR(p.fillAc().timeRemain, seconds, 1e-6) << word;
    }
}

TEST(AcFrame, FlagsByNumber) {
    const uint32_t ac[] = {0, 0x2000, 0x10, 0, 0x80, 0x100, 0, 0, 0};
    const uint32_t rally[] = {0, 0x2000, 0x10, 0, 0x80, 0x100, 0, 0x4, 0};
    for (int32_t flag = 0; flag < 9; ++flag) {
        Pages p;
        p.ac.flag = p.rally.flag = flag;
        EXPECT_EQ(p.fillAc().sessionFlags, ac[flag]) << flag;
        EXPECT_EQ(p.fillRally().sessionFlags, rally[flag]) << flag;
    }
}

TEST(AcFrame, SlipFollowsTheLocalVelocity) {
    Pages p;
    p.physics.localVelocity[0] = -1;
    p.physics.localVelocity[2] = 20;
    p.fillAc();
    EXPECT_NEAR(p.frame.slipAngle, 2.8624, 1e-3);
    EXPECT_EQ(p.frame.slipSource, 2);
    EXPECT_EQ(p.frame.dynamicsFromYaw, 1);
    EXPECT_EQ(p.frame.slipRate, 0) << "nothing before";
    p.physics.localVelocity[0] = -2;
    p.seconds = 0.05;
    p.fillAc();
    EXPECT_NEAR(p.frame.slipRate, (5.7106 - 2.8624) / 0.05, 0.1);
    p.seconds = 0.6; // a pause says nothing about a rate
    p.fillAc();
    EXPECT_EQ(p.frame.slipRate, 0);
    p.physics.localVelocity[2] = kNan;
    p.fillAc();
    EXPECT_EQ(p.frame.slipSource, 0);
    EXPECT_EQ(p.frame.dynamicsFromYaw, 0);
    p.physics.localVelocity[2] = 20;
    p.seconds = 0.05;
    p.fillAc();
    EXPECT_EQ(p.frame.slipRate, 0) << "the memory was dropped";
    EXPECT_EQ(p.frame.slipSource, 2);
}

TEST(AcFrame, LapsLeftOnlyInALapRace) {
    const struct {
        int32_t laps, completed, left;
        uint8_t timed;
    } cases[] = {{10, 3, 7, 0},        {10, 12, 0, 0},         {0, 3, -1, 1},
                 {100'000, 3, -1, 1},  {99'999, 0, 99'999, 0}, {-4, 0, -1, 1},
                 {5, INT32_MIN, 5, 0}, {5, INT32_MAX, 0, 0}};
    for (const auto& c : cases) {
        Pages p;
        p.ac.session.numberOfLaps = c.laps;
        p.ac.session.completedLaps = c.completed;
        EXPECT_EQ(p.fillAc().lapsRemain, c.left) << c.laps;
        EXPECT_EQ(p.frame.timedSession, c.timed) << c.laps;
    }
}

TEST(AcFrame, NamesOfEitherKindAndAnyLength) {
    Pages p;
    setText(p.statics.surname, u"Solo");
    EXPECT_STREQ(p.fillAc().cars[0].driverName, "Solo");
    std::u16string wide(kAcTextLength, u'\u20AC'); // no terminator, three bytes each in UTF-8
    setText(p.statics.firstName, wide);
    setText(p.statics.surname, wide);
    setText(p.statics.carModel, wide);
    p.fillAc();
    EXPECT_EQ(std::strlen(p.frame.cars[0].driverName), 63u);
    EXPECT_TRUE(utf8Valid(p.frame.cars[0].driverName));
    EXPECT_EQ(std::strlen(p.frame.carModel), 63u);
    p.statics.surname[0] = 0xD800; // half a pair
    p.statics.surname[1] = 0;
    EXPECT_TRUE(utf8Valid(p.fillAc().cars[0].driverName));
}

TEST(AcRallyFrame, ItsOwnRules) {
    Pages p;
    p.rally.session.status = 0;
    EXPECT_EQ(p.fillRally().isOnTrack, 0);
    EXPECT_EQ(p.frame.simKind, kSimAcRally);
    p.physics.rpm = 900;
    EXPECT_EQ(p.fillRally().isOnTrack, 1) << "the engine runs";
    p.physics.rpm = 0;
    p.physics.speedKmh = 3.5f;
    EXPECT_EQ(p.fillRally().isOnTrack, 1) << "it rolls";

    p.physics.maxRpm = 100;
    p.statics.maxRpm = 7500;
    EXPECT_EQ(p.fillRally().maxRpm, 7500);
    p.physics.maxRpm = 7200;
    EXPECT_EQ(p.fillRally().maxRpm, 7200);

    p.rally.surfaceGrip = 0.75f;
    EXPECT_FLOAT_EQ(p.fillRally().wetness, 0.25f);
    p.rally.surfaceGrip = 1.2f;
    EXPECT_EQ(p.fillRally().wetness, 0);
    p.rally.tcLevel = 3;
    p.rally.absLevel = 2;
    EXPECT_EQ(p.fillRally().tcLevel, 3);
    EXPECT_EQ(p.frame.absLevel, 2);
    p.rally.session.numberOfLaps = 5;
    EXPECT_EQ(p.fillRally().lapsRemain, -1);
}

TEST(AcRallyFrame, KelvinOnceKelvinForGood) {
    Pages p;
    p.physics.airTemp = 20;
    p.physics.roadTemp = 30;
    EXPECT_EQ(p.fillRally().airTemp, 20);
    p.physics.airTemp = 293.15f;
    p.physics.roadTemp = 303.15f;
    EXPECT_NEAR(p.fillRally().airTemp, 20, 0.01);
    EXPECT_NEAR(p.frame.trackTemp, 30, 0.01);
    p.physics.airTemp = 140;
    EXPECT_NEAR(p.fillRally().airTemp, 140 - 273.15, 0.01);
    p.fillAc();
    EXPECT_EQ(p.frame.airTemp, 140) << "not in Assetto Corsa";
}

TEST(AcRallyFrame, ImplausibleSlipIsNoSlip) {
    Pages p;
    p.physics.speedKmh = 72;
    p.physics.localVelocity[0] = 149;
    p.physics.localVelocity[2] = 20;
    EXPECT_EQ(p.fillRally().slipSource, 2);
    EXPECT_EQ(p.frame.dynamicsFromYaw, 0);
    p.physics.localVelocity[0] = 150;
    EXPECT_EQ(p.fillRally().slipSource, 0);

    const float degrees4 = 4 * kRadPerDeg;
    for (float& angle : p.physics.slipAngle)
        angle = degrees4;
    p.physics.slipAngle[2] = p.physics.slipAngle[3] = -2 * degrees4;
    p.fillRally();
    EXPECT_EQ(p.frame.slipPairSource, 2);
    EXPECT_NEAR(p.frame.frontSlip, 0.5, 1e-4);
    EXPECT_NEAR(p.frame.rearSlip, 1.0, 1e-4);
    EXPECT_NEAR(p.frame.balance, 0.5, 1e-4);
    for (const float bad : {1.61f, -1.61f, kNan}) {
        p.physics.slipAngle[1] = bad;
        EXPECT_EQ(p.fillRally().slipPairSource, 0) << bad;
    }
    p.physics.slipAngle[1] = degrees4;
    p.physics.speedKmh = 14.9f;
    EXPECT_EQ(p.fillRally().slipPairSource, 0) << "too slow";
}

} // namespace
} // namespace vt
