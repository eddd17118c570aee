#include "drive_model.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace player {

namespace {

constexpr double kTwoPi = 2 * std::numbers::pi;
constexpr double kPitEntry = 0.965; // phases
constexpr double kPitExit = 0.03;
constexpr double kPitPace = 0.35; // of the racing pace

// Two long straights and seven corners.
constexpr struct { double share, times; } kWaves[] = {{0.2, 2}, {0.25, 7}};

/// A number from 0 to 1 that stays the same for one car and lap.
double chance(int32_t car, int32_t lap, uint32_t salt) {
    uint32_t h =
        static_cast<uint32_t>(car) * 2654435761u ^ static_cast<uint32_t>(lap) * 40503u ^ salt * 97u;
    h = (h ^ h >> 15) * 2246822519u;
    h = (h ^ h >> 13) * 3266489917u;
    return static_cast<double>(h ^ h >> 16) / 4294967295.0;
}

/// Each car has its own stall, between the line and the pit exit.
double stallOf(const DriveCar& car) {
    return 0.005 + 0.0003 * (car.carIdx % 64);
}

double paceOfLap(const DriveCar& car) {
    return car.lapTime * (1 + 0.012 * (chance(car.carIdx, car.lap, 1) - 0.4));
}

bool wantsPit(const DriveCar& car) {
    return car.lap >= car.nextPitLap && car.phase >= kPitEntry;
}

void finishLap(DriveCar& car, double now) {
    car.lastLap = now - car.lapStart;
    if (!(car.bestLap > 0) || car.lastLap < car.bestLap) car.bestLap = car.lastLap;
    car.lapStart = now;
    car.lap += 1;
    car.phase -= 1;
}

void stepPits(DriveCar& car, double before) {
    if (!car.onPitRoad) {
        car.onPitRoad = wantsPit(car);
        car.stopped = false;
        return;
    }
    const double stall = stallOf(car);
    if (!car.stopped && car.phase >= stall && car.phase < 0.5 && (before < stall || before > 0.5)) {
        car.stopped = true;
        car.phase = stall;
        car.stopLeft = 15 + 15 * chance(car.carIdx, car.lap, 2);
    }
    if (car.phase > kPitExit && car.phase < 0.5) {
        car.onPitRoad = false;
        car.nextPitLap = car.lap + 8 + static_cast<int32_t>(8 * chance(car.carIdx, car.lap, 3));
    }
}

void stepCar(DriveCar& car, double time, double dt) {
    if (car.stopLeft > 0) {
        car.stopLeft = std::max(car.stopLeft - dt, 0.0);
        return;
    }
    const double before = car.phase;
    const double rate = (car.onPitRoad ? kPitPace : 1) / paceOfLap(car);
    car.phase += rate * dt;
    if (car.phase >= 1) finishLap(car, time + (1 - before) / rate);
    stepPits(car, before);
}

void describe(DriveCar& car, const DriveModel& model) {
    if (!car.inWorld) {
        car.lapDistPct = -1;
        car.speed = 0;
        return;
    }
    car.lapDistPct = pctAt(car.phase);
    const double pace = (car.onPitRoad ? kPitPace : 1) * paceAt(car.phase);
    car.speed = car.stopLeft > 0 ? 0 : model.trackLength / paceOfLap(car) * pace;
    car.estTime = car.phase * car.classLapTime;
    car.currentLap = model.time - car.lapStart;
}

double distance(const DriveCar& car) {
    return car.lap + car.lapDistPct;
}

bool ahead(const DriveModel& model, const DriveCar& a, const DriveCar& b) {
    if (!model.race) return a.bestLap > 0 && (!(b.bestLap > 0) || a.bestLap < b.bestLap);
    if (a.inWorld != b.inWorld) return a.inWorld;
    if (a.inWorld) return distance(a) > distance(b);
    return a.position < b.position; // both are out: as they were
}

bool ranked(const DriveModel& model, const DriveCar& car) {
    return model.race ? car.inWorld || car.position > 0 : car.bestLap > 0;
}

void rankCars(DriveModel& model) {
    std::vector<DriveCar*> order;
    for (DriveCar& car : model.cars) {
        if (ranked(model, car))
            order.push_back(&car);
        else
            car.position = car.classPosition = 0;
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](const DriveCar* a, const DriveCar* b) { return ahead(model, *a, *b); });
    const DriveCar* leader = order.empty() ? nullptr : order.front();
    for (size_t i = 0; i < order.size(); ++i) {
        DriveCar& car = *order[i];
        car.position = static_cast<int32_t>(i) + 1;
        car.classPosition = 1 + static_cast<int32_t>(std::count_if(
                                    order.begin(), order.begin() + static_cast<std::ptrdiff_t>(i),
                                    [&](const DriveCar* c) { return c->classId == car.classId; }));
        const double behind = leader->lap + leader->phase - car.lap - car.phase;
        if (!model.race)
            car.gapToLeader = car.bestLap;
        else if (car.inWorld)
            car.gapToLeader = std::max(behind, 0.0) * car.lapTime;
    }
}

void describeAll(DriveModel& model) {
    for (DriveCar& car : model.cars)
        describe(car, model);
    if (model.rank) rankCars(model);
}

} // namespace

double pctAt(double phase) {
    double pct = phase;
    for (const auto& wave : kWaves)
        pct -= wave.share * std::sin(kTwoPi * wave.times * phase) / (kTwoPi * wave.times);
    return pct;
}

double paceAt(double phase) {
    double pace = 1;
    for (const auto& wave : kWaves)
        pace -= wave.share * std::cos(kTwoPi * wave.times * phase);
    return pace;
}

double phaseAt(double pct) {
    double low = 0, high = 1;
    for (int i = 0; i < 40; ++i) {
        const double middle = (low + high) / 2;
        (pctAt(middle) < pct ? low : high) = middle;
    }
    return low;
}

void startDrive(DriveModel& model) {
    for (DriveCar& car : model.cars) {
        car.lapStart = model.time - car.phase * car.lapTime;
        // Some come in at once, the others are spread over the next laps.
        car.nextPitLap = car.lap + static_cast<int32_t>(10 * chance(car.carIdx, 0, 4));
        car.stopped = car.onPitRoad;
        if (car.onPitRoad) car.stopLeft = 40 * chance(car.carIdx, 0, 5);
    }
    describeAll(model);
}

void stepDrive(DriveModel& model, double dt) {
    for (DriveCar& car : model.cars)
        if (car.inWorld) stepCar(car, model.time, dt);
    model.time += dt;
    describeAll(model);
}

} // namespace player
