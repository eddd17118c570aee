// The road of one track in one simulator, one bin a metre, learned from driving: centre line,
// edges, and on a stage the best run. Kept in `simmaps/<sim key>/<track id>.json`.
//
// Positions are metres in the sim's map plane; lateral offsets are metres from the centre line,
// positive to the right. Lap positions are fractions 0..1.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace vt {

inline constexpr int kRoadBinsMin = 500;
inline constexpr int kRoadBinsMax = 26000;
inline constexpr int kRoadWindow = 30; // samples that a mean remembers

struct RoadBin {
    float x = 0, y = 0;                   // centre point
    float normalX = 0, normalY = 0;       // unit, to the right; rebuilt, not stored; 0,0 = none
    float edgeLeft = 0, edgeRight = 0;    // m, above 0
    float lineMean = 0, lineVariance = 0; // driven line off the centre
    uint8_t count = 0;                    // samples in the centre point; 0 = no point
    uint8_t leftCount = 0, rightCount = 0, lineCount = 0;
};

struct RoadBestBin {
    uint8_t have = 0;
    uint8_t throttle = 0, brake = 0; // percent
    uint16_t speed = 0;              // m/s x 100
    uint8_t gear = 0;                // 255 = reverse below -1
};

/// The quickest passage of one corner of a stage.
struct RoadCorner {
    int entry = 0, apex = 0, exit = 0; // bins
    float seconds = 0;
    int speed = 0; // m/s x 100, at the slowest bin
    int gear = 0;
};

struct RoadMap {
    int simKind = -1;
    int trackId = 0;
    std::string trackName;
    float length = 0;      // m
    int laps = 0;          // accepted runs
    int normalSign = 0;    // handedness of the map plane: 1, -1; 0 = not known
    bool lineOnly = false; // a stage: never closed into a loop
    bool usedRoad = false; // width learned from the driven lines
    std::vector<RoadBin> bins;
    bool hasBest = false;  // stages only
    float bestSeconds = 0; // 0 = a partial run
    std::vector<RoadBestBin> best;
    std::vector<RoadCorner> corners;

    int binCount() const { return static_cast<int>(bins.size()); }
};

/// Bins of a track of `length` metres.
int roadBinCount(float length);
/// `pct` is limited to the road.
int roadBin(const RoadMap& map, float pct);
/// Enough accepted runs to be drawn.
bool roadMapGood(const RoadMap& map);

/// After the centre line or `normalSign` changed.
void roadNormals(RoadMap& map);

struct RoadLateral {
    bool ok = false;
    float metres = 0;
};
/// Offset of a point at lap position `pct` from the chord between the nearest points of the map, at
/// most 20 bins away; not ok beyond 60 m.
RoadLateral roadLateral(const RoadMap& map, float pct, float x, float y);

/// `baseDir` is the program's data folder.
std::string roadMapPath(const std::string& baseDir, int simKind, int trackId);
/// False, and `map` empty, for a file that is missing or in which any field cannot be read. Checks
/// sizes before it allocates.
bool roadMapLoad(RoadMap& map, const std::string& baseDir, int simKind, int trackId);
/// The old file stays when it fails. Any thread, on its own copy of the map.
bool roadMapSave(const RoadMap& map, const std::string& baseDir);

/// The file's text, and back; for files and fuzzers.
std::string roadMapText(const RoadMap& map);
bool roadMapParse(RoadMap& map, const std::string& text);

} // namespace vt
