// From a copy of Le Mans Ultimate's page to a frame.
#pragma once
#include "telemetry/readers/lmu_layout.h"
#include "telemetry/readers/vehicle_frame.h"
#include "telemetry/sim_frame.h"

#include <limits>

namespace vt {

/// What the reader keeps between frames.
struct LmuMemory {
    VehicleMemory vehicle;
    int32_t trackId = 0; // of `vehicle.trackName`; 0 = no track yet

    // Of the last line in the log about flags; -1 = none yet.
    int32_t lastPhase = -1, lastYellow = -1, lastSectorFlags[3] = {-1, -1, -1};

    // The sim does not tell where its sectors start: learned from the player's crossings.
    float sectorStart[3] = {}; // lap fraction, by the sim's sector number
    bool sectorSeen[3] = {};
    int32_t lastSector = -1;

    // Scoring comes a few times a second; the place on the lap moves on in between.
    double lastLapDist = std::numeric_limits<double>::quiet_NaN();
    double lapDistExtra = 0; // m

    int32_t gridPosition = -1;
    int32_t gridSession = std::numeric_limits<int32_t>::min();
};

/// The telemetry of the player's car; null when he has none or the index leads outside.
const VehicleTelemetry* lmuPlayerTelemetry(const LmuPage& page);

/// `page` is a private copy; nothing in it is believed. Does nothing without player's telemetry.
void fillLmuFrame(SimFrame& out, const LmuPage& page, LmuMemory& memory);

} // namespace vt
