// ACC's pages and the snapshot of its broadcasting port as a frame. Pure but for the memory.
#pragma once
#include "telemetry/readers/ac_frame.h"
#include "telemetry/readers/acc_snapshot.h"

namespace vt {

/// What lasts from frame to frame, until the reader closes.
struct AccMemory {
    AcMemory common;
    // The mapped places of the cars only mean something when they move; some builds never do.
    bool coordinatesLive = false;
    int32_t lastCount = 0;
    int32_t lastId[kAcMaxCars] = {};
    float lastPosition[kAcMaxCars][3] = {};
    bool haveHeading = false;
    float headingX = 0, headingZ = 0; // unit vector of the player's travel in the world's plane
};

/// True when the rows come from the snapshot.
bool fillAccFrame(SimFrame& out, const AcInput& input, const AccGraphics& graphics,
                  AccMemory& memory, const AccSnapshot& snapshot);

/// Where other cars are, measured from the player along its direction of travel.
struct AccPlaces {
    int32_t count = 0;
    int32_t playerSlot = -1;
    struct Place {
        int32_t id = 0;
        bool known = false;
        float lateral = 0; // m, positive to the right
        float lapDistPct = 0;
    } cars[kAcMaxCars];
};
AccPlaces accPlaces(const AccGraphics& graphics, float trackLength, float playerPct,
                    const AccMemory& memory);

/// Learns heading and whether the coordinates move.
void accLearn(const AcPhysics& physics, const AccGraphics& graphics, AccMemory& memory);

/// One row per car of the snapshot that drives; `out` holds the player's own data already.
void accRowsFromSnapshot(SimFrame& out, const AccSnapshot& snapshot, const AccGraphics& graphics,
                         const AccPlaces& places, const char* playerName);
/// One row per car of the page.
void accRowsFromPage(SimFrame& out, const AccGraphics& graphics, const AccPlaces& places,
                     const char* playerName);

} // namespace vt
