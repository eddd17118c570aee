// From one sample and the session text to a `SimFrame`. A function of its arguments: a recorded
// file drives it as well as the running sim.
#pragma once
#include "telemetry/readers/iracing_dynamics.h"
#include "telemetry/readers/iracing_rows.h"

namespace vt {

/// What one sample leaves for the next inside one attachment.
struct IrMemory {
    IrDynamics dynamics;
    IrRowMemory rows;
    int32_t currentSession = -1;
    int32_t gridSessionNum = -1;
    int32_t gridPosition = -1;
    uint8_t gridSeen = 0; // the cars were seen before the start of this session
    int32_t startSessionNum = -1;
    int32_t startPosition = -1;
};

/// Replaces `out` (its vectors keep their capacity). `withGps`: the position variables are wanted.
void fillIRacingFrame(SimFrame& out, const IrSample& sample, const IrSessionText& text,
                      IrMemory& memory, bool withGps);

/// The sim's `SessionFlags` in the bits of `SimFrame::sessionFlags`.
uint32_t irFlagsToFrame(uint32_t simFlags);

} // namespace vt
