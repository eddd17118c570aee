// What a reader delivers comes from foreign memory and from the network. Here it becomes arithmetic
// that cannot go wrong: behind this point every number of a frame is finite. Pump's thread.
#pragma once
#include "telemetry/sim_frame.h"

namespace vt {

/// Numbers that are not finite, or beyond 1e12, take the field's missing-data value; a car without
/// a usable position counts as not in the world, an unusable sector table as none, unknown time
/// left as -1.
void makeFinite(SimFrame& frame);

/// How many number fields `makeFinite` looks at: in the frame, and in each row.
int guardedFrameFields();
int guardedRowFields();

} // namespace vt
