// The demo race's road as a map like those that are learned, with the best run's inputs.
#pragma once
#include "perf/track_shape.h"
#include "telemetry/sim_frame.h"

namespace vt {

/// The frame comes from the demo race: iRacing itself tells no position in a plane.
bool isDemoFrame(const SimFrame& frame);

/// Made once, on first use; main thread.
const TrackShape& demoShape();

} // namespace vt
