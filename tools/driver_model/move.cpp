// One step of one car along the road and across it.
#include "driver_model/race_line.h"
#include "driver_model/race_parts.h"

#include <algorithm>
#include <cmath>

namespace model {

namespace {

constexpr double kSlipAtLimit = 0.055; // rad of body slip at the limit of grip
constexpr double kSlipSeconds = 0.12;
constexpr double kCornering = 1.05; // of the grip, for whoever left the line
constexpr double kRunOff = 11;      // m beside the road, pit stalls among it
constexpr double kSteepest = 0.5;   // sideways per metre along the road
constexpr double kHardest = 0.85;   // of the grip, on the brakes

/// Second derivative of the lateral place: the line's own, or what leads to the wanted place. It is
/// counted along the road, so that a car that stands does not slide sideways.
double steerAcross(const Race& race, const Car& car, const Driver& driver) {
    double target = driver.wantLateral, slope = 0, bend = 0;
    if (driver.onLine) {
        slope = driver.lineSlope;
        bend = valueAt(race.circuit, race.line.bend, car.s);
    }
    const double reach = std::clamp(0.5 * car.speed, 6.0, 36.0);
    const double v2 = std::max(car.speed * car.speed, 25.0);
    const double gentle = driver.lateralGrip / v2;
    const double aside = target - car.lateral;
    // As steep towards it as it can still be straightened out gently.
    const double steep =
        std::min({std::abs(aside) / reach, 0.8 * std::sqrt(2 * gentle * std::abs(aside)), 0.25});
    const double lean = driver.slope - slope;
    const double turn = 2 * (std::copysign(steep, aside) - lean) / reach;
    // Straightening out may take all the tyres have.
    const double wish = bend + (turn * lean > 0 ? std::clamp(turn, -gentle, gentle) : turn);
    // The tyres hold a path so tight and no tighter, wherever the road goes.
    const double tightest =
        kCornering * gripAt(classOf(race, car), car.speed, race.settings.rain) / v2;
    const double along = std::max(0.3, 1 + car.lateral * driver.here.curvature);
    const double road = driver.here.curvature * along, room = tightest * along * along;
    return driver.onLine && std::abs(aside) < 0.4 && std::abs(lean) < 0.01
               ? wish
               : std::clamp(wish, road - room, road + room);
}

void setAttitude(const Race& race, Car& car, Driver& driver, double dt) {
    const CarClass& kind = classOf(race, car);
    const double course =
        driver.here.heading - std::atan2(driver.slope, 1 + car.lateral * driver.here.curvature);
    const double turned = wrapAngle(course - driver.course);
    const double headingBefore = car.heading;
    driver.course = wrapAngle(course);
    car.latAccel = -car.speed * turned / dt;
    const double used = car.latAccel / gripAt(kind, car.speed, race.settings.rain);
    // The nose points into the corner. Slowly, the rear wheels follow a tighter circle instead.
    const double wanted =
        -kSlipAtLimit * used +
        (car.speed > 1 ? 0.5 * kind.wheelBase * car.latAccel / (car.speed * car.speed) : 0);
    const double bodySlip = wrapAngle(car.slip - driver.spinShown);
    const double eased = bodySlip + (std::clamp(wanted, -0.15, 0.15) - bodySlip) *
                                        (1 - std::exp(-dt / kSlipSeconds)) *
                                        std::min(1.0, car.speed / 3);
    driver.spinShown = wrapAngle(driver.spinTurn);
    car.slip = wrapAngle(eased + driver.spinTurn);
    car.heading = wrapAngle(driver.course + car.slip);
    car.yawRate = wrapAngle(car.heading - headingBefore) / dt;
}

void putOnMap(Car& car, const CircuitPoint& here) {
    car.x = here.x + car.lateral * std::sin(here.heading);
    car.y = here.y - car.lateral * std::cos(here.heading);
}

void passMarks(Race& race, Car& car, double sBefore, double way, double dt, double used) {
    const Circuit& circuit = race.circuit;
    const double fuelRate = way > 0 ? used / way : 0;
    const auto timeAt = [&](double s) {
        return race.time + (way > 0 ? std::clamp((s - sBefore) / way, 0.0, 1.0) : 1) * dt;
    };
    for (int k = 1; k < 3; ++k) {
        const double mark = circuit.sectorStarts[k] * circuit.length;
        if (sBefore < mark && car.s >= mark && car.sector == k - 1 && car.lap >= 0)
            crossSector(race, car, k, timeAt(mark));
    }
    if (car.s < circuit.length) return;
    const double beyond = car.s - circuit.length;
    const double time = timeAt(circuit.length);
    if (circuit.closed) {
        car.s = beyond;
        crossLine(race, car, time, car.fuel + fuelRate * beyond);
        return;
    }
    // A stage begins anew, from a standstill.
    crossLine(race, car, time, car.fuel);
    Driver& driver = race.drivers[static_cast<size_t>(car.index)];
    car.s = 0;
    car.total = car.lap * circuit.length;
    car.lateral = driver.slope = driver.curving = 0;
    car.speed = car.longAccel = 0;
    driver.waitLeft = 5;
    driver.outLap = false;
    placeCar(race, car);
}

void passPits(Race& race, Car& car, double sBefore) {
    const Circuit& circuit = race.circuit;
    Driver& driver = race.drivers[static_cast<size_t>(car.index)];
    const double entry = circuit.pitEntry * circuit.length;
    const double exit = circuit.pitExit * circuit.length;
    if (car.pit == PitPlace::none) {
        if (car.stopping && !driver.served && sBefore < entry && car.s >= entry)
            car.pit = PitPlace::lane;
    } else if (car.pit == PitPlace::lane && driver.served && sBefore < exit && car.s >= exit) {
        car.pit = PitPlace::none;
        driver.served = false;
    }
    car.limiter = car.pit != PitPlace::none;
}

/// On the way between the pit lane and the road?
bool besidePits(const Circuit& circuit, const Car& car) {
    if (car.pit != PitPlace::none) return true;
    const double length = circuit.length;
    return circuit.pitEntry > circuit.pitExit && car.lateral > 0 &&
           (forwardWay(circuit, car.s, circuit.pitEntry * length) < 100 ||
            forwardWay(circuit, circuit.pitExit * length, car.s) < 150);
}

void noteRoad(const Circuit& circuit, Car& car, const CircuitPoint& here) {
    const bool lane = besidePits(circuit, car);
    int out = 0;
    for (int i = 0; i < 4; ++i) {
        const double side = i % 2 ? 0.85 : -0.85;
        const double at = car.lateral + side;
        const double beyond = std::max(at - here.widthRight, -at - here.widthLeft);
        Wheel& wheel = car.wheels[i];
        wheel.onKerb = !lane && beyond > -0.35 && beyond <= 0.8 && std::abs(here.curvature) > 0.002;
        wheel.offTrack = !lane && beyond > 0.8;
        out += wheel.offTrack;
    }
    const bool was = car.offTrack;
    car.offTrack = out == 4;
    if (!car.offTrack || was) return;
    car.lapValid = false;
    car.incidents += 1;
}

} // namespace

void placeCar(Race& race, Car& car) {
    Driver& driver = race.drivers[static_cast<size_t>(car.index)];
    driver.here = circuitAt(race.circuit, car.s);
    driver.lineLateral = valueAt(race.circuit, race.line.lateral, car.s);
    driver.lineSlope = valueAt(race.circuit, race.line.slope, car.s);
    if (car.pit == PitPlace::stall) car.lateral = driver.here.widthRight + 10;
    driver.course =
        driver.here.heading - std::atan2(driver.slope, 1 + car.lateral * driver.here.curvature);
    car.slip = 0;
    car.heading = wrapAngle(driver.course);
    car.pct = std::min(car.s / race.circuit.length, 1.0);
    car.latAccel = car.yawRate = 0;
    putOnMap(car, driver.here);
    runMachine(race, car, 0, 0);
}

void moveCar(Race& race, Car& car, double dt) {
    Driver& driver = race.drivers[static_cast<size_t>(car.index)];
    const CarClass& kind = classOf(race, car);
    const double v = car.speed;
    const double dragged = kind.drag * v * v;
    const double grip = gripAt(kind, v, race.settings.rain) * (car.offTrack ? 0.5 : 1);
    const double empty = car.fuel > 0 && !car.stalled ? 1 : 0;
    const double most = empty * driveAt(kind, v, race.settings.rain) - dragged;
    const double wish = (driver.wantSpeed - v) / dt;
    const double gain = std::clamp(wish, -kHardest * grip - dragged, std::max(most, -grip));
    car.speed = std::max(0.0, v + gain * dt);
    car.longAccel = (car.speed - v) / dt;

    const double bend = steerAcross(race, car, driver);
    // In the middle of the step, as far as the last one tells how the road goes on.
    const double half = v * dt / 2;
    const double curvature = driver.here.curvature + driver.curving * half;
    const double along = 1 + (car.lateral + driver.slope * half) * curvature;
    const double way = (v + car.speed) / 2 * dt / std::hypot(along, driver.slope + bend * half);
    const double slope = std::clamp(driver.slope + bend * way, -kSteepest, kSteepest);
    car.lateral += (driver.slope + slope) / 2 * way;
    car.lateral =
        std::clamp(car.lateral, -driver.here.widthLeft - kRunOff, driver.here.widthRight + kRunOff);
    driver.slope = slope;

    const double before = car.s;
    car.s += way;
    car.total += way;
    const double fuelBefore = car.fuel;
    runMachine(race, car, way, dt);
    passPits(race, car, before);
    passMarks(race, car, before, way, dt, fuelBefore - car.fuel);
    car.pct = std::min(car.s / race.circuit.length, 1.0);
    const double curvatureBefore = driver.here.curvature;
    driver.here = circuitAt(race.circuit, car.s);
    driver.curving = way > 0.01 ? (driver.here.curvature - curvatureBefore) / way : 0;
    driver.lineLateral = valueAt(race.circuit, race.line.lateral, car.s);
    driver.lineSlope = valueAt(race.circuit, race.line.slope, car.s);
    setAttitude(race, car, driver, dt);
    putOnMap(car, driver.here);
    noteRoad(race.circuit, car, driver.here);
    car.lapTime = std::max(0.0, race.time + dt - driver.lapStart);
    if (!race.circuit.closed && driver.waitLeft > 0) {
        driver.lapStart = driver.sectorStart = race.time + dt; // a run counts from its start
        car.lapTime = 0;
    }
    if (race.settings.session != SessionKind::race && car.pit == PitPlace::stall && car.lap == 0 &&
        car.total < race.circuit.length)
        driver.lapStart = driver.sectorStart = race.time + dt;
}

} // namespace model
