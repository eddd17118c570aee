// Start, flags, laps, sectors and ranks.
#include "driver_model/field.h"
#include "driver_model/race_parts.h"

#include <algorithm>
#include <cmath>

namespace model {

namespace {

constexpr double kFormation = 10;    // s on the standing grid
constexpr double kGreenBefore = 120; // m before the line at which a rolling start goes
constexpr double kFrontStep = 10;    // m

Driver& driverOf(Race& race, const Car& car) {
    return race.drivers[static_cast<size_t>(car.index)];
}

bool isRace(const Race& race) {
    return race.settings.session == SessionKind::race && race.circuit.closed;
}

void watchStart(Race& race) {
    if (race.started) return;
    if (race.settings.rollingStart) {
        for (const Car& car : race.cars)
            race.started = race.started || car.total > -kGreenBefore;
    } else {
        race.started = race.time >= kFormation;
    }
    if (!race.started) return;
    race.startTime = race.time;
    // On a standing grid everybody needs his own moment.
    for (Car& car : race.cars) {
        Driver& driver = driverOf(race, car);
        if (!driver.started) driver.waitLeft = 0.2 + 0.3 * chance(race, car.index, -1, 14);
        driver.started = true;
    }
}

double usualLap(const Race& race, const Car& car) {
    if (car.lastLap > 0) return car.lastLap;
    return race.lapTimes[static_cast<size_t>(car.classIndex)] /
           race.drivers[static_cast<size_t>(car.index)].pace;
}

/// The leader begins a lap: is it the last one, or is it over?
void leaderCrossed(Race& race, const Car& car, double time) {
    if (race.chequered) return;
    if (race.settings.laps > 0) {
        race.chequered = car.lap >= race.settings.laps;
        race.lastLap = !race.chequered && car.lap == race.settings.laps - 1;
        return;
    }
    const double left = race.startTime + race.settings.minutes * 60 - time;
    race.chequered = left <= 0 && car.lap > 0;
    race.lastLap = !race.chequered && left < usualLap(race, car);
}

void finish(Race& race, Car& car, double time) {
    Driver& driver = driverOf(race, car);
    car.finished = true;
    driver.finishTime = time;
    driver.finishLaps = car.lap;
    driver.finishGap = car.gapToLeader;
}

bool ahead(const Race& race, const Car& a, const Car& b) {
    if (!isRace(race)) {
        if (a.bestLap > 0 && b.bestLap > 0) return a.bestLap < b.bestLap;
        return a.bestLap > 0 && !(b.bestLap > 0);
    }
    const Driver& da = race.drivers[static_cast<size_t>(a.index)];
    const Driver& db = race.drivers[static_cast<size_t>(b.index)];
    const double wayA = a.finished ? da.finishLaps * race.circuit.length : a.total;
    const double wayB = b.finished ? db.finishLaps * race.circuit.length : b.total;
    if (wayA != wayB) return wayA > wayB;
    return a.finished && b.finished && da.finishTime < db.finishTime;
}

/// Notes when the first car came by each mark since the line.
void noteFront(Race& race, const Car& first) {
    const double before = driverOf(race, first).front;
    for (double mark = static_cast<double>(race.frontTimes.size()) * kFrontStep;
         mark <= first.total; mark += kFrontStep) {
        const double way = first.total - before;
        const double left = way > 0 ? (first.total - mark) / way : 0;
        const double lastStep = race.time - driverOf(race, first).stepTime;
        race.frontTimes.push_back(race.time - std::min(left, 1.0) * lastStep);
    }
}

double gapOf(const Race& race, const Car& car, const Car& leader) {
    const Driver& driver = race.drivers[static_cast<size_t>(car.index)];
    if (car.finished) return driver.finishGap;
    if (&car == &leader) return 0;
    const double at = car.total / kFrontStep;
    const auto marks = static_cast<double>(race.frontTimes.size());
    if (at < 0 || marks < 2) return std::max(0.0, (leader.total - car.total) / 25);
    const double from = std::min(std::floor(at), marks - 2);
    const auto i = static_cast<size_t>(from);
    const double then =
        std::lerp(race.frontTimes[i], race.frontTimes[i + 1], std::min(at - from, 1.0));
    return std::max(0.0, race.time - then);
}

void rankClasses(Race& race) {
    int seen[4] = {};
    for (size_t i = 0; i < race.order.size(); ++i) {
        Car& car = race.cars[static_cast<size_t>(race.order[i])];
        car.position = static_cast<int>(i) + 1;
        car.classPosition = ++seen[car.classIndex];
    }
}

} // namespace

void watchSession(Race& race, double dt) {
    watchStart(race);
    race.yellow = std::any_of(
        race.settings.yellows.begin(), race.settings.yellows.end(),
        [&](const Span& span) { return race.time >= span.from && race.time < span.to; });
    if (race.settings.laps > 0 || !race.started) return;
    const double left = race.startTime + race.settings.minutes * 60 - race.time - dt;
    race.remaining = std::max(0.0, left);
    if (race.remaining > 0 || race.chequered) return;
    if (isRace(race))
        race.lastLap = true; // the running lap, when the clock was quicker than expected
    else
        race.chequered = true;
}

void beginLap(Race& race, Car& car, double time) {
    Driver& driver = driverOf(race, car);
    driver.lapStart = driver.sectorStart = time;
    const double slower = race.settings.paceNoise * bellChance(race, car.index, car.lap, 1);
    driver.lapPace = std::min(1.0, driver.pace / (1 + slower));
    driver.lapOffset = 0.25 * bellChance(race, car.index, car.lap, 2);
    driver.lapBurn = 1 + 0.012 * bellChance(race, car.index, car.lap, 3);
    car.fuelUsedLap = 0;
    car.lapTime = 0;
    car.lapValid = true;
    car.sector = 0;
}

void crossSector(Race& race, Car& car, int sector, double time) {
    Driver& driver = driverOf(race, car);
    const double took = time - driver.sectorStart;
    car.sectorTime[car.sector] = took;
    if (car.lap >= 0 && (!(car.bestSector[car.sector] > 0) || took < car.bestSector[car.sector]))
        car.bestSector[car.sector] = took;
    driver.sectorStart = time;
    car.sector = sector;
}

void crossLine(Race& race, Car& car, double time, double fuelThen) {
    Driver& driver = driverOf(race, car);
    const double usedBeyond = fuelThen - car.fuel;
    if (car.lap >= 0) {
        crossSector(race, car, 0, time);
        LapRecord record;
        record.car = car.index;
        record.lap = car.lap;
        record.time = time - driver.lapStart;
        record.fuelUsed = car.fuelUsedLap - usedBeyond;
        std::copy(std::begin(car.sectorTime), std::end(car.sectorTime), record.sectors);
        record.valid = car.lapValid;
        record.inLap = car.pit != PitPlace::none;
        record.outLap = driver.outLap;
        if (!car.finished) {
            race.laps.push_back(record);
            car.lastLap = record.time;
            const bool counts = record.valid && !record.inLap && !record.outLap;
            if (counts && (!(car.bestLap > 0) || record.time < car.bestLap))
                car.bestLap = record.time;
        }
        driver.outLap = record.inLap;
    }
    car.lap += 1;
    if (car.lap == 0) driver.outLap = false;
    beginLap(race, car, time);
    car.fuelUsedLap = usedBeyond;
    if (car.finished) return;
    const bool leads = isRace(race) ? race.order.front() == car.index
                                    : race.settings.laps > 0 && car.lap >= race.settings.laps;
    // The order is of the last step: whoever has gone further by now leads.
    bool first = isRace(race) && car.lap > 0;
    for (const Car& other : race.cars)
        first = first && (&other == &car || other.finished || other.total <= car.total);
    if (leads || first) leaderCrossed(race, car, time);
    if (race.chequered && car.lap > 0) finish(race, car, time);
}

void rankCars(Race& race) {
    // Nearly in order already: insertion is quickest.
    for (size_t i = 1; i < race.order.size(); ++i)
        for (size_t k = i; k > 0; --k) {
            int &a = race.order[k - 1], &b = race.order[k];
            if (!ahead(race, race.cars[static_cast<size_t>(b)], race.cars[static_cast<size_t>(a)]))
                break;
            std::swap(a, b);
        }
    rankClasses(race);
    const Car& leader = race.cars[static_cast<size_t>(race.order.front())];
    race.leader = leader.index;
    if (isRace(race)) {
        const Car* first = &race.cars.front();
        for (const Car& car : race.cars)
            if (car.total > first->total) first = &car;
        noteFront(race, *first);
    }
    for (Car& car : race.cars) {
        if (isRace(race))
            car.gapToLeader = gapOf(race, car, leader);
        else
            car.gapToLeader = car.bestLap > 0 ? car.bestLap - leader.bestLap : 0;
        driverOf(race, car).front = car.total;
        driverOf(race, car).stepTime = race.time;
    }
}

} // namespace model
