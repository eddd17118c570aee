// The event block at the end of a `.vttr` file; its layout stands in trace_layout.h.
#pragma once
#include "perf/trace_file.h"

#include <string>

namespace vt {

/// Appends the block to `out`; its length. Only bins with a count are listed.
uint32_t eventsEncode(const TrackEventGrid& grid, std::string& out);

/// False, and `grid` empty, unless the block is whole and speaks of `binCount` bins.
bool eventsDecode(ByteView block, uint32_t binCount, TrackEventGrid& grid);

} // namespace vt
