// A race that never happened, made from point masses with limits of grip and power: what every
// writer of `sim_player` tells in its sim's own words, and what tests drive with. The same settings
// and the same steps give the same race, whatever is done with it.
//
//     model::Race race = model::startRace(settings, circuit);
//     while (...) { model::stepRace(race, 1.0 / 60); write(race); }
//
// Units: s, m, m/s, rad, °C, litres, kPa. Right and forward are positive.
#pragma once
#include "driver_model/circuit.h"
#include "telemetry/sim_frame.h"

#include <cstdint>
#include <string>
#include <vector>

namespace model {

/// What a driver does wrong, or what happens to him.
enum class FaultKind { lateBrake, spin, stall, offTrack, slowLap };
struct Fault {
    FaultKind kind = FaultKind::lateBrake;
    int car = 0;        // index in Race::cars
    int lap = 1;        // lap counter on which it happens
    int corner = 0;     // lateBrake, spin: index in Race::corners
    double at = 0;      // stall, offTrack, slowLap: lap fraction
    double amount = 12; // lateBrake: metres; stall, offTrack: seconds; slowLap: seconds lost
};

/// A stretch of time, s since the start.
struct Span {
    double from = 0, to = 0;
};

enum class SessionKind { practice, qualifying, race };

struct Settings {
    int cars = 1;    // the player's is index 0
    int classes = 1; // 1..4; the first class is the quickest
    SessionKind session = SessionKind::race;
    int laps = 0;        // 0 = by time
    double minutes = 30; // of a session by time
    uint32_t seed = 1;
    double paceNoise = 0.004;   // spread of lap times, as a share of the lap
    double fieldSpread = 0.03;  // quickest to slowest of a class, as a share of the lap
    int pitEvery = 0;           // laps between planned stops; 0 = only when the fuel runs out
    bool rollingStart = true;   // else from a standing grid with a formation time of 10 s
    bool lappedTraffic = false; // puts a few very slow cars on the road
    std::vector<Span> yellows;  // the whole field slows to 40 %
    std::vector<Fault> faults;
    double startFuel = 60; // litres, player
    double airTemp = 22, trackTemp = 30;
    double rain = 0; // 0..1; takes grip
};

struct CarClass {
    std::string name;                   // "GT3" and the like
    std::string brand, model, modelKey; // "Falcon", "Falcon GT3", "falcon_gt3"
    double mass = 1250;                 // kg
    double power = 380e3;               // W
    double grip = 1.6;                  // lateral and braking limit, g
    double downforce = 0.0006;          // more grip with speed squared, g per (m/s)²
    double drag = 0.0009;               // 1/m: deceleration per speed squared
    double idleRpm = 1200, maxRpm = 8500;
    int gears = 6;
    double topSpeed = 78;                        // m/s in the last gear at maxRpm
    double fuelCapacity = 110, fuelPerKm = 0.55; // litres
    double wheelBase = 2.7, trackWidth = 1.65;
    double steerRatio = 13, wheelRotation = 540; // wheel to road wheels; degrees lock to lock
};

struct Wheel {                                   // order LF RF LR RR
    double tempC = 80, pressure = 175, wear = 1; // wear: tread left, 1..0
    double slipAngle = 0, slipRatio = 0;         // rad; share
    bool onKerb = false, offTrack = false;
};

enum class PitPlace { none, lane, stall };

struct Car {
    int index = 0, number = 0;
    std::string firstName, lastName, team, shortName;
    int classIndex = 0;
    int skill = 1500;

    // Where
    int lap = 0;        // completed laps; -1 before the line of a race's start
    double s = 0;       // m along the lap, 0..length
    double pct = 0;     // s / length
    double lateral = 0; // m from the centre line, right positive
    double x = 0, y = 0, heading = 0;
    double total = 0; // m since the line of lap 0

    // How
    double speed = 0;
    double latAccel = 0, longAccel = 0; // m/s²; lateral to the right
    double yawRate = 0;                 // rad/s, the change of `heading`: positive to the left
    double slip = 0; // body slip angle, rad: `heading` less the direction of travel
    double throttle = 0, brake = 0, clutch = 0, steer = 0; // steer -1..1, right positive
    double wheelAngle = 0; // rad at the steering wheel, right positive
    int gear = 0;
    double rpm = 0;
    bool absActive = false, limiter = false;
    double fuel = 0, fuelUsedLap = 0, waterTemp = 85, oilTemp = 95, oilPressure = 5;
    Wheel wheels[4];
    bool offTrack = false, stalled = false, spinning = false;
    int incidents = 0;

