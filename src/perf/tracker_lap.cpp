// The end of a lap: which time counts, what is kept of it, what the session adds up to.
#include "perf/tracker_state.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kShortestLap = 5;                      // s
constexpr int kBinsNeeded = 180;                        // of kBestTraceBins
constexpr double kOfficialWait = 1, kOfficialOff = 0.5; // s
constexpr float kBestSlack = 0.01f;                     // s

void fillSectors(LapRecord& lap, const TrackerState& t, float time) {
    const int count = std::clamp(t.sectorCount, 0, kMaxSectors);
    lap.sectorCount = count;
    std::copy_n(t.sector.times.begin(), count, lap.sectorSec);
    if (count < 2) return;
    float sum = 0;
    for (int i = 0; i + 1 < count; ++i) {
        if (!(lap.sectorSec[i] > 0)) return;
        sum += lap.sectorSec[i];
    }
    if (!(lap.sectorSec[count - 1] > 0) && sum < time) lap.sectorSec[count - 1] = time - sum;
}

int invalidBits(const TrackerState& t, const PerfSample& s) {
    int bits = 0;
    if (t.furled || t.validity == 0) bits |= kLapInvalidSim;
    if (s.incidents >= 0 && t.start.incidents >= 0 && s.incidents > t.start.incidents)
        bits |= kLapInvalidIncident;
    return bits;
}

LapRecord recordOf(const TrackerState& t, const PerfSample& s, float time) {
    LapRecord lap;
    lap.lapTime = time;
    if (t.lapTicks > 0) {
        const auto ticks = static_cast<double>(t.lapTicks);
        lap.avgSpeed = static_cast<float>(t.speedSum / ticks);
        lap.airTempC = static_cast<float>(t.lapAirSum / ticks);
        lap.trackTempC = static_cast<float>(t.lapTrackSum / ticks);
    }
    lap.topSpeed = t.lapTopSpeed;
    lap.maxLatG = t.maxLatG;
    lap.maxBrakeG = t.maxBrakeG;
    lap.maxAccelG = t.maxAccelG;
    lap.throttlePct = t.pedals.throttlePct;
    lap.brakePct = t.pedals.brakePct;
    lap.coastPct = t.pedals.coastPct;
    fillSectors(lap, t, time);
    lap.invalid = invalidBits(t, s);
    lap.fuelStartL = t.start.fuel;
    lap.tyreLaps = t.tyreLaps;
    lap.compound = t.start.compound;
    lap.wetness = t.lapWetness;
    lap.brakeBias = t.start.brakeBias;
    lap.tcLevel = t.start.tcLevel;
    lap.absLevel = t.start.absLevel;
    lap.outLap = t.start.onPitRoad || t.pitExited;
    lap.inLap = t.pitEntered || s.onPitRoad;
    if (!t.traffic.noData) {
        lap.trafficSec = t.traffic.seconds;
        lap.trafficWorstPct = t.traffic.worstPct;
    }
    return lap;
}

/// The sim's own time, when it came in time and is near enough to the one that was measured.
bool officialTime(const TrackerState& t, double now, double measured, float& time) {
    const double age = now - t.lastLapTimeAt;
    const bool fits = age >= 0 && age <= kOfficialWait && t.lastLapTime > 0 &&
                      std::abs(static_cast<double>(t.lastLapTime) - measured) <= kOfficialOff;
    if (fits) time = t.lastLapTime;
    return fits;
}

void keepBeyond(TrackerState& t, const LapRecord& lap) {
    if (lap.invalid != 0) return;
    if (t.bestBeyond == 0 || lap.lapTime < t.bestBeyond) t.bestBeyond = lap.lapTime;
    t.worstBeyond = std::max(t.worstBeyond, lap.lapTime);
}

