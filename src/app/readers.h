// Every simulator that the program can read, in the order in which they are tried.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/readers/iracing.h"
#include "telemetry/sim_reader.h"

#include <memory>
#include <vector>

namespace vt {

/// One reader per `SimKind`, in its order. Context and wants must outlive them.
std::vector<std::unique_ptr<SimReader>> makeReaders(ReaderContext& context,
                                                    const IRacingWants& iracingWants);

} // namespace vt
