// How many laps are left in a race that is limited by time? The leader finishes the lap that he is
// on when time runs out, and so does everybody else. Pump's thread.
#pragma once
#include "app/gap_rings.h"
#include "app/lap_sampler.h"
#include "telemetry/sim_frame.h"

#include <array>
#include <cstdint>

namespace vt {

struct LapsEstimate {
    std::array<LapSampler, kTrackedCars> cars;
    LapSampler player;
    int32_t simKind = -1;
    int32_t sessionNum = -1;
    char sessionName[24] = "";
    double timeRemain = 0;
    uint8_t timeSeen = 0; // time left has been above 0
};

void resetLapsEstimate(LapsEstimate& state);

/// Fills `lapsEstimate` and `lapsEstimateIsExact`. `tellsLeader`: the sim tells of the other cars;
/// `stage`: one car against the clock, there are no laps to count.
void lapsEstimateTick(LapsEstimate& state, SimFrame& frame, bool tellsLeader, bool stage);

} // namespace vt
