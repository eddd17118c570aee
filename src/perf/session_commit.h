// From a finished stint to the store: the record, its sidecar, and what learns from it.
#pragma once
#include "perf/perf_store.h"
#include "perf/session_record.h"
#include "perf/session_tracker.h"

#include <mutex>
#include <string>

namespace vt {

/// What is known of car, track and setup beside the laps; the fields of SessionRecord of the same
/// names, texts at their widths.
struct SessionMeta {
    std::string carName, trackName, sessionType, trackConfig, simVersion, simDate;
    int32_t trackId = 0, simId = 0;
    float trackLengthM = 0;
    int32_t timeOfDaySec = -1, seasonId = 0, raceWeek = -1, fixedSetup = -1, trackNumTurns = -1;
    std::string setupText;
    int32_t setupHash = 0;
    bool setupChangedMidStint = false;
    float powerAdjustPct = kNoLevel, weightPenaltyKg = kNoLevel;
    std::string source, sourceFile;
};

struct CommitResult {
    SessionRecord record; // as stored, with the date that it got
    TraceFile trace;
    bool stored = false;
};

/// The lock over all track map files; taken after the store's.
std::mutex& trackMapLock();

/// Record, sidecar, learners, in this order, under the store's lock. Any thread; waits for the
/// disk. `date` as of recordDate(). `limit` 0 or less: none. Not stored without a car, a track or a
/// lap.
CommitResult commitSession(PerfStore& store, StintData&& stint, const SessionMeta& meta,
                           const std::string& date, int limit);

} // namespace vt
