#include "base/utf8.h"
#include "overlay/frame/fields.h"
#include "overlay/frame/sim_support.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>

using namespace vt;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

CarRow car(int index, int place, int rating, const char* carClass) {
    CarRow row;
    row.carIdx = index;
    row.position = place;
    row.irating = rating;
    copyText(row.carClass, carClass);
    return row;
}

/// Two cars of 2000, the player first; a timed race twelve and a half minutes from its end.
SimFrame raceFrame() {
    SimFrame f;
    f.connected = 1;
    f.simKind = kSimIRacing;
    copyText(f.sessionName, "Race");
    copyText(f.trackName, "Winton National");
    f.timeRemain = 754.9;
    f.timeTotal = 2700;
    f.cars = {car(7, 1, 2000, "GT3"), car(8, 2, 2000, "GT3")};
    copyText(f.cars[0].licence, "A 3.50");
    f.playerCarIdx = 7;
    return f;
}

struct Case {
    int field;
    const char* text;
    void (*frame)(SimFrame&) = nullptr;
    void (*config)(AppConfig&) = nullptr;
};

void imperial(AppConfig& c) {
    c.imperial = 1;
}
void psi(AppConfig& c) {
    c.pressureUnit = 1;
}
void kPa(AppConfig& c) {
    c.pressureUnit = 2;
}
void byLaps(SimFrame& f) {
    f.timedSession = 0, f.lapsRemain = 12, f.lap = 9;
}

std::string text(int field, const SimFrame& frame, const AppConfig& config = {},
                 int slot = kSlotRelative) {
    static const Clock clock = manualClock();
    char out[kFieldTextSize];
    const size_t n = formatField(out, sizeof out, field, frame, {config, slot, clock});
    EXPECT_EQ(n, std::strlen(out));
    return out;
}

std::string stripText(int field, const SimFrame& frame, bool withLabel = true) {
    static const Clock clock = manualClock();
    static const AppConfig config;
    char out[kFieldTextSize];
    const size_t n = formatStripField(out, field, frame, {config, kSlotRelative, clock},
                                      frame.simKind, withLabel);
    EXPECT_EQ(n, std::strlen(out));
    return out;
}

