// DiRT Rally 2.0, by its datagrams.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// `context` must outlive the reader.
std::unique_ptr<SimReader> makeDirtRally2Reader(ReaderContext& context);

} // namespace vt
