// When did each car last pass each two-hundredth of the lap? From that the true gap on the road:
// the time since the car ahead was where I am now. Pump's thread.
#pragma once
#include "telemetry/sim_frame.h"

#include <array>
#include <cstdint>
#include <vector>

namespace vt {

inline constexpr int kGapBins = 200;
inline constexpr int kTrackedCars = 512; // cars with a `carIdx` beyond are shown, but not measured

struct GapRing {
    int32_t carIdx = -1;
    double prevTime = 0; // `sessionTime` of the last sample
    float prevPct = 0;   // `lapDistPct` of the last sample
    uint8_t hasPrev = 0; // the two above are valid
    float lapEstimate = 0;
    // Crossing times in session seconds; -1 = never. Doubles: a float is 8 ms coarse after a day.
    std::array<double, kGapBins> bins;
};

struct GapRings {
    std::vector<GapRing> rings;
    std::array<int16_t, kTrackedCars> place; // by carIdx, into `rings`; -1 = none yet
    int32_t simKind = -1;
    char trackName[64] = "";
    char sessionName[24] = "";
    double sessionTime = 0;
    std::vector<float> scratch; // lap times of the others

    GapRings();
};

void resetRings(GapRings& state);

/// The ring of a car, or null.
const GapRing* findRing(const GapRings& state, int32_t carIdx);

/// Enters the frame's positions; starts over with another sim, track or session, or when the
/// session's clock fell by more than 1 s. Gives the rows their `lapEstimate`.
void updateRings(GapRings& state, SimFrame& frame);

/// For frames of sims whose positions are too coarse for rings: no estimates.
void clearRingFigures(SimFrame& frame);

/// Seconds since the ring's car crossed `pos`, or -1: never, or longer ago than `limit`.
double ringAge(const GapRing& ring, double pos, double now, double limit);

/// A lap time to measure by: the player's, else the median of the others', else the largest
/// `estTime`. 0 when there is nothing.
float referenceLap(const SimFrame& frame, std::vector<float>& scratch);

/// Fills `gapToPlayer` and `gapFromRings` of all rows. Rings are asked when `useRings`.
void computeGaps(const GapRings& state, SimFrame& frame, float refLap, bool useRings);

} // namespace vt
