// A datagram of EA Sports WRC, or the game's file of names.
#include "telemetry/readers/ea_wrc_frame.h"

#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const vt::EaWrcIds ids = vt::parseEaWrcIds({reinterpret_cast<const char*>(data), size});
    if (!vt::validEaWrc({data, size})) return 0;
    vt::SimFrame frame;
    vt::MapFrame mapFrame;
    vt::SteerWords steer;
    vt::fillEaWrcFrame(frame, {data, size}, mapFrame, ids, steer);
    if (!(frame.speed >= 0 && frame.speed <= 200) || frame.gear < -1 || frame.gear > 255 ||
        !(frame.lapDistPct >= 0 && frame.lapDistPct <= 1) || !std::isfinite(frame.trackLength) ||
        !std::isfinite(frame.currentLapTime) || !std::isfinite(frame.shiftRpm))
        std::abort();
    return 0;
}
