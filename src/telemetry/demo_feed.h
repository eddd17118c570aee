// A simulator that needs no simulator: an eleven-car race at the fictional "Winton National" as a
// pure function of time, filled as iRacing would fill it, so that every overlay can be judged,
// placed and photographed with nothing running. The same time always gives the same frame.
#pragma once
#include "telemetry/sim_frame.h"

namespace vt {

/// The frame at `t` seconds after the race's clock started. `t` below 0 counts as 0. Pure; any
/// thread.
void demoFrameAt(SimFrame& out, double t);

/// The frame at `seconds` of a monotonic clock: the first call of the process starts the race's
/// clock. One thread at a time.
void demoFrame(SimFrame& out, double seconds);

} // namespace vt