const Case kCases[] = {
    {1, "RELATIVE"},
    {2, "iRacing"},
    {2, "", [](SimFrame& f) { f.simKind = -1; }},
    {4, "Race"},
    {5, "Winton National"},
    // Session clocks: whole seconds, cut not rounded; blank where laps count or nothing is known.
    {6, "12:34"},
    {6, "1:00:00", [](SimFrame& f) { f.timeRemain = 3600; }},
    {6, "59:59", [](SimFrame& f) { f.timeRemain = 3599.99; }},
    {6, "23:59:59", [](SimFrame& f) { f.timeRemain = 86399; }},
    {6, "", [](SimFrame& f) { f.timeRemain = 86400; }},
    {6, "", [](SimFrame& f) { f.timeRemain = -1; }},
    {6, "", byLaps},
    {40, "12:34 / 45:00"},
    {40, "12:34", [](SimFrame& f) { f.timeTotal = -1; }},
    {40, "", byLaps},
    // Laps left: counted, estimated with a tilde, estimated and final.
    {7, "12 L", byLaps},
    {7, "", [](SimFrame& f) { f.timedSession = 0; }},
    {7, ""},
    {7, "~14.3 L", [](SimFrame& f) { f.lapsEstimate = 14.26f; }},
    {7, "3 L", [](SimFrame& f) { f.lapsEstimate = 2.6f, f.lapsEstimateIsExact = 1; }},
    {7, "", [](SimFrame& f) { f.lapsEstimate = kNan, f.lapsEstimateIsExact = 1; }},
    {53, "12", byLaps},
    {53, "~14.3", [](SimFrame& f) { f.lapsEstimate = 14.26f; }},
    {53, "0", [](SimFrame& f) { f.lapsEstimate = 0, f.lapsEstimateIsExact = 1; }},
    {30, "9", [](SimFrame& f) { f.lap = 9; }},
    {30, "9 / 21", byLaps},
    {30, ""},
    {8, "P1"},
    {8, "P-", [](SimFrame& f) { f.cars[0].position = 0; }},
    {8, "P-", [](SimFrame& f) { f.playerCarIdx = 40; }},
    // Flags: the highest that has a word.
    {9, ""},
    {9, "GREEN", [](SimFrame& f) { f.sessionFlags = kFlagGreen; }},
    {9, "YELLOW", [](SimFrame& f) { f.sessionFlags = kFlagGreen | kFlagBlue | kFlagYellow; }},
    {9, "WHITE", [](SimFrame& f) { f.sessionFlags = kFlagYellow | kFlagWhite; }},
    {9, "CHECKERED", [](SimFrame& f) { f.sessionFlags = kFlagChequered | kFlagWhite; }},
    {9, "BLUE", [](SimFrame& f) { f.sessionFlags = kFlagBlue | kFlagWarning; }},
    {9, "", [](SimFrame& f) { f.sessionFlags = kFlagRed; }},
    // Weather and temperatures.
    {10, "21°C", [](SimFrame& f) { f.airTemp = 21.4f; }},
    {10, "71°F", [](SimFrame& f) { f.airTemp = 21.4f; }, imperial},
    {10, "0°C", [](SimFrame& f) { f.airTemp = -0.3f; }},
    {10, "-12°C", [](SimFrame& f) { f.airTemp = -12; }},
    {11, "", [](SimFrame& f) { f.trackTemp = kInf; }},
    {29, "21°C·34°C", [](SimFrame& f) { f.airTemp = 21, f.trackTemp = 34; }},
    {29, "", [](SimFrame& f) { f.airTemp = 21, f.trackTemp = -1000; }},
    {12, "35%", [](SimFrame& f) { f.precipitation = 0.35f; }},
    {13, "Dry", [](SimFrame& f) { f.wetnessLevel = 1; }},
    {13, "Extremely Wet", [](SimFrame& f) { f.wetnessLevel = 7; }},
    {13, "25%", [](SimFrame& f) { f.wetnessLevel = 0, f.wetness = 0.25f; }},
    {13, "50%", [](SimFrame& f) { f.wetness = 0.5f; }},
    // The car.
    {14, "41.3 L", [](SimFrame& f) { f.fuelLevel = 41.27f; }, imperial},
    {14, "", [](SimFrame& f) { f.fuelLevel = kNan; }},
    {20, ""},
    {20, "203°F", [](SimFrame& f) { f.waterTemp = 95; }, imperial},
    {21, "108°C", [](SimFrame& f) { f.oilTemp = 107.6f; }},
    {22, "5.2 bar", [](SimFrame& f) { f.oilPressure = 5.21f; }},
    {22, "76 psi", [](SimFrame& f) { f.oilPressure = 5.21f; }, psi},
    {22, "521 kPa", [](SimFrame& f) { f.oilPressure = 5.21f; }, kPa},
    {22, "5.2 bar", [](SimFrame& f) { f.oilPressure = 5.21f; }, imperial},
    {23, "13.8 V", [](SimFrame& f) { f.batteryVolts = 13.81f; }},
    {24, "54.3%", [](SimFrame& f) { f.brakeBias = 54.27f; }},
    {25, "4", [](SimFrame& f) { f.tcLevel = 4; }},
    {26, "", [](SimFrame& f) { f.absLevel = -999; }},
    {27, "1.50g", [](SimFrame& f) { f.latAccel = -1.5f * 9.80665f; }},
    {28, "-0.70g", [](SimFrame& f) { f.longAccel = -0.7f * 9.80665f; }},
    {28, "+0.70g", [](SimFrame& f) { f.longAccel = 0.7f * 9.80665f; }},
    {51, "180 KM/H", [](SimFrame& f) { f.speed = 50; }},
    {51, "112 MPH", [](SimFrame& f) { f.speed = 50; }, imperial},
    {52, "7250", [](SimFrame& f) { f.rpm = 7249.6f; }},
    // Laps and deltas; a delta counts only with its flag.
    {15, "1:42.307", [](SimFrame& f) { f.lastLapTime = 102.307f; }},
    {15, "61:00.000", [](SimFrame& f) { f.lastLapTime = 3660; }},
    {15, "2:00.000", [](SimFrame& f) { f.lastLapTime = 119.9997f; }},
    {15, ""},
    {45, "1:41.000", [](SimFrame& f) { f.bestLapTime = 101; }},
    {50, "0:08.500", [](SimFrame& f) { f.currentLapTime = 8.5f; }},
    {46, "", [](SimFrame& f) { f.optimalLapTime = 100; }},
    {46, "1:40.000", [](SimFrame& f) { f.optimalLapTime = 100, f.optimalLapTimeOk = 1; }},
    {31, "", [](SimFrame& f) { f.deltaBest = 0.5f; }},
    {31, "-0.25", [](SimFrame& f) { f.deltaBest = -0.25f, f.deltaBestOk = 1; }},
    {32, "+1.50", [](SimFrame& f) { f.deltaLast = 1.5f, f.deltaLastOk = 1; }},
    {33, "+0.10", [](SimFrame& f) { f.deltaOptimal = 0.1f, f.deltaOptimalOk = 1; }},
    {34, "+0.20", [](SimFrame& f) { f.deltaSessionBest = 0.2f, f.deltaSessionBestOk = 1; }},
    {35, "+0.30", [](SimFrame& f) { f.sectorDeltaBest = 0.3f, f.sectorDeltaBestOk = 1; }},
    {36, "+0.40", [](SimFrame& f) { f.sectorDeltaLast = 0.4f, f.sectorDeltaLastOk = 1; }},
    {42, "+0.50", [](SimFrame& f) { f.liveDeltaBest = 0.5f, f.liveDeltaBestOk = 1; }},
    {43, "", [](SimFrame& f) { f.liveDeltaLast = kInf, f.liveDeltaLastOk = 1; }},
    {44, "1:40.500",
     [](SimFrame& f) { f.bestLapTime = 101, f.liveDeltaBest = -0.5f, f.liveDeltaBestOk = 1; }},
    {44, "", [](SimFrame& f) { f.liveDeltaBest = -0.5f, f.liveDeltaBestOk = 1; }},
    // Ratings: of two equal cars the first gains what the second nearly loses.
    {16, "3x", [](SimFrame& f) { f.incidents = 3; }},
    {16, ""},
    {41, "3x / 17x", [](SimFrame& f) { f.incidents = 3, f.incidentLimit = 17; }},
    {41, "3x", [](SimFrame& f) { f.incidents = 3; }},
    {17, "2.0k"},
    {17, "999", [](SimFrame& f) { f.cars[0].irating = 999; }},
    {17, "", [](SimFrame& f) { f.cars[0].irating = 0; }},
    {18, "+50"},
    {18, "-49", [](SimFrame& f) { f.playerCarIdx = 8; }},
    {18, "", [](SimFrame& f) { f.cars[0].irating = 0; }},
    {37, "951",
     [](SimFrame& f) { f.playerCarIdx = 8, f.cars[0].irating = f.cars[1].irating = 1000; }},
    {19, "2.0k"},
    {19, "500", [](SimFrame& f) { f.cars[0] = car(7, 1, 500, "LMP2"); }},
    {38, "A 3.50"},
    {38, "", [](SimFrame& f) { f.playerCarIdx = -1; }},
    {47, "", [](SimFrame& f) { f.positionsGained = 2; }},
    {47, "+2", [](SimFrame& f) { f.positionsGained = 2, f.positionsGainedOk = 1; }},
    {47, "-3", [](SimFrame& f) { f.positionsGained = -3, f.positionsGainedOk = 1; }},
    {47, "0", [](SimFrame& f) { f.positionsGainedOk = 1; }},
    // Nobody supplies these here.
    {39, ""},
    {48, ""},
    {49, ""},
    // No such fields.
    {0, ""},
    {54, ""},
    {-1, ""},
    {1000, ""},
};

} // namespace

