// What only the program can add to a reader's frame: gaps on the road, places, deltas, laps left.
// State and functions of (state, frame, time); the pump's thread calls them, tests and benchmarks
// call them without a thread.
#pragma once
#include "app/gap_rings.h"
#include "app/laps_estimate.h"
#include "app/live_delta.h"
#include "app/ranking.h"
#include "app/sector_tracker.h"
#include "telemetry/sim_frame.h"

#include <cstdint>

namespace vt {

struct EnrichState {
    GapRings rings;
    Ranking ranking;
    SectorTracker sectors;
    LiveDeltaTracker live;
    LapsEstimate laps;
    int32_t simKind = -1;
    double sessionTime = 0; // last usable ones of this sim
    float lapDistPct = 0;
};

/// Forgets everything, keeps the memory.
void resetEnrich(EnrichState& state);

/// The questions to the table of what sims offer.
struct EnrichOffers {
    bool leader = false;      // the list of cars, with their places
    bool sectors = false;     // the sector that the car is in
    bool lapPosition = false; // precise enough for deltas
    bool stage = false;       // no laps
};
EnrichOffers enrichOffers(int32_t simKind);

/// Every number of the frame finite. A position or a session clock that is not keeps its last
/// usable value, as if the car had stood for a tick.
void admitFrame(EnrichState& state, SimFrame& frame);

/// Fills the fields marked as the pump's. `frame` is an admitted one, `now` a monotonic clock in
/// seconds.
void enrichFrame(EnrichState& state, SimFrame& frame, double now, const EnrichOffers& offers);

} // namespace vt
