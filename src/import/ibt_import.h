// Telemetry files (`.ibt`) as a second source of driven laps: replayed through the same tracker and
// commit as a live drive, compared with what the store has, added, mended or given positions.
// Any thread; one `SessionIndex` belongs to one thread. Nothing throws.
#pragma once
#include "perf/perf_store.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace vt {

struct IbtImportResult {
    bool attempted = false; // the file was reached
    bool parsed = false;    // it could be opened and read
    int32_t stintsSaved = 0;
    int32_t skippedRecorded = 0;   // the store has them
    int32_t skippedIncomplete = 0; // without lap, car or track, or refused by the commit
    int32_t lapsImported = 0;
    int32_t sessionsReplaced = 0; // mended ones too
    int32_t givenGps = 0;
    int32_t trackId = 0;
    float trackLength = 0;
    std::string message; // empty, or why it failed
};

struct IbtCombo {
    std::string track, car; // the key
    int32_t trackId = 0;
    int32_t files = 0;
    uint64_t bytes = 0;
    int32_t sessions = 0;                     // of the pair in the store
    int32_t alreadyRecorded = 0;              // files that ended within 600 s of one of them
    std::vector<std::string> paths, lapPaths; // all; those with more than one lap; sorted
    std::vector<int64_t> times;               // last writes, file times
};

/// A stored session as the comparison sees it. Times are 100 ns since 1601.
struct IndexedSession {
    int64_t time = 0;
    bool preFix = false;       // may show its laps' traces under wrong times
    bool versionEight = false; // iRacing, record version 8
    bool canTakeGps = false;
    bool writtenThisRun = false;
    SessionHead head;
};

struct RunDates { // of sessions that this batch wrote; shared by its workers
    void add(const std::string& date);
    bool has(const std::string& date) const;

private:
    mutable std::atomic_flag busy_ = ATOMIC_FLAG_INIT;
    std::set<std::string> dates_;
};

/// Sessions of the store by "%s|%s|%d|%d" of car, track, trackId, simId; filled on first use.
class SessionIndex {
public:
    SessionIndex(PerfStore& store, const RunDates& dates) : store_(store), dates_(dates) {}
    const std::vector<IndexedSession>& of(const std::string& car, const std::string& track,
                                          int32_t trackId);
    void drop(const std::string& car, const std::string& track, int32_t trackId);
    void dropAll() { known_.clear(); }

private:
    PerfStore& store_;
    const RunDates& dates_;
    std::map<std::string, std::vector<IndexedSession>> known_;
};

enum class ImportVerdict { fresh = 0, leave = 1, replace = 2 };

struct ImportStint {
    std::string car, track;
    int32_t trackId = 0;
    int64_t start = 0, end = 0; // file times
    /// Of all stints of the file, or null: an imported session that ended with another one of them
    /// is that stint's, however near it lies.
    const std::vector<int64_t>* fileEnds = nullptr;
    const std::set<std::string>* fileDates = nullptr; // of sessions just stored from the same file
};
/// `match` is the index into `index.of(...)`, -1 = none.
ImportVerdict classifyStint(const ImportStint& stint, bool replacePreFix,
                            const std::set<int32_t>& redoTracks, SessionIndex& index, int& match);

/// The shift -3..3 of `b` against `a` under which most times agree within 0.025 s; of equals the
/// lowest. Times of 0 or less agree with nothing.
int32_t bestLapShift(const std::vector<float>& a, const std::vector<float>& b);

struct ImportContext {
    PerfStore& store;
    std::string dataDir; // shipped maps
    RunDates& dates;
    std::set<int32_t> redoTracks{}; // whose sessions are replaced once
    int limit = 0;                  // sessions kept for a track; 0 = all
    std::atomic<uint32_t>* cancel = nullptr;
    std::atomic<uint32_t>* pause = nullptr; // set while the car is on track
    std::atomic<uint32_t>* filesDone = nullptr;
    std::atomic<uint32_t>* lapsAdded = nullptr;
    bool gpsOnly = false;
    std::set<int32_t>* rebuild = nullptr; // tracks whose surveyed map is out of date; own lock:
    std::mutex* rebuildLock = nullptr;
    /// After each file, with its index in the list; on the worker's thread, one call at a time.
    std::function<void(size_t index, const std::string& path, const IbtImportResult& result)>
        onFile{};
};

IbtImportResult importFile(ImportContext& context, const std::string& path, bool replacePreFix,
                           SessionIndex& index, bool gpsOnly);
/// Results in the order of `paths`. Files of one track stay on one thread.
std::vector<IbtImportResult> importBatch(ImportContext& context,
                                         const std::vector<std::string>& paths, bool replacePreFix,
                                         int jobs);
/// A file or a folder; `files` gets the paths, parallel to the results.
std::vector<IbtImportResult> importPath(ImportContext& context, const std::string& path,
                                        bool replacePreFix, int jobs,
                                        std::vector<std::string>& files);
/// Headers only. Combos with most files first.
std::vector<IbtCombo> scanFolder(PerfStore& store, const std::string& folder);

/// "name|size|file time": changes while a file is being written.
std::string ibtFileKey(const std::string& path);
/// 100 ns since 1601.
int64_t fileTimeOf(int64_t unixNs);
int64_t unixNsOf(int64_t fileTime);

} // namespace vt
