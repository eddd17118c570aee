#include "base/hash.h"
#include "base/utf8.h"
#include "telemetry/readers/iracing_session_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

namespace vt {
namespace {

IrSessionText parsed(std::string_view text) {
    IrSessionText out;
    parseSessionText(out, text);
    return out;
}

TEST(IracingText, SingleKeysAndTheirLimits) {
    const struct {
        const char* text;
        float IrSessionText::*field;
        float expected;
    } reals[] = {
        {"TrackLength: 2.50 mi\n", &IrSessionText::trackLength, 4023.36f},
        {"TrackLength: 5.75 km\r\n", &IrSessionText::trackLength, 5750},
        {"TrackLength: -1 km\n", &IrSessionText::trackLength, 0},
        {"TrackLength: nan km\n", &IrSessionText::trackLength, 0},
        {"TrackPitSpeedLimit: 72.00 kph\n", &IrSessionText::pitLimitSpeed, 20},
        {"DriverPitTrkPct: 1.0\n", &IrSessionText::pitStallPct, -1},
        {"DriverPitTrkPct: 0.25\n", &IrSessionText::pitStallPct, 0.25f},
        {"DriverCarFuelMaxLtr: 100\nDriverCarMaxFuelPct: 0.5\n", &IrSessionText::fuelCapacity, 50},
        {"DriverCarFuelMaxLtr: 100\nDriverCarMaxFuelPct: 1.5\n", &IrSessionText::fuelCapacity, 100},
        {"DriverCarFuelMaxLtr: 100\n", &IrSessionText::fuelCapacity, 100},
        {"DriverCarSLLastRPM: 90\nDriverCarRedLine: 7000\n", &IrSessionText::maxRpm, 7000},
        {"DriverCarSLBlinkRPM: 100\n", &IrSessionText::shiftBlinkRpm, 0},
    };
    for (const auto& c : reals)
        EXPECT_FLOAT_EQ(parsed(c.text).*c.field, c.expected) << c.text;

    const struct {
        const char* text;
        int32_t IrSessionText::*field;
        int32_t expected;
    } numbers[] = {
        {"TimeOfDay: 12:30 am\n", &IrSessionText::timeOfDay, 1800},
        {"TimeOfDay: 12:30 pm\n", &IrSessionText::timeOfDay, 45000},
        {"TimeOfDay: 1:05 pm\n", &IrSessionText::timeOfDay, 47100},
        {"TimeOfDay: 14:10\n", &IrSessionText::timeOfDay, 51000},
        {"TimeOfDay: 24:00\n", &IrSessionText::timeOfDay, -1},
        {"TimeOfDay: 1:60 pm\n", &IrSessionText::timeOfDay, -1},
        {"TimeOfDay: noon\n", &IrSessionText::timeOfDay, -1},
        {"IncidentLimit: unlimited\n", &IrSessionText::incidentLimit, -1},
        {"IncidentLimit: 17\n", &IrSessionText::incidentLimit, 17},
        {"", &IrSessionText::raceWeek, -1},
        {"RaceWeek: -3\n", &IrSessionText::raceWeek, -1},
        {"SeasonID: -3\n", &IrSessionText::seasonId, 0},
        {"", &IrSessionText::fixedSetup, -1},
        {"IsFixedSetup: 0\n", &IrSessionText::fixedSetup, 0},
        {"IsFixedSetup: 1\n", &IrSessionText::fixedSetup, 1},
        {"DriverCarIdx: -1\n", &IrSessionText::playerCarIdx, -1},
        {"DriverCarIdx: 64\n", &IrSessionText::playerCarIdx, -1},
        {"DriverCarIdx: 63\n", &IrSessionText::playerCarIdx, 63},
        {"TrackID: 99999999999999\n", &IrSessionText::trackId, INT32_MAX},
    };
    for (const auto& c : numbers)
        EXPECT_EQ(parsed(c.text).*c.field, c.expected) << c.text;

    EXPECT_STREQ(parsed("Date: 2024-07-01\n").sessionDate, "2024-07-01");
    EXPECT_STREQ(parsed("Date: 2024-07-01T00:00\n").sessionDate, "");
    EXPECT_STREQ(parsed("TrackDisplayName: Spa\nTrackConfigName: \n").trackConfig, "");
}

TEST(IracingText, EncodingsAndCuts) {
    EXPECT_STREQ(parsed("TrackDisplayName: Aut\xF3"
                        "dromo \x80\n")
                     .trackName,
                 "Autódromo €");
    EXPECT_STREQ(parsed("TrackDisplayName: 鈴鹿\n").trackName, "鈴鹿");
    EXPECT_STREQ(parsed(std::string_view("A: 1\0TrackDisplayName: x\n", 25)).trackName, "");
    std::string name;
    for (int i = 0; i < 30; ++i)
        name += "鹿";
    const std::string cut = parsed("TrackDisplayName: " + name + "\n").trackName;
    EXPECT_EQ(cut, name.substr(0, 63));
    EXPECT_TRUE(utf8Valid(cut));
}

constexpr const char* kRace = R"(---
SessionInfo:
 CurrentSessionNum: 1
 Sessions:
 - SessionNum: 0
   SessionTime: 480.0000 sec
   SessionType: Lone Qualify
   SessionName: QUALIFY
   ResultsPositions:
   - Position: 1
     CarIdx: 2
     FastestTime: 91.5
     LastTime: -1
   - Position: 2
     CarIdx: 64
     FastestTime: 80
   ResultsFastestLap:
   - CarIdx: 1
     FastestTime: 11.1
 - SessionNum: 2
   SessionTime: unlimited
   SessionType: Heat Race
   SessionName: 
 - SessionNum: 64
   SessionType: Race

QualifyResultsInfo:
 Results:
 - Position: 0
   ClassPosition: 0
   CarIdx: 1
 - Position: 1
   ClassPosition: 3
   CarIdx: 2

DriverInfo:
 DriverCarIdx: 2
 PaceCarIdx: 0
 Drivers:
 - CarIdx: 0
   UserName: Pace Car
   CarNumber: "0"
   CarIsPaceCar: 1
 - CarIdx: 2
   UserName: Ana "Quick" Sol
   CarNumber: "007"
   CarPath: maker\gt3:2024
   CarScreenName: Maker GT3 R
   CarClassWeightPenalty: 12.500 kg
   CarClassPowerAdjust: -1.250 %
   CarClassShortName: GT3
   IRating: 2718
   LicString: B 3.14
   CarIsPaceCar: 0
   IsSpectator: 10
 - CarIdx: 64
   UserName: Nobody
 - CarIdx: -1
   UserName: Nobody
 - CarIdx: 63
   UserName: Last
   CarNumber: 5"

SplitTimeInfo:
 Sectors:
 - SectorNum: 0
   SectorStartPct: 0.000000

