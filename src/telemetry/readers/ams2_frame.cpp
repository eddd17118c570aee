#include "telemetry/readers/ams2_frame.h"

#include "base/utf8.h"
#include "telemetry/reader_parts.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

namespace vt {

namespace {

constexpr float kNoTemperature = -1000;
constexpr float kLongestTime = 100000; // s; the sim's "no time" values lie outside

bool isTime(float seconds) {
    return seconds > 0 && seconds < kLongestTime;
}

float timeOr0(float seconds) {
    return isTime(seconds) ? seconds : 0;
}

template <size_t N>
std::string_view textOf(const char (&text)[N]) {
    return {text, strnlen(text, N)};
}

int32_t counter(uint32_t value, int32_t none) {
    return value <= static_cast<uint32_t>(std::numeric_limits<int32_t>::max())
               ? static_cast<int32_t>(value)
               : none;
}

bool onPitRoad(uint32_t mode) {
    return mode == kAms2DrivingIn || mode == kAms2InPits || mode == kAms2DrivingOut ||
           mode == kAms2LeavingGarage;
}

/// Of the lap; `none` without a track length. Damaged numbers stay within a lap.
float lapFraction(const Ams2Page& page, const Ams2Participant& car, float none) {
    const float fraction = car.lapDistance / page.trackLength;
    if (!(page.trackLength > 0) || !std::isfinite(fraction)) return none;
    return std::clamp(fraction, -1.0f, 1.0f);
}

int numberOfCars(const Ams2Page& page) {
    return std::clamp(page.numParticipants, 0, kAms2Cars);
}

void followView(const Ams2Page& page, Ams2Memory& memory) {
    const int count = numberOfCars(page);
    if (page.gameState == kAms2Playing && page.viewedParticipant >= 0 &&
        page.viewedParticipant < count)
        memory.viewedIndex = page.viewedParticipant;
    if (memory.viewedIndex >= count) memory.viewedIndex = -1;
}

void fillCar(SimFrame& out, const Ams2Page& page, SteerWords& steer) {
    out.isOnTrack = page.gameState == kAms2Playing;
    out.inGarage = page.pitMode == kAms2InGarage;
    out.onPitRoad = onPitRoad(page.pitMode);
    out.throttle = finiteOr(page.throttle, 0);
    out.brake = finiteOr(page.brake, 0);
    out.clutch = finiteOr(page.clutch, 0);
    out.gear = page.gear;
    out.rpm = finiteOr(page.rpm, 0);
    out.maxRpm = finiteOr(page.maxRpm, 0);
    out.speed = finiteOr(page.speed, 0);
    steerApply(steer, out, page.steering);
    out.latAccel = finiteOr(page.localAccelX, 0);
    out.longAccel = -finiteOr(page.localAccelZ, 0);
    out.waterTemp = finiteOr(page.waterTemp, kNoTemperature);
    out.oilTemp = finiteOr(page.oilTemp, kNoTemperature);
    out.oilPressure = finiteOr(page.oilPressure * 0.01f, kNoTemperature);
    if (page.fuelCapacity > 0) {
        out.fuelLevel = finiteOr(page.fuelLevel * page.fuelCapacity, 0);
        out.fuelCapacity = finiteOr(page.fuelCapacity, 0);
    }
    copyText(out.carModel, textOf(page.carName));
}

void fillTrackName(SimFrame& out, const Ams2Page& page) {
    const std::string_view location = textOf(page.trackLocation);
    const std::string_view variation = textOf(page.trackVariation);
    char name[sizeof page.trackLocation + 1 + sizeof page.trackVariation];
    size_t length = location.copy(name, location.size());
    if (!variation.empty()) {
        name[length++] = ' ';
        length += variation.copy(name + length, variation.size());
    }
    copyText(out.trackName, {name, length});
}

uint32_t flagsOf(const Ams2Page& page) {
    uint32_t flags = 0;
    switch (page.highestFlagColour) {
    case 0:
        if (page.gameState == kAms2Playing) flags = kFlagGreen;
        break;
    case 1:
        flags = kFlagGreen;
        break;
    case 2:
        flags = kFlagBlue;
        break;
    case 3: // white for a slow car ahead, white for the last lap
    case 4:
        flags = kFlagWhite;
        break;
    case 6: // yellow, double yellow
    case 7:
        flags = kFlagYellow;
        break;
    case 11:
        flags = kFlagChequered;
        break;
    default:
        break;
    }
    if (page.raceState == kAms2Finished) flags |= kFlagChequered;
    return flags;
}

void fillSession(SimFrame& out, const Ams2Page& page) {
    static constexpr const char* names[] = {"",          "Practice", "Test",       "Qualifying",
                                            "Formation", "Race",     "Time Attack"};
    if (page.sessionState < std::size(names)) copyText(out.sessionName, names[page.sessionState]);
    out.sessionState = counter(page.raceState, 0);
    out.sessionFlags = flagsOf(page);
    if (page.eventTimeRemaining >= 0 && page.eventTimeRemaining < 86400)
        out.timeRemain = page.eventTimeRemaining;
    out.airTemp = finiteOr(page.ambientTemp, 0);
    out.trackTemp = finiteOr(page.trackTemp, 0);
    out.precipitation = finiteOr(page.rainDensity, 0);
    out.trackLength = finiteOr(page.trackLength, 0);
    fillTrackName(out, page);
}

void fillLap(SimFrame& out, const Ams2Page& page, int32_t viewed) {
    out.playerCarIdx = viewed;
    if (viewed >= 0) {
        const Ams2Participant& car = page.participants[viewed];
        out.lap = counter(car.lapsCompleted, -1);
        out.lapDistPct = lapFraction(page, car, 0);
        // The sim counts sectors from 1.
        if (car.currentSector >= 1)
            out.currentSector = static_cast<int32_t>(std::min(car.currentSector, 3u)) - 1;
    }
    out.lastLapTime = timeOr0(page.lastLapTime);
    out.bestLapTime = timeOr0(page.bestLapTime);
    out.currentLapTime = timeOr0(page.currentTime);
    const bool byLaps = page.lapsInEvent >= 1 && page.lapsInEvent <= 99999;
    out.timedSession = !byLaps;
    out.lapsRemain =
        byLaps ? std::max(0, static_cast<int32_t>(page.lapsInEvent) - std::max(out.lap, 0)) : -1;
}

float referenceOf(const Ams2Page& page, const SimFrame& frame) {
    float fastestLap = 0, fastestSpeed = 0;
    for (int i = 0; i < numberOfCars(page); ++i) {
        const float lap = page.fastestLapTimes[i];
        if (isTime(lap) && (fastestLap <= 0 || lap < fastestLap)) fastestLap = lap;
        if (page.participants[i].active && page.speeds[i] > fastestSpeed)
            fastestSpeed = page.speeds[i];
    }
    return referenceLap(frame.bestLapTime, frame.lastLapTime, fastestLap, 0, kLongestTime,
                        frame.trackLength, fastestSpeed);
}

/// The sector that was finished last, as far as the tables tell.
void fillSectors(CarRow& row, const Ams2Page& page, int car) {
    const auto current =
        static_cast<int>(std::min(page.participants[car].currentSector, uint32_t{3}));
    for (int sector = current - 1; sector >= 0; --sector) {
        const float time = page.sectorTimes[sector][car];
        if (!isTime(time)) continue;
        row.lastSectorIdx = sector;
        row.lastSectorTime = time;
        row.bestSectorTime = timeOr0(page.fastestSectorTimes[sector][car]);
        return;
    }
}

/// Metres to the viewed car's right. The world is right-handed with y up, and an orientation of 0
/// looks along z: the right hand points along (-cos, sin).
float lateralFrom(const Ams2Page& page, int viewed, const Ams2Participant& car) {
    const Ams2Participant& from = page.participants[viewed];
    const float c = std::cos(page.orientationY), s = std::sin(page.orientationY);
    return finiteOr(-((car.worldX - from.worldX) * c - (car.worldZ - from.worldZ) * s), 0);
}

void fillRows(SimFrame& out, const Ams2Page& page, int32_t viewed) {
    const float reference = referenceOf(page, out);
    for (int i = 0; i < numberOfCars(page); ++i) {
        const Ams2Participant& car = page.participants[i];
        if (!car.active) continue;
        CarRow& row = out.cars.emplace_back();
        row.carIdx = i;
        copyText(row.driverName, textOf(car.name));
        copyText(row.carClass, textOf(page.carClassNames[i]));
        row.position = counter(car.racePosition, 0);
        row.lap = counter(car.lapsCompleted, -1);
        row.lapDistPct = lapFraction(page, car, -1);
        row.estTime = row.lapDistPct * reference;
        row.lastLapTime = std::max(0.0f, finiteOr(page.lastLapTimes[i], 0));
        row.bestLapTime = std::max(0.0f, finiteOr(page.fastestLapTimes[i], 0));
        row.onPitRoad = onPitRoad(page.pitModes[i]);
        if (viewed >= 0 && i != viewed) row.pathLateral = lateralFrom(page, viewed, car);
        fillSectors(row, page, i);
    }
}

} // namespace

void fillAms2Frame(SimFrame& out, const Ams2Page& page, Ams2Memory& memory, SteerWords& steer) {
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kSimAms2;
    followView(page, memory);
    fillCar(out, page, steer);
    fillSession(out, page);
    fillLap(out, page, memory.viewedIndex);
    fillRows(out, page, memory.viewedIndex);
}

} // namespace vt
