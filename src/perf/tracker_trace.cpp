// One bin a metre: channels, gaps, positions, and what happens along the track.
#include "base/log.h"
#include "perf/tracker_state.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kMinBins = 500;
constexpr float kLastPct = 0.999f;
constexpr int32_t kGapMax = 64;         // bins that a car may cross between two ticks
constexpr uint32_t kBinsPrepared = 256; // a tick, of the next lap
constexpr double kEarthRadius = 6378137;
constexpr double kRad = M_PI / 180;
constexpr int kOffTrack = 0, kToPits = 2, kOnTrack = 3;

bool hasFix(const PerfSample& s) {
    const bool finite = std::isfinite(s.latitude) && std::isfinite(s.longitude);
    return finite && (s.latitude != 0 || s.longitude != 0);
}

void placeByGps(PositionState& p, const PerfSample& s, BinValues& v) {
    if (!p.originSet) {
        p.originSet = p.gps = true;
        p.originLat = s.latitude;
        p.originLon = s.longitude;
    }
    v.x = static_cast<float>(std::cos(p.originLat * kRad) * (s.longitude - p.originLon) * kRad *
                             kEarthRadius);
    v.y = static_cast<float>((s.latitude - p.originLat) * kRad * kEarthRadius);
}

void placeByReckoning(PositionState& p, const PerfSample& s, BinValues& v) {
    if (!p.originSet) {
        p.originSet = true;
        p.originLat = p.originLon = kDeadReckonedOrigin;
    }
    const double dt = s.sessionTime - p.lastTime;
    if (p.lastTime >= 0 && dt > 0 && dt < 1) {
        // The sim's heading grows clockwise from north, its lateral velocity to the left.
        const double cosine = std::cos(s.yaw), sine = std::sin(s.yaw);
        p.x += (s.velX * sine - s.velY * cosine) * dt;
        p.y += (s.velX * cosine + s.velY * sine) * dt;
    }
    p.lastTime = s.sessionTime;
    v.x = static_cast<float>(p.x);
    v.y = static_cast<float>(p.y);
}

void place(TrackerState& t, const PerfSample& s, BinValues& v) {
    PositionState& p = t.position;
    if (hasFix(s) && (!p.originSet || p.gps)) {
        placeByGps(p, s, v);
    } else if (p.gps) {
        v.x = t.previousValues.x;
        v.y = t.previousValues.y;
    } else if (!p.lateralSeen && (s.velX != 0 || s.velY != 0 || s.yaw != 0)) {
        placeByReckoning(p, s, v);
    }
}

BinValues valuesOf(TrackerState& t, const PerfSample& s) {
    BinValues v;
    v.speed = s.speed;
    v.throttle = s.throttle;
    v.brake = s.brake;
    v.steer = s.steer;
    v.latG = s.latAccel / kGravity;
    v.longG = s.longAccel / kGravity;
    v.elapsed = static_cast<float>(s.sessionTime - t.start.time);
    v.rpm = s.rpm;
    v.gear = s.gear;
    v.yawRate = s.yawRate;
    v.latVelocity = s.latVelocity;
    v.absActive = s.absActive;
    v.lateral = s.lateralOk ? s.lateralM : 0;
    v.onTrack = s.trackSurface > 2;
    t.position.lateralSeen |= s.lateralOk;
    t.lapLateralSeen |= s.lateralOk;
    t.lapLateralMissing |= !s.lateralOk;
    place(t, s, v);
    return v;
}

void writeBin(TrackerState& t, size_t bin, const BinValues& v) {
    LapTrace& lap = t.trace;
    lap.speed[bin] = v.speed;
    lap.throttle[bin] = v.throttle;
    lap.brake[bin] = v.brake;
    lap.steer[bin] = v.steer;
    lap.latG[bin] = v.latG;
    lap.longG[bin] = v.longG;
    lap.elapsed[bin] = v.elapsed;
    lap.gear[bin] = static_cast<int8_t>(std::clamp(v.gear, -128, 127));
    lap.rpm[bin] = static_cast<uint16_t>(v.rpm > 0 ? std::min(v.rpm, 65535.0f) : 0.0f);
    lap.x[bin] = v.x;
    lap.y[bin] = v.y;
    lap.lateral[bin] = v.lateral;
    lap.yawRate[bin] = v.yawRate;
    lap.latVelocity[bin] = v.latVelocity;
    lap.absActive[bin] = v.absActive ? 1 : 0;
    lap.have[bin] = 1;
    t.traceOnTrack[bin] = v.onTrack ? 1 : 0;
}

/// `share` of the way from `a` to `b`; what counts in steps stays as it was at `a`.
BinValues between(const BinValues& a, const BinValues& b, float share) {
    constexpr float BinValues::*channels[] = {
        &BinValues::speed,      &BinValues::throttle, &BinValues::brake,   &BinValues::steer,
        &BinValues::latG,       &BinValues::longG,    &BinValues::elapsed, &BinValues::rpm,
        &BinValues::x,          &BinValues::y,        &BinValues::lateral, &BinValues::yawRate,
        &BinValues::latVelocity};
    BinValues v = a;
    for (float BinValues::*channel : channels)
        v.*channel = a.*channel + (b.*channel - a.*channel) * share;
    return v;
}

