// RaceRoom: one page of shared memory with a tick count and no guard against torn reads.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// `context` must outlive the reader. A sim of another version than the reader's counts as absent;
/// the long log tells it once.
std::unique_ptr<SimReader> makeRaceRoomReader(ReaderContext& context);

} // namespace vt
