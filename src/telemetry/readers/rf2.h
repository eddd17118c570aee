// rFactor 2: two pages of shared memory with version words.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// `context` must outlive the reader.
std::unique_ptr<SimReader> makeRf2Reader(ReaderContext& context);

} // namespace vt
