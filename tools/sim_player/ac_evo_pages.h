// A race of the driver model in AC EVO's words.
#pragma once
#include "driver_model/driver_model.h"
#include "telemetry/readers/ac_evo_layout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

namespace player {

/// What is not known of the sim for certain, or differs from track to track.
struct AcEvoQuirks {
    double line = 0.03;      // position word at the line where laps are counted
    double graphicsHz = 20;  // the graphics page is written more rarely than the physics page
    double yawSign = -1;     // of the yaw word, against the turn of the heading
    double fuelScale = 1;    // 100: the fuel fraction is told in percent
    bool lag = true;         // lap count and position wrap one physics step apart
    bool coordinates = true; // of the cars; else all are zero
};

/// Words of the form "line=0.03,graphics=20,yaw=-1,fuel=100,lag=0,coordinates=0". False for one
/// that is not understood.
inline bool parseAcEvoQuirks(const std::string& words, AcEvoQuirks& out) {
    size_t at = 0;
    while (at < words.size()) {
        const size_t end = std::min(words.find(',', at), words.size());
        char name[32] = "";
        double value = 0;
        if (std::sscanf(words.substr(at, end - at).c_str(), "%31[a-z]=%lf", name, &value) != 2)
            return false;
        const std::string key = name;
        if (key == "line")
            out.line = value;
        else if (key == "graphics" && value > 0)
            out.graphicsHz = value;
        else if (key == "yaw")
            out.yawSign = value;
        else if (key == "fuel")
            out.fuelScale = value;
        else if (key == "lag")
            out.lag = value != 0;
        else if (key == "coordinates")
            out.coordinates = value != 0;
        else
            return false;
        at = end + 1;
    }
    return true;
}

template <size_t N>
void setAcEvoText(char (&field)[N], const std::string& text) {
    std::fill_n(field, N, '\0');
    std::copy_n(text.begin(), std::min(text.size(), N - 1), field);
}

class AcEvoPageWriter {
public:
    explicit AcEvoPageWriter(const AcEvoQuirks& quirks) : quirks_(quirks) {}

    vt::AcPhysics physics;
    vt::AcEvoGraphics graphics;
    vt::AcEvoStatic statics;

    /// One step of the physics. True when the graphics page is a new one, too.
    bool update(const model::Race& race);

private:
    void fillPhysics(const model::Race& race);
    void fillWheels(const model::Car& car, const model::CarClass& kind);
    void fillGraphics(const model::Race& race);
    void fillFlags(const model::Race& race);
    void fillCoordinates(const model::Race& race);
    void fillStatic(const model::Race& race);
    void countLap(const model::Car& car);

