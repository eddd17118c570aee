#include "app/lap_sampler.h"

#include <algorithm>

namespace vt {

namespace {

constexpr int32_t kSettleTicks = 90;
constexpr float kSlowLap = 1.07f; // of the best
constexpr float kLeastHint = 5.0f;
constexpr int kNewest = 3;

void add(LapSampler& sampler, float lapTime) {
    const auto size = static_cast<int32_t>(sampler.laps.size());
    sampler.laps[static_cast<size_t>(sampler.next)] = lapTime;
    sampler.next = (sampler.next + 1) % size;
    sampler.count = std::min(sampler.count + 1, size);
}

void countedTick(LapSampler& sampler, float lapTime, int32_t lap, bool inPit) {
    if (lap > sampler.prevLap) {
        // The lap before last never settled: what stands there now is its time.
        if (sampler.waiting && sampler.accept && lapTime > 0) add(sampler, lapTime);
        sampler.atChange = lapTime;
        sampler.waiting = 1;
        sampler.sameTicks = 0;
        sampler.accept = !sampler.dirty && !sampler.stale;
        sampler.dirty = inPit;
    } else if (lap < sampler.prevLap) {
        sampler.waiting = 0;
    }
    if (!sampler.waiting || !(lapTime > 0)) return;
    if (lapTime == sampler.atChange && ++sampler.sameTicks < kSettleTicks) return;
    if (sampler.accept) add(sampler, lapTime);
    sampler.stale = 0;
    sampler.waiting = 0;
}

void uncountedTick(LapSampler& sampler, float lapTime, bool inPit) {
    if (!(lapTime > 0) || lapTime == sampler.prevTime) return;
    if (!sampler.dirty && !sampler.stale) add(sampler, lapTime);
    sampler.stale = 0;
    sampler.dirty = inPit;
}

} // namespace

void samplerTick(LapSampler& sampler, float lapTime, int32_t lap, bool inPit) {
    if (!sampler.seeded) {
        sampler.seeded = 1;
        sampler.dirty = inPit;
        sampler.stale = !(lapTime > 0);
    } else {
        if (inPit) sampler.dirty = 1;
        if (lap >= 0 && sampler.prevLap >= 0)
            countedTick(sampler, lapTime, lap, inPit);
        else
            uncountedTick(sampler, lapTime, inPit);
    }
    sampler.prevTime = lapTime;
    sampler.prevLap = lap;
}

float samplerEstimate(const LapSampler& sampler, float bestHint) {
    if (sampler.count == 0) return 0;
    float best = *std::min_element(sampler.laps.begin(), sampler.laps.begin() + sampler.count);
    if (bestHint >= kLeastHint) best = std::min(best, bestHint);
    const float limit = best * kSlowLap;
    const auto size = static_cast<int32_t>(sampler.laps.size());
    float sum = 0;
    int taken = 0;
    for (int32_t age = 1; age <= sampler.count && taken < kNewest; ++age) {
        const float lap = sampler.laps[static_cast<size_t>((sampler.next - age + size) % size)];
        if (lap > limit) continue;
        sum += lap;
        ++taken;
    }
    return taken == 0 ? 0 : sum / static_cast<float>(taken);
}

} // namespace vt