TEST(FieldTexts, goldenTable) {
    for (size_t i = 0; i < std::size(kCases); ++i) {
        const Case& c = kCases[i];
        SimFrame frame = raceFrame();
        AppConfig config;
        if (c.frame) c.frame(frame);
        if (c.config) c.config(config);
        EXPECT_EQ(text(c.field, frame, config), c.text)
            << "case " << i << ", " << fieldLabel(c.field);
    }
}

TEST(FieldTexts, clockIsLocalAndPadded) {
    const char* const saved = std::getenv("TZ");
    const std::string before = saved ? saved : "";
    setenv("TZ", "UTC0", 1);
    tzset();
    Clock clock = manualClock();
    clock.manualUnixSeconds = 7 * 3600 + 5 * 60 + 59;
    const AppConfig config;
    char out[kFieldTextSize];
    formatField(out, sizeof out, 3, {}, {config, kSlotRelative, clock});
    EXPECT_STREQ(out, "07:05");
    setenv("TZ", "EST5", 1);
    tzset();
    formatField(out, sizeof out, 3, {}, {config, kSlotRelative, clock});
    EXPECT_STREQ(out, "02:05");
    if (saved)
        setenv("TZ", before.c_str(), 1);
    else
        unsetenv("TZ");
    tzset();
}

