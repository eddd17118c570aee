// AC EVO tells no sectors. Equal ones of about two kilometres stand in, timed here.
#pragma once
#include "telemetry/sector_timing.h"

namespace vt {

/// 3..16; 0 without a length (m).
int acEvoSectorCount(float trackLength);

struct AcEvoSectors {
    int32_t trackId = 0;
    int count = 0;
    SectorTiming timing;
};

/// `sectorStarts` and `currentSector` from the track's length, and one look at the player,
/// `seconds` after the last one. `interrupted`: the car cannot be timed here.
void acEvoTimeSectors(SimFrame& out, AcEvoSectors& sectors, double seconds, bool interrupted);

} // namespace vt