    // Times
    double lapTime = 0;              // running
    double lastLap = 0, bestLap = 0; // 0 = none
    bool lapValid = true;
    int sector = 0;                   // 0-based
    double sectorTime[3] = {0, 0, 0}; // last finished time of each; 0 = none
    double bestSector[3] = {0, 0, 0};
    int position = 0, classPosition = 0, gridPosition = 0;
    double gapToLeader = 0; // s
    bool finished = false;

    // Pits
    PitPlace pit = PitPlace::none;
    int pitStops = 0;
    double stallPct = 0;   // its own stall
    bool stopping = false; // will come in at the end of this lap
};

/// A finished lap, with the model's own truth.
struct LapRecord {
    int car = 0, lap = 0; // index; lap counter while it was driven
    double time = 0, fuelUsed = 0, sectors[3] = {0, 0, 0};
    bool valid = true, inLap = false, outLap = false;
};

/// A path along the circuit, per circuit point: metres right of the centre line, its first and
/// second derivative along the centre line, the path's own curvature (left positive) and how many
/// metres of it lie along one metre of the centre line.
struct RaceLine {
    std::vector<double> lateral, slope, bend, curvature, stretch;
};

/// What a driver remembers and wants.
struct Driver {
    double pace = 1, lapPace = 1;   // share of the reachable speed: his own, on this lap
    double lapOffset = 0;           // m beside the line on this lap
    double slope = 0;               // of the car's lateral place along the circuit
    double course = 0;              // rad, direction of travel
    double front = 0, stepTime = 0; // m since the line of lap 0, and when
    double curving = 0;             // change of the road's curvature per metre
    CircuitPoint here;              // the circuit beside the car
    size_t ringPlace = 0;           // index in Race::ring
    double lineLateral = 0;         // the racing line beside the car, m
    double lineSlope = 0;
    double wantSpeed = 0;                 // m/s, decided for this step
    double wantLateral = 0;               // m
    double offLine = 0;                   // 0..1: how much the car has left the line's rhythm
    double lateralGrip = 2.5;             // m/s² for leaving the line
    bool onLine = true;                   // wantLateral is the racing line
    double lapStart = 0, sectorStart = 0; // s
    double lapBurn = 1;                   // multiple of the class's consumption, on this lap
    int passing = -1, passSide = 0;       // whom and on which side (1 right), or -1
    double passTime = 0, blockedTime = 0;
    double waitLeft = 0;   // s to stand: stall, start delay, after a spin
    double fuelWanted = 0; // litres, at the stop
    bool served = false;   // has been in its stall on this visit
    bool inLap = false, outLap = false, started = true;
    double spinTime = -1, spinTurn = 0, spinShown = 0, offTime = 0; // s, rad; < 0 none
    double finishTime = 0, finishGap = 0;
    int finishLaps = 0;
};

struct Race {
    Settings settings;
    Circuit circuit;
    std::vector<Corner> corners;
    std::vector<CarClass> classes;
    std::vector<Car> cars;
    double time = 0;      // s since the start of the session
    double remaining = 0; // s; a lap race: -1
    bool started = false, yellow = false, lastLap = false, chequered = false;
    int leader = 0;
    std::vector<LapRecord> laps; // of all cars, in the order of their ends

    // Kept by the model.
    RaceLine line, centre;
    std::vector<std::vector<double>> speeds;       // per class: along the line, per point, m/s
    std::vector<std::vector<double>> centreSpeeds; // the same along the centre line
    std::vector<double> lapTimes;                  // per class: of a lap at those speeds, s
    std::vector<Driver> drivers;                   // as `cars`
    std::vector<int> ring, order;                  // cars by their place on the road, by their rank
    std::vector<double> frontTimes; // when the first car was at each 10 m since the line, s
    std::vector<int> faultStates;   // 0 to come, 1 happening, 2 over
    double startTime = 0;           // s, of the green light
};

Race startRace(const Settings& settings, const Circuit& circuit);

/// Moves everything on by `dt` seconds; long steps are cut into pieces of 1/60 s at most.
void stepRace(Race& race, double dt);

inline const Car& player(const Race& race) {
    return race.cars.front();
}
inline const CarClass& classOf(const Race& race, const Car& car) {
    return race.classes[static_cast<size_t>(car.classIndex)];
}

/// The world plane as sims have it whose x is east, y up and z south: position and unit vectors of
/// a car's axes. `right` is 90 degrees clockwise of `forward`, seen from above.
struct WorldAxes {
    double position[3] = {}, forward[3] = {}, right[3] = {}, velocity[3] = {};
};
WorldAxes worldAxes(const Car& car);

/// The race as a finished frame of a sim that tells everything: what tests and later parts run on
/// without any reader. `simKind` is the caller's; the pump's own fields stay at their defaults.
void fillFrame(const Race& race, vt::SimFrame& frame);

} // namespace model
