// A race of the driver model in Automobilista 2's page.
#pragma once
#include "driver_model/driver_model.h"
#include "sim_player/wire_text.h"
#include "telemetry/readers/ams2_layout.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace player {

inline float ams2Time(double seconds) {
    return seconds > 0 ? static_cast<float>(seconds) : -1.0f;
}

inline uint32_t ams2PitMode(const model::Car& car) {
    switch (car.pit) {
    case model::PitPlace::lane:
        return vt::kAms2DrivingIn;
    case model::PitPlace::stall:
        return vt::kAms2InPits;
    default:
        return vt::kAms2NotInPits;
    }
}

inline void fillAms2Car(const model::Race& race, const model::Car& car, vt::Ams2Page& page) {
    const auto i = static_cast<size_t>(car.index);
    const model::WorldAxes axes = model::worldAxes(car);
    vt::Ams2Participant& out = page.participants[i];
    out.active = 1;
    const std::string name = car.firstName + " " + car.lastName;
    putText(out.name, car.index % 2 ? windows1252(name) : name);
    out.worldX = static_cast<float>(axes.position[0]);
    out.worldY = static_cast<float>(axes.position[1]);
    out.worldZ = static_cast<float>(axes.position[2]);
    out.lapDistance = static_cast<float>(car.s);
    out.racePosition = static_cast<uint32_t>(car.position);
    out.lapsCompleted = static_cast<uint32_t>(std::max(car.lap, 0));
    out.currentLap = out.lapsCompleted + 1;
    out.currentSector = static_cast<uint32_t>(car.sector) + 1;
    for (int sector = 0; sector < 3; ++sector) {
        page.sectorTimes[sector][i] =
            sector < car.sector ? ams2Time(car.sectorTime[sector]) : -1.0f;
        page.fastestSectorTimes[sector][i] = ams2Time(car.bestSector[sector]);
    }
    page.fastestLapTimes[i] = ams2Time(car.bestLap);
    page.lastLapTimes[i] = ams2Time(car.lastLap);
    page.pitModes[i] = ams2PitMode(car);
    page.speeds[i] = static_cast<float>(car.speed);
    putText(page.carClassNames[i], model::classOf(race, car).name);
}

inline uint32_t ams2Flag(const model::Race& race) {
    if (race.chequered) return 11;
    if (race.yellow) return 6;
    return race.lastLap ? 4 : 0;
}

inline void fillAms2Player(const model::Race& race, vt::Ams2Page& page) {
    const model::Car& car = model::player(race);
    const model::CarClass& kind = model::classOf(race, car);
    const model::WorldAxes axes = model::worldAxes(car);
    putText(page.carName, kind.model);
    putText(page.carClass, kind.name);
    page.bestLapTime = ams2Time(car.bestLap);
    page.lastLapTime = ams2Time(car.lastLap);
    page.currentTime = ams2Time(car.lapTime);
    page.pitMode = ams2PitMode(car);
    page.oilTemp = static_cast<float>(car.oilTemp);
    page.oilPressure = static_cast<float>(car.oilPressure * 100);
    page.waterTemp = static_cast<float>(car.waterTemp);
    page.fuelLevel = static_cast<float>(car.fuel / kind.fuelCapacity);
    page.fuelCapacity = static_cast<float>(kind.fuelCapacity);
    page.speed = static_cast<float>(car.speed);
    page.rpm = static_cast<float>(car.rpm);
    page.maxRpm = static_cast<float>(kind.maxRpm);
    page.brake = static_cast<float>(car.brake);
    page.throttle = static_cast<float>(car.throttle);
    page.clutch = static_cast<float>(car.clutch);
    page.steering = static_cast<float>(car.steer);
    page.gear = car.gear;
    page.orientationY = static_cast<float>(std::atan2(axes.forward[0], axes.forward[2]));
    page.localAccelX = static_cast<float>(car.latAccel);
    page.localAccelZ = static_cast<float>(-car.longAccel);
}

/// All but the sequence number.
inline void fillAms2Page(const model::Race& race, vt::Ams2Page& page) {
    constexpr uint32_t sessions[] = {1, 3, 5};
    page.version = 14;
    page.gameState = vt::kAms2Playing;
    page.sessionState = sessions[static_cast<size_t>(race.settings.session)];
    page.raceState = model::player(race).finished ? vt::kAms2Finished
                     : race.started               ? vt::kAms2Racing
                                                  : 1u;
    page.viewedParticipant = 0;
    page.numParticipants = static_cast<int32_t>(std::min<size_t>(race.cars.size(), vt::kAms2Cars));
    page.lapsInEvent = static_cast<uint32_t>(std::max(race.settings.laps, 0));
    putText(page.trackLocation, race.circuit.name);
    putText(page.trackVariation, "Full");
    page.trackLength = static_cast<float>(race.circuit.length);
    page.eventTimeRemaining = static_cast<float>(race.remaining);
    page.highestFlagColour = ams2Flag(race);
    page.ambientTemp = static_cast<float>(race.settings.airTemp);
    page.trackTemp = static_cast<float>(race.settings.trackTemp);
    page.rainDensity = static_cast<float>(race.settings.rain);
    for (int32_t i = 0; i < page.numParticipants; ++i)
        fillAms2Car(race, race.cars[static_cast<size_t>(i)], page);
    fillAms2Player(race, page);
}

} // namespace player
