// Records as JSON: what is written, what is left out, what is tolerated.
#include "perf/session_json.h"
#include "support/perf_samples.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>

namespace vt {
namespace {

using Json = nlohmann::ordered_json;

/// Every field away from its default.
SessionRecord fullSession() {
    SessionRecord record = test::sampleSession("2026-03-01T12:00:00Z", 2);
    float next = 0.1f;
    const auto fill = [&](auto&... fields) { ((fields = (next += 1.1f)), ...); };
    SessionSummary& s = record.summary;
    fill(s.bestLapTime, s.avgLapTime, s.worstLapTime, s.lapStdDev, s.avgSpeed, s.topSpeed,
         s.throttlePct, s.brakePct, s.coastPct, s.avgTransition);
    SprintBest& p = record.sprintPB;
    fill(p.pb0to60, p.pb0to100, p.pbQuarter, p.pbTrapMph, p.pbReaction, p.pbTopSpeed);
    LapRecord& lap = record.laps[0];
    fill(lap.avgSpeed, lap.topSpeed, lap.maxLatG, lap.maxBrakeG, lap.maxAccelG, lap.throttlePct,
         lap.brakePct, lap.coastPct, lap.fuelStartL, lap.airTempC, lap.trackTempC, lap.wetness,
         lap.brakeBias, lap.tcLevel, lap.absLevel, lap.trafficSec, lap.trafficWorstPct);
    lap.invalid = 3;
    lap.share = kLapShared;
    copyText(lap.shareLapId, "id-1");
    lap.tyreLaps = 4;
    lap.compound = 2;
    lap.outLap = lap.inLap = true;
    record.hasBestTrace = true;
    record.bestTrace.resize(kBestTraceBins);
    BestTraceBin& bin = record.bestTrace[199];
    fill(bin.speed, bin.throttle, bin.brake, bin.steer, bin.latG, bin.lapTimeSec);
    bin.valid = true;
    CornerRecord corner;
    fill(corner.entryPct, corner.exitPct, corner.minSpeed, corner.maxSpeed, corner.avgSpeed,
         corner.peakLatG);
    corner.sector = 2;
    record.corners = {corner};
    fill(record.airTempC, record.trackTempC, record.wetnessMax, record.trackLengthM,
         record.powerAdjustPct, record.weightPenaltyKg);
    copyText(record.traceFile, "a.vttr");
    copyText(record.trackConfig, "Grand Prix");
    copyText(record.simVersion, "2026.1");
    copyText(record.simDate, "2026-07-01");
    record.timeOfDaySec = 3600;
    record.seasonId = 5;
    record.raceWeek = 0;
    record.fixedSetup = 1;
    record.trackNumTurns = 15;
    record.sectorLayout = 3;
    record.setupText = "Tyres:\n  \"soft\"\t\\ \xC3\xA9";
    record.setupHash = -77;
    record.setupChangedMidStint = true;
    record.source = "ibt";
    record.sourceFile = "a.ibt";
    record.gps = -1;
    return record;
}

TEST(SessionJson, EveryFieldComesBackAsTheSameFloat) {
    const SessionRecord record = fullSession();
    const std::string text = sessionToJson(record);
    const Json json = Json::parse(text);
    EXPECT_EQ(json.begin().key(), "version");
    EXPECT_EQ(json.dump(2), text) << "the text is as the library would write it";

    SessionRecord back;
    ASSERT_TRUE(parseSessionText(text, back));
    EXPECT_EQ(sessionToJson(back), text);
    EXPECT_EQ(back.summary.avgTransition, record.summary.avgTransition);
    EXPECT_EQ(back.sprintPB.pbTopSpeed, record.sprintPB.pbTopSpeed);
    EXPECT_EQ(back.laps[0].trafficWorstPct, record.laps[0].trafficWorstPct);
    EXPECT_EQ(back.bestTrace[199].lapTimeSec, record.bestTrace[199].lapTimeSec);
    EXPECT_EQ(back.corners[0].peakLatG, record.corners[0].peakLatG);
    EXPECT_EQ(back.setupText, record.setupText);
    EXPECT_EQ(back.weightPenaltyKg, record.weightPenaltyKg);

    // The keys, and those of a lap, by the names that other programs read.
    const std::set<std::string> wanted = {"version",
                                          "carName",
                                          "trackName",
                                          "trackId",
                                          "simId",
                                          "sessionType",
                                          "date",
                                          "totalLaps",
                                          "summary",
                                          "sprintPB",
                                          "laps",
                                          "hasBestTrace",
                                          "bestTrace",
                                          "corners",
                                          "traceFile",
                                          "airTempC",
                                          "trackTempC",
                                          "wetnessMax",
                                          "trackLengthM",
                                          "trackConfig",
                                          "simVersion",
                                          "simDate",
                                          "seasonId",
                                          "timeOfDaySec",
                                          "raceWeek",
                                          "fixedSetup",
                                          "setupText",
                                          "setupHash",
                                          "trackNumTurns",
                                          "sectorLayout",
                                          "source",
                                          "sourceFile",
                                          "gps",
                                          "powerAdjustPct",
                                          "weightPenaltyKg",
                                          "setupChangedMidStint"};
    std::set<std::string> keys;
    for (const auto& item : json.items())
        keys.insert(item.key());
    EXPECT_EQ(keys, wanted);
    EXPECT_EQ(json["laps"][0].size(), 27u);
}

TEST(SessionJson, WhatHasNoValueIsLeftOut) {
    const Json json = Json::parse(sessionToJson(SessionRecord{}));
    EXPECT_EQ(json.size(), 15u) << json.dump(2);
    for (const char* key : {"laps", "corners", "bestTrace", "setupText", "powerAdjustPct", "gps"})
        EXPECT_FALSE(json.contains(key)) << key;
    SessionRecord record = test::sampleSession("2026-03-01T12:00:00Z", 1);
    record.laps[0].lapTime = std::nanf("");
    record.laps[0].fuelStartL = std::nanf("");
    record.laps[0].airTempC = std::numeric_limits<float>::infinity();
    record.powerAdjustPct = 5; // alone
    record.setupText = "without a hash";
    const std::string text = sessionToJson(record);
    EXPECT_EQ(text.find("null"), text.npos);
    SessionRecord back;
    ASSERT_TRUE(parseSessionText(text, back));
    EXPECT_EQ(back.laps[0].lapTime, 0);
    EXPECT_EQ(back.laps[0].fuelStartL, -1);
    EXPECT_EQ(back.laps[0].airTempC, kNoLevel);
    EXPECT_EQ(back.powerAdjustPct, kNoLevel);
    EXPECT_EQ(back.setupText, "");
}

TEST(SessionJson, SectorsAboveTheThirdShareOneElement) {
    const struct {
        std::vector<float> sectors;
        const char *three, *all;
        int count, back;
    } cases[] = {
        {{}, "[0.0,0.0,0.0]", nullptr, 0, 0},
        {{20, 30}, "[20.0,30.0,0.0]", nullptr, 2, 2},
        {{20, 30, 40}, "[20.0,30.0,40.0]", nullptr, 3, 3},
        {{20, 30, 40, 50}, "[20.0,30.0,40.0,50.0]", nullptr, 4, 4},
        {{20, 30, 40, 5, 6}, "[20.0,30.0,40.0,11.0]", "[20.0,30.0,40.0,5.0,6.0]", 4, 5},
        {{20, 30, 40, 5, 0}, "[20.0,30.0,40.0,0.0]", "[20.0,30.0,40.0,5.0,0.0]", 4, 5},
    };
    for (const auto& c : cases) {
        SessionRecord record = test::sampleSession("2026-03-01T12:00:00Z", 1);
        LapRecord& lap = record.laps[0];
        lap.sectorCount = static_cast<int>(c.sectors.size());
        std::fill(std::begin(lap.sectorSec), std::end(lap.sectorSec), 0.0f);
        std::copy(c.sectors.begin(), c.sectors.end(), lap.sectorSec);
        const std::string text = sessionToJson(record);
        const Json json = Json::parse(text)["laps"][0];
        EXPECT_EQ(json["sectorSec"].dump(), c.three);
        EXPECT_EQ(json["sectorCount"], c.count);
        EXPECT_EQ(json.contains("sectorSecAll"), c.all != nullptr);
        if (c.all) {
            EXPECT_EQ(json["sectorSecAll"].dump(), c.all);
        }
        SessionRecord back;
        ASSERT_TRUE(parseSessionText(text, back));
        EXPECT_EQ(back.laps[0].sectorCount, c.back);
        for (size_t i = 0; i < c.sectors.size(); ++i)
            EXPECT_EQ(back.laps[0].sectorSec[i], c.sectors[i]);
    }
}

TEST(SessionJson, ReadingForgivesWhatIsMissingAndRefusesWrongTypes) {
    SessionRecord back;
    ASSERT_TRUE(parseSessionText("{}", back));
    EXPECT_EQ(back.version, 0);
    EXPECT_EQ(back.timeOfDaySec, -1);
    EXPECT_EQ(back.weightPenaltyKg, kNoLevel);
    ASSERT_TRUE(
        parseSessionText(R"({"carName": null, "laps": [{"lapTime": null, "sectorSec": [1, null]}],
        "powerAdjustPct": 3, "trackId": 1e300, "airTempC": 1e300,
        "summary": {"bestLapTime": null}})",
                         back));
    EXPECT_EQ(back.laps[0].lapTime, 0);
    EXPECT_EQ(back.powerAdjustPct, kNoLevel);
    EXPECT_EQ(back.trackId, 2147483647);
    EXPECT_EQ(back.airTempC, 0);
    for (const char* wrong :
         {R"({"carName": 5})", R"({"trackId": "5"})", R"({"summary": []})", R"({"laps": {}})",
          R"({"laps": [5]})", R"({"laps": [{"outLap": 1}]})", R"({"hasBestTrace": "yes"})",
          R"({"laps": [{"sectorSec": 4}]})", R"({"laps": [{"sectorSecAll": ["1"]}]})",
          R"({"corners": [{"sector": false}]})", R"([])", R"({"carName": )"})
        EXPECT_FALSE(parseSessionText(wrong, back)) << wrong;

