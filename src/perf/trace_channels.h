// The channels of a lap's payload: how each is packed. Index = bit of the channel mask.
#pragma once
#include "perf/trace_file.h"

#include <cstdint>

namespace vt {

enum TraceChannelBit {
    kChannelX = 9,
    kChannelY = 10,
    kChannelLateral = 11,
    kChannelYawRate = 12,
    kChannelLatVelocity = 13,
    kChannelAbs = 14,
};

struct TraceChannel {
    uint32_t width; // bytes a value
    /// Zeros when the trace does not hold `bins` values; what is not finite becomes 0.
    void (*encode)(const LapTrace& trace, uint32_t bins, uint8_t* out);
    void (*decode)(const uint8_t* in, uint32_t bins, LapTrace& trace);
};

inline constexpr int kTraceChannels = 15;
extern const TraceChannel kTraceChannelTable[kTraceChannels];

} // namespace vt
