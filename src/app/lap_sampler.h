// How long does this car take for a lap just now? Collects finished laps that saw no pit road. Many
// sims raise the lap counter some ticks before the time of the lap just ended: a new lap therefore
// waits until its time has settled. Pump's thread.
#pragma once
#include <array>
#include <cstdint>

namespace vt {

struct LapSampler {
    std::array<float, 5> laps{}; // ring of accepted lap times
    int32_t count = 0;
    int32_t next = 0;
    float prevTime = 0;
    int32_t prevLap = -1;
    uint8_t seeded = 0;  // first call done
    uint8_t dirty = 0;   // the running lap saw pit road
    uint8_t stale = 0;   // the value at hand is not from a finished lap
    uint8_t waiting = 0; // a new lap began, its time has not settled yet
    uint8_t accept = 0;  // the lap that just ended may be kept
    int32_t sameTicks = 0;
    float atChange = 0; // the time at the lap change
};

/// Once a tick. `lapTime` is the last lap's; `lap` below 0: the sim does not count laps.
void samplerTick(LapSampler& sampler, float lapTime, int32_t lap, bool inPit);

/// Mean of the newest laps without the slow ones; `bestHint` is a known best lap. 0 when there is
/// nothing to tell from.
float samplerEstimate(const LapSampler& sampler, float bestHint);

} // namespace vt
