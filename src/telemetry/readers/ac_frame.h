// From copied pages to a frame: what Assetto Corsa, ACC and AC Rally have in common, and the two
// sims that tell of no other car. Pure but for the memories they are handed.
#pragma once
#include "telemetry/reader_parts.h"
#include "telemetry/readers/ac_pages.h"
#include "telemetry/sim_registry.h"
#include "telemetry/steer_words.h"

namespace vt {

/// The static page's texts, converted only when the page changed.
struct AcTexts {
    AcStatic page; // the one they come from
    char carModel[64] = "";
    char track[64] = "";
    char driver[64] = "";
};
void acUpdateTexts(AcTexts& texts, const AcStatic& page);

/// What lasts from frame to frame, until the reader closes.
struct AcMemory {
    bool timeInMs = false; // the time left was once too large for seconds
    bool inKelvin = false; // AC Rally
    SlipMemory slip;
    AcTexts texts;
};

/// One look at the pages.
struct AcInput {
    const AcPhysics& physics;
    const AcStatic& statics;
    double seconds = 0; // since the last frame
    SteerWords& steer;
};

/// Flag bits of the sims' flag number: 1 blue, 2 yellow, 4 white, 5 chequered, 7 green. Assetto
/// Corsa's 7 means something else.
uint32_t acFlagBits(int32_t flag, bool withGreen);

/// A lap time in seconds; 0 unless the ms lie above 0 and below `limitMs`.
float acLapSeconds(int32_t ms, int32_t limitMs);

/// Empties the frame and fills what does not differ between the sims.
void fillAcCommon(SimFrame& out, SimKind kind, const AcInput& input, const AcSession& session,
                  bool inPitLane, AcMemory& memory);

void fillAcFrame(SimFrame& out, const AcInput& input, const AcGraphics& graphics, AcMemory& memory);
void fillAcRallyFrame(SimFrame& out, const AcInput& input, const AccGraphics& graphics,
                      AcMemory& memory);

/// The name of a session number, empty for others; the last two names differ.
const char* acSessionName(SimKind kind, int32_t session);

/// Axle slips and balance from the four slip angles in radians; nothing below walking pace.
void fillAcAxles(SimFrame& out, const float (&slipAngle)[4]);

} // namespace vt
