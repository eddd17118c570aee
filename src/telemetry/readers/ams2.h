// Automobilista 2: one page of shared memory, guarded by a sequence number.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// `context` must outlive the reader.
std::unique_ptr<SimReader> makeAms2Reader(ReaderContext& context);

} // namespace vt
