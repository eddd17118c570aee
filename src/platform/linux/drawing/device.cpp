#include "platform/canvas.h"

#include <atomic>

namespace vt {

namespace {

// Written on the main thread, read by any.
std::atomic<int> generation{1};
// Raised by any thread, cleared on the main thread.
std::atomic<bool> lost{false};

} // namespace

bool isDeviceLost(uint32_t code) {
    switch (code) {
    case 0x8899000C: // the target must be made again
    case 0x887A0020: // internal error of the driver
    case 0x887A0005: // removed
    case 0x887A0006: // hung
    case 0x887A0007: // reset
        return true;
    default:
        return false;
    }
}

int deviceGeneration() {
    return generation.load(std::memory_order_acquire);
}

bool deviceLost() {
    return lost.load(std::memory_order_acquire);
}

void raiseDeviceLost() {
    lost.store(true, std::memory_order_release);
}

bool remakeDevice() {
    lost.store(false, std::memory_order_release);
    generation.fetch_add(1, std::memory_order_acq_rel);
    return true;
}

} // namespace vt
