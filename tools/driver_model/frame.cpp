// The race in other words: axes of a three-dimensional world, and a finished frame.
#include "base/utf8.h"
#include "driver_model/driver_model.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace model {

namespace {

using vt::copyText;

constexpr double kDegrees = 57.29577951308232;

float f32(double x) {
    return static_cast<float>(x);
}

/// A lap fraction as a float that stays below 1.
float fraction(double x) {
    return std::min(f32(x), 0.99999994f);
}

int surfaceOf(const Race& race, const Car& car) {
    if (car.pit == PitPlace::stall) return 1;
    if (car.pit == PitPlace::lane) return 2;
    const double toEntry = race.circuit.pitEntry - car.pct;
    if (car.stopping && race.circuit.pitEntry > 0 && toEntry > 0 && toEntry < 0.02) return 2;
    return car.offTrack ? 0 : 3;
}

uint32_t flagsOf(const Race& race) {
    uint32_t flags = 0;
    if (race.yellow)
        flags = vt::kFlagYellow;
    else if (race.started)
        flags = vt::kFlagGreen;
    if (race.lastLap) flags |= vt::kFlagWhite;
    if (race.chequered) flags |= vt::kFlagChequered;
    return flags;
}

/// The class's time from the line to here.
double timeTo(const Race& race, const Car& car) {
    const double lap = race.lapTimes[static_cast<size_t>(car.classIndex)];
    return lap * car.pct;
}

void fillRow(const Race& race, const Car& car, vt::CarRow& row) {
    row.carIdx = car.index;
    copyText(row.driverName, car.firstName + " " + car.lastName);
    copyText(row.carClass, classOf(race, car).name);
    copyText(row.carBrand, classOf(race, car).brand);
    row.position = car.position;
    row.classPosition = car.classPosition;
    row.irating = car.skill;
    row.carNumberValue = car.number;
    copyText(row.carNumber, std::to_string(car.number));
    row.lap = car.lap + 1;
    row.estTime = f32(timeTo(race, car));
    row.gapToLeader = f32(car.gapToLeader);
    row.lapDistPct = fraction(car.pct);
    row.trackSurface = surfaceOf(race, car);
    row.lastLapTime = f32(car.lastLap);
    row.bestLapTime = f32(car.bestLap);
    row.onPitRoad = car.pit != PitPlace::none;
    row.pathLateral = f32(car.lateral);
    row.pitStops = race.settings.session == SessionKind::race ? car.pitStops : -1;
    row.finishStatus = car.finished ? 1 : 0;
    row.fuelFraction = f32(car.fuel / classOf(race, car).fuelCapacity);
    const int last = (car.sector + 2) % 3;
    if (car.sectorTime[last] > 0) {
        row.lastSectorIdx = last;
        row.lastSectorTime = f32(car.sectorTime[last]);
        row.bestSectorTime = f32(car.bestSector[last]);
    }
}

void fillCar(const Race& race, const Car& car, vt::SimFrame& frame) {
    const CarClass& kind = classOf(race, car);
    copyText(frame.carModel, kind.modelKey);
    copyText(frame.carName, kind.model);
    frame.isOnTrack = 1;
    frame.trackSurface = surfaceOf(race, car);
    frame.throttle = f32(car.throttle);
    frame.brake = f32(car.brake);
    frame.clutch = f32(car.clutch);
    frame.steerAngle = f32(car.wheelAngle);
    frame.steerLock = f32(kind.wheelRotation / 2 / kDegrees);
    frame.gear = car.gear;
    frame.rpm = f32(car.rpm);
    frame.maxRpm = f32(kind.maxRpm);
    frame.shiftFirstRpm = f32(0.85 * kind.maxRpm);
    frame.shiftRpm = f32(0.95 * kind.maxRpm);
    frame.shiftBlinkRpm = f32(0.98 * kind.maxRpm);
    frame.speed = f32(car.speed);
    frame.waterTemp = f32(car.waterTemp);
    frame.oilTemp = f32(car.oilTemp);
    frame.oilPressure = f32(car.oilPressure);
    frame.batteryVolts = 13.8f;
    frame.brakeBias = 54.5f;
    frame.tcLevel = 4;
    frame.absLevel = 3;
    frame.latAccel = f32(car.latAccel);
    frame.longAccel = f32(car.longAccel);
    frame.wheelBase = f32(kind.wheelBase);
    frame.trackWidth = f32(kind.trackWidth);
    frame.fuelLevel = f32(car.fuel);
    frame.fuelCapacity = f32(kind.fuelCapacity);
    for (int i = 0; i < 4; ++i) {
        frame.tyreTemp[i] = f32(car.wheels[i].tempC);
        frame.tyrePressure[i] = f32(car.wheels[i].pressure);
        frame.tyreWear[i] = f32(car.wheels[i].wear);
        frame.wheelOnKerb[i] = car.wheels[i].onKerb;
        frame.wheelSlipRatio[i] = f32(car.wheels[i].slipRatio);
    }
    frame.wheelSlipSource = 2;
    frame.tyreDataLevel = 1;
    frame.absActive = car.absActive;
    frame.yawRate = f32(car.yawRate);
    frame.latVelocity = f32(-car.speed * std::sin(car.slip)); // to the left
    frame.latVelocitySource = 2;
    frame.dynamicsMask = 7;
    frame.dynamicsOk = 1;
    frame.dynamicsSpeed = frame.speed;
    frame.slipAngle = f32(car.slip * kDegrees);
    frame.slipSource = 2;
    frame.velX = f32(car.speed * std::cos(car.slip));
    frame.velY = frame.latVelocity;
}

void fillPlace(const Race& race, const Car& car, vt::SimFrame& frame) {
    const CircuitPoint& here = race.drivers[static_cast<size_t>(car.index)].here;
    frame.worldX = f32(car.x);
    frame.worldY = f32(car.y);
    frame.forwardX = f32(std::cos(car.heading));
    frame.forwardY = f32(std::sin(car.heading));
    frame.rightX = frame.forwardY;
    frame.rightY = -frame.forwardX;
    frame.worldOk = 1;
    frame.pathLateral = f32(car.lateral);
    frame.pathLateralOk = 1;
    frame.trackEdge = f32(car.lateral > 0 ? here.widthRight : here.widthLeft);
    frame.trackEdgeOk = 1;
}

void fillSession(const Race& race, const Car& car, vt::SimFrame& frame) {
    const bool isRace = race.settings.session == SessionKind::race;
    copyText(frame.trackName, race.circuit.name);
    copyText(frame.sessionName, isRace                                           ? "Race"
                                : race.settings.session == SessionKind::practice ? "Practice"
                                                                                 : "Qualifying");
    frame.isRace = isRace;
    frame.sessionNum = 0;
    frame.sessionTime = race.time;
    frame.sessionState = race.chequered ? 5 : race.started ? 4 : 3;
    frame.racePhase = !isRace ? 0 : car.finished ? 3 : race.started ? 2 : 1;
    frame.gridPosition = isRace ? car.gridPosition : -1;
    frame.sessionFlags = flagsOf(race);
    frame.timedSession = race.settings.laps == 0;
    frame.timeRemain = race.settings.laps == 0 ? race.remaining : 86400;
    frame.timeTotal = race.settings.laps == 0 ? race.settings.minutes * 60 : -1;
    if (race.settings.laps > 0) {
        const int led = race.cars[static_cast<size_t>(race.leader)].lap;
        frame.lapsRemain = std::max(0, race.settings.laps - std::max(led, 0));
    }
    frame.airTemp = f32(race.settings.airTemp);
    frame.trackTemp = f32(race.settings.trackTemp);
    frame.precipitation = frame.wetness = f32(race.settings.rain);
    frame.incidents = car.incidents;
    frame.trackLength = f32(race.circuit.length);
    frame.trackId = 1;
    frame.trackTurns = static_cast<int32_t>(race.corners.size());
    for (const double start : race.circuit.sectorStarts)
        frame.sectorStarts.push_back(f32(start));
    frame.currentSector = car.sector;
    frame.lapDistPct = fraction(car.pct);
    frame.lap = car.lap + 1;
    frame.lastLapTime = f32(car.lastLap);
    frame.bestLapTime = f32(car.bestLap);
    frame.currentLapTime = f32(car.lapTime);
    frame.lapValidity = car.lapValid;
    frame.onPitRoad = car.pit != PitPlace::none;
    frame.inPitStall = car.pit == PitPlace::stall;
    frame.pitLimiterOn = car.limiter;
    frame.pitLimitSpeed = f32(race.circuit.pitLimit);
    frame.pitStallPct = race.circuit.pitEntry > 0 ? f32(car.stallPct) : -1;
    frame.positionsGained = car.gridPosition - car.position;
    frame.positionsGainedOk = isRace;
}

} // namespace

WorldAxes worldAxes(const Car& car) {
    WorldAxes out;
    const double c = std::cos(car.heading), s = std::sin(car.heading);
    const double course = car.heading - car.slip;
    const double position[3] = {car.x, 0, -car.y}, forward[3] = {c, 0, -s}, right[3] = {s, 0, c};
    const double velocity[3] = {car.speed * std::cos(course), 0, -car.speed * std::sin(course)};
    std::copy(position, position + 3, out.position);
    std::copy(forward, forward + 3, out.forward);
    std::copy(right, right + 3, out.right);
    std::copy(velocity, velocity + 3, out.velocity);
    return out;
}

void fillFrame(const Race& race, vt::SimFrame& frame) {
    const int32_t kind = frame.simKind;
    vt::resetKeepingCapacity(frame);
    frame.simKind = kind;
    frame.connected = 1;
    const Car& car = player(race);
    fillCar(race, car, frame);
    fillPlace(race, car, frame);
    fillSession(race, car, frame);
    frame.cars.resize(race.cars.size());
    for (size_t i = 0; i < race.cars.size(); ++i)
        fillRow(race, race.cars[i], frame.cars[i]);
    frame.playerCarIdx = car.index;
}

} // namespace model
