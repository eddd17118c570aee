// Assetto Corsa, ACC and AC Rally: three mappings under the same names. Which of the three sims is
// behind them is not in the pages: whoever opens a reader decides that beforehand, by the programs
// that run.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/sim_capabilities.h"
#include "telemetry/sim_reader.h"

#include <memory>

namespace vt {

/// The context must outlive the reader.
std::unique_ptr<SimReader> makeAcReader(ReaderContext& context);
/// Starts the client of the sim's broadcasting port with `open` and stops it with `close`, which
/// may take 250 ms.
std::unique_ptr<SimReader> makeAccReader(ReaderContext& context);
std::unique_ptr<SimReader> makeAcRallyReader(ReaderContext& context);

/// 5 (other cars, gaps) while ACC's broadcasting port feeds the rows, else 0: the word of ACC among
/// the bits found at run time. Written by the pump's thread, read by any.
inline std::atomic<uint32_t>& accBroadcastLive = simLiveCapabilities[kSimAcc];

} // namespace vt
