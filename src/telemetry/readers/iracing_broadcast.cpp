#include "telemetry/readers/iracing_broadcast.h"

#include "platform/broadcast.h"
#include "telemetry/sim_registry.h"

namespace vt {

bool irBroadcast(uint16_t command, uint16_t var1, int32_t var2) {
    const uint64_t wParam = static_cast<uint64_t>(var1) << 16 | command;
    return sendBroadcast("IRSDK_BROADCASTMSG", {.wParam = wParam, .lParam = var2});
}

bool irOrderTelemetry(IrTelemetryOrder& order, const SimFrame& frame, bool demo, bool wanted) {
    constexpr uint16_t kTelemetryCommand = 10, kStart = 1;
    if (demo) return false;
    if (!frame.connected || frame.simKind != kSimIRacing) {
        order.decided = false;
        return false;
    }
    if (order.decided) return false;
    order.decided = true;
    if (wanted) irBroadcast(kTelemetryCommand, kStart, 0);
    return wanted;
}

} // namespace vt
