// The files of surveyed maps and pit lanes.
#include "perf/gps_map.h"

#include "base/json_read.h"
#include "perf/map_text.h"

#include <nlohmann/json.hpp>

namespace vt {

namespace {

using Json = nlohmann::json;

constexpr float kPlaceMax = 1e6f;  // m
constexpr float kOffsetMax = 1000; // m from the line
constexpr size_t kPathMax = 30000;
constexpr size_t kTurnsMax = 500;

struct FloatList {
    const char* key;
    std::vector<float> GpsMap::*values;
    float limit;
};
constexpr FloatList kLists[] = {
    {"x", &GpsMap::x, kPlaceMax},
    {"y", &GpsMap::y, kPlaceMax},
    {"p05", &GpsMap::p05, kOffsetMax},
    {"p50", &GpsMap::p50, kOffsetMax},
    {"p95", &GpsMap::p95, kOffsetMax},
    {"drOffset", &GpsMap::drOffset, kOffsetMax},
    {"bandLo", &GpsMap::bandLo, kOffsetMax},
    {"bandHi", &GpsMap::bandHi, kOffsetMax},
    {"kerbL", &GpsMap::kerbL, kOffsetMax},
    {"kerbR", &GpsMap::kerbR, kOffsetMax},
    {"offL", &GpsMap::offL, kOffsetMax},
    {"offR", &GpsMap::offR, kOffsetMax},
};

bool readPath(const Json& root, std::vector<PointF>& out) {
    const auto path = root.find("path");
    if (path == root.end() || !path->is_array() || path->size() > kPathMax) return false;
    for (const Json& item : *path) {
        if (!item.is_array() || item.size() != 2 || !item[0].is_number() || !item[1].is_number())
            return false;
        const PointF p{static_cast<float>(item[0].get<double>()),
                       static_cast<float>(item[1].get<double>())};
        if (!(std::abs(p.x) < kPlaceMax && std::abs(p.y) < kPlaceMax)) return false;
        out.push_back(p);
    }
    return true;
}

bool readTurns(const Json& root, std::vector<TrackTurn>& out) {
    const auto turns = root.find("turns");
    if (turns == root.end() || !turns->is_array() || turns->size() > kTurnsMax) return false;
    for (const Json& item : *turns) {
        TrackTurn turn;
        if (!mapInteger(item, "number", 0, 1000, turn.number) ||
            !mapFloat(item, "pct", 1, turn.pct) || !mapFloat(item, "radius", 1e9f, turn.radius))
            return false;
        turn.name = readString(item, "name", "");
        out.push_back(turn);
    }
    return true;
}

bool readGpsMap(const std::string& path, int32_t trackId, GpsMap& out) {
    Json root;
    if (!readMapFile(path, trackId, root)) return false;
    const auto gps = root.find("gps");
    GpsMap map;
    int32_t binCount = 0;
    double length = 0;
    if (gps == root.end() || !mapNumber(*gps, "originLat", -90, 90, map.originLat) ||
        !mapNumber(*gps, "originLon", -360, 360, map.originLon) ||
        !mapInteger(*gps, "contributors", 0, INT32_MAX, map.contributors) ||
        !mapNumber(*gps, "trackLengthM", 1, 1e6, length) ||
        !mapInteger(*gps, "binCount", kMapBinsMin, kMapBinsMax, binCount) ||
        !mapInteger(*gps, "drCalVersion", 0, INT32_MAX, map.drCalVersion))
        return false;
    for (const FloatList& list : kLists)
        if (!mapFloats(*gps, list.key, static_cast<size_t>(binCount), list.limit, map.*list.values))
            return false;
    if (!readPath(root, map.path) || !readTurns(root, map.turns)) return false;
    map.trackId = trackId;
    map.trackLengthM = static_cast<float>(length);
    map.community = readBool(*gps, "community", false);
    map.clockwise = readBool(root, "clockwise", false);
    if (!map.usable()) return false;
    out = std::move(map);
    return true;
}

std::string gpsMapPath(const std::string& root, int32_t trackId) {
    return mapFilePath(root, "gpsmaps", trackId);
}

std::string pitPathFile(const std::string& baseDir, int32_t trackId) {
    return mapFilePath(baseDir, "gpsmaps", trackId, "_pit");
}

void writeGps(MapWriter& out, const GpsMap& map) {
    out.key("gps");
    out.begin('{');
    out.member("originLat", map.originLat);
    out.member("originLon", map.originLon);
    out.member("contributors", map.contributors);
    out.member("community", map.community);
    out.member("trackLengthM", map.trackLengthM);
    out.member("binCount", map.x.size());
    out.member("drCalVersion", map.drCalVersion);
    for (const FloatList& list : kLists)
        out.list(list.key, map.*list.values);
    out.end('}');
}

void writeTurns(MapWriter& out, const std::vector<TrackTurn>& turns) {
    out.key("turns");
    out.begin('[');
    for (const TrackTurn& turn : turns) {
        out.begin('{');
        out.member("number", turn.number);
        out.member("name", turn.name);
        out.member("pct", turn.pct);
        out.member("radius", turn.radius);
        out.end('}');
    }
    out.end(']');
}

} // namespace

bool loadGpsMapForTrack(const std::string& dataDir, const std::string& baseDir, int32_t trackId,
                        GpsMap& out) {
    out = {};
    for (const std::string* root : {&baseDir, &dataDir})
        if (!root->empty() && readGpsMap(gpsMapPath(*root, trackId), trackId, out)) return true;
    return false;
}

bool saveGpsMap(const std::string& baseDir, const GpsMap& map) {
    if (baseDir.empty() || map.trackId < 1 || !map.usable() || map.x.size() > kMapBinsMax)
        return false;
    for (const FloatList& list : kLists)
        if ((map.*list.values).size() != map.x.size()) return false;
    MapWriter out;
    out.begin('{');
    out.member("trackId", map.trackId);
    out.member("baseline", 0);
    out.member("clockwise", map.clockwise);
    out.member("pctUniform", true);
    out.key("path");
    out.begin('[');
    for (const PointF& p : map.path) {
        out.begin('[');
        out.value(std::round(p.x * 100) / 100);
        out.value(std::round(p.y * 100) / 100);
        out.end(']');
    }
    out.end(']');
    writeTurns(out, map.turns);
    writeGps(out, map);
    out.end('}');
    const std::string path = gpsMapPath(baseDir, map.trackId);
    GpsMap old;
    return writeMapFile(path, out.text(), readGpsMap(path, map.trackId, old));
}

namespace {

/// Sparse: [bin, latitude, longitude, count].
bool readPitPath(const std::string& file, int32_t trackId, PitPath& out) {
    Json root;
    PitPath path;
    if (!readMapFile(file, trackId, root) ||
        !mapInteger(root, "passes", 0, INT32_MAX / 2, path.passes))
        return false;
    const auto bins = root.find("bins");
    if (bins == root.end() || !bins->is_array() || bins->size() > path.bins.size()) return false;
    for (const Json& item : *bins) {
        if (!item.is_array() || item.size() != 4 || !item[0].is_number_integer() ||
            !item[1].is_number() || !item[2].is_number() || !item[3].is_number_integer())
            return false;
        const auto bin = item[0].get<int64_t>();
        const PitPath::Bin value{item[1].get<double>(), item[2].get<double>(),
                                 item[3].get<int64_t>()};
        if (bin < 0 || bin >= kPitPathBins || value.count < 1 || value.count > INT32_MAX ||
            !(std::abs(value.latitude) <= 90.0 * static_cast<double>(value.count)) ||
            !(std::abs(value.longitude) <= 360.0 * static_cast<double>(value.count)))
            return false;
        path.bins[static_cast<size_t>(bin)] = value;
    }
    out = path;
    return true;
}

} // namespace

bool loadPitPath(const std::string& baseDir, int32_t trackId, PitPath& out) {
    return readPitPath(pitPathFile(baseDir, trackId), trackId, out);
}

bool storePitPath(const std::string& baseDir, int32_t trackId, const PitPath& path) {
    if (baseDir.empty() || trackId < 1 || !path.any()) return false;
    const std::string file = pitPathFile(baseDir, trackId);
    PitPath sums;
    const bool whole = readPitPath(file, trackId, sums);
    sums.passes += path.passes;
    MapWriter out;
    out.begin('{');
    out.member("trackId", trackId);
    out.member("passes", sums.passes);
    out.key("bins");
    out.begin('[');
    for (size_t i = 0; i < sums.bins.size(); ++i) {
        PitPath::Bin& sum = sums.bins[i];
        const PitPath::Bin& add = path.bins[i];
        if (add.count > 0 && std::isfinite(add.latitude) && std::isfinite(add.longitude) &&
            sum.count + add.count <= INT32_MAX) {
            sum.latitude += add.latitude;
            sum.longitude += add.longitude;
            sum.count += add.count;
        }
        if (sum.count < 1) continue;
        out.begin('[');
        out.value(i);
        out.value(sum.latitude);
        out.value(sum.longitude);
        out.value(sum.count);
        out.end(']');
    }
    out.end(']');
    out.end('}');
    return writeMapFile(file, out.text(), whole);
}

} // namespace vt
