// AC EVO tells nothing of the other cars but where they are: rows from coordinates.
#pragma once
#include "telemetry/readers/ac_evo_layout.h"
#include "telemetry/readers/ac_evo_sectors.h"
#include "telemetry/readers/ac_evo_world.h"

namespace vt {

struct AcEvoCars {
    bool live = false; // another car has moved: the coordinates mean something
    bool seen = false;
    int player = -1;    // slot; -1 = not found yet
    int rival = -1;     // a slot that has lately been closer,
    int rivalPolls = 0; // for so many polls in a row
    float last[kAcMaxCars][3] = {};
};

/// The player's row, then those of the cars round him, from a frame that is complete but for them.
void acEvoFillRows(SimFrame& out, AcEvoCars& cars, const AcEvoGraphics& graphics,
                   const AcEvoGeometry& geometry, const SectorTiming& timing,
                   const char* driverName);

} // namespace vt
