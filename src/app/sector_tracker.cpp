#include "app/sector_tracker.h"

#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kShortestSector = 0.5; // s

void clearResults(SimFrame& frame) {
    frame.sectorDeltaBest = frame.sectorDeltaLast = 0;
    frame.sectorDeltaBestOk = frame.sectorDeltaLastOk = 0;
}

bool sameStarts(const std::vector<float>& a, const std::vector<float>& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::abs(a[i] - b[i]) > 0.0001f) return false;
    return true;
}

/// Makes the table fit the frame's sim; false when the sim has no sectors.
bool fitTable(SectorTracker& tracker, const SimFrame& frame, bool offered) {
    if (tracker.kind != frame.simKind) {
        clearSectorTracker(tracker);
        tracker.kind = frame.simKind;
    }
    if (frame.simKind != kSimIRacing) {
        if (offered && tracker.sectors.empty()) tracker.sectors.resize(kNumberedSectors);
        return offered;
    }
    if (frame.sectorStarts.size() > kMostSectors) return false;
    if (!sameStarts(tracker.starts, frame.sectorStarts)) {
        tracker.starts = frame.sectorStarts;
        tracker.sectors.assign(tracker.starts.size(), SectorBest{});
        tracker.started = 0;
    }
    return !tracker.sectors.empty();
}

int sectorNow(const SectorTracker& tracker, const SimFrame& frame, float pct) {
    if (frame.simKind != kSimIRacing) return std::min(frame.currentSector, kNumberedSectors - 1);
    int sector = -1;
    for (size_t i = 0; i < tracker.starts.size(); ++i)
        if (tracker.starts[i] <= pct) sector = static_cast<int>(i);
    return sector;
}

/// How far into the sector, in bins.
float progressIn(const SectorTracker& tracker, int sector, float pct) {
    if (tracker.kind == kSimIRacing) {
        const auto at = static_cast<size_t>(sector);
        const float begin = tracker.starts[at];
        const float end = at + 1 < tracker.starts.size() ? tracker.starts[at + 1] : 1.0f;
        const float part = end > begin ? (pct - begin) / (end - begin) : 0.0f;
        return std::clamp(part, 0.0f, 1.0f) * 63.0f;
    }
    // Where the sector ends is not known here; no sector is longer than 0.7 of a lap.
    float distance = pct - tracker.startPct;
    if (distance < -0.5f) distance += 1.0f;
    return std::clamp(distance * 90.0f, 0.0f, 63.0f);
}

void beginSector(SectorTracker& tracker, const SimFrame& frame, int sector, float pct, double clock,
                 double now) {
    tracker.prevSector = sector;
    tracker.sectorStart = clock;
    tracker.startPct = pct;
    tracker.ok = frame.isOnTrack != 0;
    tracker.current.fill(0);
    restartPauseWatch(tracker.pause, pct, now);
}

void finishSector(SectorTracker& tracker, double clock) {
    const double duration = clock - tracker.sectorStart;
    const auto sector = static_cast<size_t>(tracker.prevSector);
    if (tracker.ok && duration > kShortestSector && sector < tracker.sectors.size())
        keepRun(tracker.sectors[sector], tracker.current, static_cast<float>(duration));
}

void giveDeltas(const SectorTracker& tracker, SimFrame& frame, float elapsed, float progress) {
    const SectorBest& sector = tracker.sectors[static_cast<size_t>(tracker.prevSector)];
    if (sector.hasBest) {
        frame.sectorDeltaBest = elapsed - profileAt(sector.bestProfile, progress);
        frame.sectorDeltaBestOk = tracker.ok;
    }
    if (sector.hasLast) {
        frame.sectorDeltaLast = elapsed - profileAt(sector.lastProfile, progress);
        frame.sectorDeltaLastOk = tracker.ok;
    }
}

void runTick(SectorTracker& tracker, SimFrame& frame, double now) {
    const float pct = std::clamp(frame.lapDistPct, 0.0f, 1.0f);
    const int sector = sectorNow(tracker, frame, pct);
    if (sector < 0) {
        tracker.started = 0;
        return;
    }
    const bool ownClock = frame.simKind == kSimIRacing;
    const double clock = ownClock ? frame.sessionTime : now;
    tracker.highestSector = std::max(tracker.highestSector, sector);

    const float before = tracker.prevPct;
    tracker.prevPct = pct;
    // A session's clock that runs backwards belongs to another session.
    if (!tracker.started || jumpedBack(before, pct) || clock < tracker.sectorStart) {
        beginSector(tracker, frame, sector, pct, clock, now);
        tracker.started = 1;
        return;
    }
    if (!frame.isOnTrack) tracker.ok = 0;
    if (sector != tracker.prevSector) {
        finishSector(tracker, clock);
        beginSector(tracker, frame, sector, pct, clock, now);
    }
    if (!ownClock && !holdWhilePaused(tracker.pause, tracker.sectorStart, pct, now)) tracker.ok = 0;

    const auto elapsed = static_cast<float>(clock - tracker.sectorStart);
    const float progress = progressIn(tracker, sector, pct);
    tracker.current[profileBin<kSectorBins>(progress)] = elapsed;
    giveDeltas(tracker, frame, elapsed, progress);
}

void giveOptimalLap(const SectorTracker& tracker, SimFrame& frame) {
    const auto table = static_cast<int>(tracker.sectors.size());
    const int count = tracker.kind == kSimIRacing ? table : tracker.highestSector + 1;
    if (count < 2 || count > table) return;
    float sum = 0;
    for (int i = 0; i < count; ++i) {
        const SectorBest& sector = tracker.sectors[static_cast<size_t>(i)];
        if (!sector.hasBest || !(sector.bestTime > 0)) return;
        sum += sector.bestTime;
    }
    frame.optimalLapTime = sum;
    frame.optimalLapTimeOk = 1;
}

} // namespace

void clearSectorTracker(SectorTracker& tracker) {
    tracker.starts.clear();
    tracker.sectors.clear();
    tracker.current.fill(0);
    tracker.kind = tracker.highestSector = tracker.prevSector = -1;
    tracker.sectorStart = 0;
    tracker.startPct = tracker.prevPct = 0;
    tracker.ok = tracker.started = 0;
    tracker.pause = {};
}

void sectorTick(SectorTracker& tracker, SimFrame& frame, double now, bool offered) {
    clearResults(frame);
    frame.optimalLapTime = 0;
    frame.optimalLapTimeOk = 0;
    if (!frame.connected) {
        clearSectorTracker(tracker);
        return;
    }
    if (!fitTable(tracker, frame, offered)) {
        tracker.started = 0;
        return;
    }
    runTick(tracker, frame, now);
    giveOptimalLap(tracker, frame);
}

} // namespace vt
