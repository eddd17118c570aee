// The player of the driver model as a truck in the plug-in's page.
#pragma once
#include "driver_model/driver_model.h"
#include "sim_player/wire_text.h"
#include "telemetry/readers/ets2_layout.h"

#include <string>

namespace player {

inline void fillEts2Page(const model::Race& race, vt::Ets2Page& page) {
    const model::Car& car = model::player(race);
    const model::CarClass& kind = model::classOf(race, car);
    page.active = 1;
    page.paused = 0;
    page.simulatedTime = static_cast<uint64_t>(race.time * 1e6);
    page.version = vt::kEts2Version;
    page.gear = car.gear;
    page.fuelCapacity = static_cast<float>(kind.fuelCapacity);
    page.maxRpm = static_cast<float>(kind.maxRpm);
    page.speed = static_cast<float>(car.speed);
    page.rpm = static_cast<float>(car.rpm);
    page.throttle = static_cast<float>(car.throttle);
    page.brake = static_cast<float>(car.brake);
    page.clutch = static_cast<float>(car.clutch);
    page.steering = static_cast<float>(-car.steer); // counted to the left
    page.fuel = static_cast<float>(car.fuel);
    page.oilPressure = static_cast<float>(car.oilPressure / 0.0689476);
    page.oilTemp = static_cast<float>(car.oilTemp);
    page.waterTemp = static_cast<float>(car.waterTemp);
    page.batteryVolts = 27.4f;
    page.localAccelX = static_cast<float>(car.latAccel);
    page.localAccelZ = static_cast<float>(-car.longAccel);
    putText(page.brandId, "falcon");
    putText(page.brand, "Falcon");
    putText(page.truckName, "vehicle.falcon." + kind.modelKey);
    putText(page.modelId, kind.model);
}

} // namespace player