void fillGap(TrackerState& t, int32_t bin, const BinValues& now) {
    const int32_t from = t.previousBin, gap = bin - from;
    if (from < 0 || gap < 2 || gap > kGapMax) return;
    for (int32_t i = 1; i < gap; ++i)
        writeBin(t, static_cast<size_t>(from + i),
                 between(t.previousValues, now, static_cast<float>(i) / static_cast<float>(gap)));
}

void countKerbs(TrackEventGrid& grid, const PerfSample& s, size_t bin) {
    const auto on = [&s](size_t wheel) { return s.rumble[wheel] > 0 || s.wheelOnKerb[wheel]; };
    if (on(0) || on(2)) countEvent(grid.kerbL[bin]);
    if (on(1) || on(3)) countEvent(grid.kerbR[bin]);
}

void countOff(std::vector<uint16_t>& times, std::vector<float>& sum, std::vector<uint16_t>& n,
              const PerfSample& s, size_t bin) {
    countEvent(times[bin]);
    if (!s.lateralOk) return;
    sum[bin] += s.lateralM;
    countEvent(n[bin]);
}

void tickEvents(TrackerState& t, const PerfSample& s, size_t bin) {
    TrackEventGrid& grid = t.events;
    const int before = t.previousSurface, now = s.trackSurface;
    const bool pitBefore = t.previousEventPit;
    const bool furl = (s.sessionFlags & kFlagFurled) && !(t.previousEventFlags & kFlagFurled);
    t.previousSurface = now;
    t.previousEventPit = s.onPitRoad;
    t.previousEventFlags = s.sessionFlags;
    if (!t.eventsBegun) {
        t.eventsBegun = true;
        return;
    }
    const auto at = static_cast<int32_t>(bin);
    countKerbs(grid, s, bin);
    if (before == kOnTrack && now == kOffTrack)
        countOff(grid.offEnter, grid.offEnterLatSum, grid.offEnterLatN, s, bin);
    if (before == kOffTrack && now == kOnTrack)
        countOff(grid.offExit, grid.offExitLatSum, grid.offExitLatN, s, bin);
    if (before == kOnTrack && now == kToPits) grid.approachEnter = at;
    if (before == kToPits && now == kOnTrack) grid.approachExit = at;
    if (furl) countEvent(grid.furl[bin]);
    if (!pitBefore && s.onPitRoad) grid.conesEnter = at;
    if (pitBefore && !s.onPitRoad) grid.conesExit = at;
}

struct Filled {
    size_t first = 0, last = 0, count = 0;
};
Filled filledBins(const LapTrace& lap) {
    Filled f;
    for (size_t i = 0; i < lap.have.size(); ++i) {
        if (!lap.have[i]) continue;
        if (f.count++ == 0) f.first = i;
        f.last = i;
    }
    return f;
}

void removeDrift(std::vector<float>& values, const LapTrace& lap, const Filled& f) {
    if (f.count < 2) return;
    const float drift = values[f.last] - values[f.first];
    const auto span = static_cast<float>(f.last - f.first);
    for (size_t i = f.first; i <= f.last; ++i)
        if (lap.have[i]) values[i] -= static_cast<float>(i - f.first) / span * drift;
}

void centre(std::vector<float>& values, const LapTrace& lap, const Filled& f) {
    double sum = 0;
    for (size_t i = 0; i < values.size(); ++i)
        if (lap.have[i]) sum += values[i];
    const auto mean = static_cast<float>(f.count ? sum / static_cast<double>(f.count) : 0);
    for (size_t i = 0; i < values.size(); ++i)
        if (lap.have[i]) values[i] -= mean;
}

void holdElapsed(LapTrace& lap) {
    float highest = 0, worst = 0;
    int held = 0;
    for (size_t i = 0; i < lap.elapsed.size(); ++i) {
        if (!lap.have[i]) continue;
        if (lap.elapsed[i] < highest) {
            worst = std::max(worst, highest - lap.elapsed[i]);
            lap.elapsed[i] = highest;
            ++held;
        }
        highest = lap.elapsed[i];
    }
    if (held > 0)
        logStatus("trace: elapsed channel went backwards in %d bin(s), worst %.2fs, held to keep "
                  "the lap shareable\n",
                  held, static_cast<double>(worst));
}

void reserveTrace(LapTrace& lap, uint32_t bins) {
    for (auto* channel :
         {&lap.speed, &lap.throttle, &lap.brake, &lap.steer, &lap.latG, &lap.longG, &lap.elapsed,
          &lap.x, &lap.y, &lap.lateral, &lap.yawRate, &lap.latVelocity})
        channel->reserve(bins);
    lap.gear.reserve(bins);
    lap.rpm.reserve(bins);
    lap.absActive.reserve(bins);
    lap.have.reserve(bins);
}

