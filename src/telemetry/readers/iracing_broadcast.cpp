#include "telemetry/readers/iracing_broadcast.h"

#include "platform/broadcast.h"

namespace vt {

bool irBroadcast(uint16_t command, uint16_t var1, int32_t var2) {
    const uint64_t wParam = static_cast<uint64_t>(var1) << 16 | command;
    return sendBroadcast("IRSDK_BROADCASTMSG", {.wParam = wParam, .lParam = var2});
}

} // namespace vt
