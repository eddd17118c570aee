// The parts of one step of a race. Called in this order: watch, decide, move, rank.
#pragma once
#include "driver_model/driver_model.h"

namespace model {

inline constexpr double kCarLength = 4.6, kCarWidth = 2.0; // m

/// Metres from `from` forward to `to` along a lap, 0 up to the length.
double forwardWay(const Circuit& circuit, double from, double to);

/// A value per circuit point, between the points.
double valueAt(const Circuit& circuit, const std::vector<double>& values, double s);

bool pitLaneAt(const Circuit& circuit, double s);

// session.cpp
void watchSession(Race& race, double dt); // start, flags, time
void beginLap(Race& race, Car& car, double time);
void crossLine(Race& race, Car& car, double time, double fuelThen);
void crossSector(Race& race, Car& car, int sector, double time);
void rankCars(Race& race);

// decide.cpp: `wantSpeed` and `wantLateral` of every driver
void sortRing(Race& race);
void decide(Race& race, Car& car, double dt);

// faults.cpp: changes what a driver wants; true while the car is not the driver's to steer
void applyFaults(Race& race, Car& car, double dt);

// move.cpp
void placeCar(Race& race, Car& car);
void moveCar(Race& race, Car& car, double dt);

// machine.cpp: pedals, engine, tyres, fuel
void runMachine(Race& race, Car& car, double way, double dt);

} // namespace model
