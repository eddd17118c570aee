// Any bytes as rFactor 2's scoring and the player's telemetry: no count or text may lead outside.
#include "base/utf8.h"
#include "telemetry/readers/rf2_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static vt::Rf2Scoring scoring;
    static vt::SimFrame frame;
    vt::VehicleTelemetry car;
    std::memset(static_cast<void*>(&scoring), 0, sizeof scoring);
    const size_t ofCar = std::min(size, sizeof car);
    if (ofCar > 0) std::memcpy(static_cast<void*>(&car), data, ofCar);
    if (size > ofCar)
        std::memcpy(static_cast<void*>(&scoring), data + ofCar,
                    std::min(size - ofCar, sizeof scoring));
    vt::VehicleMemory memory;
    for (int i = 0; i < 2; ++i) {
        vt::fillRf2Frame(frame, scoring, car, memory);
        car.elapsed += 0.02;
        if (frame.cars.size() > vt::kRf2Cars) std::abort();
        if (!vt::utf8Valid(frame.trackName) || !vt::utf8Valid(frame.carModel)) std::abort();
        const float numbers[] = {frame.speed,     frame.steerAngle, frame.lapDistPct,
                                 frame.slipAngle, frame.rearSlip,   frame.pitLimitSpeed,
                                 frame.fuelLevel, frame.wetness,    frame.brakeBias};
        for (const float number : numbers)
            if (!std::isfinite(number)) std::abort();
        if (!std::isfinite(frame.sessionTime) || !std::isfinite(frame.timeRemain)) std::abort();
        for (const vt::CarRow& row : frame.cars)
            if (!vt::utf8Valid(row.driverName) || !vt::utf8Valid(row.carClass) ||
                !std::isfinite(row.lapDistPct) || !std::isfinite(row.estTime))
                std::abort();
    }
    return 0;
}
