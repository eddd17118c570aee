// The store when programs die in the middle, share it, or find the disk full.
#include "perf/perf_store.h"
#include "support/perf_samples.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <set>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vt {
namespace {

namespace fs = std::filesystem;
using test::dateAfter;
using test::sampleSession;

/// Commits until it is killed, or `count` times; tells the date of each session behind the commit.
pid_t committer(const std::string& base, int firstSecond, int count, int tell) {
    const pid_t child = fork();
    if (child != 0) return child;
    PerfStore store(base);
    const TraceFile trace = test::sampleTrace(700, 3);
    for (int i = 0; i < count; ++i) {
        const std::string date = dateAfter(firstSecond + i);
        const CommitOutcome outcome = store.commit(sampleSession(date.c_str()), &trace, 0);
        if (!outcome.kept) _exit(1);
        if (tell >= 0 && write(tell, (outcome.date + "\n").data(), 21) != 21) _exit(2);
        if (i % 5 == 4) store.cullHistory(1000);
    }
    _exit(0);
}

/// Files whole, listed traces there and readable. The dates that are stored.
std::set<std::string> verify(const fs::path& base) {
    std::set<std::string> dates;
    PerfStore store(base.string());
    for (const SessionRecord& session : store.loadSessions(kSimIRacing, "GT3 Car", "Some Ring")) {
        dates.insert(session.date);
        EXPECT_EQ(session.laps.size(), 3u);
        TraceFile trace;
        EXPECT_TRUE(traceRead(store.tracePath(session), trace)) << session.date;
    }
    for (const auto& entry : fs::directory_iterator(base / "performance/iracing"))
        EXPECT_EQ(entry.path().string().find(".corrupt"), std::string::npos);
    return dates;
}

size_t filesIn(const fs::path& folder) {
    return static_cast<size_t>(std::distance(fs::directory_iterator(folder), {}));
}

TEST(PerfStoreCrash, KilledAtAnyMomentLosesNothingThatWasCommitted) {
    const test::ScratchFolder folder("vt_store_kill");
    std::mt19937 random(11);
    std::set<std::string> told;
    int second = 0, interrupted = 0;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(90);
    for (int round = 0; round < 60 || (interrupted == 0 && std::chrono::steady_clock::now() < end);
         ++round) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = committer(folder.text(), second, 1000, ends[1]);
        close(ends[1]);
        char line[21];
        // Half of the kills at any time, half among the commits, however slow the machine.
        if (round % 2 == 1) {
            ASSERT_EQ(read(ends[0], line, sizeof line), ssize_t{sizeof line}) << "no commit";
            told.insert(std::string(line, 20));
        }
        usleep(static_cast<useconds_t>(random() % 25000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        while (read(ends[0], line, sizeof line) == sizeof line)
            told.insert(std::string(line, 20));
        close(ends[0]);
        const fs::path traces = folder.path / "performance/iracing/traces";
        if (!fs::exists(traces)) continue;
        const std::set<std::string> stored = verify(folder.path);
        for (const std::string& date : told)
            ASSERT_TRUE(stored.count(date)) << date;
        interrupted += filesIn(traces) != stored.size();
        PerfStore(folder.text()).sweepOrphans(kSimIRacing);
        ASSERT_EQ(filesIn(traces), stored.size()) << round;
        second += 1000;
        if (stored.size() > 60) { // the file's length is not what is tried here
            fs::remove_all(folder.path / "performance");
            told.clear();
        }
    }
    EXPECT_GT(interrupted, 0) << "no kill met a commit between its two files";
}

TEST(PerfStoreCrash, ProgramsThatShareAStoreLoseNothing) {
    const test::ScratchFolder folder("vt_store_shared");
    std::vector<pid_t> children;
    for (int i = 0; i < 3; ++i)
        children.push_back(committer(folder.text(), 0, 12, -1)); // all with the same dates
    for (const pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(verify(folder.path).size(), 36u);
    EXPECT_EQ(filesIn(folder.path / "performance/iracing/traces"), 36u);
}

TEST(PerfStoreCrash, AFullDiskLeavesTheOldState) {
    const test::ScratchFolder folder("vt_store_full");
    if (mount("vt", folder.path.c_str(), "tmpfs", 0, "size=400k") != 0)
        GTEST_SKIP() << "needs the right to mount";
    {
        PerfStore store(folder.text());
        const TraceFile trace = test::sampleTrace(700, 3);
        int committed = 0, refused = 0, bare = 0;
        for (int i = 0; i < 60 && refused < 3; ++i) {
            const auto outcome = store.commit(sampleSession(dateAfter(i).c_str()), &trace, 0);
            committed += outcome.stored;
            bare += outcome.stored && outcome.traceFile.empty();
            refused += !outcome.stored;
            ASSERT_EQ(store.loadSessions(kSimIRacing, "GT3 Car", "Some Ring").size(),
                      static_cast<size_t>(committed));
        }
        EXPECT_GE(committed, 3);
        EXPECT_EQ(refused, 3);
        EXPECT_EQ(filesIn(folder.path / "performance/iracing/traces"),
                  static_cast<size_t>(committed - bare));
        // Room again: the next commit works.
        ASSERT_TRUE(store.deleteSession({kSimIRacing, "GT3 Car", "Some Ring", dateAfter(0)}));
        ASSERT_TRUE(store.deleteSession({kSimIRacing, "GT3 Car", "Some Ring", dateAfter(1)}));
        EXPECT_TRUE(store.commit(sampleSession(dateAfter(900).c_str()), nullptr, 0).stored);
    }
    EXPECT_EQ(umount(folder.path.c_str()), 0);
}

} // namespace
} // namespace vt
