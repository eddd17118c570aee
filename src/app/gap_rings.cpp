#include "app/gap_rings.h"

#include "base/lap.h"
#include "base/stats.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

constexpr float kLastPct = 0.999999f;
constexpr double kLongestStep = 5.0;   // s between two samples of one car
constexpr double kFarthestStep = 0.25; // of a lap
constexpr double kOldestCrossing = 1800.0;

bool sameText(const char* a, const char* b, size_t capacity) {
    return std::strncmp(a, b, capacity) == 0;
}

void startOverWhenChanged(GapRings& state, const SimFrame& frame) {
    const bool same = state.simKind == frame.simKind &&
                      sameText(state.trackName, frame.trackName, sizeof state.trackName) &&
                      sameText(state.sessionName, frame.sessionName, sizeof state.sessionName) &&
                      frame.sessionTime >= state.sessionTime - 1.0;
    if (!same) {
        resetRings(state);
        state.simKind = frame.simKind;
        std::memcpy(state.trackName, frame.trackName, sizeof state.trackName);
        std::memcpy(state.sessionName, frame.sessionName, sizeof state.sessionName);
    }
    state.sessionTime = frame.sessionTime;
}

GapRing* ringFor(GapRings& state, int32_t carIdx) {
    if (carIdx < 0 || carIdx >= kTrackedCars) return nullptr;
    int16_t& place = state.place[static_cast<size_t>(carIdx)];
    if (place < 0) {
        place = static_cast<int16_t>(state.rings.size());
        GapRing& made = state.rings.emplace_back();
        made.carIdx = carIdx;
        made.bins.fill(-1);
    }
    return &state.rings[static_cast<size_t>(place)];
}

void enterCrossings(GapRing& ring, double dt, double distance) {
    const double from = static_cast<double>(ring.prevPct);
    const auto first = static_cast<int>(std::floor(from * kGapBins)) + 1;
    const auto last = static_cast<int>(std::floor((from + distance) * kGapBins));
    for (int boundary = first; boundary <= last; ++boundary) {
        const double time =
            ring.prevTime + (boundary / static_cast<double>(kGapBins) - from) * dt / distance;
        double& slot = ring.bins[static_cast<size_t>(boundary % kGapBins)];
        const double lap = time - slot;
        if (slot >= 0 && lap > 10.0 && lap < 1800.0) ring.lapEstimate = static_cast<float>(lap);
        slot = time;
    }
}

void enterSample(GapRing& ring, float lapDistPct, double now) {
    if (lapDistPct < 0) {
        ring.hasPrev = 0;
        return;
    }
    const float pct = std::min(lapDistPct, kLastPct);
    if (ring.hasPrev) {
        const double dt = now - ring.prevTime;
        if (!(dt > 0)) return;
        double distance = static_cast<double>(pct) - static_cast<double>(ring.prevPct);
        if (distance < -0.5) distance += 1.0;
        if (dt <= kLongestStep && distance >= 0 && distance <= kFarthestStep)
            enterCrossings(ring, dt, distance);
    }
    ring.prevPct = pct;
    ring.prevTime = now;
    ring.hasPrev = 1;
}

float plausibleLap(float best, float last) {
    for (const float time : {best, last})
        if (time > 0 && time < 900) return time;
    return 0;
}

/// Gap by rings, signed, or no answer.
bool ringGap(const GapRings& state, const CarRow& player, const CarRow& other, double now,
             float refLap, double delta, float& gap) {
    const GapRing* theirs = findRing(state, other.carIdx);
    const GapRing* mine = findRing(state, player.carIdx);
    if (!theirs || !mine || player.lapDistPct < 0) return false;
    const bool ahead = delta >= 0;
    const GapRing& asked = ahead ? *theirs : *mine;
    const double pos = static_cast<double>(ahead ? player.lapDistPct : other.lapDistPct);
    const double limit = asked.lapEstimate > 1 ? 2.0 * static_cast<double>(asked.lapEstimate)
                         : refLap > 1          ? 2.0 * static_cast<double>(refLap)
                                               : kOldestCrossing;
    const double age = ringAge(asked, pos, now, limit);
    if (age < 0) return false;
    gap = static_cast<float>(ahead ? age : -age);
    return true;
}

} // namespace