TEST(FieldTexts, withoutSimOnlyTheProgramsOwnValues) {
    const SimFrame none;
    for (int id = 1; id < kFieldCount; ++id) {
        const bool own = id == 1 || id == 3;
        EXPECT_EQ(text(id, none).empty(), !own) << fieldLabel(id);
    }
    EXPECT_EQ(text(1, none, {}, -1), "");
    EXPECT_EQ(text(1, none, {}, kSlotCount), "");
}

TEST(FieldTexts, providersFillTheirFields) {
    const SimFrame frame = raceFrame();
    fieldProviders.heartRate = [] { return 142; };
    fieldProviders.strategyTitle = [](char* out, size_t capacity) {
        copyText(out, capacity, "1 STOP - LAP 12");
        return std::strlen(out);
    };
    fieldProviders.fuelSaveTarget = [](float& litres) {
        litres = 0.126f;
        return true;
    };
    EXPECT_EQ(text(39, frame), "142 BPM");
    EXPECT_EQ(text(39, {}), "142 BPM");
    EXPECT_EQ(text(48, frame), "1 STOP - LAP 12");
    EXPECT_EQ(text(49, frame), "SAVE 0.13 L/LAP");
    fieldProviders.fuelSaveTarget = [](float& litres) {
        litres = kNan;
        return true;
    };
    EXPECT_EQ(text(49, frame), "");
    fieldProviders.heartRate = [] { return 0; };
    EXPECT_EQ(text(39, frame), "");
    fieldProviders = {};
}

// Whatever a sim writes into its numbers, none of it may reach the screen as a number.
TEST(FieldTexts, hostileNumbersNeverShow) {
    for (const float bad : {kNan, kInf, -kInf, -1000.0f}) {
        SimFrame f = raceFrame();
        f.timeRemain = f.timeTotal = static_cast<double>(bad);
        for (float* value : {&f.airTemp,
                             &f.trackTemp,
                             &f.precipitation,
                             &f.wetness,
                             &f.fuelLevel,
                             &f.lastLapTime,
                             &f.waterTemp,
                             &f.oilTemp,
                             &f.oilPressure,
                             &f.batteryVolts,
                             &f.brakeBias,
                             &f.tcLevel,
                             &f.absLevel,
                             &f.bestLapTime,
                             &f.currentLapTime,
                             &f.optimalLapTime,
                             &f.lapsEstimate,
                             &f.speed,
                             &f.rpm,
                             &f.liveDeltaBest})
            *value = bad;
        f.optimalLapTimeOk = f.liveDeltaBestOk = 1;
        if (!(bad == -1000)) { // any finite delta or G-force is a value
            for (float* value :
                 {&f.latAccel, &f.longAccel, &f.deltaBest, &f.deltaLast, &f.deltaOptimal,
                  &f.deltaSessionBest, &f.sectorDeltaBest, &f.sectorDeltaLast, &f.liveDeltaLast})
                *value = bad;
            f.deltaBestOk = f.deltaLastOk = f.deltaOptimalOk = f.deltaSessionBestOk = 1;
            f.sectorDeltaBestOk = f.sectorDeltaLastOk = f.liveDeltaLastOk = 1;
        }
        constexpr int numeric[] = {6,  10, 11, 12, 13, 14, 15, 20, 21, 22, 23, 24,
                                   25, 26, 29, 40, 44, 45, 46, 50, 51, 52, 53, 7};
        for (const int id : numeric)
            EXPECT_EQ(text(id, f), "") << fieldLabel(id) << " of " << bad;
        if (bad == -1000) continue;
        for (const int id : {27, 28, 31, 32, 33, 34, 35, 36, 42, 43})
            EXPECT_EQ(text(id, f), "") << fieldLabel(id) << " of " << bad;
    }
}

