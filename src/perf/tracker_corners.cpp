// Corners and sectors of the running lap, as they are felt and timed.
#include "perf/tracker_state.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kTurnInG = 3.0f, kTurnInSteer = 0.087f; // m/s², rad
constexpr float kTurnOutG = 2.0f, kTurnOutSteer = 0.052f;
constexpr double kTurnInTime = 0.33, kTurnOutTime = 0.5; // s
constexpr double kLineTime = 2; // s after the lap's start in which a place before the line is late

void beginCorner(CornerState& c, const PerfSample& s) {
    const float speed = s.speed * kMphPerMs;
    c = {};
    c.inside = true;
    c.corner.entryPct = s.lapPct;
    c.corner.minSpeed = c.corner.maxSpeed = speed;
    c.corner.peakLatG = std::abs(s.latAccel) / kGravity;
}

void insideCorner(CornerState& c, const PerfSample& s) {
    const float speed = s.speed * kMphPerMs;
    c.corner.minSpeed = std::min(c.corner.minSpeed, speed);
    c.corner.maxSpeed = std::max(c.corner.maxSpeed, speed);
    c.corner.peakLatG = std::max(c.corner.peakLatG, std::abs(s.latAccel) / kGravity);
    c.speedSum += static_cast<double>(speed);
    ++c.corner.samples;
}

void endCorner(TrackerState& t, const PerfSample& s) {
    CornerRecord corner = t.corner.corner;
    corner.exitPct = s.lapPct;
    if (corner.samples > 0)
        corner.avgSpeed = static_cast<float>(t.corner.speedSum / corner.samples);
    corner.sector = sectorAt(s, corner.entryPct);
    if (t.corners.size() < kMaxCorners) t.corners.push_back(corner);
    t.corner = {};
}

void seeSpeed(SectorSpeeds& sector, float mph) {
    sector.minMph = sector.samples == 0 ? mph : std::min(sector.minMph, mph);
    sector.maxMph = std::max(sector.maxMph, mph);
    ++sector.samples;
    sector.meanMph += (mph - sector.meanMph) / static_cast<float>(sector.samples);
}

} // namespace

int sectorAt(const PerfSample& s, float pct) {
    int sector = 0;
    for (int i = 0; i < s.sectorCount && i < kMaxSectors; ++i)
        if (s.sectorStarts[static_cast<size_t>(i)] <= pct) sector = i;
    return sector;
}

void tickCorner(TrackerState& t, const PerfSample& s, double dt) {
    CornerState& c = t.corner;
    const float g = std::abs(s.latAccel), steer = std::abs(s.steer);
    if (!c.inside) {
        c.timer = g > kTurnInG && steer > kTurnInSteer ? c.timer + dt : 0;
        if (c.timer >= kTurnInTime) beginCorner(c, s);
        return;
    }
    insideCorner(c, s);
    c.timer = g < kTurnOutG && steer < kTurnOutSteer ? c.timer + dt : 0;
    if (c.timer >= kTurnOutTime) endCorner(t, s);
}

void tickSector(TrackerState& t, const PerfSample& s) {
    t.sectorCount = s.sectorCount;
    if (s.sectorCount <= 0) return;
    // The lap counter may rise a few ticks before the place wraps: still the end of the old lap.
    if (s.lapPct > 0.5f && s.sessionTime - t.start.time < kLineTime) return;
    const int now = sectorAt(s, s.lapPct);
    SectorState& sector = t.sector;
    seeSpeed(t.sectorSpeeds[static_cast<size_t>(now)], s.speed * kMphPerMs);
    if (now == sector.index) return;
    const bool next = now == sector.index + 1 || (now == 0 && sector.index == s.sectorCount - 1);
    const auto time = static_cast<float>(s.sessionTime - sector.entry);
    if (next && time > 0) sector.times[static_cast<size_t>(sector.index)] = time;
    sector.index = now;
    sector.entry = s.sessionTime;
}

} // namespace vt
