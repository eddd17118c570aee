#include "perf/session_commit.h"

#include "base/utf8.h"
#include "perf/track_bin_map.h"
#include "telemetry/sim_registry.h"

#include <algorithm>

namespace vt {

namespace {

void fillIdentity(SessionRecord& record, const SessionMeta& meta) {
    copyText(record.carName, meta.carName);
    copyText(record.trackName, meta.trackName);
    copyText(record.sessionType, meta.sessionType);
    copyText(record.trackConfig, meta.trackConfig);
    copyText(record.simVersion, meta.simVersion);
    copyText(record.simDate, meta.simDate);
    record.trackId = meta.trackId;
    record.simId = meta.simId;
    record.timeOfDaySec = meta.timeOfDaySec;
    record.seasonId = meta.seasonId;
    record.raceWeek = meta.raceWeek;
    record.fixedSetup = meta.fixedSetup;
    record.trackNumTurns = meta.trackNumTurns < 1 ? -1 : meta.trackNumTurns;
    record.setupText = meta.setupText;
    record.setupHash = meta.setupHash;
    record.setupChangedMidStint = meta.setupChangedMidStint;
    const bool bothPowers = meta.powerAdjustPct > -999 && meta.weightPenaltyKg > -999;
    record.powerAdjustPct = bothPowers ? meta.powerAdjustPct : kNoLevel;
    record.weightPenaltyKg = bothPowers ? meta.weightPenaltyKg : kNoLevel;
    record.source = meta.source;
    record.sourceFile = meta.sourceFile;
}

SessionRecord recordOf(StintData& stint, const SessionMeta& meta, const std::string& date) {
    SessionRecord record;
    fillIdentity(record, meta);
    copyText(record.date, date);
    record.summary = stint.summary;
    record.laps = std::move(stint.laps);
    record.totalLaps = static_cast<int32_t>(record.laps.size());
    record.hasBestTrace = stint.hasBestTrace;
    record.bestTrace = std::move(stint.bestTrace);
    record.corners = std::move(stint.corners);
    record.airTempC = stint.airTempC;
    record.trackTempC = stint.trackTempC;
    record.wetnessMax = stint.wetnessMax;
    record.trackLengthM = stint.trackLengthM > 0 ? stint.trackLengthM : meta.trackLengthM;
    record.sectorLayout = stint.sectorLayout;
    return record;
}

/// Callers hold `trackMapLock()`.
void learnGps(const std::string& base, int32_t trackId, const StintData& stint,
              const std::vector<uint8_t>& clean) {
    TrackBinMap map;
    if (!loadTrackBinMap(base, trackId, map)) map.trackId = trackId;
    const size_t bins = map.bins.size();
    const int joined = learnGpsSession(map, stint.trace, stint.onTrack, clean);
    // A track whose length changed is measured anew: kept too, or it would never be learned again.
    if (joined > 0 || map.bins.size() != bins) saveTrackBinMap(base, map);
}

void learnEvents(const std::string& base, int32_t trackId, const StintData& stint, int laps) {
    TrackEventTotals totals;
    if (!loadTrackEvents(base, trackId, totals) ||
        !learnTrackEvents(totals, trackId, stint.trace.events, laps)) {
        totals = {};
        if (!learnTrackEvents(totals, trackId, stint.trace.events, laps)) return;
    }
    saveTrackEvents(base, totals);
}

void learnFrom(const std::string& base, const SessionRecord& record, const StintData& stint) {
    if (record.simId != kSimIRacing || record.trackId <= 0) return;
    std::vector<uint8_t> clean;
    for (const LapRecord& lap : record.laps)
        clean.push_back(lap.invalid == 0);
    const std::lock_guard lock(trackMapLock());
    if (stint.gpsOrigin) learnGps(base, record.trackId, stint, clean);
    if (stint.trace.hasEvents)
        learnEvents(base, record.trackId, stint, static_cast<int>(record.laps.size()));
}

} // namespace

std::mutex& trackMapLock() {
    static std::mutex lock;
    return lock;
}

CommitResult commitSession(PerfStore& store, StintData&& stint, const SessionMeta& meta,
                           const std::string& date, int limit) {
    CommitResult result;
    if (stint.laps.empty() || meta.carName.empty() || meta.trackName.empty()) return result;
    result.record = recordOf(stint, meta, date);
    const bool traced = stint.trace.binCount > 0 && !stint.trace.laps.empty();
    if (traced && stint.gpsOrigin) result.record.gps = 1;
    const CommitOutcome outcome = store.commit(result.record, traced ? &stint.trace : nullptr,
                                               limit, [&](const SessionRecord& record) {
                                                   if (traced)
                                                       learnFrom(store.base(), record, stint);
                                               });
    result.stored = outcome.stored;
    copyText(result.record.date, outcome.date);
    copyText(result.record.traceFile, outcome.traceFile);
    result.trace = std::move(stint.trace);
    return result;
}

} // namespace vt
