// A race of the driver model in RaceRoom's page.
#pragma once
#include "driver_model/driver_model.h"
#include "sim_player/wire_text.h"
#include "telemetry/readers/raceroom_layout.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace player {

inline float raceRoomTime(double seconds) {
    return seconds > 0 ? static_cast<float>(seconds) : -1.0f;
}

inline void fillRaceRoomDriver(const model::Car& car, vt::RaceRoomDriver& out) {
    putText(out.name, car.firstName + " " + car.lastName);
    out.carNumber = car.number;
    out.slotId = car.index;
    out.place = car.position;
    out.placeClass = car.classPosition;
    out.lapDistanceFraction = static_cast<float>(car.pct);
    out.completedLaps = std::max(car.lap, 0);
    out.currentLapTime = raceRoomTime(car.lapTime);
    out.lastLapTime = raceRoomTime(car.lastLap);
    out.bestLapTime = raceRoomTime(car.bestLap);
    out.inPitlane = car.pit != model::PitPlace::none;
}

inline void fillRaceRoomPlayer(const model::Race& race, vt::RaceRoomPage& page) {
    constexpr double radSPerRpm = 2 * 3.14159265358979 / 60;
    const model::Car& car = model::player(race);
    const model::CarClass& kind = model::classOf(race, car);
    page.inPitlane = car.pit != model::PitPlace::none;
    page.pitState = car.pit == model::PitPlace::stall ? 3 : page.inPitlane ? 2 : 0;
    page.penalties = 0;
    page.completedLaps = std::max(car.lap, 0);
    page.trackSector = car.sector;
    page.lapDistanceFraction = static_cast<float>(car.pct);
    page.bestLapTime = raceRoomTime(car.bestLap);
    page.lastLapTime = raceRoomTime(car.lastLap);
    page.currentLapTime = raceRoomTime(car.lapTime);
    page.incidents = car.incidents;
    page.modelId = 1000 + car.classIndex;
    page.playerSlotId = car.index;
    page.controlledByOther = 0;
    page.speed = static_cast<float>(car.speed);
    page.engineSpeed = static_cast<float>(car.rpm * radSPerRpm);
    page.maxEngineSpeed = static_cast<float>(kind.maxRpm * radSPerRpm);
    page.gear = car.gear;
    page.localAccelX = static_cast<float>(-car.latAccel);
    page.localAccelZ = static_cast<float>(-car.longAccel);
    page.fuelLeft = static_cast<float>(car.fuel);
    page.fuelCapacity = static_cast<float>(kind.fuelCapacity);
    page.fuelPerLap = static_cast<float>(kind.fuelPerKm * race.circuit.length / 1000);
    page.throttle = static_cast<float>(car.throttle);
    page.brake = static_cast<float>(car.brake);
    page.clutch = static_cast<float>(car.clutch);
    page.steerInput = static_cast<float>(car.steer);
    page.steerWheelRange = static_cast<int32_t>(kind.wheelRotation);
    page.pitLimiter = car.limiter;
}

/// All but the tick.
inline void fillRaceRoomPage(const model::Race& race, vt::RaceRoomPage& page) {
    page.versionMajor = vt::kRaceRoomMajor;
    page.versionMinor = 4;
    page.driverTableOffset = vt::kRaceRoomTableOffset;
    page.driverRecordSize = sizeof(vt::RaceRoomDriver);
    putText(page.trackName, race.circuit.name);
    page.layoutLength = static_cast<float>(race.circuit.length);
    page.sessionType = static_cast<int32_t>(race.settings.session);
    page.pitSpeedLimit = static_cast<float>(race.circuit.pitLimit);
    page.sessionPhase = race.chequered ? 6 : race.started ? 5 : 3;
    page.numberOfLaps = race.settings.laps > 0 ? race.settings.laps : -1;
    page.sessionTimeRemaining = static_cast<float>(race.remaining);
    page.flagYellow = race.yellow;
    page.flagBlue = 0;
    page.flagGreen = race.started && !race.yellow && !race.chequered;
    page.flagChequered = race.chequered;
    page.flagBlackAndWhite = 0;
    page.numCars = static_cast<int32_t>(std::min<size_t>(race.cars.size(), vt::kRaceRoomCars));
    for (int32_t i = 0; i < page.numCars; ++i)
        fillRaceRoomDriver(race.cars[static_cast<size_t>(i)], page.drivers[i]);
    fillRaceRoomPlayer(race, page);
}

} // namespace player
