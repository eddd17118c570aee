// The shape of a track, from whichever source knows it best: what maps, strips and reviews draw.
#pragma once
#include "base/geometry.h"
#include "perf/road_map.h"

#include <string>
#include <vector>

namespace vt {

struct TrackTurn {
    int number = 0;
    std::string name; // empty where none is known
    float pct = 0;    // lap fraction of the apex
    float radius = 0; // m, positive to the left; 0 = not known
};

/// Points are evenly spaced in lap position, y grows to the north. On a stage the line is open.
struct TrackShape {
    int simKind = -1, trackId = 0;
    bool closed = true;
    float length = 0; // m; 0 = not known
    /// Metres of one unit of `line`; 0 = not known.
    float scale = 0;
    std::vector<PointF> line, pitLane;
    std::vector<TrackTurn> turns;
    std::vector<float> edgeLeft, edgeRight; // m per point of `line`; empty where none is known
    std::vector<RoadBestBin> best;          // of a stage, per bin of its road
    std::vector<RoadCorner> corners;        // of a stage; bins of its road
    int roadBins = 0;
    float bestSeconds = 0;

    bool known() const { return line.size() > 10; }
};

/// iRacing: the surveyed map, a community map, the driver's own bins, the drawing that ships, the
/// learned drawing, whichever comes first and is whole. Every other sim: its surveyed road, once it
/// is good enough. `length` in metres helps to find turns; 0 = unknown. False, and `out` empty,
/// when nothing is known.
bool loadTrackShape(TrackShape& out, const std::string& dataDir, const std::string& baseDir,
                    int simKind, int trackId, float length);

/// From a road, whether good enough or not; gaps are closed by straight lines.
TrackShape shapeOfRoad(const RoadMap& road);

/// Position at a lap fraction; wrapped on a lap, held at the ends of a stage.
PointF shapeAt(const TrackShape& shape, float pct);

} // namespace vt
