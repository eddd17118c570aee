// From copies of rFactor 2's records to a frame.
#pragma once
#include "telemetry/readers/rf2_layout.h"
#include "telemetry/readers/vehicle_frame.h"
#include "telemetry/sim_frame.h"

namespace vt {

/// The scored record of the player; null when there is none.
const VehicleScoring* rf2Player(const Rf2Scoring& scoring);

/// `scoring` and `car`, the player's telemetry, are private copies; nothing in them is believed.
void fillRf2Frame(SimFrame& out, const Rf2Scoring& scoring, const VehicleTelemetry& car,
                  VehicleMemory& memory);

} // namespace vt
