// A race of the driver model in the words of the Assetto Corsa family: its shared pages and the
// messages of ACC's broadcasting port.
#pragma once
#include "base/utf8.h"
#include "driver_model/driver_model.h"
#include "support/acc_server.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/ac_pages.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace vt::test {

inline constexpr int32_t kModelFirstCarId = 1000; // ids that no one can mistake for slots
inline constexpr int32_t kAcNoLapMs = 3'600'000;  // what AC and AC Rally show for none
inline constexpr float kModelMaxBoost = 1.2f;
inline constexpr int32_t kModelTcLevel = 3, kModelAbsLevel = 4;

inline void setAcText(char16_t (&field)[kAcTextLength], const std::string& text) {
    size_t length = 0;
    for (size_t at = 0; at < text.size();) {
        const uint32_t point = utf8Next(text, at);
        const size_t units = point > 0xFFFF ? 2 : 1;
        if (length + units >= kAcTextLength) break;
        if (units == 2) field[length++] = static_cast<char16_t>(0xD7C0 + (point >> 10));
        field[length++] = static_cast<char16_t>(units == 2 ? 0xDC00 + (point & 0x3FF) : point);
    }
    std::fill(field + length, field + kAcTextLength, u'\0');
}

/// Milliseconds, `none` for a time that is not there.
inline int32_t modelMs(double seconds, int32_t none = kAccNoLapMs) {
    return seconds > 0 ? static_cast<int32_t>(std::lround(seconds * 1000)) : none;
}

/// The family's world: x to the east, y up, z to the north.
inline void setAcVector(float (&out)[3], const double (&axes)[3]) {
    out[0] = static_cast<float>(axes[0]);
    out[1] = static_cast<float>(axes[1]);
    out[2] = static_cast<float>(-axes[2]);
}

/// All but the packet id.
inline void fillModelPhysics(const model::Race& race, bool clutchUpIsOne, AcPhysics& out) {
    const model::Car& car = model::player(race);
    const model::CarClass& what = model::classOf(race, car);
    const auto f = [](double value) { return static_cast<float>(value); };
    out.gas = f(car.throttle);
    out.brake = f(car.brake);
    out.fuel = f(car.fuel);
    out.gear = car.gear + 1;
    out.rpm = static_cast<int32_t>(car.rpm);
    out.steer = f(car.steer);
    out.speedKmh = f(car.speed * 3.6);
    const model::WorldAxes axes = model::worldAxes(car);
    setAcVector(out.velocity, axes.velocity);
    out.acceleration[0] = f(car.latAccel / kGravity);
    out.acceleration[2] = f(car.longAccel / kGravity);
    out.tyresOut = 0;
    for (int i = 0; i < 4; ++i) {
        const model::Wheel& wheel = car.wheels[i];
        const double along = (i < 2 ? 0.5 : -0.5) * what.wheelBase;
        const double side = (i % 2 == 0 ? -0.5 : 0.5) * what.trackWidth;
        double point[3];
        for (int k = 0; k < 3; ++k)
            point[k] = axes.position[k] + along * axes.forward[k] + side * axes.right[k];
        setAcVector(out.contactPoint[i], point);
        out.slipAngle[i] = f(wheel.slipAngle);
        out.slipRatio[i] = f(wheel.slipRatio);
        out.tyresOut += wheel.offTrack;
    }
    out.pitLimiter = car.limiter;
    out.turboBoost = f(kModelMaxBoost * (0.1 + 0.9 * car.throttle));
    out.airTemp = f(race.settings.airTemp);
    out.roadTemp = f(race.settings.trackTemp);
    out.yawRate = f(car.yawRate);
    out.clutch = f(clutchUpIsOne ? 1 - car.clutch : car.clutch);
    out.brakeBias = 0.56f;
    out.localVelocity[0] = f(std::sin(car.slip) * car.speed);
    out.localVelocity[2] = f(std::cos(car.slip) * car.speed);
    out.maxRpm = static_cast<int32_t>(what.maxRpm);
    out.absActive = car.absActive;
    out.waterTemp = f(car.waterTemp);
}

inline void fillModelSession(const model::Race& race, int32_t noLapMs, AcSession& out) {
    const model::Car& car = model::player(race);
    out.packetId += 1;
    out.status = kAcLive;
    out.session = static_cast<int32_t>(race.settings.session); // the sims count alike
    out.completedLaps = std::max(car.lap, 0);
    out.position = car.position;
    out.currentLapMs = modelMs(car.lapTime, 0);
    out.lastLapMs = modelMs(car.lastLap, noLapMs);
    out.bestLapMs = modelMs(car.bestLap, noLapMs);
    out.timeLeft = race.remaining < 0 ? -1 : static_cast<float>(race.remaining * 1000);
    out.inPit = car.pit == model::PitPlace::stall;
    out.sector = car.sector;
    out.numberOfLaps = race.settings.laps;
    setAcText(out.tyreCompound, race.settings.rain > 0.3 ? "wet_compound" : "dry_compound");
    out.lapPosition = static_cast<float>(car.pct);
}

/// The sims' one flag at the car.
inline int32_t modelAcFlag(const model::Race& race) {
    if (race.chequered) return 5;
    if (race.yellow) return 2;
    return race.lastLap ? 4 : 0;
}