 - SectorNum: 1
   SectorStartPct: 0.5
 - SectorNum: 2
   SectorStartPct: 1.0
CameraInfo:
   SectorStartPct: 0.7
)";

TEST(IracingText, SessionsResultsDriversAndSectors) {
    const IrSessionText t = parsed(kRace);
    ASSERT_EQ(t.sessions.size(), 3u);
    EXPECT_STREQ(t.sessions[0].name, "QUALIFY");
    EXPECT_EQ(t.sessions[0].isRace, 0);
    EXPECT_EQ(t.sessions[0].length, 480);
    EXPECT_FLOAT_EQ(t.sessions[0].results[2].fastest, 91.5f);
    EXPECT_EQ(t.sessions[0].results[2].last, 0);
    EXPECT_EQ(t.sessions[0].results[1].fastest, 0); // another list of the record
    EXPECT_EQ(t.sessions[1].isRace, -1);
    EXPECT_STREQ(t.sessions[2].name, "Heat Race"); // no name: the type stands in
    EXPECT_EQ(t.sessions[2].isRace, 1);
    EXPECT_EQ(t.sessions[2].length, -1);
    EXPECT_EQ(t.qualifyFallback, 4);
    EXPECT_EQ(t.sectorStarts, (std::vector<float>{0, 0.5f}));

    EXPECT_TRUE(t.drivers[0].isPaceCar);
    const IrDriver& d = t.drivers[2];
    EXPECT_STREQ(d.userName, "Ana \"Quick\" Sol");
    EXPECT_STREQ(d.numberText, "007");
    EXPECT_EQ(d.numberValue, 7);
    EXPECT_STREQ(d.brand, "Maker");
    EXPECT_EQ(d.isSpectator, 0); // only for the exact "1"
    EXPECT_STREQ(t.carName, "Maker GT3 R");
    EXPECT_STREQ(t.carModel, "maker_gt3_2024");
    EXPECT_FLOAT_EQ(t.classPowerAdjust, -1.25f);
    EXPECT_FLOAT_EQ(t.classWeightPenalty, 12.5f);
    EXPECT_STREQ(t.drivers[63].numberText, "5\"");
    EXPECT_EQ(std::count_if(t.drivers.begin(), t.drivers.end(),
                            [](const IrDriver& slot) { return slot.present; }),
              3);
}

TEST(IracingText, ANewTextLeavesNothingOfTheOld) {
    IrSessionText t;
    parseSessionText(t, kRace);
    parseSessionText(t, "DriverInfo:\n");
    EXPECT_TRUE(t.sessions.empty());
    EXPECT_TRUE(t.sectorStarts.empty());
    EXPECT_FALSE(t.drivers[2].present);
    EXPECT_STREQ(t.carModel, "");
    EXPECT_EQ(t.classPowerAdjust, -1000);
}

TEST(IracingText, SetupIsFlattened) {
    const char* block = "CarSetup:\n"
                        " UpdateCount: 7\n"
                        " Chassis:\n"
                        "  Front:\n"
                        "   ArbBlades: 4 \r\n"
                        "   a remark without its mark\n"
                        "  Rear:\n"
                        "   Ratio: 5.142:1\n"
                        "   UpdateCount: 9\n"
                        " Fuel: 20 L\n"
                        "Next:\n"
                        " Key: 1\n";
    const IrSessionText t = parsed(std::string("A: 1\n") + block);
    EXPECT_STREQ(t.setupText, "Chassis.Front.ArbBlades: 4\n"
                              "Chassis.Rear.Ratio: 5.142:1\n"
                              "Chassis.Rear.UpdateCount: 9\n"
                              "Fuel: 20 L\n");
    EXPECT_EQ(t.setupUpdateCount, 7);
    EXPECT_EQ(static_cast<uint32_t>(t.setupHash), fnv1a32(t.setupText));
    EXPECT_STREQ(parsed(block).setupText, t.setupText);
    EXPECT_STREQ(parsed(std::string("My") + block).setupText, "");
    EXPECT_EQ(parsed("CarSetup:").setupHash, 0);
}

TEST(IracingText, SetupLimits) {
    // Nine sections deep: the ninth name is dropped. Names are cut at 39 bytes.
    std::string deep = "CarSetup:\n";
    for (int i = 0; i < 9; ++i)
        deep += std::string(static_cast<size_t>(i) + 1, ' ') + "S" + std::to_string(i) + ":\n";
    deep += "          Key: 1\n";
    EXPECT_STREQ(parsed(deep).setupText, "S0.S1.S2.S3.S4.S5.S6.S7.Key: 1\n");
    const std::string longName(60, 'n');
    EXPECT_EQ(parsed("CarSetup:\n " + longName + ":\n  K: 1\n").setupText,
              longName.substr(0, 39) + ".K: 1\n");
    EXPECT_EQ(
        std::string(parsed("CarSetup:\n K: " + std::string(900, 'v') + "\n").setupText).size(),
        512u);

    for (const size_t lineLength : {10u, 39u, 64u, 100u}) {
        std::string text = "CarSetup:\n";
        for (int i = 0; i < 800; ++i)
            text += " " + std::to_string(1000 + i) + ": " + std::string(lineLength - 7, 'v') + "\n";
        const std::string flat = parsed(text).setupText;
        EXPECT_LE(flat.size(), 4095u);
        EXPECT_GT(flat.size(), 4095u - lineLength - 12);
        EXPECT_TRUE(flat.ends_with("v\n(truncated)\n"));
        EXPECT_EQ((flat.size() - 12) % lineLength, 0u); // cut at a line's end
    }
}

TEST(IracingText, RealTextOfAnotherIndentation) {
    std::ifstream in(VT_SOURCE_DIR "/../shared/realdata/session_text/spa_practice.yaml",
                     std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    if (text.empty()) GTEST_SKIP() << "no session text recording";
    const IrSessionText t = parsed(text);
    EXPECT_STREQ(t.trackName, "Circuit de Spa-Francorchamps");
    EXPECT_STREQ(t.trackConfig, "Grand Prix Pit");
    EXPECT_FLOAT_EQ(t.trackLength, 6930);
    EXPECT_EQ(t.trackTurns, 21);
    EXPECT_GE(t.playerCarIdx, 0);
    ASSERT_FALSE(t.sessions.empty());
    EXPECT_FALSE(t.sectorStarts.empty());
    for (const IrDriver& d : t.drivers)
        EXPECT_EQ(d.present != 0, d.userName[0] != '\0');
    EXPECT_TRUE(t.drivers[static_cast<size_t>(t.playerCarIdx)].present);
    EXPECT_STRNE(t.carModel, "");
}

} // namespace
} // namespace vt
