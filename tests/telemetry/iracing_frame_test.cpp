#include "support/iracing_image.h"
#include "telemetry/readers/iracing_frame.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vt {
namespace {

constexpr const char* kText = "SessionInfo:\n"
                              " Sessions:\n"
                              " - SessionNum: 0\n"
                              "   SessionType: Practice\n"
                              "   SessionName: PRACTICE\n"
                              "   ResultsPositions:\n"
                              "   - Position: 1\n"
                              "     CarIdx: 3\n"
                              "     FastestTime: 88.5\n"
                              "     LastTime: 89.5\n"
                              " - SessionNum: 1\n"
                              "   SessionType: Race\n"
                              "   SessionName: RACE\n"
                              "QualifyResultsInfo:\n"
                              " Results:\n"
                              " - Position: 4\n"
                              "   ClassPosition: 2\n"
                              "   CarIdx: 3\n"
                              "DriverInfo:\n"
                              " DriverCarIdx: 3\n"
                              " Drivers:\n"
                              " - CarIdx: 3\n"
                              "   UserName: Me\n"
                              " - CarIdx: 4\n"
                              "   UserName: Ghost\n"
                              "   IsSpectator: 1\n";

/// A car that is stepped through samples.
struct Car {
    IracingImage image;
    IrSessionText text;
    IrMemory memory;
    SimFrame frame;
    bool gps = false;

