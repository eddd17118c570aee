#include "ibt_image.h"
#include "import/ibt_import.h"
#include "support/perf_samples.h"
#include "telemetry/ibt/ibt_file.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace vt {
namespace {

constexpr int64_t kWritten = 1786363200; // 2026-08-10T12:00:00Z

struct Import : testing::Test {
    test::ScratchFolder folder{"vt_import"};
    std::string file = folder.text() + "/drive.ibt";
    test::IbtImage image;
    std::unique_ptr<RunDates> dates = std::make_unique<RunDates>();

    IbtImportResult run(PerfStore& store, bool replacePreFix = false, std::set<int32_t> redo = {},
                        bool gpsOnly = false) {
        ImportContext context{.store = store, .dataDir = "", .dates = *dates};
        context.redoTracks = std::move(redo);
        SessionIndex index(store, *dates);
        return importFile(context, file, replacePreFix, index, gpsOnly);
    }
    std::vector<SessionRecord> sessions(PerfStore& store) {
        return store.loadSessions(kSimIRacing, "GT3 Car", "Some Ring");
    }
    /// Stores what a live recording of `file` would have left: no positions, no trace of the file.
    void recordLive(PerfStore& store, int version, const std::vector<float>& off) {
        test::ScratchFolder aside("vt_import_aside");
        PerfStore other(aside.text());
        run(other);
        std::vector<SessionRecord> made = sessions(other);
        ASSERT_EQ(made.size(), 1u);
        TraceFile trace;
        ASSERT_TRUE(traceRead(other.tracePath(made[0]), trace));
        ASSERT_EQ(made[0].laps.size(), off.size());
        for (size_t i = 0; i < off.size(); ++i) {
            made[0].laps[i].lapTime += off[i];
            trace.laps[i].lapTime += off[i];
            trace.laps[i].x.clear();
            trace.laps[i].y.clear();
        }
        trace.originLat = trace.originLon = 0;
        made[0].source = made[0].sourceFile = "";
        made[0].gps = 0;
        made[0].version = version;
        made[0].laps[2].share = kLapShared;
        copyText(made[0].laps[2].shareLapId, "abc");
        copyText(made[0].date, recordDate(kWritten + 90));
        ASSERT_TRUE(store.commit(made[0], &trace, 0).stored);
    }
};

TEST_F(Import, EveryStintOfAFileIsStoredOnceAndReplacedOnce) {
    test::IbtImage::write(file, image.build({{3.3, 0, 0}, {2.2, 1, 1}}), kWritten);
    PerfStore store(folder.text());
    IbtImportResult result = run(store);
    EXPECT_TRUE(result.parsed && result.message.empty()) << result.message;
    EXPECT_EQ(result.stintsSaved, 2);
    EXPECT_EQ(result.lapsImported, 5);
    EXPECT_EQ(result.trackId, 7);
    const std::vector<SessionRecord> first = sessions(store);
    ASSERT_EQ(first.size(), 2u);
    EXPECT_STREQ(first[0].date, recordDate(kWritten - 53).c_str()) << "2.2 laps of 24 s before";
    EXPECT_STREQ(first[1].date, recordDate(kWritten).c_str());
    EXPECT_STREQ(first[0].sessionType, "PRACTICE");
    EXPECT_STREQ(first[1].sessionType, "RACE");
    EXPECT_EQ(first[1].source, "ibt");
    EXPECT_EQ(first[1].sourceFile, "drive.ibt");
    EXPECT_EQ(first[1].gps, 1);
    EXPECT_NEAR(first[0].laps[1].lapTime, 25.002, 0.0006) << "the sim's own time";
    EXPECT_NEAR(first[1].laps[0].lapTime, 24.001, 0.0006);
    EXPECT_EQ(first[0].laps[1].trafficSec, -1);
    TraceFile trace;
    ASSERT_TRUE(traceRead(store.tracePath(first[1]), trace));
    EXPECT_NEAR(trace.originLat, 47.2, 0.01);
    const auto [west, east] = std::minmax_element(trace.laps[1].x.begin(), trace.laps[1].x.end());
    EXPECT_NEAR(*east - *west, 1000 / 3.14159, 3) << "the circle's diameter";

    result = run(store);
    EXPECT_EQ(result.skippedRecorded, 2);
    EXPECT_EQ(result.stintsSaved, 0);

    dates = std::make_unique<RunDates>();
    result = run(store, false, {7});
    EXPECT_EQ(result.stintsSaved, 2);
    EXPECT_EQ(result.sessionsReplaced, 2);
    result = run(store, false, {7});
    EXPECT_EQ(result.stintsSaved, 0) << "once in a run of the program";
    EXPECT_EQ(sessions(store).size(), 2u);
}

TEST_F(Import, SessionsWithAClockOfTheirOwnFollowEachOther) {
    image.oneClock = false;
    test::IbtImage::write(file, image.build({{3.3, 0, 0}, {3.3, 1, 0}}), kWritten);
    PerfStore store(folder.text());
    EXPECT_EQ(run(store).stintsSaved, 2);
    const std::vector<SessionRecord> stored = sessions(store);
    ASSERT_EQ(stored.size(), 2u);
    EXPECT_STREQ(stored[0].date, recordDate(kWritten - 83).c_str());
    EXPECT_STREQ(stored[1].date, recordDate(kWritten).c_str());
    EXPECT_EQ(run(store).skippedRecorded, 2);
}

TEST_F(Import, ALiveRecordingGetsPositionsAndItsLapTimesMended) {
    test::IbtImage::write(file, image.build({{3.3, 0, 0}}), kWritten);
    PerfStore store(folder.text());
    recordLive(store, 8, {0.7f, 0.4f, -0.4f});
    IbtImportResult result = run(store, false, {}, true);
    EXPECT_EQ(result.givenGps, 1);
    EXPECT_EQ(result.skippedRecorded, 1);
    ASSERT_EQ(sessions(store).size(), 1u);
    EXPECT_EQ(sessions(store)[0].gps, 1);
    EXPECT_NEAR(sessions(store)[0].laps[1].lapTime, 25.402, 0.001);

    result = run(store, true);
    EXPECT_EQ(result.sessionsReplaced, 1);
    EXPECT_EQ(result.stintsSaved, 0);
    ASSERT_EQ(sessions(store).size(), 1u);
    const SessionRecord mended = sessions(store)[0];
    EXPECT_NEAR(mended.laps[0].lapTime, 25.701, 0.001) << "too far off to be the same lap's";
    EXPECT_NEAR(mended.laps[1].lapTime, 25.002, 0.001);
    EXPECT_NEAR(mended.laps[2].lapTime, 25.003, 0.001);
    EXPECT_EQ(mended.source, "");
}

TEST_F(Import, AReplacedSessionHandsItsSharedLapsOn) {
    test::IbtImage::write(file, image.build({{3.3, 0, 0}}), kWritten);
    PerfStore store(folder.text());
    recordLive(store, 9, {0, 0, 0});
    IbtImportResult result = run(store, false, {7});
    EXPECT_EQ(result.sessionsReplaced, 1);
    EXPECT_EQ(result.stintsSaved, 1);
    const std::vector<SessionRecord> after = sessions(store);
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(after[0].source, "ibt");
    EXPECT_EQ(after[0].laps[1].share, kLapNotShared);
    EXPECT_EQ(after[0].laps[2].share, kLapShared);
    EXPECT_STREQ(after[0].laps[2].shareLapId, "abc");
}

TEST_F(Import, PositionsThatAreNoDoublesAreNone) {
    image.doubles = false;
    test::IbtImage::write(file, image.build({{2.2, 0, 0}}), kWritten);
    PerfStore store(folder.text());
    EXPECT_EQ(run(store, false, {}, true).stintsSaved, 0);
    EXPECT_EQ(run(store).stintsSaved, 1);
    EXPECT_EQ(sessions(store)[0].gps, 0);
}

TEST_F(Import, DamagedFilesCostOneMessageEachAndTheRestIsTaken) {
    const std::vector<uint8_t> good = image.build({{2.2, 0, 0}});
    const std::string dir = folder.text() + "/files";
    std::filesystem::create_directories(dir);
    const auto put = [&](const char* name, std::vector<uint8_t> bytes, int day) {
        test::IbtImage::write(dir + "/" + name, bytes, kWritten + day * 86400);
    };
    const auto withInt = [&good](size_t offset, int32_t value) {
        std::vector<uint8_t> bytes = good;
        std::memcpy(bytes.data() + offset, &value, sizeof value);
        return bytes;
    };
    put("a.ibt", good, 0);
    put("b_short.ibt", {good.begin(), good.begin() + 111}, 1);
    put("c_empty.ibt", {}, 2);
    put("d_buf0.ibt", withInt(32, 0), 3);
    put("e_buf5.ibt", withInt(32, 5), 4);
    put("f_data.ibt", withInt(52, INT32_MAX), 5);
    put("g_table.ibt", withInt(28, -144), 6);
    put("h_noise.ibt", std::vector<uint8_t>(5000, 0xff), 7);
    image.track = "Other Ring";
    put("i.ibt", image.build({{2.2, 0, 0}}), 8);
    put("j_half.ibt", {good.begin(), good.end() - static_cast<ptrdiff_t>(good.size() / 2)}, 9);
    std::filesystem::create_directories(dir + "/k.ibt");
    PerfStore store(folder.text());
    ImportContext context{.store = store, .dataDir = "", .dates = *dates};
    size_t told = 0;
    context.onFile = [&told](size_t, const std::string&, const IbtImportResult&) { ++told; };
    std::vector<std::string> files;
    const auto results = importPath(context, dir, false, 2, files);
    ASSERT_EQ(results.size(), 10u);
    EXPECT_EQ(told, 10u);
    for (size_t i = 0; i < results.size(); ++i) {
        const bool whole = i == 0 || i >= 8;
        EXPECT_EQ(results[i].parsed, whole) << files[i];
        EXPECT_EQ(results[i].message.empty(), whole) << files[i];
        EXPECT_TRUE(results[i].attempted);
    }
    EXPECT_EQ(results[0].stintsSaved, 1);
    EXPECT_EQ(results[8].stintsSaved, 1);
    EXPECT_EQ(results[9].lapsImported, 1) << "half of a drive is still a drive";

    const std::vector<IbtCombo> combos = scanFolder(store, dir);
    ASSERT_EQ(combos.size(), 2u);
    EXPECT_EQ(combos[0].track, "Some Ring");
    EXPECT_EQ(combos[0].files, 2);
    EXPECT_EQ(combos[0].sessions, 2);
    EXPECT_EQ(combos[0].alreadyRecorded, 2);
    EXPECT_EQ(combos[0].lapPaths.size(), 2u);

    std::atomic<uint32_t> cancel{1};
    context.cancel = &cancel;
    for (const IbtImportResult& result : importBatch(context, files, false, 99))
        EXPECT_FALSE(result.attempted);
}

TEST_F(Import, AFileThatIsStillWrittenIsLeftForLater) {
    const std::vector<uint8_t> good = image.build({{2.2, 0, 0}});
    test::IbtImage::write(file, good, kWritten);
    const std::string key = ibtFileKey(file);
    EXPECT_EQ(key, "drive.ibt|" + std::to_string(good.size()) + "|" +
                       std::to_string(fileTimeOf(kWritten * 1'000'000'000)));
    IbtFile reader;
    ASSERT_TRUE(reader.open(file));
    EXPECT_FALSE(reader.changed());
    std::ofstream writer(file, std::ios::app | std::ios::binary);
    writer.put(0).flush();
    EXPECT_TRUE(reader.changed());
    EXPECT_NE(ibtFileKey(file), key);
    PerfStore store(folder.text());
    const IbtImportResult result = run(store);
    EXPECT_FALSE(result.parsed);
    EXPECT_EQ(result.message, "the file is still being written");
    EXPECT_TRUE(sessions(store).empty());
}

} // namespace
} // namespace vt