void keepLap(TrackerState& t, LapRecord&& lap, bool official, float seenTime) {
    if (t.laps.size() < kMaxLaps) {
        t.late = {!official, t.laps.size(), lap.lapTime, seenTime};
        closeTrace(t, lap);
        t.laps.push_back(lap);
    } else {
        t.late = {};
        keepBeyond(t, lap);
    }
    recomputeSummary(t);
    const bool best = lap.invalid == 0 && lap.lapTime <= t.summary.bestLapTime + kBestSlack;
    if (!best) return;
    t.bestBins = t.bins;
    t.bestCorners = t.corners;
}

} // namespace

bool lapHasItsBins(const TrackerState& t) {
    return t.coarseFilled >= kBinsNeeded;
}

void recomputeSummary(TrackerState& t) {
    SessionSummary& sum = t.summary;
    sum = {};
    summariseLapTimes(t.laps, sum);
    if (t.bestBeyond > 0 && (sum.bestLapTime == 0 || t.bestBeyond < sum.bestLapTime))
        sum.bestLapTime = t.bestBeyond;
    sum.worstLapTime = std::max(sum.worstLapTime, t.worstBeyond);
    sum.topSpeed = t.topSpeed;
    if (t.transition.count > 0)
        sum.avgTransition = static_cast<float>(t.transition.sum / t.transition.count);
    int valid = 0;
    for (const LapRecord& lap : t.laps) {
        if (lap.invalid != 0) continue;
        const float weight = 1.0f / static_cast<float>(++valid);
        sum.avgSpeed += (lap.avgSpeed - sum.avgSpeed) * weight;
        sum.throttlePct += (lap.throttlePct - sum.throttlePct) * weight;
        sum.brakePct += (lap.brakePct - sum.brakePct) * weight;
        sum.coastPct += (lap.coastPct - sum.coastPct) * weight;
    }
}

void beginLap(TrackerState& t, const PerfSample& s) {
    t.start = {s.sessionTime, s.fuel,      s.brakeBias, s.tcLevel,
               s.absLevel,    s.incidents, s.compound,  s.onPitRoad};
    t.furled = t.pitEntered = t.pitExited = false;
    t.lapAirSum = t.lapTrackSum = t.speedSum = 0;
    t.lapTicks = 0;
    t.lapWetness = -1;
    t.lapTopSpeed = t.maxLatG = t.maxBrakeG = t.maxAccelG = 0;
    t.traffic = {.close = t.traffic.close, .previousGap = t.traffic.previousGap};
    t.pedals = {};
    t.bins.assign(kBestTraceBins, {});
    t.coarseFilled = 0;
    t.corners.clear();
    t.corner = {};
    t.sector = {};
    t.sector.entry = s.sessionTime;
    // A lap may begin anywhere: on the first tick, or after a jump.
    if (s.lapPct < 0.5f) t.sector.index = sectorAt(s, s.lapPct);
    beginTrace(t);
}

void closeLap(TrackerState& t, const PerfSample& s) {
    const double measured = s.sessionTime - t.start.time;
    if (measured > kShortestLap && lapHasItsBins(t)) {
        auto time = static_cast<float>(measured);
        const bool official = officialTime(t, s.sessionTime, measured, time);
        ++t.closedLaps;
        keepLap(t, recordOf(t, s, time), official, t.lastLapTime);
        if (t.tyreLaps >= 0) ++t.tyreLaps;
    }
    beginLap(t, s);
}

void takeLateTime(TrackerState& t, const PerfSample& s) {
    LateTime& late = t.late;
    if (!late.waiting || !(s.lastLapTime > 0) || s.lastLapTime == late.seenAtClose) return;
    const float off = std::abs(s.lastLapTime - late.provisional);
    if (s.lap != t.previousLap) {
        const auto ending = static_cast<float>(s.sessionTime - t.start.time);
        if (std::abs(s.lastLapTime - ending) < off) return;
    }
    late.waiting = false;
    if (off > static_cast<float>(kOfficialOff)) return;
    t.laps[late.lap].lapTime = s.lastLapTime;
    t.traces[late.lap].lapTime = s.lastLapTime;
    recomputeSummary(t);
}

} // namespace vt