    // Share states that this version does not know, or that lost their id.
    const struct {
        const char* lap;
        int share;
        const char* id;
    } shares[] = {{R"({"share": 1})", 0, ""},
                  {R"({"share": 1, "shareLapId": "x"})", 1, "x"},
                  {R"({"share": 2, "shareLapId": "x"})", 2, ""},
                  {R"({"share": 3, "shareLapId": "x"})", 0, ""},
                  {R"({"share": -1})", 0, ""}};
    for (const auto& c : shares) {
        ASSERT_TRUE(parseSessionText(std::string(R"({"laps": [)") + c.lap + "]}", back));
        EXPECT_EQ(back.laps[0].share, c.share) << c.lap;
        EXPECT_STREQ(back.laps[0].shareLapId, c.id) << c.lap;
    }
    // Lists and texts end at their widths, texts between two characters.
    Json big = Json::parse(sessionToJson(test::sampleSession("2026-03-01T12:00:00Z", 1)));
    for (int i = 0; i < 120; ++i)
        big["laps"].push_back(big["laps"][0]);
    for (int i = 0; i < 40; ++i)
        big["corners"].push_back(Json::object());
    big["laps"][0]["sectorSecAll"] = std::vector<int>(30, 2);
    big["carName"] = std::string(62, 'a') + "\xC3\xA9";
    ASSERT_TRUE(parseSessionText(big.dump(), back));
    EXPECT_EQ(back.laps.size(), 100u);
    EXPECT_EQ(back.corners.size(), 32u);
    EXPECT_EQ(back.laps[0].sectorCount, 16);
    EXPECT_EQ(std::string(back.carName), std::string(62, 'a'));
}

