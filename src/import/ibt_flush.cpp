// The end of a stint: stored, or compared with the session that the store has of it.
#include "import/ibt_replay.h"
#include "perf/perf_paths.h"
#include "platform/file.h"
#include "telemetry/sim_registry.h"

#include <cmath>

namespace vt {

namespace {

constexpr float kSameLap = 0.025f; // s, between two recordings of one lap
constexpr float kMendable = 0.6f;  // s that a stored time may be wrong and still be this lap's
constexpr int32_t kMendableVersion = 8;

/// The time of each lap's last bin with data, s; -1 without one.
std::vector<float> lastTimes(const std::vector<LapTrace>& laps) {
    std::vector<float> times;
    for (const LapTrace& lap : laps) {
        float time = -1;
        for (size_t i = lap.have.size(); i-- > 0;) {
            if (!lap.have[i] || i >= lap.elapsed.size()) continue;
            time = lap.elapsed[i];
            break;
        }
        times.push_back(time);
    }
    return times;
}

/// A session of the store that a stint is compared with.
struct Stored {
    SessionKey key;
    SessionRecord record;
    bool loaded = false, traced = false;
    std::vector<float> times; // empty when laps and traces are not as many
};

Stored loadStored(PerfStore& store, const ImportStint& stint, const IndexedSession& session) {
    Stored stored;
    stored.key = {kSimIRacing, stint.car, stint.track, session.head.date};
    stored.loaded = store.loadSession(stored.key, stored.record);
    const std::string path = stored.loaded ? store.tracePath(stored.record) : std::string();
    TraceFile trace;
    stored.traced = !path.empty() && traceRead(path, trace);
    if (stored.traced && trace.laps.size() == stored.record.laps.size())
        stored.times = lastTimes(trace.laps);
    return stored;
}

/// For each stored lap the replayed one that it is, or -1.
std::vector<int> sameLaps(const Stored& stored, const std::vector<float>& replayed) {
    const int shift = bestLapShift(stored.times, replayed);
    std::vector<int> laps(stored.times.size(), -1);
    for (size_t i = 0; i < laps.size(); ++i) {
        const int j = static_cast<int>(i) + shift;
        if (j < 0 || j >= static_cast<int>(replayed.size())) continue;
        const float other = replayed[static_cast<size_t>(j)];
        if (stored.times[i] > 0 && other > 0 && std::abs(stored.times[i] - other) < kSameLap)
            laps[i] = j;
    }
    return laps;
}

void noteForRebuild(const ImportContext& context, int32_t trackId) {
    if (!context.rebuild || trackId < 1) return;
    const std::unique_lock lock = context.rebuildLock ? std::unique_lock(*context.rebuildLock)
                                                      : std::unique_lock<std::mutex>();
    context.rebuild->insert(trackId);
}

/// The stored session gets the file's positions.
void givePositions(IbtReplay& r, const ImportStint& stint, const IndexedSession& session) {
    const bool sawGps = r.tracker->sawGps();
    const StintData data = r.tracker->take();
    if (!session.canTakeGps || !sawGps || data.trace.laps.empty()) return;
    const Stored stored = loadStored(r.context.store, stint, session);
    if (stored.times.empty()) return;
    const std::vector<int> laps = sameLaps(stored, lastTimes(data.trace.laps));
    if (!r.context.store.mergePositions(stored.key, data.trace, laps)) return;
    ++r.result.givenGps;
    noteForRebuild(r.context, stint.trackId);
}

bool canBeMended(const Stored& stored) {
    return stored.loaded && stored.traced && stored.record.source != "ibt" &&
           stored.record.simId == kSimIRacing && stored.record.version == kMendableVersion;
}

/// The stored session gets the sim's own lap times.
void mend(IbtReplay& r, const Stored& stored, const StintData& data) {
    const std::vector<int> laps = sameLaps(stored, lastTimes(data.trace.laps));
    std::vector<float> times;
    for (size_t i = 0; i < stored.record.laps.size(); ++i) {
        const float old = stored.record.laps[i].lapTime;
        const int j = i < laps.size() ? laps[i] : -1;
        const float own = j >= 0 && static_cast<size_t>(j) < data.laps.size()
                              ? data.laps[static_cast<size_t>(j)].lapTime
                              : old;
        times.push_back(std::abs(own - old) < kMendable ? own : old);
    }
    if (r.context.store.repairLapTimes(stored.key, times).changedLaps > 0)
        ++r.result.sessionsReplaced;
}

/// Laps that others have keep that mark in the session that takes the old one's place.
void keepShares(IbtReplay& r, const Stored& old, const CommitResult& fresh) {
    const std::vector<int> laps = sameLaps(old, lastTimes(fresh.trace.laps));
    const SessionKey key = sessionKey(fresh.record);
    for (size_t i = 0; i < laps.size(); ++i) {
        const LapRecord& lap = old.record.laps[i];
        if (lap.share == kLapNotShared || laps[i] < 0) continue;
        r.context.store.setLapShareState(key, laps[i], lap.share, lap.shareLapId);
    }
}

/// Stores the stint; `old`, when there is one, goes only once the new one is safe.
void store(IbtReplay& r, const ImportStint& stint, int32_t sessionNum, StintData&& data,
           const Stored* old) {
    SessionMeta meta = r.meta;
    if (sessionNum >= 0 && static_cast<size_t>(sessionNum) < r.text->sessions.size())
        meta.sessionType = r.text->sessions[static_cast<size_t>(sessionNum)].name;
    const bool gps = data.gpsOrigin;
    const int limit = r.context.limit > 0 && old ? r.context.limit + 1 : r.context.limit;
    const std::string date = recordDate(unixNsOf(stint.end) / 1'000'000'000);
    const CommitResult done = commitSession(r.context.store, std::move(data), meta, date, limit);
    if (!done.stored) {
        ++r.result.skippedIncomplete;
        return;
    }
    ++r.result.stintsSaved;
    r.result.lapsImported += static_cast<int32_t>(done.record.laps.size());
    r.context.dates.add(done.record.date);
    r.storedDates.insert(done.record.date);
    if (gps) noteForRebuild(r.context, stint.trackId);
    if (!old) return;
    if (old->loaded) keepShares(r, *old, done);
    if (r.context.store.deleteSession(old->key)) ++r.result.sessionsReplaced;
}

void flushGathered(IbtReplay& r, const ImportStint& asked, int32_t sessionNum) {
    // Another program may import the same file: looking and storing are one step. The lock lies in
    // the store's folder, and is none before there is one.
    makeFolders(perfRoot(r.context.store.base()));
    const PerfStore::Hold hold(r.context.store);
    r.index.drop(asked.car, asked.track, asked.trackId);
    int match = -1;
    const ImportVerdict verdict =
        classifyStint(asked, r.replacePreFix, r.context.redoTracks, r.index, match);
    if (verdict == ImportVerdict::fresh) {
        if (!r.gpsOnly) store(r, asked, sessionNum, r.tracker->take(), nullptr);
    } else {
        const IndexedSession session =
            r.index.of(asked.car, asked.track, asked.trackId)[static_cast<size_t>(match)];
        if (verdict == ImportVerdict::leave || r.gpsOnly) {
            givePositions(r, asked, session);
            ++r.result.skippedRecorded;
        } else {
            const Stored old = loadStored(r.context.store, asked, session);
            StintData data = r.tracker->take();
            if (canBeMended(old))
                mend(r, old, data);
            else
                store(r, asked, sessionNum, std::move(data), &old);
        }
    }
    r.index.drop(asked.car, asked.track, asked.trackId);
}

IbtStint onLastClock(const IbtReplay& r, IbtStint stint) {
    for (const IbtStint& probed : r.stints)
        if (probed.sessionNum == stint.sessionNum && probed.first == stint.first)
            stint.shift = probed.shift;
    return stint;
}

} // namespace

void flushStint(IbtReplay& r, const IbtStint& stint) {
    if (r.spoilt()) {
        r.tracker->reset();
        return;
    }
    if (r.tracker->lapCount() < 1 || !r.named())
        ++r.result.skippedIncomplete;
    else
        flushGathered(r, r.identity(onLastClock(r, stint)), stint.sessionNum);
    r.tracker->reset();
}

} // namespace vt
