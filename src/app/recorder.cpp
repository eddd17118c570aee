#include "app/recorder.h"

#include "base/log.h"
#include "platform/thread_name.h"
#include "telemetry/sim_registry.h"

#include <algorithm>

namespace vt {

namespace {

constexpr int32_t kRecordedSims[] = {kSimIRacing, kSimLmu, kSimAcEvo};

WatchSettings watchSettings(const AppConfig& config, bool synthetic, int64_t nowUnix) {
    return {synthetic, config.perfLoggingEnabled, config.perfHistoryLimit, nowUnix};
}

const LapTrace* bestOf(const std::vector<LapTrace>& laps) {
    const LapTrace* best = nullptr;
    for (const LapTrace& lap : laps) {
        const bool counts = lap.valid && !lap.invalidSim && !lap.invalidIncident;
        if (counts && (!best || lap.lapTime < best->lapTime)) best = &lap;
    }
    return best;
}

} // namespace

Recorder::Recorder(const std::string& base, const std::string& dataDir,
                   std::atomic<uint32_t>* gpsLearnWanted)
    : store_(base), saver_(store_), watch_{.ring = ring_, .saver = saver_},
      solver_(dataDir, base, true) {
    watch_.gpsLearnWanted = gpsLearnWanted;
    keeper_ = std::thread([this] { keepHouse(); });
}

Recorder::~Recorder() {
    stop_ = true;
    keeper_.join();
}

void Recorder::keepHouse() {
    nameThisThread("store keeper");
    store_.purgeUnverified();
    for (const int32_t sim : kRecordedSims)
        if (!stop_) store_.sweepOrphans(sim);
    store_.warm([this] { return stop_.load(); });
}

void Recorder::placeOnRoad(SimFrame& frame) {
    calVersion_ = 0;
    if (frame.simKind != kSimIRacing || !frame.connected || !frame.isOnTrack) return;
    const RoadOffset offset = solveRoadOffset(solver_, roadOffsetSampleOf(frame));
    frame.surveyLateral = offset.lateralM;
    frame.surveyLateralOk = offset.lateralOk ? 1 : 0;
    calVersion_ = offset.lateralCalVersion;
}

void Recorder::pushSample(const SimFrame& frame, bool resetFlag) {
    perfPushSample(ring_, frame, resetFlag, calVersion_);
}

void Recorder::tick(const SimFrame& frame, const AppConfig& config, bool synthetic,
                    int64_t nowUnix) {
    trackerDrain(watch_, frame, watchSettings(config, synthetic, nowUnix));
    takeResults();
    const uint32_t dropped = ring_.dropped();
    if (dropped != droppedSeen_)
        logStatus("[recorder] %u sample(s) lost: the program was held up\n",
                  dropped - droppedSeen_);
    droppedSeen_ = dropped;
}

void Recorder::takeResults() {
    CommitResult result;
    while (saver_.take(result)) {
        saveFailed_ = !result.stored;
        if (result.stored)
            logStatus("[recorder] %d lap(s) kept: %s, %s\n", result.record.totalLaps,
                      result.record.carName, result.record.trackName);
        else
            logStatus("[recorder] a stint could not be written: check free disk space\n");
        const LapTrace* best = bestOf(result.trace.laps);
        if (!best || !result.stored) continue;
        best_ = {result.record.simId, result.record.trackId, result.record.carName, *best};
    }
}

void Recorder::finish(const AppConfig& config, int64_t nowUnix) {
    finishWatch(watch_, watchSettings(config, watch_.synthetic, nowUnix));
}

const LapTrace* Recorder::lapOf(const SimFrame& frame, bool last) const {
    const std::vector<LapTrace>& laps = watch_.tracker.traces();
    const LapTrace* lap = nullptr;
    if (last)
        lap = laps.empty() ? nullptr : &laps.back();
    else
        lap = bestOf(laps);
    if (lap && !lap->have.empty()) return lap;
    const char* car = frame.carName[0] != '\0' ? frame.carName : frame.carModel;
    const bool same = best_.simKind == frame.simKind && best_.trackId == frame.trackId &&
                      best_.carModel == car && !best_.lap.have.empty();
    return same ? &best_.lap : nullptr;
}

bool Recorder::referenceAt(const SimFrame& frame, float pct, bool last, float& throttle,
                           float& brake, int& gear) const {
    const LapTrace* lap = lapOf(frame, last);
    if (!lap || !(pct >= 0)) return false;
    const size_t bins = lap->have.size();
    const size_t bin = std::min(static_cast<size_t>(pct * static_cast<float>(bins)), bins - 1);
    if (!lap->have[bin]) return false;
    throttle = lap->throttle[bin];
    brake = lap->brake[bin];
    gear = lap->gear[bin];
    return true;
}

} // namespace vt
