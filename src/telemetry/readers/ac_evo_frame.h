// From AC EVO's copied pages to a frame. Pure but for the memory it is handed and its log lines.
#pragma once
#include "telemetry/reader_parts.h"
#include "telemetry/readers/ac_evo_layout.h"
#include "telemetry/readers/ac_evo_learned.h"
#include "telemetry/readers/ac_evo_line.h"
#include "telemetry/readers/ac_evo_rows.h"
#include "telemetry/readers/ac_evo_sectors.h"
#include "telemetry/readers/ac_evo_world.h"

namespace vt {

struct AcEvoPages {
    AcPhysics physics;
    AcEvoGraphics graphics;
    AcEvoStatic statics;
    bool haveStatic = false;
};

/// Texts, converted only when their pages changed.
struct AcEvoTexts {
    char names[99] = ""; // the graphics page's name fields that the next two come from
    char carModel[64] = "";
    char driver[64] = "";
    bool haveStatic = false;
    AcEvoStatic statics; // the page that the rest comes from
    char track[sizeof(SimFrame::trackName)] = "";
    char session[sizeof(SimFrame::sessionName)] = "";
};

/// What the log says of a lap when it ends.
struct AcEvoLapNote {
    int tyresOut = 0; // the most so far
    int valid = 0, timingInvalid = 0;
};

/// What lasts from frame to frame, until the reader closes.
struct AcEvoMemory {
    AcEvoTexts texts;
    bool trackKnown = false;
    char trackName[sizeof(SimFrame::trackName)] = "";
    int32_t trackId = 0;
    float pitLimit = 0; // m/s, of this track
    AcEvoLine line;
    AcEvoPlace place;
    AcEvoAxes axes;
    AcEvoYaw yaw;
    AcEvoTank tank;
    AcEvoWheel wheel;
    AcEvoSectors sectors;
    AcEvoCars cars;
    AcEvoLapNote lapNote;
    SlipMemory slip;
    bool validSeen = false; // the sim has once said that a lap counts
    double last = -1;       // s: when the last frame was made
};

/// A new physics page. `now` is a monotonic clock in seconds, `sessionTime` the reader's own.
void fillAcEvoFrame(SimFrame& out, const AcEvoPages& pages, double now, double sessionTime,
                    AcEvoMemory& memory);

/// Bits of the flag at the car and the one for all.
uint32_t acEvoFlagBits(int32_t flag, int32_t globalFlag, bool whiteMarker);

} // namespace vt
