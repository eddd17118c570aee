// Any bytes as the three pages, in the order in which a listing of the shared objects has them.
#pragma once
#include "base/utf8.h"
#include "telemetry/readers/ac_pages.h"
#include "telemetry/sim_frame.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace vt {

template <class Graphics>
struct AcImages {
    Graphics graphics;
    AcPhysics physics;
    AcStatic statics;

    AcImages(const uint8_t* data, size_t size, const AcPageSizes& sizes) {
        take(data, size, &graphics, sizes.graphics);
        take(data, size, &physics, sizes.physics);
        take(data, size, &statics, std::min(sizes.statics, sizeof statics));
    }
    static void take(const uint8_t*& data, size_t& size, void* page, size_t length) {
        length = std::min(length, size);
        if (length > 0) std::memcpy(page, data, length);
        data += length;
        size -= length;
    }
};

inline void expectSaneFrame(const SimFrame& frame) {
    const auto require = [](bool held) {
        if (!held) std::abort();
    };
    for (const float number :
         {frame.speed, frame.throttle, frame.brake, frame.clutch, frame.steerAngle, frame.latAccel,
          frame.longAccel, frame.fuelLevel, frame.trackLength, frame.lapDistPct, frame.slipAngle,
          frame.slipRate, frame.balance, frame.wetness, frame.boost, frame.lastLapTime})
        require(std::isfinite(number));
    require(std::isfinite(frame.timeRemain) && frame.timeRemain >= 0);
    require(frame.lapDistPct >= 0 && frame.lapDistPct <= 1);
    require(utf8Valid(frame.trackName) && utf8Valid(frame.carModel));
    for (const CarRow& row : frame.cars) {
        require(utf8Valid(row.driverName) && utf8Valid(row.carClass));
        require(std::isfinite(row.pathLateral) && std::isfinite(row.estTime));
        require(row.lapDistPct >= -1 && row.lapDistPct <= 1);
    }
}

} // namespace vt
