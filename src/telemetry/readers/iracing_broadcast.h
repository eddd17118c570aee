// Commands to iRacing: pit orders, telemetry logging, replay.
#pragma once
#include <cstdint>

namespace vt {

/// Sends one of the sim's broadcast messages. Any thread; touches no reader. False when nobody
/// listens, which is no failure.
bool irBroadcast(uint16_t command, uint16_t var1, int32_t var2);

} // namespace vt
