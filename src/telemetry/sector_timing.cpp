#include "telemetry/sector_timing.h"

#include <algorithm>

namespace vt {

namespace {

void enterSector(SectorTiming& timing, int32_t sector, bool partial, double at) {
    timing.sector = sector;
    timing.partial = partial;
    timing.enteredAt = at;
}

void finishSector(SectorTiming& timing, double at) {
    const auto t = static_cast<float>(at - timing.enteredAt);
    if (!(t > 0.5f) || timing.partial) return;
    timing.lastTime = t;
    timing.lastSector = timing.sector;
    if (timing.sector >= kTimedSectors) return;
    float& best = timing.best[timing.sector];
    float& last = timing.last[timing.sector];
    timing.prevTime = last;
    last = t;
    if (!(best > 0) || best > t) best = t;
}

} // namespace

int32_t sectorAt(const std::vector<float>& starts, float pct) {
    int32_t sector = 0;
    for (size_t i = 0; i < starts.size(); ++i)
        if (pct >= starts[i]) sector = static_cast<int32_t>(i);
    return sector;
}

double maxLapStep(double seconds, float trackLength) {
    if (!(trackLength > 1) || !(seconds >= 0.005) || seconds >= 5) return 1;
    return std::max(0.002, seconds * 166.5 / static_cast<double>(trackLength));
}

void timeSectors(SectorTiming& timing, const std::vector<float>& starts, float pct, double now,
                 double maxStep, bool interrupted, double enteredAgo) {
    const int32_t sector = sectorAt(starts, pct);
    float step = pct - timing.prevPct;
    if (step < -0.5f) step += 1;
    const bool jumped = step < -0.003f || static_cast<double>(step) > maxStep;
    timing.prevPct = pct;
    if (interrupted || jumped) {
        timing.sector = -1;
        timing.partial = 1;
    }
    if (timing.sector < 0) {
        enterSector(timing, sector, true, now);
    } else if (sector != timing.sector) {
        finishSector(timing, now - enteredAgo);
        enterSector(timing, sector, false, now - enteredAgo);
    }
}

void fillSectorTimes(CarRow& row, const SectorTiming& timing) {
    const int32_t last = timing.lastSector;
    row.lastSectorTime = timing.lastTime;
    row.bestSectorTime = last >= 0 && last < kTimedSectors ? timing.best[last] : 0;
    row.prevSectorTime = timing.prevTime;
    row.lastSectorIdx = last;
}

} // namespace vt
