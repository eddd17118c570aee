// Where in the running sector am I quicker or slower than in my best and my last run through it,
// and what would my best sectors add up to? Pump's thread.
#pragma once
#include "app/run_profile.h"
#include "telemetry/sim_frame.h"

#include <cstdint>
#include <vector>

namespace vt {

inline constexpr size_t kSectorBins = 64;
using SectorBest = BestAndLastRun<kSectorBins>;

/// Sectors of sims that number them; the sector tables of iRacing may be longer, up to the limit.
inline constexpr int kNumberedSectors = 12;
inline constexpr int kMostSectors = 64;

struct SectorTracker {
    std::vector<float> starts; // copy of `sectorStarts` (iRacing)
    std::vector<SectorBest> sectors;
    RunProfile<kSectorBins> current{}; // this run
    int32_t kind = -1;
    int32_t highestSector = -1;
    int32_t prevSector = -1;
    double sectorStart = 0;
    float startPct = 0;
    float prevPct = 0;
    uint8_t ok = 0; // this run counts
    uint8_t started = 0;
    PauseWatch pause;
};

void clearSectorTracker(SectorTracker& tracker);

/// Fills the sector fields and `optimalLapTime`. `offered`: the sim tells its sectors. `now` is a
/// monotonic clock in seconds; iRacing is timed by its own session clock.
void sectorTick(SectorTracker& tracker, SimFrame& frame, double now, bool offered);

} // namespace vt
