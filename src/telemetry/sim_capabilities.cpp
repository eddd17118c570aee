#include "telemetry/sim_capabilities.h"

namespace vt {

std::array<std::atomic<uint32_t>, kSimCount> simLiveCapabilities{};

namespace {

constexpr uint32_t kCapabilities[kSimCount] = {
    0xAFDFFFFF, // iRacing
    0xEA3FBDFF, // Le Mans Ultimate
    0x081F79FF, // AMS2
    0x6A2FBDF8, // ACC; the other cars come and go with its broadcast connection
    0xEA0FF1FA, // AC EVO
    0x280FB1F8, // AC
    0x7A0FB478, // AC Rally
    0x00076000, // ETS2
    0x00012000, // BeamNG
    0x08031018, // F1
    0x98012000, // DiRT Rally 2.0
    0x90012000, // EA Sports WRC
    0x683F3DFF, // rFactor 2
    0x083F21FD, // RaceRoom
};

} // namespace

uint32_t simCapabilities(int sim) {
    return sim >= 0 && sim < kSimCount ? kCapabilities[sim] : 0;
}

bool simOffers(int sim, uint32_t bits) {
    if (bits == 0) return true;
    if (sim < 0 || sim >= kSimCount) return false;
    const uint32_t live =
        simLiveCapabilities[static_cast<size_t>(sim)].load(std::memory_order_relaxed);
    return ((kCapabilities[sim] | live) & bits) == bits;
}

} // namespace vt
