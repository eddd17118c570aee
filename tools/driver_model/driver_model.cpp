#include "driver_model/driver_model.h"

#include "driver_model/field.h"
#include "driver_model/race_line.h"
#include "driver_model/race_parts.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace model {

namespace {

constexpr double kLongestStep = 1.0 / 60;
constexpr double kEdgeMargin = 1.0; // m from the edge to the middle of a car on the line
constexpr double kReserve = 0.985;  // of the reachable speed, so that good laps stay below it

double lapTimeAt(const Circuit& circuit, const RaceLine& line, const std::vector<double>& speeds) {
    double time = 0;
    for (size_t i = 0; i + (circuit.closed ? 0 : 1) < speeds.size(); ++i) {
        const double mean = (speeds[i] + speeds[(i + 1) % speeds.size()]) / 2;
        time += circuit.step * line.stretch[i] / mean;
    }
    return time;
}

/// How good each driver is: a row from quick to slow through each class, dealt out by the seed; the
/// player stands in the front half.
void dealPace(Race& race) {
    const auto count = static_cast<int>(race.cars.size());
    for (int k = 0; k < static_cast<int>(race.classes.size()); ++k) {
        std::vector<int> row;
        for (int i = 1; i < count; ++i)
            if (race.cars[static_cast<size_t>(i)].classIndex == k) row.push_back(i);
        std::sort(row.begin(), row.end(),
                  [&](int a, int b) { return chance(race, a, -1, 11) < chance(race, b, -1, 11); });
        if (race.cars.front().classIndex == k)
            row.insert(row.begin() + static_cast<long>(row.size() * 2 / 5), 0);
        for (size_t at = 0; at < row.size(); ++at) {
            const double share =
                row.size() > 1 ? static_cast<double>(at) / static_cast<double>(row.size() - 1) : 0;
            const auto i = static_cast<size_t>(row[at]);
            race.drivers[i].pace = kReserve / (1 + race.settings.fieldSpread * share);
            race.cars[i].skill = static_cast<int>(5200 - 3600 * share);
        }
    }
    if (!race.settings.lappedTraffic) return;
    const int slow = count > 1 ? std::max(1, count / 8) : 0;
    for (int i = count - slow; i < count; ++i) {
        race.drivers[static_cast<size_t>(i)].pace *= 0.8;
        race.cars[static_cast<size_t>(i)].skill = 900;
    }
}

/// Quickest class first, quickest driver first.
std::vector<int> gridOrder(const Race& race) {
    std::vector<int> row(race.cars.size());
    std::iota(row.begin(), row.end(), 0);
    std::stable_sort(row.begin(), row.end(), [&](int a, int b) {
        const Car& ca = race.cars[static_cast<size_t>(a)];
        const Car& cb = race.cars[static_cast<size_t>(b)];
        if (ca.classIndex != cb.classIndex) return ca.classIndex < cb.classIndex;
        return race.drivers[static_cast<size_t>(a)].pace >
               race.drivers[static_cast<size_t>(b)].pace;
    });
    return row;
}

void putOnGrid(Race& race) {
    const bool rolling = race.settings.rollingStart;
    const std::vector<int> row = gridOrder(race);
    for (size_t at = 0; at < row.size(); ++at) {
        Car& car = race.cars[static_cast<size_t>(row[at])];
        Driver& driver = race.drivers[static_cast<size_t>(row[at])];
        car.gridPosition = static_cast<int>(at) + 1;
        const double spacing =
            std::min(8.0, 0.6 * race.circuit.length / static_cast<double>(row.size()));
        car.total = -(rolling ? 260 : 12) - spacing * static_cast<double>(at);
        car.lap = -1;
        car.s = race.circuit.length + car.total;
        car.lateral = at % 2 ? 2.4 : -2.4;
        car.speed = rolling ? 24 : 0;
        driver.started = rolling;
    }
}

/// The order in which the cars leave their stalls: the player first.
void putInStalls(Race& race) {
    for (Car& car : race.cars) {
        Driver& driver = race.drivers[static_cast<size_t>(car.index)];
        car.s = car.stallPct * race.circuit.length;
        car.total = car.s;
        car.pit = PitPlace::stall;
        car.lateral = 16;
        car.gridPosition = car.index + 1;
        driver.served = true;
        driver.outLap = true;
        driver.waitLeft = 3 + 60 * (car.index ? chance(race, car.index, -1, 12) : 0);
    }
}

void putAtStageStart(Race& race) {
    for (Car& car : race.cars) {
        car.gridPosition = car.index + 1;
        race.drivers[static_cast<size_t>(car.index)].waitLeft = 5 + 20.0 * car.index;
    }
}

void placeStalls(Race& race) {
    const Circuit& circuit = race.circuit;
    const double room = circuit.pitExit - circuit.pitStallFirst - 25 / circuit.length;
    const double spacing =
        std::min(7.0 / circuit.length, std::max(room, 0.0) / static_cast<double>(race.cars.size()));
    for (Car& car : race.cars)
        car.stallPct = circuit.pitStallFirst + spacing * car.index;
}

void fillUp(Race& race) {
    for (Car& car : race.cars) {
        const double capacity = classOf(race, car).fuelCapacity;
        const double share = 0.6 + 0.4 * chance(race, car.index, -1, 13);
        car.fuel = car.index ? capacity * share : std::min(capacity, race.settings.startFuel);
    }
}

void step(Race& race, double dt) {
    watchSession(race, dt);
    sortRing(race);
    for (Car& car : race.cars) {
        decide(race, car, dt);
        applyFaults(race, car, dt);
    }
    for (Car& car : race.cars)
        moveCar(race, car, dt);
    race.time += dt;
    rankCars(race);
}

} // namespace

