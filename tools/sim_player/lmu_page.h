// A race of the driver model in Le Mans Ultimate's page.
#pragma once
#include "sim_player/vehicle_records_model.h"
#include "telemetry/readers/lmu_layout.h"

#include <algorithm>
#include <cmath>

namespace player {

inline size_t lmuCars(const model::Race& race) {
    return std::min<size_t>(race.cars.size(), vt::kLmuCars);
}

/// In the order of the ranks, so that nobody stands where he stands in telemetry.
inline void fillLmuScoring(const model::Race& race, vt::LmuPage& page) {
    const size_t cars = lmuCars(race);
    fillScoringInfo(race, cars, page.head.scoring);
    size_t at = 0;
    for (const int index : race.order)
        if (static_cast<size_t>(index) < cars)
            fillScoring(race, race.cars[static_cast<size_t>(index)], page.scoring[at++]);
}

/// The hybrid and the aids, which only this sim publishes.
inline void fillLmuDrive(const model::Race& race, const model::Car& car,
                         vt::VehicleTelemetry& out) {
    const double tank = car.fuel / model::classOf(race, car).fuelCapacity;
    out.batteryCharge = 0.5 + 0.3 * std::cos(2 * M_PI * car.pct);
    out.motorState = car.brake > 0.05 ? 3 : car.throttle > 0.05 ? 2 : 1;
    out.motorMap = 2;
    out.motorMapCount = 5;
    out.virtualEnergy = static_cast<float>(tank);
    out.absActive = car.absActive;
    out.tcLevel = 4;
    out.absLevel = 3;
    out.tcPresent = out.absPresent = 1;
    out.dents[2] = car.incidents > 0 ? 1 : 0;
    out.lastImpactTime = 0;
}

inline void fillLmuTelemetry(const model::Race& race, vt::LmuPage& page) {
    const size_t cars = lmuCars(race);
    for (size_t i = 0; i < cars; ++i) {
        vt::VehicleTelemetry& out = page.telemetry[(i + cars / 2) % cars];
        fillTelemetry(race, race.cars[i], out);
        fillLmuDrive(race, race.cars[i], out);
    }
    page.activeVehicles = static_cast<uint8_t>(cars);
    page.playerVehicleIdx = static_cast<uint8_t>(cars / 2);
    page.playerHasVehicle = 1;
}

} // namespace player
