// Cars that go round a track, each at the pace of its lap time: the motion behind `--drive`, the
// same for every simulator. Deterministic: the same start and the same steps give the same race.
#pragma once
#include <cstdint>
#include <vector>

namespace player {

struct DriveCar {
    int32_t carIdx = -1;
    int32_t classId = 0;      // cars of one class rank among each other
    double lapTime = 90;      // s, its pace
    double classLapTime = 90; // s, the pace that `estTime` is told in
    bool inWorld = true;
    int32_t lap = 0;    // running lap
    double phase = 0;   // share of the lap's time that has passed, 0..1
    double lastLap = 0; // s; 0 = none
    double bestLap = 0; // s; 0 = none
    bool onPitRoad = false;
    double stopLeft = 0; // s still to stand in its stall
    int32_t position = 0, classPosition = 0;

    // Kept by the model.
    bool stopped = false; // has been in its stall on this visit
    int32_t nextPitLap = 0;
    double lapStart = 0; // race time at which the running lap began

    // For whoever shows the car.
    double lapDistPct = -1;
    double speed = 0; // m/s
    double estTime = 0;
    double gapToLeader = 0; // s in a race, else the best lap
    double currentLap = 0;  // s
};

struct DriveModel {
    double trackLength = 4000; // m
    double time = 0;           // s since the start
    bool race = true;          // rank by distance, else by best lap
    bool rank = true;          // false: positions stay as they are
    std::vector<DriveCar> cars;
};

/// Sets what follows from `lap`, `phase`, `lapTime` and `onPitRoad` of each car. Call once.
void startDrive(DriveModel& model);

/// Moves all cars by `dt` seconds, 0 up to a few.
void stepDrive(DriveModel& model, double dt);

// The lap is quicker here and slower there, for all cars alike.
double pctAt(double phase);
double phaseAt(double pct);
double paceAt(double phase); // speed as a multiple of the lap's mean speed

} // namespace player