void growTrace(LapTrace& lap, std::vector<uint8_t>& onTrack, uint32_t bins) {
    for (auto* channel :
         {&lap.speed, &lap.throttle, &lap.brake, &lap.steer, &lap.latG, &lap.longG, &lap.elapsed,
          &lap.x, &lap.y, &lap.lateral, &lap.yawRate, &lap.latVelocity})
        channel->resize(bins);
    lap.gear.resize(bins);
    lap.rpm.resize(bins);
    lap.absActive.resize(bins);
    lap.have.resize(bins);
    onTrack.resize(bins);
}

/// The next lap's buffers get their zeros a little each tick: at the line, where the lap under way
/// is worked up too, a long lap's would take longer than all the rest.
void prepareSpare(TrackerState& t) {
    if (t.spareTraces.empty()) return;
    LapTrace& lap = t.spareTraces.back();
    const size_t ready = lap.have.size();
    if (ready >= t.binCount) return;
    growTrace(lap, t.spareOnTrack.back(),
              std::min(t.binCount, static_cast<uint32_t>(ready) + kBinsPrepared));
}

/// The next lap's buffers, zeroed.
void takeSpare(TrackerState& t) {
    if (!t.spareTraces.empty()) {
        t.trace = std::move(t.spareTraces.back());
        t.traceOnTrack = std::move(t.spareOnTrack.back());
        t.spareTraces.pop_back();
        t.spareOnTrack.pop_back();
    }
    growTrace(t.trace, t.traceOnTrack, t.binCount);
}

} // namespace

void sizeTraces(TrackerState& t, float trackLength) {
    if (t.binCount != 0 || !(trackLength > 0)) return;
    t.binCount = static_cast<uint32_t>(
        std::clamp(std::trunc(trackLength), kMinBins, static_cast<float>(kMaxTraceBins)));
    sizeEventGrid(t.events, t.binCount);
    // Room for all laps that can be kept. Memory that nobody has written to costs address space
    // only.
    t.spareTraces.resize(kMaxLaps + 1); // and for the lap after the last of them
    t.spareOnTrack.resize(kMaxLaps + 1);
    for (LapTrace& spare : t.spareTraces)
        reserveTrace(spare, t.binCount);
    for (auto& spare : t.spareOnTrack)
        spare.reserve(t.binCount);
    takeSpare(t);
}

void beginTrace(TrackerState& t) {
    t.previousBin = -1;
    t.lapLateralSeen = t.lapLateralMissing = false;
    t.position.x = t.position.y = 0; // each reckoned lap counts from the line
    if (t.binCount == 0) return;
    if (t.trace.have.empty()) {
        takeSpare(t);
    } else { // the lap before was dropped
        sizeLapTrace(t.trace, t.binCount);
        t.traceOnTrack.assign(t.binCount, 0);
    }
}

void tickTrace(TrackerState& t, const PerfSample& s, bool lapOver) {
    sizeTraces(t, s.trackLength);
    if (t.binCount == 0) return;
    const float pct = s.lapPct > 0 ? std::min(s.lapPct, kLastPct) : 0.0f;
    const auto bin = std::min(static_cast<int32_t>(static_cast<float>(t.binCount) * pct),
                              static_cast<int32_t>(t.binCount) - 1);
    const BinValues now = valuesOf(t, s);
    if (!lapOver) {
        fillGap(t, bin, now);
        writeBin(t, static_cast<size_t>(bin), now);
        t.previousBin = bin;
        t.previousValues = now;
    }
    tickEvents(t, s, static_cast<size_t>(bin));
    if (!lapOver) prepareSpare(t);
}

void closeTrace(TrackerState& t, const LapRecord& record) {
    LapTrace& lap = t.trace;
    if (t.binCount == 0) lap = {};
    lap.lapTime = record.lapTime;
    lap.invalidSim = (record.invalid & kLapInvalidSim) != 0;
    lap.invalidIncident = (record.invalid & kLapInvalidIncident) != 0;
    lap.brakeBias = record.brakeBias > kNoLevel ? record.brakeBias : kUnknown;
    lap.fuelStart = record.fuelStartL >= 0 ? record.fuelStartL : kUnknown;
    if (t.binCount > 0) {
        const Filled filled = filledBins(lap);
        if (!t.position.gps) {
            removeDrift(lap.x, lap, filled);
            removeDrift(lap.y, lap, filled);
        }
        lap.hasLateral = t.lapLateralSeen && !t.lapLateralMissing;
        if (lap.hasLateral) {
            removeDrift(lap.lateral, lap, filled);
            centre(lap.lateral, lap, filled);
        }
        holdElapsed(lap);
        lap.valid = filled.count >= t.binCount * 9 / 10;
    }
    t.traces.push_back(std::move(lap));
    t.onTrack.push_back(std::move(t.traceOnTrack));
    lap = {};
    t.traceOnTrack.clear();
}

} // namespace vt
