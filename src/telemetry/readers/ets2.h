// Euro Truck Simulator 2: one truck and no laps, by the telemetry plug-in's mapping.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// `context` must outlive the reader. A plug-in of another version than the reader's counts as
/// absent; the long log tells it once.
std::unique_ptr<SimReader> makeEts2Reader(ReaderContext& context);

} // namespace vt
