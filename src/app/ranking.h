// Positions for sims that number their cars only as they cross the line: the same numbers, handed
// out by the way covered. Pump's thread.
#pragma once
#include "telemetry/sim_frame.h"

#include <cstdint>
#include <vector>

namespace vt {

/// Scratch of the sort, so that no pass allocates.
struct Ranking {
    struct Entry {
        double covered = 0; // laps
        uint32_t row = 0;
    };
    std::vector<Entry> entries;
    std::vector<int32_t> places;
    std::vector<uint32_t> byClass; // rows with equal class text side by side

    Ranking();
};

/// Only in a race under way of a sim that is not iRacing, whose own numbers are the official ones.
bool rankingApplies(const SimFrame& frame);

/// Hands `position` and `classPosition` out anew and works out `gapToLeader` within each class.
/// `refLap` stands in for a leader without a lap estimate.
void rankCars(Ranking& state, SimFrame& frame, float refLap);

} // namespace vt
