// Everything the driver has driven, on disk: one JSON file for each simulator, car and track, an
// array of sessions in the order of their commits, and beside it the traces of each session.
//
//   <base>/performance/<sim>/<car>_<track>.json
//   <base>/performance/<sim>/traces/<car>_<track>_<YYYYMMDD-HHMMSS>.vttr
//
// Any thread. One lock, recursive and shared with other programs on the same folder, is held by
// every call from its first look at the disk to its last. Calls wait for the disk, a commit for
// tens of milliseconds and more: keep them off the thread that draws. Whatever happens to the
// program, a file is the old one or the new one, whole. Nothing throws.
#pragma once
#include "perf/session_record.h"
#include "perf/trace_file.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

/// Names one stored session. `date` is the record's.
struct SessionKey {
    int32_t simKind = 0;
    std::string carName, trackName;
    std::string date;
};
SessionKey sessionKey(const SessionRecord& record);

/// One layout of one track with one car.
struct ComboRow {
    std::string carName, trackName;
    int32_t trackId = 0;
    int32_t simId = 0;
    int32_t sessions = 0;
    float bestLap = 0; // s; 0 = none
    std::string newestDate;
};

/// What is known of a stored session without reading it whole.
struct SessionHead {
    int32_t trackId = 0, simId = 0, version = 0, gps = 0, laps = 0;
    float bestLap = 0; // s; 0 = none
    std::string date, traceFile, source;
};

struct CommitOutcome {
    bool stored = false;   // the record is on disk
    bool kept = false;     // false as well when the limit took this session, the oldest, at once
    std::string date;      // as stored: later by seconds when another session had the same
    std::string traceFile; // "" when there was no trace, or the disk refused it
};

struct RepairOutcome {
    bool found = false;  // session and sidecar agree with the list, and both are written
    int changedLaps = 0; // 0 = every time was as it should be
};

struct PurgeOutcome {
    int removed = 0;
};

class PerfStore {
public:
    /// `base` is the program's data folder; it need not exist yet.
    explicit PerfStore(std::string base);
    ~PerfStore();
    PerfStore(const PerfStore&) = delete;
    PerfStore& operator=(const PerfStore&) = delete;

    const std::string& base() const { return base_; }

    /// Keeps the store's lock while it lives; store calls of the same thread go on inside it. Take
    /// it with no other lock held.
    class Hold {
    public:
        explicit Hold(PerfStore& store);
        ~Hold();
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        PerfStore& store_;
    };

    // --- writing

    /// Sidecar, record, limit and sweep under one hold of the lock. `trace` may be null, or without
    /// bins or laps. `underLock`, when given, runs after the sidecar is written and before the
    /// record is (what learns from the session). The work outside the lock is done first. `limit` 0
    /// or less: no limit. Failing for want of space leaves the store as it was.
    CommitOutcome commit(SessionRecord record, const TraceFile* trace, int limit,
                         const std::function<void(const SessionRecord&)>& underLock = {});

    /// The record alone; then the oldest sessions of its track, by date, go until `limit` holds,
    /// with their sidecars, and orphans are swept. A file that cannot be read is put aside as
    /// `.corrupt`.
    CommitOutcome appendSession(const SessionRecord& record, int limit);

    /// With its sidecar. False when it is not there, or the disk refuses.
    bool deleteSession(const SessionKey& key);

    /// Only a `share` of 1 with an id, or of 2, is a state; anything else takes it away.
    bool setLapShareState(const SessionKey& key, int lapIndex, int share,
                          std::string_view shareLapId);

    /// One time for each lap, finite, in the sidecar first; mends the last sector and the summary.
    /// Nothing changes unless session, sidecar and list have the same number of laps.
    RepairOutcome repairLapTimes(const SessionKey& key, const std::vector<float>& newLapTimes);

    /// Positions of another recording of the same stint into the sidecar (traceTakePositions);
    /// `gps` of the record becomes 1. A record without a sidecar is marked -1, and the answer is
    /// false.
    bool mergePositions(const SessionKey& key, const TraceFile& from,
                        const std::vector<int>& lapOf);

    // --- reading

    /// By date, oldest first. Only of one layout when `trackIdFilter` is above 0. Empty when the
    /// file cannot be read or holds a value of a wrong type.
    std::vector<SessionRecord> loadSessions(int32_t simKind, std::string_view carName,
                                            std::string_view trackName,
                                            int32_t trackIdFilter = kNoTrackFilter);
    bool loadSession(const SessionKey& key, SessionRecord& out);
    /// In the file's order.
    std::vector<SessionHead> sessionHeads(int32_t simKind, std::string_view carName,
                                          std::string_view trackName);
    std::vector<ComboRow> listCombos();
    /// Full path of a record's sidecar; "" without one.
    std::string tracePath(const SessionRecord& record) const;

    // --- keeping house

    /// At every start of the program, before the rest: takes out LMU sessions whose lap times were
    /// never verified, and leaves the notice when there were any.
    PurgeOutcome purgeUnverified();
    /// Applies `limit` to every track by date. Bytes freed. 0 or less does nothing.
    int64_t cullHistory(int limit);
    /// Deletes sidecars that no record of this simulator names; nothing when one of its files
    /// cannot be read. How many.
    int sweepOrphans(int32_t simKind);
    /// Looks into every record file once, taking the lock for one file at a time, so that the first
    /// commit need not. For a worker at the program's start; ends early when `stop` says so.
    void warm(const std::function<bool()>& stop = {});
    uint64_t storeSizeBytes();

    /// "Lap times were removed": there until the user has read it.
    bool lapTimeNotice(std::string& countText);
    void clearLapTimeNotice();
    /// The one repair of the whole store: still to be done, and done.
    bool repairPending();
    bool markRepairDone(int changedLaps, int changedRecords);

private:
    friend class Hold;
    struct Inside;
    std::string base_;
    std::unique_ptr<Inside> inside_;
};

} // namespace vt
