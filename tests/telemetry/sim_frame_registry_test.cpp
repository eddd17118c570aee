#include "base/utf8.h"
#include "telemetry/sim_frame.h"
#include "telemetry/sim_registry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

using namespace vt;

TEST(SimRegistry, NamesEverySimOnceAndNothingElse) {
    std::set<std::string> keys, names, logos;
    for (int32_t kind = 0; kind < kSimCount; ++kind) {
        EXPECT_EQ(simFromKey(simKey(kind)), kind);
        keys.insert(simKey(kind));
        names.insert(simShortName(kind));
        logos.insert(simLogoFile(kind));
    }
    EXPECT_EQ(keys.size(), 14u);
    EXPECT_EQ(names.size(), 14u);
    EXPECT_EQ(logos.size(), 14u);
    for (int32_t kind : {-1, 14, 1 << 30}) {
        EXPECT_STREQ(simShortName(kind), "?");
        EXPECT_STREQ(simKey(kind), "unknown");
        EXPECT_STREQ(simLogoFile(kind), "");
    }
    EXPECT_EQ(simFromKey("unknown"), -1);
}

TEST(SimFrame, ADefaultFrameSaysThatNothingIsKnown) {
    SimFrame f;
    EXPECT_EQ(f.connected, 0);
    EXPECT_EQ(f.simKind, -1);
    EXPECT_EQ(f.timedSession, 1);
    EXPECT_EQ(f.lap, -1);
    EXPECT_EQ(f.steerAngleOk, 1);
    for (float engine : {f.waterTemp, f.oilTemp, f.oilPressure, f.batteryVolts, f.brakeBias,
                         f.tcLevel, f.absLevel})
        EXPECT_EQ(engine, -1000);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(f.tyreTemp[i], -1000);
        EXPECT_EQ(f.tyreWear[i], -1);
        EXPECT_EQ(f.tyrePressure[i], -1000);
    }
    const CarRow car;
    EXPECT_EQ(car.carIdx, -1);
    EXPECT_EQ(car.tyreCompound, -1);
    EXPECT_EQ(car.fuelFraction, -1);
}

TEST(SimFrame, ResettingGivesTheDefaultsAndKeepsTheMemory) {
    SimFrame f;
    f.cars.resize(64);
    f.sectorStarts.resize(20);
    const auto* rows = f.cars.data();
    const auto* sectors = f.sectorStarts.data();
    f.lap = 12;
    f.waterTemp = 90;
    std::strcpy(f.setupText, "Tyres.Pressure: 170");
    f.tyreWear[3] = 0.5f;
    resetKeepingCapacity(f);
    EXPECT_TRUE(f.cars.empty() && f.sectorStarts.empty());
    EXPECT_EQ(f.lap, -1);
    EXPECT_EQ(f.waterTemp, -1000);
    EXPECT_STREQ(f.setupText, "");
    EXPECT_EQ(f.tyreWear[3], -1);
    f.cars.resize(64);
    f.sectorStarts.resize(20);
    EXPECT_EQ(f.cars.data(), rows);
    EXPECT_EQ(f.sectorStarts.data(), sectors);
}

TEST(SimFrame, RowsAreFoundByIndexNotByPlace) {
    SimFrame f;
    f.cars.resize(3);
    f.cars[0].carIdx = 40;
    f.cars[1].carIdx = 2;
    EXPECT_EQ(findCar(f, 2), &f.cars[1]);
    EXPECT_EQ(findCar(f, 0), nullptr);
    EXPECT_EQ(findCar(f, -1), nullptr) << "an unfilled row is nobody's";
    EXPECT_EQ(playerRow(f), nullptr);
    f.playerCarIdx = 40;
    EXPECT_EQ(playerRow(f), &f.cars[0]);
}

TEST(SimFrame, TellsARaceByTheSimsWordElseByTheSessionsName) {
    const struct {
        int isRace;
        const char* name;
        bool race;
    } cases[] = {{-1, "HEAT 1 RACE (30 min)", true},
                 {-1, "Race", true},
                 {-1, "Practice", false},
                 {-1, "", false},
                 {0, "Race", false},
                 {1, "Practice", true}};
    for (const auto& c : cases) {
        SimFrame f;
        f.isRace = c.isRace;
        copyText(f.sessionName, c.name);
        EXPECT_EQ(frameIsRace(f), c.race) << c.name;
    }
}

TEST(SimFrame, OneFlagCountsInTheOrderOfTheirWeight) {
    const uint32_t order[] = {kFlagRed,   kFlagChequered, kFlagRepair, kFlagWarning,
                              kFlagWhite, kFlagYellow,    kFlagBlue,   kFlagGreen};
    uint32_t all = 0;
    for (uint32_t flag : order)
        all |= flag;
    for (uint32_t flag : order) {
        EXPECT_EQ(flagPriority(all), flag);
        EXPECT_EQ(flagPriority(flag | 0x1), flag);
        all &= ~flag;
    }
    EXPECT_EQ(flagPriority(0), 0u);
    EXPECT_EQ(flagPriority(0x1), 0u) << "a bit that is no flag of ours";
    EXPECT_EQ(flagPriority(0x2014), 0x10u);
}
