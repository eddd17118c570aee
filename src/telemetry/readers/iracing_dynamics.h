// Slip angle and balance of the player's car, estimated from body velocity, yaw and steering.
#pragma once
#include "telemetry/readers/iracing_vars.h"
#include "telemetry/sim_frame.h"

namespace vt {

/// What the estimate remembers from one sample to the next.
struct IrDynamics {
    bool valid = false;
    double sessionTime = 0;
    float slipAngle = 0;
    float latVelocity = 0;
    float turnGain = 0; // learned: yaw rate per steering angle and speed
    int32_t turnGainSamples = 0;
    bool turnGainReady = false; // stays so across sessions and cars of one attachment
};

/// Fills the slip fields. `frame` already holds the sample's speed, pedals, steering, yaw rate and
/// session time. Without body velocities the memory turns invalid and the fields keep their
/// defaults.
void fillDynamics(SimFrame& frame, const IrSample& sample, IrDynamics& memory);

} // namespace vt
