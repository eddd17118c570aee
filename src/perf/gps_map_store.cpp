// The surveyed map from what the store keeps.
#include "base/log.h"
#include "perf/gps_map.h"
#include "perf/map_text.h"
#include "perf/road_offset.h"
#include "perf/session_commit.h"
#include "perf/track_bin_map.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <deque>

namespace vt {

namespace {

struct StoredLaps {
    std::deque<LapTrace> traces; // a deque, so that pointers stay good
    std::vector<GpsLap> laps;
    float trackLengthM = 0;
};

std::vector<SessionKey> sessionsWithPositions(PerfStore& store, int32_t trackId) {
    std::vector<SessionKey> keys;
    for (const ComboRow& combo : store.listCombos()) {
        if (combo.simId != kSimIRacing || combo.trackId != trackId) continue;
        for (const SessionHead& head :
             store.sessionHeads(kSimIRacing, combo.carName, combo.trackName))
            if (head.trackId == trackId && head.gps == 1 && !head.traceFile.empty())
                keys.push_back({kSimIRacing, combo.carName, combo.trackName, head.date});
    }
    std::stable_sort(keys.begin(), keys.end(),
                     [](const SessionKey& a, const SessionKey& b) { return a.date > b.date; });
    return keys;
}

void takeLaps(const SessionRecord& record, TraceFile& trace, StoredLaps& out) {
    if (!usableOrigin(trace.originLat, trace.originLon)) return;
    for (size_t i = 0; i < trace.laps.size() && i < record.laps.size(); ++i) {
        const LapRecord& lap = record.laps[i];
        LapTrace& full = trace.laps[i];
        if (lap.invalid != 0 || lap.inLap || lap.outLap || !full.valid || full.x.empty()) continue;
        if (out.laps.size() == kGpsMapLapsMax) return;
        LapTrace place;
        place.x = std::move(full.x);
        place.y = std::move(full.y);
        place.have = std::move(full.have);
        out.traces.push_back(std::move(place));
        out.laps.push_back({&out.traces.back(), trace.originLat, trace.originLon});
    }
    if (!(out.trackLengthM > 1))
        out.trackLengthM =
            record.trackLengthM > 1 ? record.trackLengthM : static_cast<float>(trace.binCount);
}

} // namespace

GpsMapBuild rebuildGpsMap(PerfStore& store, int32_t trackId, const std::atomic<uint32_t>* stop) {
    GpsMapBuild result;
    const auto stopped = [stop] { return stop && stop->load() != 0; };
    if (trackId < 1) return result;
    StoredLaps stored;
    for (const SessionKey& key : sessionsWithPositions(store, trackId)) {
        if (stopped() || stored.laps.size() == kGpsMapLapsMax) break;
        SessionRecord record;
        TraceFile trace;
        if (store.loadSession(key, record) && traceRead(store.tracePath(record), trace))
            takeLaps(record, trace, stored);
    }
    result.cleanLaps = static_cast<int>(stored.laps.size());
    if (stopped()) return result;
    TrackEventTotals events;
    TrackCal cal;
    {
        const std::lock_guard lock(trackMapLock());
        loadTrackEvents(store.base(), trackId, events);
        loadTrackCal("", store.base(), trackId, cal);
    }
    GpsMap map;
    if (!buildGpsMap(trackId, stored.trackLengthM, stored.laps,
                     events.trackId == trackId ? &events.grid : nullptr, map) ||
        stopped())
        return result;
    map.drCalVersion = cal.calVersion;
    const std::lock_guard lock(trackMapLock());
    result.built = saveGpsMap(store.base(), map);
    if (result.built)
        logStatus("[trackmap] surveyed track %d (%d laps, %zu turns)\n", trackId,
                  static_cast<int>(map.contributors), map.turns.size());
    return result;
}

} // namespace vt