    explicit Car(const char* sessionText = kText) { parseSessionText(text, sessionText); }
    Car& set(std::string_view name, double value, int32_t index = 0) {
        image.set(name, value, index);
        return *this;
    }
    SimFrame& fill() {
        const IrVarTable table = image.table();
        fillIRacingFrame(frame, {table, image.sample()}, text, memory, gps);
        return frame;
    }
    const CarRow& me() { return *findCar(frame, 3); }
};

TEST(IracingFrame, MissingVariablesHaveTheirOwnDefaults) {
    Car car;
    car.frame.cars.resize(7); // what the last frame left
    const SimFrame& f = car.fill();
    EXPECT_EQ(f.connected, 1);
    EXPECT_EQ(f.simKind, kSimIRacing);
    EXPECT_EQ(f.isOnTrack, 1);
    EXPECT_EQ(f.trackSurface, -1);
    EXPECT_EQ(f.clutch, 0);
    EXPECT_EQ(f.waterTemp, -1000);
    EXPECT_EQ(f.tcLevel, -1000);
    EXPECT_EQ(f.deltaBestOk, 0);
    EXPECT_EQ(f.wetnessLevel, 0);
    EXPECT_EQ(f.incidents, -1);
    EXPECT_EQ(f.lap, -1);
    EXPECT_EQ(f.radioCarIdx, -1);
    EXPECT_EQ(f.sessionNum, -1);
    EXPECT_STREQ(f.sessionName, "");
    EXPECT_EQ(f.timedSession, 1);
    EXPECT_EQ(f.tyreDataLevel, 0);
    EXPECT_EQ(f.tyreTemp[0], -1000);
    EXPECT_EQ(f.dynamicsMask, 0u);
    EXPECT_EQ(f.slipSource, 0);
    EXPECT_EQ(f.penalties, -1);
    ASSERT_EQ(f.cars.size(), 1u);
    EXPECT_EQ(f.cars[0].lap, -1);
    EXPECT_EQ(f.cars[0].tyreCompound, -1);
    EXPECT_EQ(f.cars[0].bestLapTime, 0); // without a session number no table is used
}

TEST(IracingFrame, ValuesAreConvertedFromTheirStoredType) {
    Car car;
    car.image.add("LatAccel", kIrFloat, 6); // sampled six times a tick
    car.image.add("EngineWarnings", kIrBits);
    car.image.add("Gear", kIrChar);
    car.image.add("OnPitRoad", kIrBool);
    car.image.add("CarIdxLap", kIrInt, 4); // shorter than the car index
    car.set("LatAccel", 3.5).set("LatAccel", 99, 1).set("Gear", -1).set("OnPitRoad", 1);
    car.set("EngineWarnings", 4026531840.0).set("Clutch", 1).set("SteeringWheelAngle", 0.5);
    car.set("CarIdxLap", 12, 3).set("SessionTimeRemain", 604800).set("SessionLapsTotal", 32767);
    car.set("TrackWetness", 4).set("LFtempCL", 80).set("LFtempCR", 90).set("RRwearM", 0.5);
    car.set("LapDeltaToSessionLastlLap", -0.25).set("LapDeltaToBestLap", 1);
    car.set("LapDeltaToBestLap_OK", 0).set("VelocityX", 30).set("Lat", 50.5);
    const SimFrame& f = car.fill();
    EXPECT_EQ(f.latAccel, 3.5f);
    EXPECT_EQ(f.engineWarnings, 0xF0000000u);
    EXPECT_EQ(f.gear, -1);
    EXPECT_EQ(f.onPitRoad, 1);
    EXPECT_EQ(car.me().lap, 12);
    EXPECT_EQ(f.clutch, 0);
    EXPECT_EQ(f.steerAngle, -0.5f);
    EXPECT_EQ(f.timeRemain, -1);
    EXPECT_EQ(f.timedSession, 1);
    EXPECT_EQ(f.wetness, 0.5f);
    EXPECT_EQ(f.tyreTemp[0], 85);
    EXPECT_EQ(f.tyreWear[3], 0.5f);
    EXPECT_EQ(f.tyreWear[0], -1);
    EXPECT_EQ(f.tyreDataLevel, 2);
    EXPECT_EQ(f.deltaLast, -0.25f);
    EXPECT_EQ(f.deltaLastOk, 1); // no flag variable: the value exists
    EXPECT_EQ(f.deltaBestOk, 0);
    EXPECT_EQ(f.velX, 0);
    EXPECT_EQ(f.latitude, 0);
    car.gps = true;
    car.set("SessionLapsTotal", 32766).set("SessionLapsRemainEx", 5).fill();
    EXPECT_EQ(f.velX, 30);
    EXPECT_EQ(f.latitude, 50.5);
    EXPECT_EQ(f.timedSession, 0);
    EXPECT_EQ(f.lapsRemain, 5);
}

TEST(IracingFrame, ValuesThatAreNotFiniteBecomeDefaults) {
    Car car;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    for (const char* name :
         {"Throttle", "Speed", "WaterTemp", "LapDistPct", "SessionTime", "VelocityX", "VelocityY",
          "YawRate", "LFtempCL", "LFcoldPressure", "LapDeltaToBestLap", "SessionTimeRemain",
          "CarIdxLap", "CarIdxPosition", "CarIdxLapDistPct", "CarIdxEstTime"})
        car.set(name, nan, name[0] == 'C' ? 3 : 0);
    car.set("RPM", inf).set("CarIdxF2Time", -inf, 3).set("CarIdxBestLapTime", 1e300, 3);
    const SimFrame& f = car.fill();
    EXPECT_EQ(f.throttle, 0);
    EXPECT_EQ(f.rpm, 0);
    EXPECT_EQ(f.waterTemp, -1000);
    EXPECT_EQ(f.sessionTime, 0);
    EXPECT_EQ(f.timeRemain, 0);
    EXPECT_EQ(f.tyreTemp[0], -1000);
    EXPECT_EQ(f.tyrePressure[0], -1000);
    EXPECT_EQ(f.deltaBestOk, 0);
    EXPECT_EQ(car.me().lap, -1);
    EXPECT_EQ(car.me().position, 0);
    EXPECT_EQ(car.me().lapDistPct, -1);
    EXPECT_EQ(car.me().gapToLeader, 0);
    EXPECT_EQ(car.me().bestLapTime, 0);
    EXPECT_TRUE(std::isfinite(f.slipAngle) && std::isfinite(f.slipRate));
}

TEST(IracingFrame, Flags) {
    const struct {
        uint32_t sim, frame;
        int32_t black;
    } cases[] = {
        {0x1, 0x100, 0},   {0x2, 0x80, 0},       {0x4, 0x4, 0},       {0x10, 0x200, 0},
        {0x20, 0x2000, 0}, {0x100000, 0x400, 0}, {0x80000, 0x800, 0}, {0x8, 0x10, 0},
        {0x100, 0x10, 0},  {0x4000, 0x10, 0},    {0x8000, 0x10, 0},   {0x10000, 0, 1},
        {0x30000, 0, 2},   {0x10040200, 0, 0},
    };
    Car car;
    car.image.add("SessionFlags", kIrBits);
    for (const auto& c : cases) {
        const SimFrame& f = car.set("SessionFlags", c.sim).fill();
        EXPECT_EQ(f.sessionFlags, c.frame) << std::hex << c.sim;
        EXPECT_EQ(f.blackFlag, c.black) << std::hex << c.sim;
    }
}

TEST(IracingFrame, PhasesGridAndPlacesGained) {
    Car car;
    car.set("SessionNum", 1).set("SessionState", 3).set("CarIdxPosition", 0, 3);
    const SimFrame& f = car.fill();
    EXPECT_STREQ(f.sessionName, "RACE");
    EXPECT_EQ(f.racePhase, 1);
    EXPECT_EQ(f.gridPosition, 3); // the sim has none yet: from qualifying
    car.set("CarIdxPosition", 5, 3).fill();
    EXPECT_EQ(f.gridPosition, 5);
    EXPECT_EQ(f.positionsGainedOk, 0);
    car.set("SessionState", 4).fill();
    EXPECT_EQ(f.racePhase, 2);
    car.set("CarIdxPosition", 2, 3).set("SessionFlags", 0x4000).fill();
    EXPECT_EQ(f.gridPosition, 5);
    EXPECT_EQ(f.positionsGained, 3);
    EXPECT_EQ(f.cautionPhase, 1);
    car.set("PitsOpen", 0).fill();
    EXPECT_EQ(f.cautionPhase, 2);
    car.set("PitsOpen", 1).fill();
    EXPECT_EQ(f.cautionPhase, 4);
    car.set("SessionFlags", 0x4200).fill();
    EXPECT_EQ(f.cautionPhase, 5);
    car.set("SessionState", 6).fill();
    EXPECT_EQ(f.racePhase, 3);

    car.set("SessionNum", 0).set("SessionState", 4).fill(); // back to practice
    EXPECT_EQ(f.racePhase, 0);
    EXPECT_EQ(f.cautionPhase, 0);
    EXPECT_EQ(f.gridPosition, -1);
    EXPECT_EQ(f.positionsGainedOk, 0);
    EXPECT_EQ(f.cars[0].pitStops, -1);
}

TEST(IracingFrame, LapTimesFallBackOnTheResults) {
    Car car;
    car.set("SessionNum", 1).set("CarIdxLastLapTime", -1, 3).set("CarIdxBestLapTime", -1, 3);
    car.fill();
    EXPECT_EQ(car.me().lastLapTime, 0);
    EXPECT_EQ(car.me().bestLapTime, 88.5f);
    EXPECT_EQ(car.me().bestFromEarlier, 1);
    car.set("SessionNum", 0).fill();
    EXPECT_EQ(car.me().lastLapTime, 89.5f);
    EXPECT_EQ(car.me().bestFromEarlier, 0);
    car.set("SessionNum", 63).fill(); // beyond the tables
    EXPECT_EQ(car.me().bestLapTime, 88.5f);
    car.set("CarIdxBestLapTime", 87, 3).fill();
    EXPECT_EQ(car.me().bestLapTime, 87);
}

TEST(IracingFrame, PitVisits) {
    Car car;
    const auto at = [&](double time, bool pit, int32_t lap) -> const CarRow& {
        car.set("SessionNum", 1).set("SessionState", 4).set("SessionTime", time);
        car.set("CarIdxOnPitRoad", pit, 3).set("CarIdxLap", lap, 3).fill();
        return car.me();
    };
    EXPECT_EQ(at(100, false, 5).pitStops, 0);
    EXPECT_EQ(at(101, true, 5).lastPitTime, -1);
    const CarRow& out = at(131.5, false, 6);
    EXPECT_FLOAT_EQ(out.lastPitTime, 30.5f);
    EXPECT_EQ(out.pitThisLap, 1);
    EXPECT_EQ(out.pitStops, 1);
    EXPECT_EQ(at(200, false, 7).pitThisLap, 0);
    car.set("SessionState", 3);        // a visit before the start is no stop
    parseSessionText(car.text, kText); // and a new text keeps what was timed
    EXPECT_EQ(at(201, true, 7).pitStops, 1);
}

constexpr const char* kSectorText = "TrackLength: 5 km\n"
                                    "DriverCarIdx: 3\n"
                                    "Drivers:\n"
                                    " - CarIdx: 3\n"
                                    "SplitTimeInfo:\n"
                                    " - SectorStartPct: 0.0\n"
                                    " - SectorStartPct: 0.3\n"
                                    " - SectorStartPct: 0.6\n";

/// Drives at 0.01 of a lap a second, 62.5 samples a second, from `from` to `to`.
void drive(Car& car, double& time, double from, double to, bool pit = false) {
    for (double pct = from; pct < to; pct += 0.00016, time += 0.016)
        car.set("SessionTime", time)
            .set("CarIdxOnPitRoad", pit, 3)
            .set("CarIdxLapDistPct", pct - std::floor(pct), 3)
            .fill();
}

TEST(IracingFrame, SectorTimes) {
    Car car(kSectorText);
    double time = 50;
    drive(car, time, 0.2, 0.59);
    EXPECT_EQ(car.me().lastSectorIdx, -1); // entered in its middle: not timed
    drive(car, time, 0.59, 0.61);
    EXPECT_EQ(car.me().lastSectorIdx, 1);
    EXPECT_NEAR(car.me().lastSectorTime, 30, 0.1);
    drive(car, time, 0.61, 1.01); // over the line
    EXPECT_EQ(car.me().lastSectorIdx, 2);
    EXPECT_NEAR(car.me().lastSectorTime, 40, 0.1);
    EXPECT_EQ(car.me().prevSectorTime, 0);

    drive(car, time, 1.01, 1.1);
    drive(car, time, 1.1, 1.2, true); // pit road: the sector is lost,
    drive(car, time, 1.2, 1.31);      // the one after it as well,
    EXPECT_EQ(car.me().lastSectorIdx, 2);
    time += 3; // slower this time
    drive(car, time, 1.31, 1.61);
    EXPECT_EQ(car.me().lastSectorIdx, 1); // and the next is timed
    EXPECT_NEAR(car.me().lastSectorTime, 33, 0.1);
    EXPECT_NEAR(car.me().prevSectorTime, 30, 0.1);
    EXPECT_NEAR(car.me().bestSectorTime, 30, 0.1);

    drive(car, time, 1.61, 1.7);
    drive(car, time, 1.703, 2.01); // moved by 15 m between two samples
    EXPECT_EQ(car.me().lastSectorIdx, 1);
    drive(car, time, 2.01, 2.31);
    EXPECT_EQ(car.me().lastSectorIdx, 0);
}

TEST(IracingFrame, SlipAndBalance) {
    Car car;
    car.set("VelocityX", 20).set("VelocityY", 2).set("Speed", 20).set("SessionTime", 10);
    const SimFrame& f = car.fill();
    EXPECT_NEAR(f.slipAngle, -5.7106, 0.001);
    EXPECT_EQ(f.slipRate, 0); // nothing remembered yet
    EXPECT_NEAR(f.balance, (2 - 1.05) / 5.25, 1e-5);
    car.set("SessionTime", 10.1).set("VelocityY", 1).fill();
    EXPECT_NEAR(f.slipRate, (-2.8624 + 5.7106) / 0.1, 0.01);
    EXPECT_NEAR(f.balance, (10 - 3.15) / 9.45, 1e-3);

    // Five quiet samples teach the gain; then less yaw than the steering asks for is understeer.
    car.set("VelocityY", 0).set("SteeringWheelAngle", 0.5).set("YawRate", 0.5);
    for (int i = 0; i < 5; ++i) {
        EXPECT_GE(f.balance, 0) << i;
        car.set("SessionTime", 20 + i).fill();
    }
    car.set("YawRate", -0.1).set("Brake", 0.5).set("SessionTime", 30).fill();
    EXPECT_NEAR(f.balance, -(0.5 - 0.1 - 0.2494) / 0.4988, 1e-4);
    EXPECT_EQ(f.balanceSource, 1);
    car.set("Speed", 4).fill();
    EXPECT_EQ(f.balanceSource, 0);

    car.image.remove("VelocityY");
    car.fill();
    EXPECT_EQ(f.slipSource, 0);
    EXPECT_FALSE(car.memory.dynamics.valid);
    EXPECT_TRUE(car.memory.dynamics.turnGainReady);
}

TEST(IracingVars, TableSkipsWhatDoesNotFit) {
    std::vector<IrVarHeader> entries;
    const auto add = [&](const char* name, int32_t type, int32_t offset, int32_t count) {
        IrVarHeader entry{type, offset, count};
        std::memcpy(entry.name, name, std::min<size_t>(std::strlen(name), sizeof entry.name));
        entries.push_back(entry);
    };
    add("Good", kIrInt, 4, 1);
    add("BadType", 6, 0, 1);
    add("NegativeType", -1, 0, 1);
    add("NegativeOffset", kIrInt, -4, 1);
    add("NegativeCount", kIrInt, 0, -1);
    add("TooLong", kIrDouble, 8, 1);
    add("Overflow", kIrDouble, 8, INT32_MAX);
    add("Empty", kIrInt, 0, 0);
    add("ThirtyTwoBytesAndNoTerminatorXYZ", kIrInt, 0, 1);
    add("Twice", kIrInt, 0, 1);
    add("Twice", kIrInt, 8, 1);
    IrVarTable table;
    table.build(
        {reinterpret_cast<const uint8_t*>(entries.data()), entries.size() * sizeof(IrVarHeader)},
        1000000, 12);
    EXPECT_EQ(table.size(), 4u);
    const uint8_t bytes[12] = {1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0};
    const IrSample sample{table, bytes};
    EXPECT_EQ(sample.integer("Good"), 2);
    EXPECT_EQ(sample.integer("Empty", 7), 7);
    EXPECT_EQ(sample.integer("ThirtyTwoBytesAndNoTerminatorXYZ"), 1);
    EXPECT_EQ(sample.integer("Twice"), 3);
    const IrSample cut{table, ByteView(bytes, 6)};
    EXPECT_EQ(cut.integer("Good", 7), 7);
}

} // namespace
} // namespace vt
