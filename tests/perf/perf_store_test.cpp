// The store on a real disk: what is kept, what goes, and what other hands put into its folder.
#include "base/log.h"
#include "perf/perf_store.h"
#include "perf/session_json.h"
#include "support/perf_samples.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <thread>

namespace vt {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using test::dateAfter;
using test::sampleSession;

struct Store {
    test::ScratchFolder folder{"vt_store"};
    PerfStore store{folder.text()};
    fs::path sim = folder.path / "performance/iracing";
    fs::path record = sim / "gt3_car_some_ring.json";

    CommitOutcome commit(const std::string& date, int trackId = 7, int limit = 0) {
        const TraceFile trace = test::sampleTrace(500, 3);
        return store.commit(sampleSession(date.c_str(), 3, trackId), &trace, limit);
    }
    std::vector<SessionRecord> load(int track = 0) {
        return store.loadSessions(kSimIRacing, "GT3 Car", "Some Ring", track);
    }
    std::vector<std::string> dates(int track = 0) {
        std::vector<std::string> list;
        for (const SessionRecord& session : load(track))
            list.push_back(session.date);
        return list;
    }
    std::vector<std::string> traces() {
        std::vector<std::string> names;
        if (fs::exists(sim / "traces"))
            for (const auto& entry : fs::directory_iterator(sim / "traces"))
                names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    Json json() { return Json::parse(std::ifstream(record)); }
    void write(const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }
    SessionKey key(const std::string& date) { return {kSimIRacing, "GT3 Car", "Some Ring", date}; }
};

TEST(PerfStore, ACommittedSessionIsThereWithItsTrace) {
    Store s;
    EXPECT_TRUE(s.load().empty());
    EXPECT_TRUE(s.store.listCombos().empty());
    const CommitOutcome outcome = s.commit(dateAfter(0));
    EXPECT_TRUE(outcome.stored && outcome.kept);
    EXPECT_EQ(outcome.traceFile, "gt3_car_some_ring_20260301-120000.vttr");
    const auto sessions = s.load();
    ASSERT_EQ(sessions.size(), 1u);
    EXPECT_EQ(sessions[0].laps.size(), 3u);
    TraceFile trace;
    ASSERT_TRUE(traceRead(s.store.tracePath(sessions[0]), trace));
    EXPECT_EQ(trace.laps.size(), 3u);
    // The bytes are those of one array with two spaces a level.
    std::ifstream in(s.record);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    EXPECT_EQ(text, s.json().dump(2) + "\n");
    // Without traces, or with a trace that cannot be written, the session is stored all the same.
    EXPECT_EQ(s.store.commit(sampleSession("2026-03-02T00:00:00Z"), nullptr, 0).traceFile, "");
    const TraceFile empty;
    EXPECT_TRUE(s.store.commit(sampleSession("2026-03-03T00:00:00Z"), &empty, 0).stored);
    EXPECT_EQ(s.load().size(), 3u);
    EXPECT_EQ(s.traces().size(), 1u);
}

TEST(PerfStore, TwoSessionsOfOneSecondAreTwoSessions) {
    Store s;
    for (int i = 0; i < 3; ++i)
        s.commit(dateAfter(0));
    EXPECT_EQ(s.dates(), (std::vector{dateAfter(0), dateAfter(1), dateAfter(2)}));
    EXPECT_EQ(s.traces().size(), 3u);
}

TEST(PerfStore, TheLimitTakesTheOldestOfTheTrackByDate) {
    Store s;
    for (const int n : {50, 10, 30})
        s.commit(dateAfter(n));
    for (const int n : {1, 2, 3})
        s.commit(dateAfter(n), 8); // another layout in the same file
    s.commit(dateAfter(40), 7, 3);
    EXPECT_EQ(s.dates(7), (std::vector{dateAfter(30), dateAfter(40), dateAfter(50)}));
    EXPECT_EQ(s.dates(8).size(), 3u);
    // An import that is older than all that are kept takes nobody's place.
    const CommitOutcome old = s.commit(dateAfter(5), 7, 3);
    EXPECT_TRUE(old.stored);
    EXPECT_FALSE(old.kept);
    EXPECT_EQ(s.dates(7).front(), dateAfter(30));
    EXPECT_EQ(s.traces().size(), 6u);
    s.commit(dateAfter(60), 7, 1);
    EXPECT_EQ(s.dates(7), std::vector{dateAfter(60)});
    EXPECT_EQ(s.traces().size(), 4u);
}

TEST(PerfStore, ALargeStoreIsToldWithEachCommit) {
    Store s;
    std::string log;
    setLogSink([](void* user, std::string_view line) { *static_cast<std::string*>(user) += line; },
               &log);
    const fs::path big = s.folder.path / "performance/lmu/traces/big.vttr";
    s.write(big, "x");
    constexpr const char* kWarning = " -- large; consider lowering the session history limit";
    fs::resize_file(big, 524'000'000); // no disk is used
    EXPECT_TRUE(s.commit(dateAfter(0)).stored);
    EXPECT_EQ(log.find(kWarning), log.npos) << log;
    fs::resize_file(big, 524'288'000);
    EXPECT_TRUE(s.commit(dateAfter(60)).stored);
    EXPECT_NE(log.find(kWarning), log.npos) << log;
    setLogSink(nullptr, nullptr);
}

TEST(PerfStore, AHoldOfAnEmptyStoreKeepsOtherProgramsOut) {
    Store s;
    PerfStore other(s.folder.text()); // as another program has it
    std::atomic<bool> stored{false};
    std::thread writer;
    {
        const PerfStore::Hold hold(s.store);
        writer = std::thread([&] {
            other.commit(sampleSession(dateAfter(0).c_str()), nullptr, 0);
            stored = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(stored);
    }
    writer.join();
    EXPECT_EQ(s.load().size(), 1u);
}

TEST(PerfStore, CombosAreListedByLayout) {
    Store s;
    s.commit(dateAfter(0));
    s.commit(dateAfter(9), 8);
    s.commit(dateAfter(5), 8);
    SessionRecord lmu = sampleSession(dateAfter(1).c_str(), 1);
    lmu.simId = kSimLmu;
    lmu.summary.bestLapTime = 0;
    s.store.appendSession(lmu, 0);
    for (int pass = 0; pass < 2; ++pass) { // the second from what is remembered
        const auto rows = s.store.listCombos();
        ASSERT_EQ(rows.size(), 3u);
        EXPECT_EQ(rows[0].trackId, 7);
        EXPECT_EQ(rows[1].trackId, 8);
        EXPECT_EQ(rows[1].sessions, 2);
        EXPECT_EQ(rows[1].newestDate, dateAfter(9));
        EXPECT_EQ(rows[1].bestLap, 100);
        EXPECT_EQ(rows[2].simId, kSimLmu);
        EXPECT_EQ(rows[2].bestLap, 0);
        EXPECT_EQ(rows[2].carName, "GT3 Car");
    }
    EXPECT_EQ(s.store.sessionHeads(kSimIRacing, "GT3 Car", "Some Ring")[1].laps, 3);
}

TEST(PerfStore, CullKeepsTheNewestAndDeletesEmptyFiles) {
    Store s;
    for (const int n : {3, 1, 2})
        s.commit(dateAfter(n));
    EXPECT_EQ(s.store.cullHistory(0), 0);
    EXPECT_EQ(s.store.cullHistory(-5), 0);
    EXPECT_EQ(s.dates().size(), 3u);
    const uint64_t before = s.store.storeSizeBytes();
    const int64_t freed = s.store.cullHistory(2);
    EXPECT_EQ(s.store.storeSizeBytes(), before - static_cast<uint64_t>(freed));
    EXPECT_GT(freed, 0);
    EXPECT_EQ(s.dates(), (std::vector{dateAfter(2), dateAfter(3)}));
    EXPECT_EQ(s.traces().size(), 2u);
    EXPECT_TRUE(s.store.deleteSession(s.key(dateAfter(2))));
    EXPECT_FALSE(s.store.deleteSession(s.key(dateAfter(2))));
    EXPECT_EQ(s.traces().size(), 1u);
    EXPECT_TRUE(s.store.deleteSession(s.key(dateAfter(3))));
    EXPECT_FALSE(fs::exists(s.record));
    EXPECT_TRUE(s.traces().empty());
}

TEST(PerfStore, NamesThatLeadElsewhereAreNeverDeleted) {
    Store s;
    s.write(s.folder.path / "precious", "x");
    s.write(s.sim / "precious", "x");
    for (const char* name : {"../precious", "../../../precious", "..\\precious", ".."}) {
        SessionRecord record = sampleSession(dateAfter(0).c_str());
        copyText(record.traceFile, name);
        const SessionKey key = s.key(s.store.appendSession(record, 0).date);
        EXPECT_FALSE(s.store.repairLapTimes(key, {1, 2, 3}).found) << name;
        EXPECT_TRUE(s.store.deleteSession(key));
        EXPECT_EQ(s.store.tracePath(record), "");
    }
    EXPECT_TRUE(fs::exists(s.folder.path / "precious") && fs::exists(s.sim / "precious"));
}

TEST(PerfStore, OrphansGoUnlessAFileCannotBeRead) {
    Store s;
    s.commit(dateAfter(0));
    s.write(s.sim / "traces/orphan.vttr", "x");
    s.write(s.sim / "other.json", R"([{"traceFile": "mine.vttr"}, 5, {"laps": [}]}])");
    s.write(s.sim / "traces/mine.vttr", "x");
    EXPECT_EQ(s.store.sweepOrphans(kSimIRacing), 0);
    EXPECT_EQ(s.traces().size(), 3u);
    s.write(s.sim / "other.json", R"([{"traceFile": "mine.vttr"}, 5, "[{\"]", {}])");
    EXPECT_EQ(s.store.sweepOrphans(kSimIRacing), 1);
    EXPECT_EQ(s.traces().size(), 2u);
    // Somebody else changes a file: what is remembered of it must not decide.
    s.write(s.sim / "other.json", R"([{"traceFile": "ours.vttr"}])");
    EXPECT_EQ(s.store.sweepOrphans(kSimIRacing), 1);
    EXPECT_EQ(s.traces(), std::vector<std::string>{"gt3_car_some_ring_20260301-120000.vttr"});
}

TEST(PerfStore, ADamagedFileIsKeptAsideWithItsTraces) {
    Store s;
    s.commit(dateAfter(0));
    std::ofstream(s.record, std::ios::app) << "]";
    EXPECT_TRUE(s.load().empty());
    EXPECT_TRUE(s.commit(dateAfter(100)).stored);
    EXPECT_EQ(s.dates(), std::vector{dateAfter(100)});
    s.write(s.record, "not JSON either");
    EXPECT_TRUE(s.commit(dateAfter(200)).stored);
    EXPECT_TRUE(fs::exists(s.record.string() + ".corrupt"));
    EXPECT_EQ(fs::file_size(s.record.string() + ".corrupt2"), 15u);
    // The first file still names its trace; that of the second session went.
    EXPECT_EQ(s.traces(), (std::vector<std::string>{"gt3_car_some_ring_20260301-120000.vttr",
                                                    "gt3_car_some_ring_20260301-120320.vttr"}));
    // One value of a wrong type: nothing of this file is shown, nothing of it is lost.
    Json json = s.json();
    json[0]["laps"][0]["lapTime"] = "fast";
    s.write(s.record, json.dump(2));
    EXPECT_TRUE(s.load().empty());
    EXPECT_TRUE(s.commit(dateAfter(300)).stored);
    EXPECT_EQ(s.json().size(), 2u);
    EXPECT_EQ(s.json()[0], json[0]);
}

TEST(PerfStore, AFolderInPlaceOfTheFileIsLeftAlone) {
    Store s;
    fs::create_directories(s.record / "inside");
    const CommitOutcome outcome = s.commit(dateAfter(0));
    EXPECT_FALSE(outcome.stored || outcome.kept);
    EXPECT_TRUE(fs::exists(s.record / "inside"));
    EXPECT_TRUE(s.traces().empty());
}

TEST(PerfStore, UnverifiedLapTimesArePurgedOnce) {
    Store s;
    SessionRecord record = sampleSession(dateAfter(0).c_str());
    record.simId = kSimLmu;
    const TraceFile trace = test::sampleTrace(500, 3);
    record.version = 7;
    s.store.commit(record, &trace, 0);
    record.version = 8;
    s.store.commit(record, &trace, 0);
    copyText(record.carName, "Old Car");
    record.version = 2;
    s.store.commit(record, &trace, 0);
    Json old = Json::parse(sessionToJson(record));
    old.erase("version");
    const fs::path lmu = s.folder.path / "performance/lmu";
    s.write(lmu / "older.json", Json::array({old, old}).dump());
    s.commit(dateAfter(0)); // iRacing keeps what it has
    std::string count;
    EXPECT_FALSE(s.store.lapTimeNotice(count));
    EXPECT_EQ(s.store.purgeUnverified().removed, 4);
    EXPECT_EQ(s.store.loadSessions(kSimLmu, "GT3 Car", "Some Ring").size(), 1u);
    EXPECT_FALSE(fs::exists(lmu / "old_car_some_ring.json") || fs::exists(lmu / "older.json"));
    EXPECT_EQ(std::distance(fs::directory_iterator(lmu / "traces"), {}), 1);
    ASSERT_TRUE(s.store.lapTimeNotice(count));
    EXPECT_EQ(count, "4");
    s.store.clearLapTimeNotice();
    EXPECT_EQ(s.store.purgeUnverified().removed, 0);
    EXPECT_FALSE(s.store.lapTimeNotice(count));
    EXPECT_EQ(s.load().size(), 1u);
}

TEST(PerfStore, RepairMendsSectorsSummaryAndTrace) {
    Store s;
    SessionRecord record = sampleSession(dateAfter(0).c_str(), 5);
    LapRecord* laps = record.laps.data();
    laps[1].sectorCount = 5; // 30 30 20.25 10 10
    laps[1].sectorSec[2] = 20.25f;
    laps[1].sectorSec[3] = laps[1].sectorSec[4] = 10;
    laps[2].sectorSec[0] = 31; // does not add up
    laps[3].invalid = 1;
    const TraceFile trace = test::sampleTrace(500, 5);
    record.version = 8;
    ASSERT_TRUE(s.store.commit(record, &trace, 0).stored);
    Json json = s.json();
    json[0]["note"] = "kept";
    s.write(s.record, json.dump(2));

    const SessionKey key = s.key(dateAfter(0));
    EXPECT_FALSE(s.store.repairLapTimes(key, {1, 2, 3, 4}).found);
    EXPECT_FALSE(s.store.repairLapTimes(key, {1, 2, 3, 4, std::nanf("")}).found);
    EXPECT_FALSE(s.store.repairLapTimes(s.key(dateAfter(1)), {1, 2, 3, 4, 5}).found);
    EXPECT_EQ(s.load()[0].version, 8);
    const RepairOutcome outcome = s.store.repairLapTimes(key, {100.5f, 100.5f, 90, 10, 101});
    EXPECT_TRUE(outcome.found);
    EXPECT_EQ(outcome.changedLaps, 4); // the last was right
    const SessionRecord back = s.load()[0];
    EXPECT_EQ(back.version, 9);
    EXPECT_EQ(back.laps[0].lapTime, 100.5f);
    EXPECT_FLOAT_EQ(back.laps[0].sectorSec[2], 40.5f);
    EXPECT_EQ(back.laps[1].sectorCount, 5);
    EXPECT_FLOAT_EQ(back.laps[1].sectorSec[4], 10.25f);
    EXPECT_FLOAT_EQ(s.json()[0]["laps"][1]["sectorSec"][3].get<float>(), 20.25f);
    EXPECT_EQ(back.laps[2].sectorSec[2], laps[2].sectorSec[2]);
    EXPECT_EQ(back.laps[3].lapTime, 10); // 30 + 30 leave nothing for the last sector
    EXPECT_EQ(back.laps[3].sectorSec[2], laps[3].sectorSec[2]);
    EXPECT_EQ(back.summary.bestLapTime, 90);
    EXPECT_EQ(back.summary.worstLapTime, 101);
    EXPECT_FLOAT_EQ(back.summary.avgLapTime, 98);
    EXPECT_EQ(s.json()[0]["note"], "kept");
    TraceFile patched;
    ASSERT_TRUE(traceRead(s.store.tracePath(back), patched));
    EXPECT_EQ(patched.laps[3].lapTime, 10);
    // A trace that cannot be patched holds everything back.
    fs::resize_file(s.store.tracePath(back), 50);
    EXPECT_FALSE(s.store.repairLapTimes(key, {1, 2, 3, 4, 5}).found);
    EXPECT_EQ(s.load()[0].laps[0].lapTime, 100.5f);
    EXPECT_TRUE(s.store.repairPending());
    EXPECT_TRUE(s.store.markRepairDone(4, 1));
    EXPECT_FALSE(s.store.repairPending());
}

TEST(PerfStore, ShareStatesAreSetAndTakenAway) {
    Store s;
    s.commit(dateAfter(0));
    Json json = s.json();
    json[0].erase("version");
    s.write(s.record, json.dump(2));
    const SessionKey key = s.key(dateAfter(0));
    const auto lap = [&] { return s.json()[0]["laps"][1]; };
    EXPECT_FALSE(s.store.setLapShareState(key, 3, 2, ""));
    EXPECT_FALSE(s.store.setLapShareState(key, -1, 2, ""));
    ASSERT_TRUE(s.store.setLapShareState(key, 1, 1, "abc"));
    EXPECT_EQ(lap()["share"], 1);
    EXPECT_EQ(lap()["shareLapId"], "abc");
    EXPECT_EQ(s.json()[0].begin().key(), "version");
    EXPECT_EQ(s.json()[0]["version"], 3);
    ASSERT_TRUE(s.store.setLapShareState(key, 1, 2, "abc"));
    EXPECT_EQ(lap()["share"], 2);
    EXPECT_FALSE(lap().contains("shareLapId"));
    for (const int share : {1, 0, 3}) {
        s.store.setLapShareState(key, 1, 1, "abc");
        ASSERT_TRUE(s.store.setLapShareState(key, 1, share, ""));
        EXPECT_FALSE(lap().contains("share") || lap().contains("shareLapId")) << share;
    }
}

TEST(PerfStore, PositionsAreMergedIntoTheSidecar) {
    Store s;
    const TraceFile replay = test::sampleTrace(500, 2);
    TraceFile live = test::sampleTrace(500, 3);
    live.originLat = live.originLon = kDeadReckonedOrigin;
    s.store.commit(sampleSession(dateAfter(0).c_str()), &live, 0);
    const SessionKey key = s.key(dateAfter(0));
    EXPECT_FALSE(s.store.mergePositions(key, replay, {-1, -1, -1}));
    EXPECT_EQ(s.load()[0].gps, 0);
    ASSERT_TRUE(s.store.mergePositions(key, replay, {-1, 0, 1}));
    EXPECT_EQ(s.load()[0].gps, 1);
    TraceFile back;
    ASSERT_TRUE(traceRead(s.store.tracePath(s.load()[0]), back));
    EXPECT_EQ(back.originLat, replay.originLat);
    EXPECT_TRUE(back.laps[0].x.empty());
    EXPECT_EQ(back.laps[1].x.size(), 500u);
    s.store.commit(sampleSession(dateAfter(9).c_str()), nullptr, 0);
    EXPECT_FALSE(s.store.mergePositions(s.key(dateAfter(9)), replay, {0, 1, -1}));
    EXPECT_EQ(s.load()[1].gps, -1);
}

TEST(PerfStore, ThreadsOfOneProgramDoNotLoseEachOthersSessions) {
    Store s;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&s] {
            for (int i = 0; i < 8; ++i) {
                s.commit(dateAfter(0));
                s.store.listCombos();
                s.load();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(s.dates().size(), 24u);
    EXPECT_EQ(s.dates().back(), dateAfter(23));
    EXPECT_EQ(s.traces().size(), 24u);
}

} // namespace
} // namespace vt
