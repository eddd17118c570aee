// The cars of the session: identity from the session text, the rest from the per-car arrays, with
// pit visits and sector times that the sim does not report and that are timed here.
#pragma once
#include "telemetry/readers/iracing_session_text.h"
#include "telemetry/readers/iracing_vars.h"
#include "telemetry/sector_timing.h"
#include "telemetry/sim_frame.h"

#include <array>

namespace vt {

/// What is timed per car. Outlives a new session text; ends with the attachment.
struct IrCarTiming {
    SectorTiming sectors;
    uint8_t wasOnPit = 0;
    double pitEnterTime = -1; // -1 = not in the pits
    float lastPitDuration = -1;
    int32_t pitLap = -1;
    int32_t stops = 0;
};

struct IrRowMemory {
    std::array<IrCarTiming, kIrMaxCars> cars{};
    double lastSessionTime = 0; // the last one above 0
};

/// Appends a row for every driver but the pace car and spectators. `frame` already holds session,
/// phase, track length and sector starts. `session` indexes the text's tables; below 0 none is
/// used.
void fillRows(SimFrame& frame, const IrSample& sample, const IrSessionText& text, int32_t session,
              IrRowMemory& memory);

} // namespace vt
