// Readers of map files by path, for what looks in several places.
#pragma once
#include "perf/gps_map.h"
#include "perf/track_bin_map.h"

#include <string>

namespace vt {

/// A bin map that ships with the program.
std::string communityMapPath(const std::string& dataDir, int32_t trackId);

bool readTrackBinMap(const std::string& path, int32_t trackId, TrackBinMap& out);

/// A drawn map in its square of 1000 by 1000, y to the north; `length` in metres, 0 = unknown.
bool readDrawnMap(const std::string& path, int32_t trackId, float length, TrackShape& out);

/// Metres of a bin map with enough filled bins, gaps closed; `length` in metres, 0 = one a bin.
bool metreLineOf(const TrackBinMap& map, float length, MetreLine& out);

} // namespace vt
