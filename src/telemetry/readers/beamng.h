// BeamNG.drive, by the datagrams of the program's own mod.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// `context` must outlive the reader.
std::unique_ptr<SimReader> makeBeamNgReader(ReaderContext& context);

} // namespace vt
