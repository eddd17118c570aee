// A datagram of the BeamNG mod.
#include "base/utf8.h"
#include "telemetry/readers/beamng_frame.h"

#include <cmath>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (!vt::validBeamNg({data, size})) return 0;
    vt::SimFrame frame;
    vt::SteerWords steer;
    steer.steerRotationDeg = 540;
    vt::fillBeamNgFrame(frame, {data, size}, steer);
    if (!(frame.speed >= 0) || frame.gear < -1 || !vt::utf8Valid(frame.carModel) ||
        !std::isfinite(frame.rpm) || !std::isfinite(frame.throttle) ||
        !std::isfinite(frame.steerAngle))
        std::abort();
    return 0;
}
