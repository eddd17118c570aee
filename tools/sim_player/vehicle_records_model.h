// A race of the driver model in the records that Le Mans Ultimate and rFactor 2 share.
#pragma once
#include "driver_model/driver_model.h"
#include "sim_player/wire_text.h"
#include "telemetry/readers/vehicle_records.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

namespace player {

inline constexpr double kScoringPeriod = 0.2; // s; telemetry comes with every sample

inline vt::GamePhase gamePhase(const model::Race& race) {
    if (race.chequered) return vt::kPhaseOver;
    if (!race.started)
        return race.settings.rollingStart ? vt::kPhaseFormation : vt::kPhaseCountdown;
    return race.yellow ? vt::kPhaseFullCourseYellow : vt::kPhaseGreen;
}

inline void fillScoringInfo(const model::Race& race, size_t cars, vt::ScoringInfo& out) {
    constexpr int32_t sessions[] = {1, 5, 10};
    putText(out.trackName, race.circuit.name);
    out.session = sessions[static_cast<size_t>(race.settings.session)];
    out.currentTime = race.time;
    out.endTime = race.remaining >= 0 ? race.time + race.remaining : 0;
    out.maxLaps = race.settings.laps > 0 ? race.settings.laps : std::numeric_limits<int32_t>::max();
    out.lapDist = race.circuit.length;
    out.numVehicles = static_cast<int32_t>(cars);
    out.gamePhase = gamePhase(race);
    out.yellowState = race.yellow ? 3 : 0;
    for (uint8_t& flag : out.sectorFlags)
        flag = race.yellow;
    out.raining = race.settings.rain;
    out.ambientTemp = race.settings.airTemp;
    out.trackTemp = race.settings.trackTemp;
    out.wetness = 0.5 * race.settings.rain;
    out.timeRemaining = static_cast<float>(race.remaining);
}

inline uint8_t pitState(const model::Car& car) {
    if (car.pit == model::PitPlace::stall) return vt::kPitStopped;
    if (car.pit == model::PitPlace::lane) return 2;
    return car.stopping;
}

inline void fillScoring(const model::Race& race, const model::Car& car, vt::VehicleScoring& out) {
    const model::CarClass& kind = model::classOf(race, car);
    const model::CircuitPoint& here = race.drivers[static_cast<size_t>(car.index)].here;
    const std::string name = car.firstName + " " + car.lastName;
    out.id = car.index;
    putText(out.driverName, car.index % 2 ? windows1252(name) : name);
    putText(out.vehicleName, kind.model + " #" + std::to_string(car.number));
    out.laps = static_cast<int16_t>(std::max(car.lap, 0));
    out.sector = static_cast<int8_t>((car.sector + 1) % 3);
    out.finishStatus = car.finished;
    out.lapDist = car.s;
    out.pathLateral = car.lateral;
    out.trackEdge = car.lateral > 0 ? here.widthRight : -here.widthLeft;
    out.bestLapTime = car.bestLap > 0 ? car.bestLap : -1;
    out.lastLapTime = car.lastLap > 0 ? car.lastLap : -1;
    out.pitStops = static_cast<int16_t>(car.pitStops);
    out.penalties = 0;
    out.isPlayer = car.index == 0;
    out.control = car.index == 0 ? 0 : 1;
    out.inPits = car.pit != model::PitPlace::none;
    out.place = static_cast<uint8_t>(car.position);
    putText(out.vehicleClass, kind.name);
    out.timeBehindLeader = car.gapToLeader;
    out.pitState = pitState(car);
    out.estTime = race.lapTimes[static_cast<size_t>(car.classIndex)] * car.pct;
    out.countLap = car.lapValid ? vt::kLapCounts : 1;
    out.inGarage = 0;
    out.fuelFraction =
        static_cast<uint8_t>(std::clamp(255 * car.fuel / kind.fuelCapacity, 0.0, 255.0));
}

inline void fillWheel(const model::Car& car, const model::Wheel& wheel, vt::VehicleWheel& out) {
    out.lateralPatchVelocity = car.speed * std::tan(std::clamp(wheel.slipAngle, -1.5, 1.5));
    out.pressure = wheel.pressure;
    for (int i = 0; i < 3; ++i)
        out.temperature[i] = wheel.tempC + vt::kZeroCelsius;
    out.wear = wheel.wear;
    putText(out.terrainName, wheel.onKerb ? "RMBL_01" : wheel.offTrack ? "GRASS" : "ROAD");
    out.surfaceType = wheel.onKerb     ? vt::kSurfaceKerb
                      : wheel.offTrack ? vt::kSurfaceGrass
                                       : vt::kSurfaceDry;
}

/// What the sim knows of a car's movement: local axes to the left, up and to the rear.
inline void fillMovement(const model::Car& car, vt::VehicleTelemetry& out) {
    const model::WorldAxes axes = model::worldAxes(car);
    out.position = {axes.position[0], axes.position[1], axes.position[2]};
    out.localVelocity = {-car.speed * std::sin(car.slip), 0, -car.speed * std::cos(car.slip)};
    out.localAcceleration = {-car.latAccel, 0, -car.longAccel};
    for (int row = 0; row < 3; ++row)
        out.orientation[row] = {-axes.right[row], row == 1 ? 1.0 : 0.0, -axes.forward[row]};
    out.localRotation = {0, -car.yawRate, 0};
}

/// What rFactor 2 has as well.
inline void fillTelemetry(const model::Race& race, const model::Car& car,
                          vt::VehicleTelemetry& out) {
    const model::CarClass& kind = model::classOf(race, car);
    out.id = car.index;
    out.elapsed = race.time;
    out.lapStart = race.time - car.lapTime;
    fillMovement(car, out);
    out.gear = car.gear;
    out.rpm = car.rpm;
    out.maxRpm = kind.maxRpm;
    out.unfilteredThrottle = out.throttle = car.throttle;
    out.brake = car.brake;
    out.steering = car.steer;
    out.clutch = car.clutch;
    out.fuel = car.fuel;
    out.fuelCapacity = kind.fuelCapacity;
    out.overheating = car.waterTemp > 115;
    out.limiter = car.limiter;
    out.rearBrakeBias = 0.455;
    out.wheelRange = static_cast<float>(kind.wheelRotation);
    for (int i = 0; i < 4; ++i)
        fillWheel(car, car.wheels[i], out.wheels[i]);
}

} // namespace player
