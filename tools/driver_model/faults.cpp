// What goes wrong on request.
#include "driver_model/race_line.h"
#include "driver_model/race_parts.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace model {

namespace {

constexpr double kSpinSeconds = 2.6; // of a full turn
constexpr double kSpinWait = 1.5;    // s to sort things out afterwards
constexpr double kSpinDecel = 7;     // m/s²
constexpr double kBrakeRange = 350;  // m before a corner in which its braking lies

struct Ill {
    Race& race;
    Car& car;
    Driver& driver;
    const Fault& fault;
    int& state; // 0 to come, 1 happening, 2 over
};

bool reached(const Ill& ill, double s) {
    return ill.car.lap > ill.fault.lap || (ill.car.lap == ill.fault.lap && ill.car.s >= s);
}

const Corner* cornerOf(const Ill& ill) {
    const auto i = static_cast<size_t>(ill.fault.corner);
    return ill.fault.corner >= 0 && i < ill.race.corners.size() ? &ill.race.corners[i] : nullptr;
}

/// Where the line is slowest round the corner's apex.
double slowest(const Race& race, const Car& car, const Corner& corner) {
    const std::vector<double>& speeds = race.speeds[static_cast<size_t>(car.classIndex)];
    const double end = forwardWay(race.circuit, corner.entry, corner.exit);
    double best = 1e9, at = corner.apex;
    for (double way = 0; way <= end; way += 2) {
        const double v = valueAt(race.circuit, speeds, corner.entry + way);
        if (v < best) {
            best = v;
            at = corner.entry + way;
        }
    }
    return at;
}

/// Brakes as the line would, only some metres later; runs wide, and has to wait for the throttle.
void brakeLate(Ill ill) {
    const Corner* corner = cornerOf(ill);
    if (!corner || ill.car.lap != ill.fault.lap) {
        if (ill.car.lap > ill.fault.lap) ill.state = 2;
        return;
    }
    const Race& race = ill.race;
    const double late = ill.fault.amount;
    const double apex = slowest(race, ill.car, *corner);
    double past = forwardWay(race.circuit, apex, ill.car.s); // m beyond the slowest place
    if (past > race.circuit.length / 2) past -= race.circuit.length;
    const double recovers = late + 60;
    if (past < -kBrakeRange) return;
    if (past > recovers) {
        ill.state = 2;
        return;
    }
    ill.state = 1;
    const std::vector<double>& speeds = race.speeds[static_cast<size_t>(ill.car.classIndex)];
    const double s = ill.car.s + ill.car.speed / 60;
    const double usual = valueAt(race.circuit, speeds, s);
    const double later = valueAt(race.circuit, speeds, s - late);
    if (past < late) {
        if (later > usual) ill.driver.wantSpeed *= later / usual;
        if (past > 0) ill.driver.wantSpeed = std::min(ill.driver.wantSpeed, later);
    } else {
        const double worst = std::min(0.3, 0.012 * late);
        ill.driver.wantSpeed *= 1 - worst * (recovers - past) / (recovers - late);
    }
    if (past < -late) return;
    const double outside = corner->curvature > 0 ? 1 : -1;
    const CircuitPoint& here = ill.driver.here;
    const double edge = outside > 0 ? here.widthRight : here.widthLeft;
    const double wide = std::min(0.25 * late, std::max(0.0, edge + (late > 25 ? 2.5 : -0.8) -
                                                                outside * ill.driver.lineLateral));
    ill.driver.wantLateral = ill.driver.lineLateral + outside * wide;
    ill.driver.onLine = true; // its shape, further out
    ill.driver.lateralGrip = 6;
}

void spin(Ill ill, double dt) {
    const Corner* corner = cornerOf(ill);
    if (!corner) {
        ill.state = 2;
        return;
    }
    Driver& driver = ill.driver;
    if (ill.state == 0) {
        if (!reached(ill, corner->apex)) return;
        ill.state = 1;
        driver.spinTime = 0;
        ill.car.spinning = true;
        ill.car.incidents += 2;
        ill.car.lapValid = false;
    }
    driver.spinTime += dt;
    const double inside = corner->curvature > 0 ? 1 : -1;
    const double share = std::clamp(driver.spinTime / kSpinSeconds, 0.0, 1.0);
    driver.spinTurn = inside * 2 * std::numbers::pi * share * share * (3 - 2 * share);
    driver.wantSpeed = std::max(0.0, ill.car.speed - kSpinDecel * dt);
    const double edge = inside > 0 ? driver.here.widthRight : driver.here.widthLeft;
    driver.wantLateral = inside * (edge + 2);
    driver.onLine = false;
    driver.lateralGrip = 5;
    if (share >= 1 && ill.car.speed < 0.1) {
        ill.state = 2;
        driver.spinTime = -1;
        driver.spinTurn = 0;
        driver.waitLeft = kSpinWait;
        ill.car.spinning = false;
    }
}

void stall(Ill ill, double dt) {
    if (ill.state == 0) {
        if (!reached(ill, ill.fault.at * ill.race.circuit.length)) return;
        ill.state = 1;
        ill.car.stalled = true;
        ill.driver.offTime = ill.fault.amount;
    }
    ill.driver.wantSpeed = std::max(0.0, ill.car.speed - 4.5 * dt);
    if (ill.car.speed < 0.1) ill.driver.offTime -= dt;
    if (ill.driver.offTime > 0) return;
    ill.state = 2;
    ill.car.stalled = false;
}

void leaveRoad(Ill ill, double dt) {
    Driver& driver = ill.driver;
    if (ill.state == 0) {
        if (!reached(ill, ill.fault.at * ill.race.circuit.length)) return;
        ill.state = 1;
        driver.offTime = ill.fault.amount;
        driver.passSide = driver.here.curvature > 0 ? 1 : -1; // to the outside
    }
    const int side = driver.passSide;
    driver.passing = -1;
    const double edge = side > 0 ? driver.here.widthRight : driver.here.widthLeft;
    driver.wantLateral = side * (edge + 2.2);
    driver.onLine = false;
    driver.lateralGrip = 4;
    // Grass: half the grip, and it drags.
    const bool out = side * ill.car.lateral > edge;
    if (out) {
        driver.wantSpeed = std::min(0.6 * driver.wantSpeed, std::max(8.0, ill.car.speed - 5 * dt));
        driver.offTime -= dt;
    }
    if (driver.offTime <= 0) ill.state = 2;
}

/// Spreads the loss over what is left of the lap.
void driveSlowly(Ill ill) {
    const double from = ill.fault.at * ill.race.circuit.length;
    if (ill.car.lap > ill.fault.lap) {
        ill.state = 2;
        return;
    }
    if (!reached(ill, from)) return;
    Race& race = ill.race;
    if (ill.state == 0) {
        ill.state = 1;
        const std::vector<double>& speeds = race.speeds[static_cast<size_t>(ill.car.classIndex)];
        double left = 0;
        for (auto i = static_cast<size_t>(ill.car.s / race.circuit.step); i < speeds.size(); ++i)
            left += race.circuit.step * race.line.stretch[i] / speeds[i];
        left /= ill.driver.lapPace * (1 - 0.0003 * ill.car.fuel);
        ill.driver.lapPace *= left / (left + std::max(0.0, ill.fault.amount));
    }
}

} // namespace

void applyFaults(Race& race, Car& car, double dt) {
    for (size_t i = 0; i < race.settings.faults.size(); ++i) {
        const Fault& fault = race.settings.faults[i];
        if (fault.car != car.index || race.faultStates[i] == 2 || car.pit != PitPlace::none)
            continue;
        Ill ill{race, car, race.drivers[static_cast<size_t>(car.index)], fault,
                race.faultStates[i]};
        switch (fault.kind) {
        case FaultKind::lateBrake:
            brakeLate(ill);
            break;
        case FaultKind::spin:
            spin(ill, dt);
            break;
        case FaultKind::stall:
            stall(ill, dt);
            break;
        case FaultKind::offTrack:
            leaveRoad(ill, dt);
            break;
        case FaultKind::slowLap:
            driveSlowly(ill);
            break;
        }
    }
}

} // namespace model
