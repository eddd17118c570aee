// iRacing: the newest sample of the SDK's shared memory joined with the session text.
#pragma once
#include "platform/clock.h"
#include "telemetry/sim_reader.h"

#include <atomic>
#include <memory>

namespace vt {

/// Words that others set for the reader; read on the pump's thread.
struct IRacingWants {
    std::atomic<uint32_t> gpsLearnWanted{0};   // a survey or a learning run
    std::atomic<uint32_t> trackMapWantsGps{0}; // the Track Map overlay needs an outline
};

/// `clock` and `wants` must outlive the reader.
std::unique_ptr<SimReader> makeIRacingReader(const Clock& clock, const IRacingWants& wants);

} // namespace vt