    AcEvoQuirks quirks_;
    double graphicsDue_ = 0; // s of race time
    int lap_ = 0, lapBefore_ = 0;
    double pct_ = 0, pctBefore_ = 0;
    bool started_ = false;
};

inline bool AcEvoPageWriter::update(const model::Race& race) {
    fillPhysics(race);
    countLap(model::player(race));
    fillStatic(race);
    if (race.time + 1e-6 < graphicsDue_) return false;
    graphicsDue_ = std::max(graphicsDue_ + 1 / quirks_.graphicsHz, race.time);
    fillGraphics(race);
    return true;
}

inline void AcEvoPageWriter::countLap(const model::Car& car) {
    lapBefore_ = started_ ? lap_ : std::max(car.lap, 0);
    pctBefore_ = started_ ? pct_ : car.pct;
    lap_ = std::max(car.lap, 0);
    pct_ = car.pct;
    started_ = true;
}

inline void AcEvoPageWriter::fillPhysics(const model::Race& race) {
    const model::Car& car = model::player(race);
    const model::CarClass& kind = model::classOf(race, car);
    const auto f = [](double value) { return static_cast<float>(value); };
    physics.packetId += 1;
    physics.gas = f(car.throttle);
    physics.brake = f(car.brake);
    physics.clutch = f(car.clutch);
    physics.steer = f(car.steer);
    physics.fuel = f(car.fuel);
    physics.gear = car.gear + 1;
    physics.rpm = static_cast<int32_t>(car.rpm);
    physics.maxRpm = static_cast<int32_t>(kind.maxRpm);
    physics.speedKmh = f(car.speed * 3.6);
    // In the car, x points to the left and z ahead.
    physics.acceleration[0] = f(-car.latAccel / 9.80665);
    physics.acceleration[2] = f(car.longAccel / 9.80665);
    physics.localVelocity[0] = f(-car.speed * std::sin(car.slip));
    physics.localVelocity[2] = f(car.speed * std::cos(car.slip));
    physics.yawRate = f(car.yawRate * quirks_.yawSign);
    physics.pitLimiter = car.limiter;
    physics.airTemp = f(race.settings.airTemp);
    physics.roadTemp = f(race.settings.trackTemp);
    physics.waterTemp = f(car.waterTemp);
    physics.brakeBias = 54.5f;
    physics.absActive = car.absActive;
    fillWheels(car, kind);
}

inline void AcEvoPageWriter::fillWheels(const model::Car& car, const model::CarClass& kind) {
    const model::WorldAxes axes = model::worldAxes(car);
    std::copy_n(axes.velocity, 3, physics.velocity);
    physics.tyresOut = 0;
    for (int i = 0; i < 4; ++i) {
        const double along = (i < 2 ? 0.5 : -0.5) * kind.wheelBase;
        const double aside = (i % 2 ? 0.5 : -0.5) * kind.trackWidth;
        for (int k = 0; k < 3; ++k)
            physics.contactPoint[i][k] = static_cast<float>(
                axes.position[k] + along * axes.forward[k] + aside * axes.right[k]);
        physics.slipRatio[i] = static_cast<float>(car.wheels[i].slipRatio);
        physics.slipAngle[i] = static_cast<float>(car.wheels[i].slipAngle);
        physics.tyresOut += car.wheels[i].offTrack;
    }
}

inline void AcEvoPageWriter::fillGraphics(const model::Race& race) {
    const model::Car& car = model::player(race);
    const model::CarClass& kind = model::classOf(race, car);
    const auto f = [](double value) { return static_cast<float>(value); };
    const auto ms = [](double seconds) {
        return static_cast<int32_t>(std::lround(seconds * 1000));
    };
    graphics.packetId += 1;
    graphics.status = vt::kAcLive;
    graphics.abovePitLimit = f((car.speed - race.circuit.pitLimit) * 3.6);
    graphics.oilTemp = f(car.oilTemp);
    graphics.oilPressure = f(car.oilPressure);
    graphics.turboBoost = f(1.2 * car.throttle);
    graphics.boostFraction = f(car.throttle);
    graphics.wheelDegrees = static_cast<int32_t>(std::lround(car.wheelAngle * 180 / M_PI));
    graphics.currentLapMs = ms(car.lapTime);
    graphics.lastLapMs = ms(car.lastLap);
    graphics.bestLapMs = ms(car.bestLap);
    graphics.fuelFraction = f(car.fuel / kind.fuelCapacity * quirks_.fuelScale);
    // Lap count and position come from two places in the sim that do not step together: now the
    // one, now the other is a step late.
    const bool stepped = quirks_.lag && lap_ != lapBefore_;
    const bool countLate = stepped && lap_ % 2 == 0;
    const double npos = (stepped && !countLate ? pctBefore_ : pct_) + quirks_.line;
    graphics.lapPosition = f(npos - std::floor(npos));
    graphics.completedLaps = countLate ? lapBefore_ : lap_;
    graphics.position = car.position;
    graphics.pitState = car.pit == model::PitPlace::none ? 0 : 1;
    graphics.inPitStall = car.pit == model::PitPlace::stall;
    graphics.tcLevel = 4;
    graphics.absLevel = 3;
    graphics.timeLeftMs = race.remaining > 0 ? f(race.remaining * 1000) : 0;
    graphics.lapValid = car.lapValid;
    graphics.timingInvalid = !car.lapValid;
    setAcEvoText(graphics.firstName, car.firstName);
    setAcEvoText(graphics.surname, car.lastName);
    setAcEvoText(graphics.carModel, kind.modelKey);
    fillFlags(race);
    fillCoordinates(race);
}

inline void AcEvoPageWriter::fillFlags(const model::Race& race) {
    graphics.flag = race.yellow ? 5 : 0;
    graphics.globalFlag = race.chequered ? 8 : race.yellow ? 5 : race.started ? 2 : 0;
    graphics.whiteMarker = race.lastLap && !race.chequered;
}

/// The player's slot is not the first one.
inline void AcEvoPageWriter::fillCoordinates(const model::Race& race) {
    const size_t count = std::min<size_t>(race.cars.size(), vt::kAcMaxCars);
    graphics.activeCars = static_cast<uint8_t>(count);
    for (size_t i = 0; i < count && quirks_.coordinates; ++i) {
        const model::WorldAxes axes = model::worldAxes(race.cars[i]);
        float(&place)[3] = graphics.carPosition[(i + 3) % count];
        for (int k = 0; k < 3; ++k)
            place[k] = static_cast<float>(axes.position[k]);
    }
}

inline void AcEvoPageWriter::fillStatic(const model::Race& race) {
    setAcEvoText(statics.version, "1.0");
    setAcEvoText(statics.gameVersion, "0.1");
    const bool isRace = race.settings.session == model::SessionKind::race;
    const bool practice = race.settings.session == model::SessionKind::practice;
    statics.session = isRace ? 1 : practice ? 4 : 0;
    setAcEvoText(statics.sessionText, isRace ? "Race" : practice ? "Practice" : "Qualifying");
    statics.timedSession = race.settings.laps == 0;
    setAcEvoText(statics.track, race.circuit.name);
    setAcEvoText(statics.layout, "GP");
    statics.trackLength = static_cast<float>(race.circuit.length);
}

} // namespace player
