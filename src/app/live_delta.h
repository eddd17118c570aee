// The running lap against the best and the last lap driven since the sim was found, for sims with a
// precise position on the lap. Pump's thread.
#pragma once
#include "app/run_profile.h"
#include "telemetry/sim_frame.h"

#include <cstdint>

namespace vt {

inline constexpr size_t kLapBins = 256;

struct LiveDeltaTracker {
    RunProfile<kLapBins> current{};
    BestAndLastRun<kLapBins> runs;
    float prevPct = -1;
    int32_t kind = -1;
    double lapStart = 0;
    uint8_t ok = 0;
    uint8_t started = 0; // a lap is being timed, from a crossing of the line on
    PauseWatch pause;
};

void clearLiveDelta(LiveDeltaTracker& tracker);

/// Fills the `liveDelta` fields. `offered`: the sim's position is precise enough. `now` is a
/// monotonic clock in seconds.
void liveDeltaTick(LiveDeltaTracker& tracker, SimFrame& frame, double now, bool offered);

} // namespace vt
