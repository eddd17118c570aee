#include "perf/perf_repair.h"

#include "base/utf8.h"
#include "perf/perf_store_inside.h"
#include "perf/session_json.h"
#include "platform/paths.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <exception>

namespace vt {

namespace {

using Json = nlohmann::ordered_json;

constexpr float kSectorTolerance = 0.002f; // s between the sum of the sectors and the lap
constexpr int kShareVersion = 3;           // first record version with share states

float numberOr(const Json& value, float fallback) {
    return value.is_number() ? value.get<float>() : fallback;
}

float lapTimeOf(const Json& lap) {
    const auto found = lap.find("lapTime");
    return found == lap.end() ? 0 : numberOr(*found, std::nanf(""));
}

/// The last of `count` sectors takes up what the lap's time gained or lost; only where the sectors
/// made up the old time.
void mendLastSector(Json& lap, const char* key, size_t count, float oldTime, float newTime) {
    const auto list = lap.find(key);
    if (list == lap.end() || !list->is_array() || count < 2 || count > kMaxSectors ||
        list->size() < count)
        return;
    double others = 0;
    for (size_t i = 0; i + 1 < count; ++i) {
        const float sector = numberOr((*list)[i], 0);
        if (!(sector > 0)) return;
        others += sector;
    }
    const double old = others + numberOr((*list)[count - 1], 0);
    if (!(std::abs(old - oldTime) <= kSectorTolerance)) return;
    const auto last = static_cast<float>(newTime - others);
    if (last > 0) (*list)[count - 1] = shortestDouble(last);
}

void putSummary(Json& entry) {
    std::vector<LapRecord> laps;
    for (const Json& lap : entry["laps"]) {
        LapRecord& record = laps.emplace_back();
        record.lapTime = lapTimeOf(lap);
        const auto invalid = lap.find("invalid");
        record.invalid = invalid != lap.end() && numberOr(*invalid, 0) != 0 ? kLapInvalidSim : 0;
    }
    SessionSummary summary;
    summariseLapTimes(laps, summary);
    Json& stored = entry["summary"];
    if (!stored.is_object()) stored = Json::object();
    stored["bestLapTime"] = shortestDouble(summary.bestLapTime);
    stored["avgLapTime"] = shortestDouble(summary.avgLapTime);
    stored["worstLapTime"] = shortestDouble(summary.worstLapTime);
    stored["lapStdDev"] = shortestDouble(summary.lapStdDev);
}

std::string entryDump(const Json& entry) {
    return entry.dump(2, ' ', false, Json::error_handler_t::replace);
}

struct OpenSession {
    RecordFile file;
    size_t index = 0;
    Json json;
};

bool openSession(RecordFiles& files, const std::string& base, const SessionKey& key,
                 OpenSession& out) {
    if (files.read(perfRecordPath(base, key.simKind, key.carName, key.trackName), out.file) !=
        RecordState::good)
        return false;
    const int index = findSession(out.file, key.date);
    if (index < 0) return false;
    out.index = static_cast<size_t>(index);
    out.json = Json::parse(out.file.entryText(out.index), nullptr, false);
    return out.json.is_object();
}

/// Path of the open session's sidecar; "" without one that may be touched.
std::string sidecarOf(const std::string& base, const SessionKey& key, const OpenSession& session) {
    const std::string& name = session.file.entries[session.index].head.traceFile;
    return traceNameIsSafe(name) ? joinPath(perfTraceDir(base, key.simKind), name) : "";
}

template <class Result, class Work>
Result orNothing(Work work) {
    try {
        return work();
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace

int storedLaps(const Json& entry) {
    const auto laps = entry.find("laps");
    if (laps == entry.end()) return 0;
    if (!laps->is_array()) return -1;
    for (const Json& lap : *laps)
        if (!lap.is_object()) return -1;
    return static_cast<int>(laps->size());
}

void putVersion(Json& entry, int version) {
    if (entry.contains("version")) {
        entry["version"] = version;
        return;
    }
    Json whole = Json::object({{"version", version}});
    whole.update(entry);
    entry = std::move(whole);
}

int putLapTimes(Json& entry, const std::vector<float>& times) {
    int changed = 0;
    for (size_t i = 0; i < times.size(); ++i) {
        Json& lap = entry["laps"][i];
        const float old = lapTimeOf(lap);
        if (old == times[i]) continue;
        ++changed;
        lap["lapTime"] = shortestDouble(times[i]);
        const auto count = lap.find("sectorCount");
        const float sectors = count == lap.end() ? 0 : numberOr(*count, 0);
        mendLastSector(lap, "sectorSec", static_cast<size_t>(std::clamp(sectors, 0.0f, 99.0f)), old,
                       times[i]);
        if (const auto all = lap.find("sectorSecAll"); all != lap.end() && all->is_array())
            mendLastSector(lap, "sectorSecAll", all->size(), old, times[i]);
    }
    putSummary(entry);
    putVersion(entry, kRecordVersion);
    return changed;
}

bool putShareState(Json& entry, int lapIndex, int share, std::string_view shareLapId) {
    if (lapIndex < 0 || lapIndex >= storedLaps(entry)) return false;
    Json& lap = entry["laps"][static_cast<size_t>(lapIndex)];
    lap.erase("shareLapId");
    if (share == kLapShared && !shareLapId.empty()) {
        LapRecord width;
        copyText(width.shareLapId, shareLapId);
        lap["share"] = share;
        lap["shareLapId"] = width.shareLapId;
    } else if (share == kLapShareUnderWay) {
        lap["share"] = share;
    } else {
        lap.erase("share");
    }
    const auto version = entry.find("version");
    if (version == entry.end() || numberOr(*version, 0) < kShareVersion)
        putVersion(entry, kShareVersion);
    return true;
}

bool PerfStore::setLapShareState(const SessionKey& key, int lapIndex, int share,
                                 std::string_view shareLapId) {
    return orNothing<bool>([&] {
        const Hold hold(*this);
        OpenSession session;
        return openSession(inside_->files, base_, key, session) &&
               putShareState(session.json, lapIndex, share, shareLapId) &&
               inside_->files.replace(session.file, session.index, entryDump(session.json));
    });
}

RepairOutcome PerfStore::repairLapTimes(const SessionKey& key,
                                        const std::vector<float>& newLapTimes) {
    return orNothing<RepairOutcome>([&] {
        RepairOutcome outcome;
        for (const float time : newLapTimes)
            if (!std::isfinite(time)) return outcome;
        const Hold hold(*this);
        OpenSession session;
        if (!openSession(inside_->files, base_, key, session) || newLapTimes.empty() ||
            storedLaps(session.json) != static_cast<int>(newLapTimes.size()))
            return outcome;
        const int changed = putLapTimes(session.json, newLapTimes);
        const std::string sidecar = sidecarOf(base_, key, session);
        const bool named = !session.file.entries[session.index].head.traceFile.empty();
        if (named && (sidecar.empty() || !tracePatchLapTimes(sidecar, newLapTimes))) return outcome;
        if (!inside_->files.replace(session.file, session.index, entryDump(session.json)))
            return outcome;
        outcome.found = true;
        outcome.changedLaps = changed;
        return outcome;
    });
}

bool PerfStore::mergePositions(const SessionKey& key, const TraceFile& from,
                               const std::vector<int>& lapOf) {
    return orNothing<bool>([&] {
        const Hold hold(*this);
        OpenSession session;
        if (!openSession(inside_->files, base_, key, session)) return false;
        const std::string sidecar = sidecarOf(base_, key, session);
        TraceFile trace;
        const bool merged = !sidecar.empty() && traceRead(sidecar, trace) &&
                            traceTakePositions(trace, from, lapOf) &&
                            traceWrite(sidecar, trace, true);
        if (!merged && !sidecar.empty() && pathExists(sidecar)) return false;
        session.json["gps"] = merged ? 1 : -1;
        return inside_->files.replace(session.file, session.index, entryDump(session.json)) &&
               merged;
    });
}

} // namespace vt
