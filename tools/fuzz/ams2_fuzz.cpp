// Any bytes as Automobilista 2's page: no index, count or text may lead outside it.
#include "base/utf8.h"
#include "telemetry/readers/ams2_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static vt::Ams2Page page;
    static vt::SimFrame frame;
    page = {};
    if (size > 0) std::memcpy(&page, data, std::min(size, sizeof page));
    vt::SteerWords steer;
    steer.steerRotationDeg = 540;
    vt::Ams2Memory memory;
    memory.viewedIndex = static_cast<int32_t>(size % 65) - 1; // as an earlier page left it
    vt::fillAms2Frame(frame, page, memory, steer);
    if (memory.viewedIndex < -1 || memory.viewedIndex >= vt::kAms2Cars) std::abort();
    if (frame.cars.size() > vt::kAms2Cars) std::abort();
    if (!vt::utf8Valid(frame.trackName) || !vt::utf8Valid(frame.carModel)) std::abort();
    for (const vt::CarRow& row : frame.cars)
        if (!vt::utf8Valid(row.driverName) || !vt::utf8Valid(row.carClass) ||
            !std::isfinite(row.lapDistPct) || !std::isfinite(row.pathLateral))
            std::abort();
    if (!std::isfinite(frame.steerAngle) || !std::isfinite(frame.speed)) std::abort();
    return 0;
}
