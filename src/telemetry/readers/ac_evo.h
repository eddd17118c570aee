// AC EVO: three mappings of its own, and what they do not tell inferred while driving.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// The context must outlive the reader. `open` needs the sim among the running programs.
std::unique_ptr<SimReader> makeAcEvoReader(ReaderContext& context);

} // namespace vt
