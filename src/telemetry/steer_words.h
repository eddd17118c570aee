// From a steering input between -1 and 1 to a wheel angle, for sims that do not tell how far the
// wheel turns.
#pragma once
#include "telemetry/sim_frame.h"

#include <atomic>
#include <cstdint>

namespace vt {

/// Below this a rotation counts as unknown; degrees from lock to lock.
inline constexpr int32_t kSteerRotationMin = 180;
inline constexpr int32_t kSteerRotationMax = 1440;

struct SteerWords {
    std::atomic<int32_t> steerRotationDeg{0}; // main -> pump: the present car's; 0 = unknown
    std::atomic<int32_t> steerRawX10000{0};   // pump -> main: last input x 10000, -15000..15000
};

/// Sets `steerAngle`, `steerLock` and `steerAngleOk` from `input` (positive to the right), and
/// stores the input for whoever measures the wheel. Pump's thread.
void steerApply(SteerWords& words, SimFrame& frame, float input);

} // namespace vt
