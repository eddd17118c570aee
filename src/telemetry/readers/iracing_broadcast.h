// Commands to iRacing: pit orders, telemetry logging, replay.
#pragma once
#include "telemetry/sim_frame.h"

#include <cstdint>

namespace vt {

/// Sends one of the sim's broadcast messages. Any thread; touches no reader. False when nobody
/// listens, which is no failure.
bool irBroadcast(uint16_t command, uint16_t var1, int32_t var2);

/// The order to write a telemetry file goes out once per connection, with its first frame.
struct IrTelemetryOrder {
    bool decided = false;
};
/// One step a frame; `demo`: the frames are made up. True when the order was given.
bool irOrderTelemetry(IrTelemetryOrder& order, const SimFrame& frame, bool demo, bool wanted);

} // namespace vt
