// The car around the driver: pedals, gears, engine, fuel, wheels.
#include "driver_model/race_line.h"
#include "driver_model/race_parts.h"

#include <algorithm>
#include <cmath>

namespace model {

namespace {

constexpr double kFirstGear = 0.27;    // of the top speed
constexpr double kUndersteer = 0.0022; // rad of steering per m/s²
constexpr double kAxleSlip = 0.075;    // rad of tyre slip at the limit
constexpr double kTyreAir = 172;       // kPa at 20 °C
constexpr double kWearPerMetre = 1 / 180e3;

double gearSpeed(const CarClass& kind, int gear) {
    const double share = kind.gears > 1 ? static_cast<double>(gear - 1) / (kind.gears - 1) : 1;
    return kind.topSpeed * std::pow(kFirstGear, 1 - share);
}

void shift(const Car& car, const CarClass& kind, int& gear) {
    gear = std::clamp(gear, 1, kind.gears);
    while (gear < kind.gears && car.speed > 0.97 * gearSpeed(kind, gear))
        gear += 1;
    while (gear > 1 && car.speed < 0.80 * gearSpeed(kind, gear - 1))
        gear -= 1;
}

void runEngine(const Race& race, Car& car, double dt) {
    const CarClass& kind = classOf(race, car);
    const bool stands = car.speed < 0.05;
    const bool waits = stands && race.drivers[static_cast<size_t>(car.index)].wantSpeed <= 0;
    double rpm = kind.idleRpm;
    if (car.stalled || !(car.fuel > 0)) {
        car.gear = stands ? 0 : car.gear;
        rpm = stands ? 0 : kind.idleRpm;
    } else if (waits) {
        car.gear = car.pit == PitPlace::stall ? 0 : 1;
        car.clutch = car.gear;
        const bool grid = !race.started && race.settings.session == SessionKind::race;
        rpm = grid ? 0.55 * kind.maxRpm : kind.idleRpm;
    } else {
        shift(car, kind, car.gear);
        const double turned = car.speed / gearSpeed(kind, car.gear) * kind.maxRpm;
        // The clutch slips while the car is slower than the engine may be.
        const double slips = 0.45 * kind.maxRpm * std::max(0.2, car.throttle);
        rpm = car.gear == 1 ? std::max({turned, slips, kind.idleRpm})
                            : std::max(turned, kind.idleRpm);
        car.clutch = rpm > turned + 1 ? std::clamp(1 - turned / rpm, 0.0, 1.0) : 0;
    }
    if (car.spinning) {
        car.clutch = 1;
        rpm = kind.idleRpm;
    }
    car.rpm += (rpm - car.rpm) * (dt > 0 ? 1 - std::exp(-dt / 0.04) : 1);
}

void pressPedals(const Race& race, Car& car) {
    const CarClass& kind = classOf(race, car);
    const double drag = kind.drag * car.speed * car.speed;
    const double force = car.longAccel + drag;
    const double grip = gripAt(kind, car.speed, race.settings.rain);
    car.throttle = car.brake = car.clutch = 0;
    if (car.stalled || car.spinning) {
        car.brake = car.spinning ? 0.8 : 0;
    } else if (force > 0.02) {
        car.throttle = std::clamp(force / driveAt(kind, car.speed, race.settings.rain), 0.0, 1.0);
    } else if (force < -0.4) {
        car.brake = std::clamp(-force / (0.98 * grip), 0.0, 1.0);
    } else if (car.speed < 0.05) {
        car.brake = 0.5;
    }
    car.absActive = car.brake > 0.9 && car.speed > 8;
}

void turnWheel(const Race& race, Car& car) {
    const CarClass& kind = classOf(race, car);
    const double v2 = std::max(car.speed * car.speed, 1.0);
    double road = car.latAccel * (kind.wheelBase / v2 + kUndersteer);
    if (car.spinning) road = car.slip > 0 ? 0.3 : -0.3;           // against the turn
    const double lock = kind.wheelRotation * 0.5 * 0.01745329252; // rad to one side
    car.wheelAngle = std::clamp(road * kind.steerRatio, -lock, lock);
    car.steer = car.wheelAngle / lock;
}

void burn(const Race& race, Car& car, double way, double dt) {
    const CarClass& kind = classOf(race, car);
    const Driver& driver = race.drivers[static_cast<size_t>(car.index)];
    const bool runs = !car.stalled && car.fuel > 0;
    if (!runs) return;
    // Full throttle costs more than its share of the way; a mean lap has about 0.6 of it.
    const double load = 0.35 + 1.08 * car.throttle;
    const double litres = kind.fuelPerKm / 1000 * way * load * driver.lapBurn + 0.0004 * dt;
    const double used = std::min(litres, car.fuel);
    car.fuel -= used;
    car.fuelUsedLap += used;
}

void warmFluids(const Race& race, Car& car, double dt) {
    const CarClass& kind = classOf(race, car);
    const double work = car.throttle * car.rpm / kind.maxRpm;
    const double cooling = std::min(car.speed, 60.0) / 60;
    const double air = race.settings.airTemp - 20;
    car.waterTemp += (84 + 14 * work - 4 * cooling + 0.3 * air - car.waterTemp) * dt / 25;
    car.oilTemp += (92 + 22 * work - 4 * cooling + 0.3 * air - car.oilTemp) * dt / 40;
    car.oilPressure =
        car.rpm < 1 ? 0 : 1.2 + 4.6 * car.rpm / kind.maxRpm - 0.012 * (car.oilTemp - 90);
}

void workTyres(const Race& race, Car& car, double way, double dt) {
    const CarClass& kind = classOf(race, car);
    const double grip = gripAt(kind, car.speed, race.settings.rain);
    const double across = std::clamp(car.latAccel / grip, -1.3, 1.3);
    const double along = std::clamp(car.longAccel / grip, -1.0, 1.0);
    const double rear = car.speed > 1 ? -across * kAxleSlip : 0;
    const double front = car.speed > 1 ? rear * 1.12 : 0;
    for (int i = 0; i < 4; ++i) {
        Wheel& wheel = car.wheels[i];
        const bool right = i % 2 == 1, back = i >= 2;
        // Weight goes to the outside, to the front on the brakes, to the rear on the throttle.
        const double load = 1 - (right ? 0.45 : -0.45) * across + (back ? 0.25 : -0.25) * along;
        wheel.slipAngle = car.spinning ? car.slip : back ? rear : front;
        const double driven = back ? 0.09 * std::max(0.0, car.throttle * along / 0.4) : 0;
        wheel.slipRatio = car.speed < 0.5 ? 0
                          : car.brake > 0 ? -0.1 * car.brake
                                          : std::min(driven, 0.12);
        const double slide =
            std::abs(wheel.slipAngle) / kAxleSlip + std::abs(wheel.slipRatio) / 0.1;
        const double work = std::min(slide, 3.0) * load * std::min(car.speed, 70.0) / 40;
        const double road = race.settings.trackTemp - 30 - 15 * race.settings.rain;
        const double aim = 62 + 0.6 * road + 32 * work;
        wheel.tempC += (aim - wheel.tempC) * dt / 22;
        wheel.pressure = kTyreAir * (273.15 + wheel.tempC) / 353.15;
        wheel.wear = std::max(0.0, wheel.wear - way * kWearPerMetre * (0.4 + 0.5 * work));
    }
}

} // namespace

void runMachine(Race& race, Car& car, double way, double dt) {
    pressPedals(race, car);
    turnWheel(race, car);
    runEngine(race, car, dt);
    burn(race, car, way, dt);
    warmFluids(race, car, dt);
    workTyres(race, car, way, dt);
}

} // namespace model
