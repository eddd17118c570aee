// The centre line of an iRacing track in metre bins, learned from laps with positions on the globe,
// and what happened along it. All functions: any thread, under `trackMapLock()` where files are
// read or written; nothing throws. A file that is not whole counts as absent.
#pragma once
#include "perf/trace_file.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vt {

struct TrackBin {
    float x = 0, y = 0; // m east and north of the origin
    int32_t count = 0;
    float l05 = 0, l50 = 0, l95 = 0; // m, percentiles of the driven offset, right positive
    float normalX = 0, normalY = 0;  // unit, to the right; not stored
};

struct TrackBinMap {
    int32_t trackId = 0;
    int32_t cleanLaps = 0;
    double originLat = 0, originLon = 0; // degrees
    std::vector<TrackBin> bins;          // binCount = size
};

bool loadTrackBinMap(const std::string& baseDir, int32_t trackId, TrackBinMap& out);
bool saveTrackBinMap(const std::string& baseDir, const TrackBinMap& map);
/// Unit normals to the right from central differences over the nearest filled neighbours.
void rebuildNormals(TrackBinMap& map);

/// Folds a session into the map and says how many laps joined. Laps that the flags call unclean, or
/// with more than 2 % of their filled bins off the road, stay out. Nothing without an origin.
int learnGpsSession(TrackBinMap& map, const TraceFile& trace,
                    const std::vector<std::vector<uint8_t>>& onTrack,
                    const std::vector<uint8_t>& lapClean);

/// Sums over all sessions of one track.
struct TrackEventTotals {
    int32_t trackId = 0;
    int64_t laps = 0;
    TrackEventGrid grid; // its counts stop at 65535
};
bool loadTrackEvents(const std::string& baseDir, int32_t trackId, TrackEventTotals& out);
bool saveTrackEvents(const std::string& baseDir, const TrackEventTotals& totals);
/// Adds a session. Totals of another track or bin count are begun anew in memory and not touched on
/// disk by this function: false then, and `totals` unchanged.
bool learnTrackEvents(TrackEventTotals& totals, int32_t trackId, const TrackEventGrid& grid,
                      int laps);

} // namespace vt
