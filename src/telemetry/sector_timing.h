// Sector times of a car, taken where the sim tells none: a sector counts when the car drove into it
// over its start and then through it without a jump and without the pits.
#pragma once
#include "telemetry/sim_frame.h"

#include <cstdint>
#include <vector>

namespace vt {

inline constexpr int32_t kTimedSectors = 16; // sectors with a best and a last time

struct SectorTiming {
    int32_t sector = -1;  // -1 = unknown
    uint8_t partial = 0;  // entered in its middle: not to be timed
    double enteredAt = 0; // s
    float prevPct = 0;
    float lastTime = 0;
    float prevTime = 0; // what that sector took before lastTime
    int32_t lastSector = -1;
    float best[kTimedSectors] = {};
    float last[kTimedSectors] = {};
};

/// The sector of a lap position: the last start at or below it.
int32_t sectorAt(const std::vector<float>& starts, float pct);

/// How far a car can get in `seconds`, as a share of the lap: 600 km/h, and then it was moved. 1
/// where time or length say nothing.
double maxLapStep(double seconds, float trackLength);

/// One look at a car. `now` is any clock in seconds that runs while the car is timed;
/// `interrupted`: it cannot be timed here, as on pit road. `enteredAgo`: for how long the car has
/// been in the sector that it is first seen in now, s; 0 where that is not known any better.
void timeSectors(SectorTiming& timing, const std::vector<float>& starts, float pct, double now,
                 double maxStep, bool interrupted, double enteredAgo = 0);

/// The sector fields of a row.
void fillSectorTimes(CarRow& row, const SectorTiming& timing);

} // namespace vt