double forwardWay(const Circuit& circuit, double from, double to) {
    double way = to - from;
    if (!circuit.closed) return way;
    if (way < 0) way += circuit.length;
    if (way >= circuit.length) way -= circuit.length;
    return way;
}

double valueAt(const Circuit& circuit, const std::vector<double>& values, double s) {
    const auto n = static_cast<long>(values.size());
    double at = s / circuit.step;
    if (!circuit.closed) at = std::clamp(at, 0.0, static_cast<double>(n - 1));
    const double floor = std::floor(at);
    long i = static_cast<long>(floor);
    if (i < 0 || i >= n) i = ((i % n) + n) % n;
    const long next = i + 1 < n ? i + 1 : circuit.closed ? 0 : i;
    return std::lerp(values[static_cast<size_t>(i)], values[static_cast<size_t>(next)], at - floor);
}

bool pitLaneAt(const Circuit& circuit, double s) {
    const double pct = s / circuit.length;
    return circuit.pitEntry > circuit.pitExit && (pct >= circuit.pitEntry || pct < circuit.pitExit);
}

Race startRace(const Settings& settings, const Circuit& circuit) {
    Race race;
    race.settings = settings;
    race.settings.cars = std::clamp(settings.cars, 1, 200);
    race.circuit = circuit;
    race.corners = findCorners(circuit);
    race.classes = makeClasses(std::clamp(settings.classes, 1, 4));
    race.line = findRaceLine(circuit, kEdgeMargin);
    race.centre = centreLine(circuit);
    for (const CarClass& c : race.classes) {
        race.speeds.push_back(reachableSpeeds(circuit, race.line, c, settings.rain));
        race.centreSpeeds.push_back(reachableSpeeds(circuit, race.centre, c, settings.rain));
        race.lapTimes.push_back(lapTimeAt(circuit, race.line, race.speeds.back()));
    }
    race.cars.resize(static_cast<size_t>(race.settings.cars));
    race.drivers.resize(race.cars.size());
    race.faultStates.assign(settings.faults.size(), 0);
    makeField(race);
    dealPace(race);
    if (circuit.closed) placeStalls(race);
    if (!circuit.closed)
        putAtStageStart(race);
    else if (settings.session == SessionKind::race)
        putOnGrid(race);
    else
        putInStalls(race);
    fillUp(race);
    race.started = settings.session != SessionKind::race || !circuit.closed;
    race.remaining = settings.laps > 0 ? -1 : settings.minutes * 60;
    for (Car& car : race.cars) {
        beginLap(race, car, 0);
        placeCar(race, car);
        race.ring.push_back(car.index);
        race.order.push_back(car.index);
    }
    std::sort(race.order.begin(), race.order.end(), [&](int a, int b) {
        return race.cars[static_cast<size_t>(a)].gridPosition <
               race.cars[static_cast<size_t>(b)].gridPosition;
    });
    rankCars(race);
    return race;
}

void stepRace(Race& race, double dt) {
    if (!(dt > 0)) return;
    const int pieces = std::max(1, static_cast<int>(std::ceil(dt / kLongestStep - 1e-6)));
    for (int i = 0; i < pieces; ++i)
        step(race, dt / pieces);
}

} // namespace model