TEST(FieldTexts, everyCapacityEndsBetweenCharacters) {
    SimFrame frame = raceFrame();
    copyText(frame.trackName, "鈴鹿サーキット 東コース");
    copyText(frame.sessionName, "Qualität");
    frame.airTemp = frame.trackTemp = 21;
    frame.lap = 3;
    const AppConfig config;
    const Clock clock = manualClock();
    for (int id = 1; id < kFieldCount; ++id) {
        const std::string whole = text(id, frame);
        for (size_t capacity = 1; capacity < 40; ++capacity) {
            char out[64];
            std::memset(out, 0x7F, sizeof out);
            const size_t n = formatField(out, capacity, id, frame, {config, kSlotRelative, clock});
            ASSERT_LT(n, capacity);
            ASSERT_EQ(out[n], '\0');
            ASSERT_EQ(out[capacity], 0x7F);
            EXPECT_TRUE(utf8Valid({out, n})) << fieldLabel(id) << " in " << capacity;
            EXPECT_EQ(whole.substr(0, n), out) << fieldLabel(id);
            EXPECT_GE(n + 4, std::min(capacity, whole.size() + 4)) << fieldLabel(id);
        }
    }
}

TEST(StripTexts, labelsAndMissingWords) {
    SimFrame f = raceFrame();
    EXPECT_EQ(stripText(8, f), "Position P1");
    EXPECT_EQ(stripText(8, f, false), "P1");
    EXPECT_EQ(stripText(18, f), "iR Gain +50");
    EXPECT_EQ(stripText(0, f), "");
    EXPECT_EQ(stripText(54, f), "");
    EXPECT_EQ(stripText(9, f), "") << "a label alone says nothing";
    for (const int id : {20, 21, 22, 23, 24})
        EXPECT_EQ(stripText(id, f, false), "N/A") << fieldLabel(id);
    EXPECT_EQ(stripText(25, f), "TC None");
    f.absLevel = kNan;
    EXPECT_EQ(stripText(26, f), "ABS None");
    f.precipitation = -1000;
    EXPECT_EQ(stripText(12, f), "Rain N/A");
    f.wetness = -999;
    EXPECT_EQ(stripText(13, f), "Wetness N/A");
    f.wetnessLevel = 1;
    EXPECT_EQ(stripText(13, f), "Wetness Dry");

    f.simKind = kSimEts2;
    f.lastLapTime = 100;
    EXPECT_EQ(stripText(15, f), "Last Lap N/A");
    EXPECT_EQ(stripText(15, f, false), "N/A");
    f.simKind = kSimRFactor2; // gains are measured on iRacing alone
    f.positionsGainedOk = 1;
    EXPECT_EQ(stripText(47, f), "Pos +/- N/A");
    EXPECT_EQ(stripText(8, SimFrame{}), "Position N/A");

    EXPECT_TRUE(isFieldEmpty("Rain N/A"));
    EXPECT_TRUE(isFieldEmpty("None"));
    EXPECT_FALSE(isFieldEmpty("N/A Ring"));
    EXPECT_FALSE(isFieldEmpty(""));
}

TEST(StripTexts, longTextsAreCutBetweenCharacters) {
    fieldProviders.strategyTitle = [](char* out, size_t capacity) {
        std::string plan;
        while (plan.size() < 200)
            plan += "二回";
        copyText(out, capacity, plan);
        return std::strlen(out);
    };
    const std::string shown = stripText(48, raceFrame());
    EXPECT_LT(shown.size(), kFieldTextSize);
    EXPECT_GE(shown.size(), kFieldTextSize - 4);
    EXPECT_TRUE(utf8Valid(shown));
    EXPECT_TRUE(shown.starts_with("Strategy 二回二回"));
    fieldProviders = {};
}