GapRings::GapRings() {
    rings.reserve(64);
    scratch.reserve(64);
    place.fill(-1);
}

void resetRings(GapRings& state) {
    state.rings.clear();
    state.place.fill(-1);
    state.simKind = -1;
    state.trackName[0] = 0;
    state.sessionName[0] = 0;
    state.sessionTime = 0;
}

const GapRing* findRing(const GapRings& state, int32_t carIdx) {
    if (carIdx < 0 || carIdx >= kTrackedCars) return nullptr;
    const int16_t place = state.place[static_cast<size_t>(carIdx)];
    return place < 0 ? nullptr : &state.rings[static_cast<size_t>(place)];
}

void updateRings(GapRings& state, SimFrame& frame) {
    startOverWhenChanged(state, frame);
    for (CarRow& row : frame.cars) {
        GapRing* ring = ringFor(state, row.carIdx);
        row.lapEstimate = 0;
        if (!ring) continue;
        enterSample(*ring, row.lapDistPct, frame.sessionTime);
        row.lapEstimate = ring->lapEstimate;
    }
}

void clearRingFigures(SimFrame& frame) {
    for (CarRow& row : frame.cars) {
        row.lapEstimate = 0;
        row.gapFromRings = 0;
    }
}

double ringAge(const GapRing& ring, double pos, double now, double limit) {
    const double scaled = pos * kGapBins;
    const bool inside = pos < 1.0;
    const auto bin = inside ? static_cast<size_t>(std::max(scaled, 0.0)) : size_t(kGapBins - 1);
    const double crossed = ring.bins[bin];
    if (crossed < 0) return -1;
    const double part = std::clamp(scaled - static_cast<double>(bin), 0.0, 1.0);
    const double next = ring.bins[(bin + 1) % kGapBins];
    const double before = ring.bins[(bin + kGapBins - 1) % kGapBins];
    double time = crossed;
    if (next >= crossed)
        time += part * (next - crossed);
    else if (before >= 0 && before <= crossed) // the car is in this bin: at the pace of the last
        time += part * (crossed - before);
    const double age = std::max(now - time, 0.0);
    return age > limit ? -1 : age;
}

float referenceLap(const SimFrame& frame, std::vector<float>& scratch) {
    const CarRow* player = playerRow(frame);
    const float own = player ? plausibleLap(player->bestLapTime, player->lastLapTime)
                             : plausibleLap(frame.bestLapTime, frame.lastLapTime);
    if (own > 0) return own;
    scratch.clear();
    float largest = 0;
    for (const CarRow& row : frame.cars) {
        largest = std::max(largest, row.estTime);
        if (&row == player) continue;
        const float lap = plausibleLap(row.bestLapTime, row.lastLapTime);
        if (lap > 0) scratch.push_back(lap);
    }
    return scratch.empty() ? largest : medianInPlace(scratch.data(), scratch.size());
}

void computeGaps(const GapRings& state, SimFrame& frame, float refLap, bool useRings) {
    const CarRow* player = playerRow(frame);
    for (CarRow& row : frame.cars) {
        row.gapToPlayer = 0;
        row.gapFromRings = 0;
        if (!player || &row == player || row.lapDistPct < 0) continue;
        const double delta = wrapHalfLap(static_cast<double>(row.lapDistPct) -
                                         static_cast<double>(player->lapDistPct));
        if (useRings &&
            ringGap(state, *player, row, frame.sessionTime, refLap, delta, row.gapToPlayer))
            row.gapFromRings = 1;
        else if (refLap > 1)
            row.gapToPlayer = wrapLapTime(row.estTime - player->estTime, refLap);
    }
}

} // namespace vt