TEST(Stints, APitStopDividesThem) {
    SessionRecord record = test::sampleSession("2026-03-01T12:00:00Z", 14);
    record.laps[0].outLap = true; // opens the first, closes nothing
    record.laps[6].inLap = true;
    record.laps[7].outLap = true;
    record.laps[10].outLap = true; // the stop itself was not seen
    record.laps[11].invalid = 1;
    record.laps[12].lapTime = 1;
    const std::vector<StintSpan> stints = splitStints(record);
    ASSERT_EQ(stints.size(), 3u);
    const int expected[3][5] = {{0, 0, 6, 5, 1}, {7, 1, 9, 2, 0}, {10, 2, 13, 1, 0}};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(stints[i].firstLap, expected[i][0]);
        EXPECT_EQ(stints[i].ordinal, expected[i][1]);
        EXPECT_EQ(stints[i].lastLap, expected[i][2]);
        EXPECT_EQ(stints[i].cleanLaps, expected[i][3]);
        EXPECT_EQ(stints[i].qualifies, expected[i][4] == 1);
    }
    EXPECT_TRUE(splitStints(SessionRecord{}).empty());
    record.laps.resize(1);
    record.laps[0].inLap = true;
    EXPECT_EQ(splitStints(record).size(), 1u);
    record.laps.assign(150, LapRecord{.lapTime = 90});
    EXPECT_EQ(splitStints(record)[0].lastLap, 99);
}

