// Any bytes as the truck plug-in's page: no index, count or text may lead outside it.
#include "base/utf8.h"
#include "telemetry/readers/ets2_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static vt::Ets2Page page;
    static vt::SimFrame frame;
    page = {};
    if (size > 0) std::memcpy(&page, data, std::min(size, sizeof page));
    vt::SteerWords steer;
    steer.steerRotationDeg = 900;
    vt::fillEts2Frame(frame, page, steer);
    if (!vt::utf8Valid(frame.trackName) || !vt::utf8Valid(frame.carModel)) std::abort();
    for (const vt::CarRow& row : frame.cars)
        if (!vt::utf8Valid(row.driverName) || !vt::utf8Valid(row.carClass) ||
            !std::isfinite(row.lapDistPct) || !std::isfinite(row.pathLateral))
            std::abort();
    if (!std::isfinite(frame.steerAngle) || !std::isfinite(frame.speed)) std::abort();
    return 0;
}
