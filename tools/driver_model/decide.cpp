// What each driver wants to do next: how fast, and where on the road.
#include "driver_model/race_line.h"
#include "driver_model/race_parts.h"

#include <algorithm>
#include <cmath>

namespace model {

namespace {

constexpr double kSpace = 2.3;         // m between the middles of two cars side by side
constexpr double kTouch = 2.1;         // m: less than this and the car ahead is in the way
constexpr double kTight = 1.7;         // m beside each other that is too little
constexpr double kForesight = 0.5;     // s
constexpr double kBumper = 3.5;        // m along the road: still behind, not beside
constexpr double kAlongside = 6.8;     // m between two middles along the road
constexpr double kEdge = 1.1;          // m that a car keeps from the edge beside others
constexpr double kLaneBeside = 6;      // m from the road's edge to the pit lane
constexpr double kStallBeside = 10;    // and to the stalls
constexpr double kYellowPace = 0.4;    // of the racing speed
constexpr double kCoolDown = 0.65;     // after the chequered flag
constexpr double kFuelPace = 0.0003;   // of the speed per litre
constexpr double kFormationSpeed = 24; // m/s

struct Self {
    Race& race;
    Car& car;
    Driver& driver;
    const CarClass& kind;
    double brake; // m/s² that it can rely on
};

const Car& carAt(const Race& race, size_t ringPlace) {
    return race.cars[static_cast<size_t>(race.ring[ringPlace % race.ring.size()])];
}

/// Speed from which a car can still be at `then` after `way` metres.
double before(double then, double way, double braking) {
    return std::sqrt(then * then + 2 * braking * std::max(way, 0.0));
}

double freeSpeed(const Self& me) {
    const Race& race = me.race;
    const auto k = static_cast<size_t>(me.car.classIndex);
    const double s = me.car.s + me.car.speed / 60; // where this step ends
    double speed = valueAt(race.circuit, race.speeds[k], s);
    const double beside = std::abs(me.car.lateral - me.driver.lineLateral);
    const double off = std::max(std::clamp((beside - 0.6) / 2.5, 0.0, 1.0), me.driver.offLine);
    if (off > 0) {
        // Beside the line the road is as tight as it is, on the inside still tighter.
        const double radius = 1 + me.car.lateral * me.driver.here.curvature;
        const double centre = valueAt(race.circuit, race.centreSpeeds[k], s) *
                              std::sqrt(std::clamp(radius, 0.3, 1.0)) * 0.98;
        speed = std::lerp(speed, std::min(speed, centre), off);
    }
    double pace = me.driver.lapPace * (1 - kFuelPace * me.car.fuel);
    double wear = 0;
    for (const Wheel& wheel : me.car.wheels)
        wear += (1 - wheel.wear) / 4;
    pace *= 1 - 0.03 * wear;
    if (race.yellow) pace *= kYellowPace;
    if (me.car.finished) pace *= kCoolDown;
    if (!race.started) return std::min(speed * pace, kFormationSpeed);
    return speed * pace;
}

bool wantsToPit(const Self& me) {
    const Race& race = me.race;
    const Car& car = me.car;
    if (race.circuit.pitEntry <= race.circuit.pitExit) return false;
    if (car.finished) return true;
    if (race.chequered || car.lap < 0 || car.pct < 0.4 || car.pct > race.circuit.pitEntry)
        return car.stopping;
    if (race.lastLap && race.settings.session == SessionKind::race && !car.stopping) return false;
    const int every = race.settings.pitEvery;
    const int shifted = car.lap + 1 + (car.index % 3) * (every > 3);
    if (every > 0 && shifted % every == 0) return true;
    const double lapNeeds = me.kind.fuelPerKm * race.circuit.length / 1000;
    if (car.fuel < lapNeeds * (1.15 + 1 - car.pct)) return true;
    return car.stopping || (race.settings.session != SessionKind::race && every == 0 &&
                            (car.lap + 1 + car.index) % 8 == 0);
}

/// Litres for what is left of the race, as far as they go in.
double fuelToTake(const Self& me) {
    const Race& race = me.race;
    const double lapNeeds = me.kind.fuelPerKm * race.circuit.length / 1000;
    double laps = race.settings.laps - me.car.lap;
    if (race.settings.laps == 0)
        laps = race.remaining / race.lapTimes[static_cast<size_t>(me.car.classIndex)] + 1;
    const double needed = lapNeeds * (std::max(laps, 0.0) + 1.5);
    return std::clamp(needed - me.car.fuel, 0.0, std::max(0.0, me.kind.fuelCapacity - me.car.fuel));
}

void enterStall(Self& me) {
    Driver& driver = me.driver;
    me.car.pit = PitPlace::stall;
    me.car.pitStops += 1;
    driver.served = true;
    driver.fuelWanted = fuelToTake(me);
    driver.waitLeft = me.car.finished ? 1e9 : 8 + driver.fuelWanted / 2.6;
}

void leaveStall(Self& me) {
    me.car.pit = PitPlace::lane;
    me.car.stopping = false;
}

/// Keeps the car still while it has to wait. True when it does.
bool waits(Self& me, double dt) {
    Driver& driver = me.driver;
    if (!driver.started || driver.waitLeft > 0) {
        if (driver.waitLeft > 0) driver.waitLeft -= dt;
        if (driver.waitLeft > 0 || !driver.started) {
            driver.wantSpeed = 0;
            if (me.car.pit == PitPlace::stall && driver.fuelWanted > 0) {
                const double now = std::min(driver.fuelWanted, 2.8 * dt);
                me.car.fuel += now;
                driver.fuelWanted -= now;
            }
            return true;
        }
        driver.waitLeft = 0;
        if (me.car.pit == PitPlace::stall) leaveStall(me);
    }
    return false;
}

/// The line, the pit lane or the stall, as if there were nobody else.
void wantPlace(Self& me) {
    const Circuit& circuit = me.race.circuit;
    Driver& driver = me.driver;
    const double s = me.car.s;
    const double toEntry = forwardWay(circuit, s, circuit.pitEntry * circuit.length);
    const bool toLane = me.car.stopping && !driver.served && me.car.pit == PitPlace::none &&
                        toEntry < 90 && toEntry > 0;
    driver.lateralGrip = 2.5;
    if (me.car.pit == PitPlace::none && !toLane) {
        driver.onLine = me.race.started && me.car.lap >= 0;
        driver.wantLateral = driver.lineLateral + driver.lapOffset;
        if (me.car.lap < 0) { // two columns up to the line
            driver.onLine = false;
            driver.wantLateral = me.car.gridPosition % 2 ? -2.4 : 2.4;
        }
        return;
    }
    const double stall = me.car.stallPct * circuit.length;
    const bool toStall = !driver.served && forwardWay(circuit, s, stall) < 22;
    const bool fromStall = driver.served && forwardWay(circuit, stall, s) < 6;
    driver.onLine = false;
    driver.wantLateral =
        driver.here.widthRight + (toStall || fromStall ? kStallBeside : kLaneBeside);
    driver.lateralGrip = 5;
}

void limitForPits(Self& me) {
    const Circuit& circuit = me.race.circuit;
    Driver& driver = me.driver;
    Car& car = me.car;
    const double soft = 0.6 * me.brake;
    if (car.pit == PitPlace::none) {
        if (!car.stopping || driver.served) return;
        const double toEntry = forwardWay(circuit, car.s, circuit.pitEntry * circuit.length);
        // Slow enough already while it steers to the lane, which is beside the road.
        const double limit = circuit.pitLimit * 0.99;
        driver.wantSpeed =
            std::min(driver.wantSpeed, before(limit, toEntry - 50 - car.speed / 60, soft));
        return;
    }
    driver.wantSpeed = std::min(driver.wantSpeed, circuit.pitLimit * 0.99);
    if (driver.served) return;
    const double way = forwardWay(circuit, car.s, car.stallPct * circuit.length);
    if (way < 200) driver.wantSpeed = std::min(driver.wantSpeed, before(0, way - 0.15, 3));
    if (way < 0.35 || way > circuit.length - 1) {
        driver.wantSpeed = 0;
        if (car.speed < 0.1) enterStall(me);
    }
}

/// Nobody within reach on that side of the car to be passed?
bool sideFree(const Self& me, size_t place, double target) {
    const auto count = me.race.ring.size();
    for (size_t k = 1; k < std::min<size_t>(count, 6); ++k)
        for (const size_t other : {place + k, place + count - k}) {
            const Car& car = carAt(me.race, other);
            double way = forwardWay(me.race.circuit, me.car.s, car.s);
            if (way > me.race.circuit.length / 2) way -= me.race.circuit.length;
            if (&car == &me.car || way < -9 || way > 9) continue;
            if (std::abs(car.lateral - target) < kSpace) return false;
        }
    return true;
}

void startPassing(Self& me, const Car& slow, size_t place) {
    const CircuitPoint& here = me.driver.here;
    const double right = slow.lateral + kSpace + 0.3, left = slow.lateral - kSpace - 0.3;
    const bool rightFits = right < here.widthRight - kEdge && sideFree(me, place, right);
    const bool leftFits = left > -(here.widthLeft - kEdge) && sideFree(me, place, left);
    if (!rightFits && !leftFits) return;
    const bool nearer = std::abs(right - me.car.lateral) < std::abs(left - me.car.lateral);
    me.driver.passSide = rightFits && (nearer || !leftFits) ? 1 : -1;
    me.driver.passing = slow.index;
    me.driver.passTime = 0;
}

void goOnPassing(Self& me, double dt) {
    Driver& driver = me.driver;
    if (driver.passing < 0) return;
    const Car& slow = me.race.cars[static_cast<size_t>(driver.passing)];
    double way = forwardWay(me.race.circuit, me.car.s, slow.s);
    if (way > me.race.circuit.length / 2) way -= me.race.circuit.length;
    driver.passTime += dt;
    const double range = 14 + 0.6 * me.car.speed;
    if (way < -9 || way > range || driver.passTime > 14 || slow.pit != PitPlace::none) {
        driver.passing = -1;
        return;
    }
    const double want = slow.lateral + driver.passSide * (kSpace + 0.3);
    const double low = -(driver.here.widthLeft - kEdge), high = driver.here.widthRight - kEdge;
    driver.wantLateral = std::clamp(want, low, high);
    driver.onLine = false;
}

void follow(Self& me, const Car& ahead, double way, double dt, size_t place, double free) {
    const double gap = way - kCarLength;
    const double closing = ahead.speed + 0.7 * (gap - 1.5 - 0.22 * me.car.speed);
    const double safe = before(ahead.speed, gap - 1.0, 0.75 * me.brake);
    const double speed = gap < 0.6 ? 0.92 * ahead.speed : std::max(0.0, std::min(closing, safe));
    Driver& driver = me.driver;
    if (speed >= driver.wantSpeed) return;
    driver.wantSpeed = speed;
    const bool may = me.race.started && !me.race.yellow && me.car.lap >= 0 &&
                     me.car.pit == PitPlace::none && ahead.pit == PitPlace::none;
    const bool quicker = free > ahead.speed * 1.004 + 0.1;
    driver.blockedTime = may && quicker && way < 14 + 0.6 * me.car.speed
                             ? driver.blockedTime + dt
                             : std::max(0.0, driver.blockedTime - dt);
    if (may && driver.passing < 0 && driver.blockedTime > 0.4) {
        startPassing(me, ahead, place);
        driver.blockedTime = 0;
    }
}

/// How far two cars will be apart across the road, now or soon, whichever is less.
double besideSoon(const Self& me, const Car& other) {
    const Driver& his = me.race.drivers[static_cast<size_t>(other.index)];
    const double now = other.lateral - me.car.lateral;
    const double drift = his.slope * other.speed - me.driver.slope * me.car.speed;
    const double soon = now + kForesight * drift;
    return now * soon <= 0 ? 0 : std::min(std::abs(now), std::abs(soon));
}

void mindOthers(Self& me, size_t place, double dt, double free) {
    const Race& race = me.race;
    const size_t count = race.ring.size();
    Driver& driver = me.driver;
    double low = -1e9, high = 1e9;
    const auto giveRoom = [&](const Car& other) {
        if (me.car.pit != PitPlace::none || other.pit != PitPlace::none) return;
        if (other.lateral > me.car.lateral)
            high = std::min(high, other.lateral - kSpace);
        else
            low = std::max(low, other.lateral + kSpace);
    };
    const double range = 12 + me.car.speed * (1.2 + me.car.speed / (2 * me.brake));
    for (size_t k = 1; k < std::min<size_t>(count, 14); ++k) {
        const Car& other = carAt(race, place + k);
        const double way = forwardWay(race.circuit, me.car.s, other.s);
        if (way > range) break;
        if (other.pit == PitPlace::stall) continue;
        const double closing = std::max(0.0, me.car.speed - other.speed);
        const double beside = std::abs(other.lateral - me.car.lateral);
        if (way < kAlongside + 0.5 * closing && beside >= kTouch - 0.3) giveRoom(other);
        if (beside < kTouch || (way > kBumper && besideSoon(me, other) < kTight))
            follow(me, other, way, dt, place, free);
    }
    for (size_t k = 1; k < std::min<size_t>(count, 8); ++k) {
        const Car& other = carAt(race, place + count - k);
        const double way = forwardWay(race.circuit, other.s, me.car.s);
        if (way > 28) break;
        if (other.pit == PitPlace::stall) continue;
        const double closing = std::max(0.0, other.speed - me.car.speed);
        if (way < kAlongside + 0.8 * closing && std::abs(other.lateral - me.car.lateral) >= 1.2)
            giveRoom(other);
    }
    // The place a little further on counts too: the line may cross to where the other car is.
    const double soon =
        valueAt(race.circuit, race.line.lateral, me.car.s + std::max(8.0, 0.4 * me.car.speed));
    const double ahead = driver.onLine ? soon + driver.lapOffset : driver.wantLateral;
    if (driver.wantLateral <= high && driver.wantLateral >= low && ahead <= high && ahead >= low)
        return;
    driver.onLine = false;
    driver.wantLateral = low > high ? (low + high) / 2 : std::clamp(driver.wantLateral, low, high);
    if (ahead > high) driver.wantLateral = std::min(driver.wantLateral, std::max(high, low));
    if (ahead < low) driver.wantLateral = std::max(driver.wantLateral, std::min(high, low));
    if (me.car.pit == PitPlace::none && me.race.started)
        driver.wantLateral = std::clamp(driver.wantLateral, -(driver.here.widthLeft - kEdge),
                                        driver.here.widthRight - kEdge);
    driver.lateralGrip = 4;
}

} // namespace

void sortRing(Race& race) {
    std::vector<int>& ring = race.ring;
    const auto s = [&](int i) { return race.cars[static_cast<size_t>(i)].s; };
    // Whoever crossed the line stands last and belongs first.
    size_t crossed = 0;
    while (crossed < ring.size() && ring.size() > 1 && s(ring.back()) < s(ring.front()) &&
           crossed < 8) {
        std::rotate(ring.begin(), ring.end() - 1, ring.end());
        crossed += 1;
    }
    for (size_t i = 1; i < ring.size(); ++i)
        for (size_t k = i; k > 0 && s(ring[k]) < s(ring[k - 1]); --k)
            std::swap(ring[k], ring[k - 1]);
    for (size_t i = 0; i < ring.size(); ++i)
        race.drivers[static_cast<size_t>(ring[i])].ringPlace = i;
}

void decide(Race& race, Car& car, double dt) {
    Driver& driver = race.drivers[static_cast<size_t>(car.index)];
    const CarClass& kind = classOf(race, car);
    Self me{race, car, driver, kind, 0.9 * gripAt(kind, car.speed, race.settings.rain)};
    wantPlace(me);
    driver.wantSpeed = freeSpeed(me);
    const double free = driver.wantSpeed;
    if (waits(me, dt)) return;
    if (car.pit == PitPlace::none && !driver.served) car.stopping = wantsToPit(me);
    goOnPassing(me, dt);
    if (race.circuit.closed) mindOthers(me, driver.ringPlace, dt, free);
    const bool turned = std::abs(driver.slope - driver.lineSlope) > 0.03;
    const double change = !driver.onLine || turned ? 4 * dt : -1.5 * dt;
    driver.offLine = std::clamp(driver.offLine + change, 0.0, 1.0);
    limitForPits(me);
}

} // namespace model
