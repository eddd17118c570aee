#include "import/ibt_import.h"
#include "import/import_command.h"
#include "support/perf_samples.h"

#include <gtest/gtest.h>

namespace vt {
namespace {

constexpr int64_t kSecond = 10'000'000;

int64_t fileTime(const std::string& date) {
    int64_t seconds = 0;
    EXPECT_TRUE(parseRecordDate(date, seconds));
    return fileTimeOf(seconds * 1'000'000'000);
}

struct Classify : testing::Test {
    test::ScratchFolder folder{"vt_classify"};
    PerfStore store{folder.text()};
    RunDates dates;
    std::string stintEnd = "2026-08-10T12:00:00Z"; // of a stint of ten minutes

    void add(int64_t secondsFromEnd, const char* source, int trackId = 7, int version = 9) {
        const int64_t end = fileTime(stintEnd) + secondsFromEnd * kSecond;
        SessionRecord record =
            test::sampleSession(recordDate(unixNsOf(end) / 1'000'000'000).c_str(), 3, trackId);
        record.source = source;
        record.version = version;
        ASSERT_TRUE(store.appendSession(record, 0).stored);
    }
    /// The verdict, and how many seconds from the end the match lies.
    std::pair<int, int64_t> ask(bool replacePreFix = false, std::set<int32_t> redo = {},
                                std::vector<int64_t> ends = {}) {
        SessionIndex index(store, dates);
        const int64_t end = fileTime(stintEnd);
        const ImportStint stint{"GT3 Car", "Some Ring", 7, end - 600 * kSecond, end, &ends};
        int match = -1;
        const ImportVerdict verdict = classifyStint(stint, replacePreFix, redo, index, match);
        if (match < 0) return {static_cast<int>(verdict), -9999};
        const auto& found = index.of("GT3 Car", "Some Ring", 7)[static_cast<size_t>(match)];
        return {static_cast<int>(verdict), (found.time - end) / kSecond};
    }
};
using Answer = std::pair<int, int64_t>;
constexpr int64_t kNone = -9999;

TEST_F(Classify, ASessionWithinTwoMinutesIsTheStint) {
    add(130, "");
    add(-721, "");
    add(0, "", 8); // another layout
    EXPECT_EQ(ask(), (Answer{0, kNone}));
    add(-700, "");
    EXPECT_EQ(ask(), (Answer{1, -700}));
    add(100, ""); // nearer to the end
    EXPECT_EQ(ask(), (Answer{1, 100}));
    EXPECT_EQ(ask(true), (Answer{1, 100})); // nothing is wrong with it
    EXPECT_EQ(ask(true, {8}), (Answer{1, 100}));
    EXPECT_EQ(ask(false, {7}), (Answer{2, 100}));
    SessionIndex index(store, dates);
    dates.add(index.of("GT3 Car", "Some Ring", 7).back().head.date);
    EXPECT_EQ(ask(false, {7}), (Answer{1, 100})) << "a redo replaced it a moment ago";
}

TEST_F(Classify, FaultySessionsAreReplacedOnlyOnRequest) {
    add(60, "", 7, 8);
    EXPECT_EQ(ask(), (Answer{1, 60}));
    EXPECT_EQ(ask(true), (Answer{2, 60}));
}

TEST_F(Classify, SessionsFromBeforeTheFixAreLookedForFurtherAway) {
    stintEnd = "2026-07-31T11:55:00Z";
    add(500, ""); // after the fix
    EXPECT_EQ(ask(true), (Answer{0, kNone}));
    add(299, "ibt"); // before it, and right
    EXPECT_EQ(ask(true), (Answer{0, kNone}));
    add(-1100, "");
    EXPECT_EQ(ask(), (Answer{0, kNone}));
    EXPECT_EQ(ask(true), (Answer{2, -1100}));
}

TEST_F(Classify, AStintDoesNotMeetTheRecordOfItsNeighbourInTheFile) {
    add(-640, "ibt"); // of the stint that ended 40 s before this one began
    const int64_t end = fileTime(stintEnd);
    EXPECT_EQ(ask(), (Answer{1, -640}));
    EXPECT_EQ(ask(false, {}, {end - 640 * kSecond, end}), (Answer{0, kNone}));
    add(0, "ibt");
    EXPECT_EQ(ask(false, {}, {end - 640 * kSecond, end}), (Answer{1, 0}));
}

TEST(LapShift, IsTheOneUnderWhichMostLapsAgree) {
    const std::vector<float> all = {95, 90.1f, 90.2f, -1, 90.3f};
    const std::vector<float> withoutOutLap(all.begin() + 1, all.end());
    EXPECT_EQ(bestLapShift(withoutOutLap, all), 1);
    EXPECT_EQ(bestLapShift(all, withoutOutLap), -1);
    EXPECT_EQ(bestLapShift(all, all), 0);
    EXPECT_EQ(bestLapShift({90, 90.024f}, {90, 90}), 0);
    EXPECT_EQ(bestLapShift({-1, 0}, {-1, 0}), -3) << "no lap agrees: the lowest of equals";
    EXPECT_EQ(bestLapShift({90}, {90, 80, 90, 90}), 0);
    EXPECT_EQ(bestLapShift({}, {90}), -3);
}

TEST(ImportCommandLine, SwitchesAndTheirValues) {
    ImportCommand command;
    EXPECT_FALSE(parseImportCommand({"--demo", "--out", "x", "--import"}, command));
    ASSERT_TRUE(parseImportCommand({"--IMPORT", "a b", "--Out", "dir", "--jobs", "99", "--gps-only",
                                    "--redo-track", "12,0,-3,x,40", "--replace-PREFIX", "--scan"},
                                   command));
    EXPECT_EQ(command.importPath, "a b");
    EXPECT_EQ(command.scanFolder, "");
    EXPECT_EQ(command.out, "dir");
    EXPECT_EQ(command.jobs, 99);
    EXPECT_TRUE(command.gpsOnly && command.replacePreFix);
    EXPECT_EQ(command.redoTracks, (std::vector<int>{12, 40}));
    ASSERT_TRUE(parseImportCommand({"--scan", "here"}, command));
    EXPECT_EQ(command.importPath, "");
    EXPECT_EQ(command.jobs, 1);
}

TEST(FileTimes, CountFromTheYear1601) {
    EXPECT_EQ(fileTimeOf(0), 116'444'736'000'000'000);
    EXPECT_EQ(unixNsOf(fileTimeOf(1'700'000'000'123'456'700)), 1'700'000'000'123'456'700);
    EXPECT_EQ(fileTimeOf(-1), 116'444'736'000'000'000 - 1);
}

} // namespace
} // namespace vt