TEST(Stints, SummariesLeaveInvalidLapsOut) {
    std::vector<LapRecord> laps(4);
    laps[0].lapTime = 90;
    laps[1].lapTime = 92;
    laps[2].lapTime = 80;
    laps[2].invalid = 2;
    laps[3].lapTime = 94;
    SessionSummary summary;
    summariseLapTimes(laps, summary);
    EXPECT_EQ(summary.bestLapTime, 90);
    EXPECT_EQ(summary.worstLapTime, 94);
    EXPECT_EQ(summary.avgLapTime, 92);
    EXPECT_FLOAT_EQ(summary.lapStdDev, 1.6329932f); // of the population
    laps.resize(1);
    summariseLapTimes(laps, summary);
    EXPECT_EQ(summary.lapStdDev, 0);
}

TEST(PerfPaths, NamesBecomeSlugsAndDatesStamps) {
    EXPECT_EQ(perfRecordPath("/b", kSimLmu, "Ferrari 499P", "Le Mans (24h)"),
              "/b/performance/lmu/ferrari_499p_le_mans_24h.json");
    EXPECT_EQ(perfRecordPath("/b", 14, "!?", ""), "/b/performance/iracing/unknown_unknown.json");
    EXPECT_EQ(perfTraceName("A", "B", "2026-03-01T12:34:56Z"), "a_b_20260301-123456.vttr");
    EXPECT_EQ(perfTraceName("A", "B", "2026-03-01T12:34"), "");
    EXPECT_EQ(perfTraceName("A", "B", "2026-03-01T12:34:x6Z"), "");
    for (const char* unsafe : {"", "../a.vttr", "a/b.vttr", "a\\b.vttr", "..", "."})
        EXPECT_FALSE(traceNameIsSafe(unsafe)) << unsafe;
    EXPECT_TRUE(traceNameIsSafe("a_b_20260301-123456.vttr"));
    int64_t seconds = 0;
    ASSERT_TRUE(parseRecordDate("2028-02-29T23:59:59Z", seconds));
    EXPECT_EQ(recordDate(seconds + 1), "2028-03-01T00:00:00Z");
    for (const char* wrong : {"2027-02-29T00:00:00Z", "2027-02-28T24:00:00Z", "2027-02-28", "x"})
        EXPECT_FALSE(parseRecordDate(wrong, seconds)) << wrong;
}

} // namespace
} // namespace vt
