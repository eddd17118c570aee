// The surveyed map of an iRacing track: centre line, road edges and pit lane from many laps with
// positions on the globe. Built after an import; read by whatever wants the best known shape.
// All functions: any thread, under `trackMapLock()` where files are touched; nothing throws.
#pragma once
#include "base/geometry.h"
#include "perf/perf_store.h"
#include "perf/trace_file.h"
#include "perf/track_shape.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace vt {

inline constexpr int kGpsMapLapsMax = 80, kGpsMapLapsMin = 3;

struct GpsMap {
    int32_t trackId = 0;
    double originLat = 0, originLon = 0; // degrees
    int32_t contributors = 0;            // laps in it
    bool community = false;
    float trackLengthM = 0;
    int32_t drCalVersion = 0;
    std::vector<float> x, y; // m east and north of the origin, one a bin
    std::vector<float> p05, p50, p95, drOffset;
    std::vector<float> bandLo, bandHi, kerbL, kerbR, offL, offR; // m from the line
    std::vector<PointF> path; // the drawn line, 1000..4000 points in a 1000 by 1000 square
    bool clockwise = false;
    std::vector<TrackTurn> turns;

    bool usable() const {
        return (originLat != 0 || originLon != 0) && trackLengthM > 1 && x.size() >= 64;
    }
};

/// The driver's own first, then the shipped one.
bool loadGpsMapForTrack(const std::string& dataDir, const std::string& baseDir, int32_t trackId,
                        GpsMap& out);
bool saveGpsMap(const std::string& baseDir, const GpsMap& map);

/// One lap that may go into a map.
struct GpsLap {
    const LapTrace* lap = nullptr;
    double originLat = 0, originLon = 0;
};
/// From at most 80 laps; false below 3 good ones.
bool buildGpsMap(int32_t trackId, float trackLengthM, const std::vector<GpsLap>& laps,
                 const TrackEventGrid* events, GpsMap& out);

struct GpsMapBuild {
    bool built = false;
    int cleanLaps = 0;
};
/// Reads the stored sessions of an iRacing track that have positions, newest first, builds the map
/// and writes its file. `stop` may be null.
GpsMapBuild rebuildGpsMap(PerfStore& store, int32_t trackId, const std::atomic<uint32_t>* stop);

/// Pit lane positions by lap fraction, summed over imports: `gpsmaps/iracing/<id>_pit.json`.
inline constexpr int kPitPathBins = 1000;
struct PitPath {
    struct Bin {
        double latitude = 0, longitude = 0; // sums, degrees
        int64_t count = 0;
    };
    std::array<Bin, kPitPathBins> bins{};
    int32_t passes = 0; // entries into the pit lane
    bool any() const { return passes > 0; }
};
bool loadPitPath(const std::string& baseDir, int32_t trackId, PitPath& out);
/// Adds to what the file holds.
bool storePitPath(const std::string& baseDir, int32_t trackId, const PitPath& path);

/// The centre line in metres with unit normals to the right, of the best source for iRacing that
/// has metres: surveyed map, community map, own bin map, drawn map scaled by `trackLength`, learned
/// map likewise. Evenly spaced in lap fraction; empty when nothing is known.
enum class LineSource : int { none, survey, community, ownBins, shippedDrawing, learnedDrawing };
struct MetreLine {
    LineSource source = LineSource::none;
    std::vector<PointF> points, normals;
    float length = 0;   // m
    bool north = false; // y is north; false = the drawing's own orientation
};
bool loadBestShape(const std::string& dataDir, const std::string& baseDir, int32_t trackId,
                   float trackLength, MetreLine& out);

} // namespace vt