inline void fillModelGraphics(const model::Race& race, AcGraphics& out) {
    fillModelSession(race, kAcNoLapMs, out.session);
    out.flag = modelAcFlag(race);
    out.inPitLane = model::player(race).pit != model::PitPlace::none;
}

/// ACC's and AC Rally's page.
inline void fillModelGraphics(const model::Race& race, int32_t noLapMs, AccGraphics& out) {
    fillModelSession(race, noLapMs, out.session);
    const auto count = std::min<size_t>(race.cars.size(), kAcMaxCars);
    out.activeCars = static_cast<int32_t>(count);
    for (size_t i = 0; i < count; ++i) {
        setAcVector(out.carPosition[i], model::worldAxes(race.cars[i]).position);
        out.carId[i] = kModelFirstCarId + static_cast<int32_t>(i);
    }
    out.playerCarId = kModelFirstCarId;
    out.flag = modelAcFlag(race);
    out.inPitLane = model::player(race).pit != model::PitPlace::none;
    out.surfaceGrip = static_cast<float>(1 - 0.5 * race.settings.rain);
    out.tcLevel = kModelTcLevel;
    out.absLevel = kModelAbsLevel;
    out.globalYellow = race.yellow;
    out.globalWhite = race.lastLap;
    out.globalGreen = race.started && !race.yellow && !race.chequered;
    out.globalChequered = race.chequered;
    out.trackStatus =
        race.settings.rain > 0 ? 3 + static_cast<int32_t>(race.settings.rain * 3.5) : 2;
    out.rain = static_cast<int32_t>(std::lround(race.settings.rain * 5));
}

inline void fillModelStatic(const model::Race& race, AcStatic& out) {
    const model::Car& car = model::player(race);
    const model::CarClass& what = model::classOf(race, car);
    setAcText(out.carModel, what.modelKey);
    setAcText(out.track, race.circuit.name);
    setAcText(out.firstName, car.firstName);
    setAcText(out.surname, car.lastName);
    out.maxRpm = static_cast<int32_t>(what.maxRpm);
    out.maxFuel = static_cast<float>(what.fuelCapacity);
    out.maxTurboBoost = kModelMaxBoost;
    out.splineLength = static_cast<float>(race.circuit.length);
}

/// ACC's number of a car for each of the model's classes.
inline int32_t modelAccCarModel(const model::Car& car) {
    constexpr int32_t models[] = {32, 84, 9, 50}; // GT3, GT2, CUP, GT4
    return models[std::clamp(car.classIndex, 0, 3)];
}

inline AccCar modelAccCar(const model::Car& car) {
    AccCar out;
    out.carIndex = kModelFirstCarId + car.index;
    out.carModel = modelAccCarModel(car);
    out.raceNumber = car.number;
    out.cupCategory = 0;
    out.currentDriver = 0;
    out.driverIndex = 0;
    out.driverCount = 1;
    out.gear = car.gear + 2;
    out.worldX = static_cast<float>(car.x);
    out.worldY = static_cast<float>(car.y);
    out.yaw = static_cast<float>(car.heading);
    out.location = car.pit == model::PitPlace::none ? 1 : 2;
    out.kmh = static_cast<int32_t>(std::lround(car.speed * 3.6));
    out.position = car.position;
    out.cupPosition = car.classPosition;
    out.trackPosition = car.position;
    out.splinePosition = static_cast<float>(car.pct);
    out.laps = std::max(car.lap, 0);
    out.bestLapMs = modelMs(car.bestLap, -1);
    out.lastLapMs = modelMs(car.lastLap, -1);
    out.currentLapMs = modelMs(car.lapTime, -1);
    return out;
}

inline void fillModelWorld(const model::Race& race, AccWorld& out) {
    AccRealtime& now = out.realtime;
    now.eventIndex = 0;
    now.sessionIndex = 0;
    now.sessionType = race.settings.session == model::SessionKind::race ? 10 : 0;
    now.sessionPhase = race.chequered ? 6 : race.started ? 5 : 3;
    now.sessionTime = static_cast<float>(race.time * 1000);
    now.sessionEndTime = static_cast<float>(std::max(race.remaining, 0.0) * 1000);
    now.focusedCar = kModelFirstCarId;
    now.timeOfDay = static_cast<float>(14 * 3600 + race.time);
    now.ambientTemp = static_cast<int32_t>(race.settings.airTemp);
    now.trackTemp = static_cast<int32_t>(race.settings.trackTemp);
    now.rain = static_cast<int32_t>(race.settings.rain * 10);
    now.wetness = now.rain;
    now.bestLapMs = -1;
    out.cars.clear();
    out.drivers.clear();
    for (const model::Car& car : race.cars) {
        if (out.cars.size() == static_cast<size_t>(kAccMaxCars)) break;
        out.cars.push_back(modelAccCar(car));
        out.drivers.push_back({car.firstName, car.lastName, car.shortName});
        const int32_t best = out.cars.back().bestLapMs;
        if (best > 0 && (now.bestLapMs < 0 || best < now.bestLapMs)) now.bestLapMs = best;
    }
    out.track = race.circuit.name;
    out.trackMeters = static_cast<int32_t>(race.circuit.length);
}

} // namespace vt::test
