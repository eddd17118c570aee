#include "perf/session_tracker.h"

#include "perf/tracker_state.h"

#include <algorithm>
#include <cmath>

namespace vt {

struct SessionTracker::State : TrackerState {};

namespace {

constexpr double kLongestTick = 1;                    // s
constexpr float kTrafficNear = 1, kTrafficFar = 1.4f; // s
constexpr float kHeldUpRate = 0.15f;                  // s per s
constexpr float kFullThrottle = 0.95f, kPedal = 0.05f;
constexpr double kTransitionMax = 2; // s

void latch(TrackerState& t, const PerfSample& s) {
    t.previousTime = s.sessionTime;
    t.previousPct = s.lapPct;
}

bool jumped(const TrackerState& t, const PerfSample& s) {
    if (s.resetFlag || (t.previousLap > 0 && int64_t{s.lap} - t.previousLap >= 2)) return true;
    const float way = std::abs(s.lapPct - t.previousPct);
    return s.lap == t.previousLap && way > 0.2f && way < 0.8f;
}

void begin(TrackerState& t, const PerfSample& s) {
    t.started = true;
    t.previousLap = s.lap;
    t.previousPit = s.onPitRoad;
    t.previousFlags = s.sessionFlags;
    t.lastLapTime = s.lastLapTime;
    t.validity = s.lapValidity;
    latch(t, s);
    sizeTraces(t, s.trackLength);
    beginLap(t, s);
}

void tickMarks(TrackerState& t, const PerfSample& s) {
    t.furled |= (s.sessionFlags & kFlagFurled) && !(t.previousFlags & kFlagFurled);
    t.previousFlags = s.sessionFlags;
    if (s.onPitRoad && !t.previousPit) t.pitEntered = true;
    if (!s.onPitRoad && t.previousPit) {
        t.pitExited = true;
        t.tyreLaps = 0;
    }
    t.previousPit = s.onPitRoad;
}

void tickTraffic(TrafficState& traffic, const PerfSample& s, double dt) {
    traffic.noData |= s.noGapData;
    if (s.trafficGap < 0) {
        traffic.close = false;
        traffic.previousGap = -1;
        return;
    }
    traffic.close = traffic.close ? s.trafficGap <= kTrafficFar : s.trafficGap < kTrafficNear;
    const bool known = traffic.previousGap >= 0;
    const float opening = (s.trafficGap - traffic.previousGap) / static_cast<float>(dt);
    traffic.previousGap = s.trafficGap;
    if (!traffic.close || !known || opening > kHeldUpRate) return;
    traffic.seconds += static_cast<float>(dt);
    if (traffic.worstGap >= 0 && s.trafficGap >= traffic.worstGap) return;
    traffic.worstGap = s.trafficGap;
    traffic.worstPct = s.lapPct;
}

void tickDisplay(TrackerDisplay& d, const PerfSample& s) {
    const float lat = s.latAccel / kGravity, lon = s.longAccel / kGravity;
    d.gHistory[static_cast<size_t>(d.gNext)] = {lat, lon};
    d.gNext = (d.gNext + 1) % kGHistory;
    d.gCount = std::min(d.gCount + 1, kGHistory);
    d.peakLeftG = std::max(d.peakLeftG, lat);
    d.peakRightG = std::max(d.peakRightG, -lat);
    d.peakBrakeG = std::max(d.peakBrakeG, -lon);
    d.peakAccelG = std::max(d.peakAccelG, lon);
}

void tickPedals(TrackerState& t, const PerfSample& s, double dt) {
    PedalState& p = t.pedals;
    (s.throttle > kFullThrottle ? p.throttle : s.brake > kPedal ? p.brake : p.coast) += dt;
    if (s.sessionTime - t.start.time <= 0.5) return;
    const double all = p.throttle + p.brake + p.coast;
    if (!(all > 0)) return;
    p.throttlePct = static_cast<float>(p.throttle / all * 100);
    p.brakePct = static_cast<float>(p.brake / all * 100);
    p.coastPct = 100 - p.throttlePct - p.brakePct;
}

void tickTransition(TransitionState& p, const PerfSample& s) {
    const bool braking = s.brake > kPedal;
    if (p.braking && !braking) p.releasedAt = s.sessionTime;
    p.braking = braking;
    if (braking || p.releasedAt < 0 || !(s.throttle > kPedal)) return;
    const double time = s.sessionTime - p.releasedAt;
    if (time <= kTransitionMax) {
        p.sum += time;
        ++p.count;
    }
    p.releasedAt = -1;
}

void tickCoarse(TrackerState& t, const PerfSample& s) {
    const float pct = s.lapPct > 0 ? std::min(s.lapPct, 1.0f) : 0.0f;
    const int bin = pct >= 0.999f
                        ? kBestTraceBins - 1
                        : std::min(static_cast<int>(pct * kBestTraceBins), kBestTraceBins - 1);
    if (!t.bins[static_cast<size_t>(bin)].valid) ++t.coarseFilled;
    t.bins[static_cast<size_t>(bin)] = {s.speed * kMphPerMs,
                                        s.throttle,
                                        s.brake,
                                        s.steer,
                                        s.latAccel / kGravity,
                                        static_cast<float>(s.sessionTime - t.start.time),
                                        true};
}

void tickSums(TrackerState& t, const PerfSample& s) {
    const float mph = s.speed * kMphPerMs, lon = s.longAccel / kGravity;
    t.lapTopSpeed = std::max(t.lapTopSpeed, mph);
    t.topSpeed = std::max(t.topSpeed, mph);
    t.maxLatG = std::max(t.maxLatG, std::abs(s.latAccel) / kGravity);
    t.maxBrakeG = std::max(t.maxBrakeG, -lon);
    t.maxAccelG = std::max(t.maxAccelG, lon);
    t.speedSum += static_cast<double>(mph);
    t.lapAirSum += static_cast<double>(s.airTemp);
    t.lapTrackSum += static_cast<double>(s.trackTemp);
    ++t.lapTicks;
    t.lapWetness = std::max(t.lapWetness, s.wetness);
    t.airSum += static_cast<double>(s.airTemp);
    t.trackSum += static_cast<double>(s.trackTemp);
    ++t.weatherTicks;
    t.wetnessMax = std::max(t.wetnessMax, s.wetness);
    t.dynamicsMask |= s.dynamicsMask;
    t.latVelocitySource = std::max(t.latVelocitySource, s.latVelocitySource);
    if (s.lateralOk) t.lateralCalVersion = s.lateralCalVersion;
    if (s.trackLength > 0) t.trackLength = s.trackLength;
}

/// The place has passed the line and the lap counter has not followed yet: such a tick would give
/// the lap's first bins the times of its end.
bool lapIsOver(const TrackerState& t, const PerfSample& s) {
    const auto half = static_cast<int32_t>(t.binCount / 2);
    return lapHasItsBins(t) && s.lapPct < 0.5f && t.previousBin > half;
}

/// True when the tick must not be counted.
bool interrupted(TrackerState& t, const PerfSample& s, double dt) {
    const bool still = !(dt > 0) || dt > kLongestTick;
    if (still && !s.resetFlag) {
        latch(t, s);
        return true;
    }
    if (!jumped(t, s)) return false;
    if (!s.resetFlag) ++t.resets;
    beginLap(t, s);
    t.previousLap = s.lap;
    // A car that was set down elsewhere has driven over no edge on the way.
    t.previousPit = s.onPitRoad;
    t.previousFlags = s.sessionFlags;
    t.eventsBegun = false;
    latch(t, s);
    return true;
}

/// Over the line with hardly anything of a lap behind it, and the counter stands still: a grid, or
/// a stall, before the line. The way up to it belongs to no lap.
bool crossedUncounted(const TrackerState& t, const PerfSample& s) {
    return s.lap == t.previousLap && t.previousPct - s.lapPct > 0.8f && !lapHasItsBins(t);
}

void drive(TrackerState& t, const PerfSample& s) {
    if (s.lastLapTime != t.lastLapTime) {
        t.lastLapTime = s.lastLapTime;
        t.lastLapTimeAt = s.sessionTime;
    }
    const double dt = s.sessionTime - t.previousTime;
    if (interrupted(t, s, dt)) return;
    takeLateTime(t, s);
    if (s.lap >= 1 && s.lap != t.previousLap)
        closeLap(t, s);
    else if (crossedUncounted(t, s))
        beginLap(t, s);
    t.previousLap = s.lap;
    tickMarks(t, s);
    tickTraffic(t.traffic, s, dt);
    tickDisplay(t.display, s);
    tickCorner(t, s, dt);
    tickSector(t, s);
    tickPedals(t, s, dt);
    tickTransition(t.transition, s);
    const bool over = lapIsOver(t, s);
    if (!over) tickCoarse(t, s);
    tickTrace(t, s, over);
    tickSums(t, s);
    t.validity = s.lapValidity;
    latch(t, s);
}

TraceFile traceOf(TrackerState& t) {
    TraceFile file;
    file.binCount = t.binCount;
    file.laps = std::move(t.traces);
    if (t.position.originSet) {
        file.originLat = t.position.originLat;
        file.originLon = t.position.originLon;
    }
    file.hasLateral = std::any_of(file.laps.begin(), file.laps.end(),
                                  [](const LapTrace& lap) { return lap.hasLateral; });
    file.lateralCalVersion = static_cast<uint32_t>(std::max(t.lateralCalVersion, 0));
    file.hasEvents = t.binCount > 0;
    file.events = std::move(t.events);
    file.dynamicsMask = static_cast<uint16_t>(t.dynamicsMask & 7);
    file.latVelocitySource = static_cast<uint8_t>(std::clamp(t.latVelocitySource, 0, 2));
    if (t.weatherTicks > 0) {
        file.airTempAvg = static_cast<float>(t.airSum / static_cast<double>(t.weatherTicks));
        file.trackTempAvg = static_cast<float>(t.trackSum / static_cast<double>(t.weatherTicks));
        file.wetnessMax = t.wetnessMax;
    }
    return file;
}

} // namespace

void beginSession(TrackerState& t) {
    const TrackerDisplay display = t.display;
    t = TrackerState{};
    t.display = display;
    t.laps.reserve(kMaxLaps);
    t.traces.reserve(kMaxLaps);
    t.onTrack.reserve(kMaxLaps);
    t.bins.resize(kBestTraceBins);
    t.bestBins.reserve(kBestTraceBins);
    t.corners.reserve(kMaxCorners);
    t.bestCorners.reserve(kMaxCorners);
}

SessionTracker::SessionTracker() : state_(std::make_unique<State>()) {
    beginSession(*state_);
}
SessionTracker::~SessionTracker() = default;

void SessionTracker::reset() {
    beginSession(*state_);
}

void SessionTracker::tick(const PerfSample& sample) {
    TrackerState& t = *state_;
    if (sample.resetFlag) ++t.resets;
    if (!sample.isOnTrack) return;
    if (t.started)
        drive(t, sample);
    else
        begin(t, sample);
}

int SessionTracker::lapCount() const {
    return static_cast<int>(state_->laps.size());
}
const std::vector<LapRecord>& SessionTracker::laps() const {
    return state_->laps;
}
const std::vector<LapTrace>& SessionTracker::traces() const {
    return state_->traces;
}
const SessionSummary& SessionTracker::summary() const {
    return state_->summary;
}
uint32_t SessionTracker::resets() const {
    return state_->resets;
}
bool SessionTracker::sawGps() const {
    return state_->position.gps;
}
bool SessionTracker::inLap() const {
    return state_->started;
}
const std::vector<BestTraceBin>& SessionTracker::currentBins() const {
    return state_->bins;
}
const std::vector<BestTraceBin>& SessionTracker::bestBins() const {
    return state_->bestBins;
}
const std::array<SectorSpeeds, kMaxSectors>& SessionTracker::sectorSpeeds() const {
    return state_->sectorSpeeds;
}
const TrackerDisplay& SessionTracker::display() const {
    return state_->display;
}
double SessionTracker::lapStart() const {
    return state_->started ? state_->start.time : -1;
}

StintData SessionTracker::take() {
    TrackerState& t = *state_;
    StintData stint;
    stint.summary = t.summary;
    stint.laps = std::move(t.laps);
    stint.hasBestTrace = !t.bestBins.empty();
    stint.bestTrace = std::move(t.bestBins);
    stint.corners = std::move(t.bestCorners);
    stint.onTrack = std::move(t.onTrack);
    stint.gpsOrigin = t.position.gps;
    stint.trace = traceOf(t);
    stint.weatherSeen = t.weatherTicks > 0;
    if (stint.weatherSeen) {
        stint.airTempC = stint.trace.airTempAvg;
        stint.trackTempC = stint.trace.trackTempAvg;
        stint.wetnessMax = t.wetnessMax;
    }
    stint.sectorLayout = t.sectorCount;
    stint.trackLengthM = t.trackLength;
    stint.totalLaps = t.closedLaps;
    reset();
    return stint;
}

} // namespace vt
