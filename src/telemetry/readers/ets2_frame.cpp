#include "telemetry/readers/ets2_frame.h"

#include "telemetry/reader_parts.h"
#include "telemetry/sim_registry.h"

#include <cmath>

namespace vt {

namespace {

constexpr float kNoValue = -1000;
constexpr float kBarPerPsi = 0.0689476f;

/// Ids and names of trucks are printable ASCII; the first other byte ends them.
struct TruckText {
    char* out;
    size_t room; // without the terminator

    template <size_t N>
    void add(const char (&text)[N]) {
        for (size_t i = 0; i < N && room > 0 && text[i] >= 0x20 && text[i] <= 0x7e; ++i, --room)
            *out++ = text[i];
    }
};

void fillTruck(SimFrame& out, const Ets2Page& page) {
    TruckText text{out.carModel, sizeof out.carModel - 1};
    text.add(page.truckName);
    if (text.out == out.carModel) {
        text.add(page.brandId);
        text.add("_");
        text.add(page.modelId);
    }
    *text.out = '\0';
}

void fillEngine(SimFrame& out, const Ets2Page& page) {
    out.rpm = finiteOr(page.rpm, 0);
    out.maxRpm = finiteOr(page.maxRpm, 0);
    if (out.maxRpm > 0) {
        out.shiftFirstRpm = 0.52f * out.maxRpm;
        out.shiftRpm = 0.62f * out.maxRpm;
        out.shiftBlinkRpm = 0.72f * out.maxRpm;
    }
    out.waterTemp = finiteOr(page.waterTemp, kNoValue);
    out.oilTemp = finiteOr(page.oilTemp, kNoValue);
    out.oilPressure = finiteOr(page.oilPressure * kBarPerPsi, kNoValue);
    out.batteryVolts = finiteOr(page.batteryVolts, kNoValue);
    out.fuelLevel = finiteOr(page.fuel, 0);
    out.fuelCapacity = finiteOr(page.fuelCapacity, 0);
}

} // namespace

void fillEts2Frame(SimFrame& out, const Ets2Page& page, SteerWords& steer) {
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kSimEts2;
    out.isOnTrack = page.active != 0 && page.paused == 0;
    out.sessionState = page.paused != 0 ? 3 : 2;
    out.throttle = finiteOr(page.throttle, 0);
    out.brake = finiteOr(page.brake, 0);
    out.clutch = finiteOr(page.clutch, 0);
    out.gear = page.gear;
    out.speed = std::abs(finiteOr(page.speed, 0));
    steerApply(steer, out, -page.steering); // the plug-in counts to the left
    out.latAccel = finiteOr(page.localAccelX, 0);
    out.longAccel = -finiteOr(page.localAccelZ, 0);
    fillEngine(out, page);
    fillTruck(out, page);
}

} // namespace vt
