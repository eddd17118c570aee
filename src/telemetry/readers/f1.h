// F1 2023 to 2026, by its datagrams.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// `context` must outlive the reader.
std::unique_ptr<SimReader> makeF1Reader(ReaderContext& context);

} // namespace vt
