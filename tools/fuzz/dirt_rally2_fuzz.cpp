// Datagrams of DiRT Rally 2.0: the input is cut into packets of 264 bytes and a rest, so that what
// is learned from one to the next is tried too.
#include "telemetry/readers/dirt_rally2_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vt::DirtRally2Memory memory;
    vt::SteerWords steer;
    steer.steerRotationDeg = 540;
    vt::ByteView rest{data, size};
    while (!rest.empty()) {
        const size_t length = std::min(rest.size(), vt::kDirtRally2LongBytes);
        const vt::ByteView packet = rest.subspan(0, length);
        rest = rest.subspan(length);
        if (!vt::validDirtRally2(packet)) continue;
        vt::SimFrame frame;
        vt::fillDirtRally2Frame(frame, packet, memory, steer);
        if (!(frame.speed >= 0 && frame.speed <= 200) || frame.gear < -1 || frame.gear > 12 ||
            !(frame.lapDistPct >= 0 && frame.lapDistPct <= 1) || frame.trackId < 0 ||
            !std::isfinite(frame.trackLength) || !std::isfinite(frame.currentLapTime))
            std::abort();
    }
    return 0;
}
