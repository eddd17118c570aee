// Any bytes as Le Mans Ultimate's page: no index, count or text may lead outside it.
#include "base/utf8.h"
#include "telemetry/readers/lmu_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

/// The parts of a page one behind the other, so that a few hundred bytes reach all of them: the
/// numbers beside telemetry, scoring, the player's telemetry, then cars.
void spread(vt::LmuPage& page, const uint8_t* data, size_t size) {
    const auto take = [&](void* to, size_t length) {
        const size_t n = std::min(length, size);
        if (n > 0) std::memcpy(to, data, n);
        data += n;
        size -= n;
    };
    take(&page.activeVehicles, 3);
    take(&page.head.scoring, sizeof page.head.scoring);
    if (page.playerVehicleIdx < vt::kLmuCars)
        take(&page.telemetry[page.playerVehicleIdx], sizeof(vt::VehicleTelemetry));
    take(page.scoring, sizeof page.scoring);
}

void check(const vt::SimFrame& frame, const vt::LmuMemory& memory) {
    if (frame.cars.size() > vt::kLmuCars) std::abort();
    if (!vt::utf8Valid(frame.trackName) || !vt::utf8Valid(frame.carModel) ||
        !vt::utf8Valid(frame.carName))
        std::abort();
    const float numbers[] = {frame.speed,     frame.steerAngle,     frame.lapDistPct,
                             frame.slipAngle, frame.frontSlip,      frame.worldX,
                             frame.forwardY,  frame.pathLateral,    frame.trackEdge,
                             frame.airTemp,   frame.currentLapTime, frame.tyreTemp[3]};
    for (const float number : numbers)
        if (!std::isfinite(number)) std::abort();
    if (!std::isfinite(frame.sessionTime) || !std::isfinite(frame.timeRemain)) std::abort();
    for (const vt::CarRow& row : frame.cars)
        if (!vt::utf8Valid(row.driverName) || !vt::utf8Valid(row.carClass) ||
            !vt::utf8Valid(row.carBrand) || !std::isfinite(row.lapDistPct) ||
            !std::isfinite(row.gapToLeader))
            std::abort();
    if (memory.lastSector < -1 || memory.lastSector > 2) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static vt::LmuPage page, before;
    static vt::SimFrame frame;
    std::memset(static_cast<void*>(&page), 0, sizeof page);
    if (size >= sizeof page)
        std::memcpy(static_cast<void*>(&page), data, sizeof page);
    else
        spread(page, data, size);
    vt::resetKeepingCapacity(frame);
    vt::LmuMemory memory;
    // The page before, as it was left, and then this one twice with the clock moved on.
    vt::fillLmuFrame(frame, before, memory);
    vt::fillLmuFrame(frame, page, memory);
    check(frame, memory);
    if (page.playerVehicleIdx < vt::kLmuCars) page.telemetry[page.playerVehicleIdx].elapsed += 0.02;
    vt::fillLmuFrame(frame, page, memory);
    check(frame, memory);
    std::memcpy(static_cast<void*>(&before), &page, sizeof page);
    return 0;
}
