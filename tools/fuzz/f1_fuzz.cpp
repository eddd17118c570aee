// Datagrams of F1, several to a state: each is preceded by its length in two bytes.
#include "telemetry/readers/f1_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vt::F1State state;
    vt::SimFrame frame;
    vt::ByteView rest{data, size};
    int stride = 0;
    vt::applyF1Packet(state, rest, stride); // a corpus holds plain datagrams too
    while (rest.size() >= 2) {
        const size_t length = std::min<size_t>(vt::readAt<uint16_t>(rest, 0), rest.size() - 2);
        vt::applyF1Packet(state, rest.subspan(2, length), stride);
        rest = rest.subspan(2 + length);
    }
    vt::fillF1Frame(frame, state, 0);
    if (frame.cars.size() > vt::kF1Cars || !std::isfinite(frame.throttle) ||
        !std::isfinite(frame.steerAngle) || !(frame.lapDistPct >= 0 && frame.lapDistPct <= 1))
        std::abort();
    for (const vt::CarRow& car : frame.cars)
        if (!(car.lapDistPct >= 0 && car.lapDistPct <= 1)) std::abort();
    return 0;
}
