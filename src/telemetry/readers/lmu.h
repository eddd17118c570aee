// Le Mans Ultimate: one page of shared memory behind a lock that sim and readers share.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// `context` must outlive the reader.
std::unique_ptr<SimReader> makeLmuReader(ReaderContext& context);

} // namespace vt
