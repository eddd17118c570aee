// The rule by which a sample is taken from memory that the sim goes on writing, with no lock.
#pragma once
#include "base/bytes.h"
#include "telemetry/readers/iracing_layout.h"

#include <algorithm>
#include <vector>

namespace vt {

/// The buffer with the largest tick count (the first of equals) of those that lie inside the
/// object; null for none.
inline const IrVarBuf* irNewestBuffer(const IrHeader& h, size_t bufLen, size_t viewSize) {
    const int32_t count = std::clamp(h.numBuf, 0, kIrMaxBuffers);
    const IrVarBuf* newest = nullptr;
    for (int32_t i = 0; i < count; ++i) {
        const IrVarBuf& buf = h.varBuf[i];
        if (buf.bufOffset < 0 ||
            !rangeInside(static_cast<uint64_t>(buf.bufOffset), 1, bufLen, viewSize))
            continue;
        if (!newest || buf.tickCount > newest->tickCount) newest = &buf;
    }
    return newest;
}

/// Is there still a buffer at that offset with that tick count?
inline bool irStillThere(const IrHeader& h, const IrVarBuf& taken) {
    const int32_t count = std::clamp(h.numBuf, 0, kIrMaxBuffers);
    for (int32_t i = 0; i < count; ++i)
        if (h.varBuf[i].bufOffset == taken.bufOffset)
            return h.varBuf[i].tickCount == taken.tickCount;
    return false;
}

/// Copies the newest sample into `sample`, whose length is the sample's. A copy counts when its
/// buffer still has the same tick count afterwards: otherwise the sim was writing in it, and there
/// is another round, four at most. `header` is read again after each copy; `torn` counts the copies
/// thrown away. `Memory` copies like `SharedMap`.
template <class Memory>
bool irTakeNewest(const Memory& memory, size_t viewSize, IrHeader& header,
                  std::vector<uint8_t>& sample, int32_t& tick, uint64_t& torn) {
    constexpr int rounds = 4;
    for (int round = 0; round < rounds; ++round) {
        const IrVarBuf* newest = irNewestBuffer(header, sample.size(), viewSize);
        if (!newest) return false;
        const IrVarBuf taken = *newest;
        if (!memory.copyOut(static_cast<size_t>(taken.bufOffset), sample.data(), sample.size()) ||
            !memory.copyOut(0, &header, sizeof header))
            return false;
        if (irStillThere(header, taken)) {
            tick = taken.tickCount;
            return true;
        }
        torn += 1;
    }
    return false;
}

} // namespace vt
