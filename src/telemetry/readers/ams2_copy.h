// A whole copy of Automobilista 2's page, or none. The sequence number is odd while the sim writes
// and another one afterwards: a copy counts when the number was even and still is the same.
#pragma once
#include "telemetry/readers/ams2_layout.h"

namespace vt {

enum class Ams2Copy {
    fresh,
    old,  // nothing new, or not enough of an object
    busy, // the sim wrote whenever it was looked at
};

/// Four tries. `map` is a `SharedMap`, or what a test puts in its place. `sequence` is the last one
/// that was read.
template <class Map>
Ams2Copy ams2Copy(const Map& map, Ams2Page& page, int64_t lastSequence, uint32_t& sequence) {
    constexpr size_t at = offsetof(Ams2Page, sequence);
    for (int i = 0; i < 4; ++i) {
        if (!map.read(at, sequence)) return Ams2Copy::old;
        if (sequence % 2 != 0) continue;
        if (sequence == lastSequence) return Ams2Copy::old;
        uint32_t after = 0;
        if (!map.read(0, page) || !map.read(at, after)) return Ams2Copy::old;
        if (after == sequence) return Ams2Copy::fresh;
    }
    return Ams2Copy::busy;
}

} // namespace vt
