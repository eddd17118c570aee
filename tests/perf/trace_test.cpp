// Trace files: every version, every damage, and a reader that knows nothing of this code.
#include "perf/lap_csv.h"
#include "perf/trace_codec.h"
#include "support/child_process.h"
#include "support/perf_samples.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <sstream>

namespace vt {
namespace {

using test::sampleTrace;

ByteView view(const std::string& bytes) {
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

bool run(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

void expectSameLap(const LapTrace& a, const LapTrace& b) {
    EXPECT_FLOAT_EQ(a.lapTime, b.lapTime);
    EXPECT_EQ(a.valid, b.valid);
    EXPECT_EQ(a.invalidSim, b.invalidSim);
    EXPECT_EQ(a.invalidIncident, b.invalidIncident);
    const auto near = [](const std::vector<float>& left, const std::vector<float>& right) {
        ASSERT_EQ(left.size(), right.size());
        for (size_t i = 0; i < left.size(); ++i)
            ASSERT_NEAR(left[i], right[i], 1e-4) << i;
    };
    near(a.speed, b.speed);
    near(a.throttle, b.throttle);
    near(a.brake, b.brake);
    near(a.steer, b.steer);
    near(a.latG, b.latG);
    near(a.longG, b.longG);
    near(a.elapsed, b.elapsed);
    near(a.x, b.x);
    near(a.y, b.y);
    near(a.lateral, b.lateral);
    near(a.yawRate, b.yawRate);
    near(a.latVelocity, b.latVelocity);
    EXPECT_EQ(a.gear, b.gear);
    EXPECT_EQ(a.rpm, b.rpm);
    EXPECT_EQ(a.absActive, b.absActive);
    EXPECT_EQ(a.have, b.have);
}

TEST(TraceFile, ComesBackAsItWasWritten) {
    for (const bool compress : {false, true}) {
        TraceFile trace = sampleTrace(1501, 3);
        trace.laps[1].invalidSim = true;
        trace.laps[1].valid = false;
        trace.laps[2].invalidIncident = true;
        trace.laps[0].hasLateral = true;
        trace.hasLateral = true;
        trace.lateralCalVersion = 4;
        trace.laps[0].lateral[10] = -3.25f;
        trace.hasEvents = true;
        trace.events = test::sampleEvents(1501);
        const std::string bytes = traceEncode(trace, compress);
        EXPECT_EQ(bytes.size() < 60 + 60 + 3u * (1501 * 32 + 188), compress);
        TraceFile back;
        ASSERT_TRUE(traceDecode(view(bytes), back));
        ASSERT_EQ(back.laps.size(), 3u);
        trace.laps[1].lateral = trace.laps[2].lateral = {}; // their flag is not set
        for (int i = 0; i < 3; ++i)
            expectSameLap(back.laps[i], trace.laps[i]);
        EXPECT_EQ(back.originLat, trace.originLat);
        EXPECT_EQ(back.lateralCalVersion, 4u);
        EXPECT_FLOAT_EQ(back.laps[0].fuelStart, 40.25f);
        EXPECT_FLOAT_EQ(back.trackTempAvg, 30.25f);
        ASSERT_TRUE(back.hasEvents);
        EXPECT_EQ(back.events.kerbL, trace.events.kerbL);
        EXPECT_EQ(back.events.kerbR, trace.events.kerbR);
        EXPECT_EQ(back.events.offEnter, trace.events.offEnter);
        EXPECT_EQ(back.events.offEnterLatN, trace.events.offEnterLatN);
        EXPECT_FLOAT_EQ(back.events.offEnterLatSum[7], -8.5f);
        EXPECT_EQ(back.events.furl, trace.events.furl);
        EXPECT_EQ(back.events.approachEnter, 20);
        EXPECT_EQ(back.events.approachExit, -1);
    }
}

TEST(TraceFile, ValuesBeyondTheChannelsAreHeldAtTheirEnds) {
    TraceFile trace = sampleTrace(500, 1);
    LapTrace& lap = trace.laps[0];
    const float nan = kUnknown, inf = std::numeric_limits<float>::infinity();
    for (auto* channel : {&lap.speed, &lap.throttle, &lap.steer, &lap.elapsed, &lap.x}) {
        (*channel)[0] = nan;
        (*channel)[1] = inf;
        (*channel)[2] = -inf;
    }
    lap.steer[3] = -0.0005f; // half a step: away from zero
    lap.have.assign(500, 1);
    lap.brakeBias = nan;
    trace.airTempAvg = nan;
    TraceFile back;
    ASSERT_TRUE(traceDecode(view(traceEncode(trace, true)), back));
    const LapTrace& read = back.laps[0];
    EXPECT_EQ(read.speed[0], 0);
    EXPECT_FLOAT_EQ(read.speed[1], 655.35f);
    EXPECT_EQ(read.speed[2], 0);
    EXPECT_EQ(read.throttle[1], 1);
    EXPECT_FLOAT_EQ(read.steer[1], 32.767f);
    EXPECT_FLOAT_EQ(read.steer[2], -32.768f);
    EXPECT_NEAR(read.steer[3], -0.001f, 1e-6);
    EXPECT_EQ(read.elapsed[2], 0);
    EXPECT_FLOAT_EQ(read.x[1], 21474830.08f);
    EXPECT_FLOAT_EQ(read.x[2], -21474830.08f);
    EXPECT_TRUE(std::isnan(read.brakeBias));
    EXPECT_TRUE(std::isnan(back.airTempAvg));
}

/// A file of an earlier version, byte by byte from the layout: `bins` bins, every value of channel
/// c is c + 1 as it stands in the file.
std::string oldFile(int version, uint32_t bins, int laps) {
    const uint32_t masks[] = {0, 0x1FF, 0x7FF, 0xFFF, 0xFFF, 0xFFF};
    const uint32_t widths[] = {2, 1, 1, 2, 2, 2, 4, 1, 2, 4, 4, 2};
    std::string out, payload;
    const auto put = [](std::string& to, auto value) {
        to.append(reinterpret_cast<const char*>(&value), sizeof value);
    };
    std::string table;
    for (int lap = 0; lap < laps; ++lap) {
        put(table, static_cast<uint32_t>(payload.size()));
        put(table, 90.5f + static_cast<float>(lap));
        put(table, uint16_t{15}); // valid, lateral, and the two bits of version 5
        put(table, uint16_t{0});
        for (uint32_t c = 0; c < 12; ++c)
            for (uint32_t i = 0; (masks[version] >> c & 1) && i < bins; ++i) {
                const uint32_t value = c + 1;
                payload.append(reinterpret_cast<const char*>(&value), widths[c]);
            }
        payload.append((bins + 7) / 8, '\xFF');
    }
    out = "VTTR";
    put(out, static_cast<uint16_t>(version));
    put(out, static_cast<uint16_t>(version >= 3 ? 2 : 0));
    put(out, static_cast<uint32_t>(payload.size()));
    put(out, static_cast<uint16_t>(bins));
    put(out, static_cast<uint16_t>(masks[version]));
    put(out, static_cast<uint16_t>(laps));
    put(out, uint16_t{0});
    if (version >= 2) {
        put(out, 1.0);
        put(out, 1.0);
    }
    if (version >= 4) put(out, uint32_t{77});
    if (version >= 5) put(out, uint32_t{0});
    return out + table + payload;
}

TEST(TraceFile, EarlierVersionsAreRead) {
    for (int version = 1; version <= 5; ++version) {
        TraceFile trace;
        ASSERT_TRUE(traceDecode(view(oldFile(version, 501, 2)), trace)) << version;
        ASSERT_EQ(trace.laps.size(), 2u);
        const LapTrace& lap = trace.laps[1];
        EXPECT_FLOAT_EQ(lap.lapTime, 91.5f);
        EXPECT_TRUE(lap.valid);
        EXPECT_FLOAT_EQ(lap.speed[500], 0.01f);
        EXPECT_FLOAT_EQ(lap.elapsed[500], 0.007f);
        EXPECT_EQ(lap.gear[500], 8);
        EXPECT_EQ(lap.rpm[500], 9);
        EXPECT_EQ(lap.have[500], 1);
        EXPECT_EQ(lap.x.empty(), version < 2);
        EXPECT_EQ(lap.hasLateral, version >= 3);
        EXPECT_EQ(lap.lateral.size(), version >= 3 ? 501u : 0u);
        EXPECT_EQ(lap.invalidSim, version >= 5);
        EXPECT_EQ(trace.lateralCalVersion, version >= 4 ? 77u : 0u);
        EXPECT_TRUE(lap.yawRate.empty() && lap.absActive.empty());
        EXPECT_TRUE(std::isnan(lap.fuelStart) && std::isnan(trace.wetnessMax));
        EXPECT_FALSE(trace.hasEvents);
        // The mask of another version is no mask.
        std::string other = oldFile(version, 501, 2);
        other[14] = '\xFF';
        other[15] = '\x7F';
        EXPECT_FALSE(traceDecode(view(other), trace)) << version;
        EXPECT_TRUE(trace.laps.empty());
    }
}

TEST(TraceFile, PositionsWithoutAnOriginOrAValueAreNone) {
    TraceFile trace = sampleTrace(500, 2);
    std::fill(trace.laps[1].x.begin(), trace.laps[1].x.end(), 0.0f);
    std::fill(trace.laps[1].y.begin(), trace.laps[1].y.end(), 0.0f);
    trace.laps[1].x[5] = 3; // the only one, in a bin without data
    trace.laps[1].have[5] = 0;
    TraceFile back;
    ASSERT_TRUE(traceDecode(view(traceEncode(trace, true)), back));
    EXPECT_EQ(back.laps[0].x.size(), 500u);
    EXPECT_TRUE(back.laps[1].x.empty() && back.laps[1].y.empty());
    trace.originLat = trace.originLon = 0;
    ASSERT_TRUE(traceDecode(view(traceEncode(trace, true)), back));
    EXPECT_TRUE(back.laps[0].x.empty());
}

TEST(TraceFile, ShortOfOneByteIsNoFile) {
    for (const bool compress : {false, true}) {
        TraceFile trace = sampleTrace(300, 2);
        trace.hasEvents = true;
        trace.events = test::sampleEvents(300);
        const std::string bytes = traceEncode(trace, compress);
        const size_t eventBytes = 36 + 4 * 3 + 8 * 2;
        TraceFile back;
        for (size_t length = 0; length < bytes.size(); ++length) {
            const std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + length); // exact for asan
            const bool laps = length >= bytes.size() - eventBytes;
            ASSERT_EQ(traceDecode(cut, back), laps) << length;
            ASSERT_FALSE(back.hasEvents) << length;
            ASSERT_EQ(back.laps.size(), laps ? 2u : 0u);
        }
    }
}

TEST(TraceFile, DamagedEventsCostOnlyTheEvents) {
    TraceFile trace = sampleTrace(300, 1);
    trace.hasEvents = true;
    trace.events = test::sampleEvents(300);
    const std::string bytes = traceEncode(trace, true);
    const size_t block = bytes.size() - (36 + 4 * 3 + 8 * 2);
    const struct {
        const char* what;
        size_t offset;
        uint16_t value;
    } cases[] = {{"its version", 0, 2},
                 {"bins", 4, 301},
                 {"a count", 8, 2},
                 {"a bin", 36, 300},
                 {"a bin of the last list", 36 + 8 + 16, 65535},
                 {"the last count", 16, 0xFFFF}};
    for (const auto& damage : cases) {
        std::string bad = bytes;
        std::memcpy(bad.data() + block + damage.offset, &damage.value, 2);
        TraceFile back;
        EXPECT_TRUE(traceDecode(view(bad), back)) << damage.what;
        EXPECT_FALSE(back.hasEvents) << damage.what;
        EXPECT_TRUE(back.events.kerbL.empty()) << damage.what;
        EXPECT_EQ(back.laps.size(), 1u);
    }
}

TEST(TraceFile, HeadersThatLieAreRefused) {
    const std::string bytes = traceEncode(sampleTrace(300, 2), true);
    const struct {
        const char* what;
        size_t offset;
        std::string value;
    } cases[] = {
        {"magic", 0, "VTTS"},
        {"version 0", 4, std::string("\0\0", 2)},
        {"version 7", 4, std::string("\7\0", 2)},
        {"payload", 8, std::string("\1", 1)},
        {"no bins", 12, std::string("\0\0", 2)},
        {"bins", 12, "\x91\x65"}, // 26001
        {"no laps", 16, std::string("\0\0", 2)},
        {"dynamics", 44, "\x08"},
        {"source", 46, "\x03"},
        {"lap offset", 60, "\x01"},
        {"lap offset far", 60, "\xFF\xFF\xFF\xFF"},
    };
    for (const auto& lie : cases) {
        std::string bad = bytes;
        bad.replace(lie.offset, lie.value.size(), lie.value);
        TraceFile back;
        // The first lap may begin elsewhere inside the payload; the second then still may.
        const bool stays = std::string(lie.what) == "lap offset";
        EXPECT_EQ(traceDecode(view(bad), back), stays) << lie.what;
    }
    // A claim of 167 MB in a few hundred bytes.
    std::string bomb = bytes.substr(0, 60 + 40);
    const uint16_t bins = 26000, laps = 200;
    const uint32_t payload = 200 * (26000 * 32 + 3250);
    std::memcpy(bomb.data() + 12, &bins, 2);
    std::memcpy(bomb.data() + 16, &laps, 2);
    std::memcpy(bomb.data() + 8, &payload, 4);
    bomb.resize(60 + 200 * 20 + 4000);
    TraceFile back;
    EXPECT_FALSE(traceDecode(view(bomb), back));
}

TEST(TraceFile, LapTimesArePatchedInPlaceInEveryVersion) {
    for (int version = 1; version <= 6; ++version) {
        const std::string before =
            version == 6 ? traceEncode(sampleTrace(300, 2), true) : oldFile(version, 300, 2);
        std::string bytes = before;
        EXPECT_FALSE(tracePatchTimes(bytes, {1}));
        EXPECT_EQ(bytes, before);
        ASSERT_TRUE(tracePatchTimes(bytes, {81.5f, 82.5f})) << version;
        TraceFile back;
        ASSERT_TRUE(traceDecode(view(bytes), back));
        EXPECT_EQ(back.laps[0].lapTime, 81.5f);
        EXPECT_EQ(back.laps[1].lapTime, 82.5f);
        int changed = 0;
        for (size_t i = 0; i < bytes.size(); ++i)
            changed += bytes[i] != before[i];
        EXPECT_LE(changed, 8);
    }
}

TEST(TraceFile, OneLapForOthersCarriesWhatThatLapHas) {
    const test::ScratchFolder folder("vt_one_lap");
    TraceFile trace = sampleTrace(400, 3);
    trace.hasLateral = true;
    trace.laps[1].hasLateral = true;
    trace.laps[2].y.clear();
    trace.hasEvents = true;
    trace.events = test::sampleEvents(400);
    const std::string path = folder.text() + "/lap.vttr";
    EXPECT_FALSE(traceWriteOneLap(path, trace, 3));
    TraceFile back;
    ASSERT_TRUE(traceWriteOneLap(path, trace, 1) && traceRead(path, back));
    ASSERT_EQ(back.laps.size(), 1u);
    expectSameLap(back.laps[0], trace.laps[1]);
    EXPECT_TRUE(back.hasLateral);
    EXPECT_FALSE(back.hasEvents);
    EXPECT_EQ(slurp(path)[6], 2); // not compressed
    ASSERT_TRUE(traceWriteOneLap(path, trace, 2) && traceRead(path, back));
    EXPECT_TRUE(back.laps[0].x.empty());
    EXPECT_EQ(back.originLat, 0);
    EXPECT_FALSE(back.hasLateral);
}

TEST(TraceFile, PositionsOfAnotherRecordingGoToTheLapsThatMatch) {
    TraceFile stored = sampleTrace(1000, 3), replay = sampleTrace(1004, 2);
    stored.originLat = stored.originLon = kDeadReckonedOrigin;
    replay.laps[1].x.assign(1004, 8);
    EXPECT_FALSE(traceTakePositions(stored, replay, {0, 1}));
    EXPECT_FALSE(traceTakePositions(stored, replay, {-1, -1, 2}));
    EXPECT_EQ(stored.originLat, kDeadReckonedOrigin);
    ASSERT_TRUE(traceTakePositions(stored, replay, {-1, 1, 0}));
    EXPECT_TRUE(stored.laps[0].x.empty());
    EXPECT_EQ(stored.laps[1].x, std::vector<float>(1000, 8));
    EXPECT_NEAR(stored.laps[2].x[999], replay.laps[0].x[1003], 3);
    EXPECT_EQ(stored.originLat, replay.originLat);
    replay.binCount = 1100;
    EXPECT_FALSE(traceTakePositions(stored, replay, {-1, 1, 0}));
}

TEST(TraceFile, AReaderThatSharesNoCodeReadsTheSame) {
    if (!run("python3 --version")) GTEST_SKIP() << "python3 is not installed";
    const test::ScratchFolder folder("vt_independent");
    for (const bool compress : {false, true}) {
        TraceFile trace = sampleTrace(1200, 2);
        trace.laps[1].hasLateral = trace.hasLateral = true;
        trace.laps[1].lateral[3] = 1.25f;
        trace.hasEvents = true;
        trace.events = test::sampleEvents(1200);
        const std::string path = folder.text() + "/a.vttr", out = folder.text() + "/a.json";
        ASSERT_TRUE(traceWrite(path, trace, compress));
        ASSERT_EQ(std::system((std::string("python3 ") + VT_SOURCE_DIR + "/tools/read_store.py " +
                               path + " --json > " + out)
                                  .c_str()),
                  0);
        const auto read = nlohmann::json::parse(slurp(out));
        EXPECT_EQ(read["binCount"], 1200);
        EXPECT_EQ(read["compressed"], compress ? 1 : 0);
        EXPECT_EQ(read["originLat"], trace.originLat);
        EXPECT_EQ(read["trackTempAvg"], 30.25);
        EXPECT_EQ(read["events"]["kerbR"], nlohmann::json::parse("[[1199, 65535]]"));
        EXPECT_EQ(read["events"]["offEnter"], nlohmann::json::parse("[[7, 2, 1, -850]]"));
        EXPECT_EQ(read["events"]["conesExit"], 21);
        ASSERT_EQ(read["laps"].size(), 2u);
        for (int n = 0; n < 2; ++n) {
            const auto& lap = read["laps"][n];
            const LapTrace& wrote = trace.laps[n];
            EXPECT_EQ(lap["lapTime"], wrote.lapTime);
            EXPECT_EQ(lap["flags"], n == 1 ? 3 : 1);
            EXPECT_EQ(lap["fuelStart"], 40.25);
            const std::pair<const char*, const std::vector<float>*> channels[] = {
                {"speed", &wrote.speed},
                {"throttle", &wrote.throttle},
                {"brake", &wrote.brake},
                {"steer", &wrote.steer},
                {"latG", &wrote.latG},
                {"longG", &wrote.longG},
                {"elapsed", &wrote.elapsed},
                {"x", &wrote.x},
                {"y", &wrote.y},
                {"yawRate", &wrote.yawRate},
                {"latVelocity", &wrote.latVelocity}};
            for (const auto& [name, values] : channels)
                for (size_t i = 0; i < 1200; ++i)
                    ASSERT_NEAR(lap[name][i].get<double>(), (*values)[i], 1e-4) << name << i;
            EXPECT_EQ(lap["gear"].get<std::vector<int8_t>>(), wrote.gear);
            EXPECT_EQ(lap["rpm"].get<std::vector<uint16_t>>(), wrote.rpm);
            EXPECT_EQ(lap["absActive"].get<std::vector<uint8_t>>(), wrote.absActive);
            EXPECT_EQ(lap["have"].get<std::vector<uint8_t>>(), wrote.have);
        }
        EXPECT_EQ(read["laps"][1]["lateral"][3], 1.25);
    }
}

TEST(LapCsv, OneRowForEachBinFromTheTraceOrTheBestLap) {
    SessionRecord record = test::sampleSession("2026-03-01T12:00:00Z");
    LapTrace lap = test::sampleLap(1000, 100.25f);
    lap.speed[1] = 50;
    lap.steer[1] = 0.5f;
    lap.latG[1] = 1.5f;
    lap.longG[1] = -0.25f;
    lap.throttle[1] = 0.5f;
    lap.brake[1] = 0;
    lap.elapsed[1] = 0.1f;
    lap.gear[1] = 3;
    lap.rpm[1] = 7000;
    std::istringstream kph(lapCsv(record, 1, &lap, false));
    std::string line;
    std::getline(kph, line);
    EXPECT_EQ(line, "# GT3 Car @ Some Ring, 2026-03-01T12:00:00Z, lap 2, lap time 1:40.250");
    std::getline(kph, line);
    EXPECT_EQ(line, "lap_pct,speed_kph,throttle,brake,steer_deg,lat_g,long_g,elapsed_s,gear,rpm");
    std::getline(kph, line);
    EXPECT_EQ(line.substr(0, 9), "0.000000,");
    EXPECT_NE(line.find(",,5,"), line.npos) << line; // no time passed yet
    std::getline(kph, line);
    EXPECT_EQ(line, "0.001000,180.00,0.500,0.000,28.6,1.500,-0.250,0.100,3,7000");
    size_t rows = 2;
    while (std::getline(kph, line))
        ++rows;
    EXPECT_EQ(rows, static_cast<size_t>(std::count(lap.have.begin(), lap.have.end(), 1)));

    record.hasBestTrace = true;
    record.bestTrace.resize(kBestTraceBins);
    record.bestTrace[2] = {100, 1, 0, -0.1f, 0.5f, 1.25f, true};
    const std::string best = lapCsv(record, kBestLapOfSession, nullptr, true);
    EXPECT_NE(best.find(", lap best, lap time 1:40.000\n"), best.npos) << best;
    EXPECT_NE(best.find("rpm\n0.010000,100.00,1.000,0.000,-5.7,0.500,,1.250,,\n"), best.npos)
        << best;

    const test::ScratchFolder folder("vt_csv");
    std::string message;
    EXPECT_TRUE(exportLapCsv(folder.text(), record, 1, &lap, true, message));
    EXPECT_EQ(message, "saved gt3car_somering_20260301_lap.csv");
    EXPECT_EQ(slurp(folder.text() + "/gt3car_somering_20260301_lap.csv"),
              lapCsv(record, 1, &lap, true));
    copyText(record.date, "yesterday");
    EXPECT_EQ(lapCsvName(record), "gt3car_somering_00000000_lap.csv");
    EXPECT_FALSE(exportLapCsv(folder.text() + "/none", record, 1, &lap, true, message));
    EXPECT_EQ(message, "export failed");
}

} // namespace
} // namespace vt
