#include "perf/track_shape.h"

#include "perf/bin_line.h"
#include "perf/live_map.h"
#include "perf/map_text.h"
#include "perf/track_map_files.h"
#include "perf/turn_finder.h"
#include "perf/turn_names.h"
#include "telemetry/sim_registry.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <memory>

namespace vt {

namespace {

using Json = nlohmann::json;

constexpr size_t kPointsMax = 30000;

bool readPoints(const Json& root, const char* key, std::vector<PointF>& out) {
    const auto found = root.find(key);
    if (found == root.end()) return true;
    if (!found->is_array() || found->size() > kPointsMax) return false;
    for (const Json& item : *found) {
        const bool pair =
            item.is_array() && item.size() >= 2 && item[0].is_number() && item[1].is_number();
        const bool object = item.is_object() && item.contains("x") && item.contains("y") &&
                            item["x"].is_number() && item["y"].is_number();
        if (!pair && !object) return false;
        const double x = pair ? item[0].get<double>() : item["x"].get<double>();
        const double y = pair ? item[1].get<double>() : item["y"].get<double>();
        if (!(std::abs(x) < 1e6 && std::abs(y) < 1e6)) return false;
        out.push_back({static_cast<float>(x), static_cast<float>(-y)});
    }
    return true;
}

float wayRound(const std::vector<PointF>& line) {
    float way = 0;
    for (size_t i = 0; i < line.size(); ++i) {
        const PointF a = line[i], b = line[(i + 1) % line.size()];
        way += std::hypot(b.x - a.x, b.y - a.y);
    }
    return way;
}

void addTurns(TrackShape& shape) {
    if (!shape.closed || !(shape.scale > 0)) return;
    std::vector<PointF> metres;
    for (const PointF& p : shape.line)
        metres.push_back({p.x * shape.scale, p.y * shape.scale});
    int number = 0;
    for (const FoundTurn& turn : findTurns(metres, shape.length))
        shape.turns.push_back({++number, {}, turn.apex, turn.radius});
}

/// As many points as an outline needs: one for every two metres, within limits.
size_t outlinePoints(float length) {
    return static_cast<size_t>(std::clamp(length / 2, 1000.0f, 4000.0f));
}

/// A value for each of `count` points from one for each bin.
std::vector<float> spread(const std::vector<float>& values, size_t count, float sign) {
    std::vector<float> out;
    for (size_t i = 0; i < count && !values.empty(); ++i)
        out.push_back(std::max(0.0f, sign * values[i * values.size() / count]));
    return out;
}

/// The pit lane in the survey's metres. It crosses the line: it begins behind the longest stretch
/// of the lap without any.
std::vector<PointF> pitLaneOf(const std::string& baseDir, const GpsMap& map) {
    constexpr int kSparse = 8; // bins; fewer are no lane
    const auto path = std::make_unique<PitPath>();
    std::vector<int> bins;
    if (!loadPitPath(baseDir, map.trackId, *path)) return {};
    for (int i = 0; i < kPitPathBins; ++i)
        if (path->bins[static_cast<size_t>(i)].count > 0) bins.push_back(i);
    if (bins.size() < kSparse) return {};
    size_t start = 0;
    int longest = bins.front() + kPitPathBins - bins.back();
    for (size_t i = 1; i < bins.size(); ++i) {
        if (bins[i] - bins[i - 1] <= longest) continue;
        longest = bins[i] - bins[i - 1];
        start = i;
    }
    std::vector<PointF> lane;
    for (size_t i = 0; i < bins.size(); ++i) {
        const PitPath::Bin& bin = path->bins[static_cast<size_t>(bins[(start + i) % bins.size()])];
        const auto count = static_cast<double>(bin.count);
        const OriginShift place =
            originShift(bin.latitude / count, bin.longitude / count, map.originLat, map.originLon);
        lane.push_back({static_cast<float>(place.dx), static_cast<float>(place.dy)});
    }
    return lane;
}

bool shapeOfSurvey(const GpsMap& map, const std::string& baseDir, TrackShape& out) {
    if (!map.usable()) return false;
    out.pitLane = pitLaneOf(baseDir, map);
    std::vector<PointF> line;
    for (size_t i = 0; i < map.x.size(); ++i)
        line.push_back({map.x[i], map.y[i]});
    const size_t count = outlinePoints(map.trackLengthM);
    for (size_t i = 0; i < count; ++i)
        out.line.push_back(lineAt(line, static_cast<double>(i) / static_cast<double>(count)));
    out.edgeLeft = spread(map.bandLo, count, -1);
    out.edgeRight = spread(map.bandHi, count, 1);
    out.length = map.trackLengthM;
    out.scale = 1;
    out.turns = map.turns;
    return true;
}

bool shapeOfBins(const std::string& path, int trackId, float length, TrackShape& out) {
    TrackBinMap map;
    MetreLine metres;
    if (!readTrackBinMap(path, trackId, map) || !metreLineOf(map, length, metres)) return false;
    const size_t count = outlinePoints(metres.length);
    for (size_t i = 0; i < count; ++i)
        out.line.push_back(
            lineAt(metres.points, static_cast<double>(i) / static_cast<double>(count)));
    out.length = metres.length;
    out.scale = 1;
    return true;
}

/// iRacing's sources in the order of trust.
bool loadSimTrack(TrackShape& out, const std::string& dataDir, const std::string& baseDir,
                  int trackId, float length) {
    GpsMap survey;
    if (loadGpsMapForTrack(dataDir, baseDir, trackId, survey) &&
        shapeOfSurvey(survey, baseDir, out))
        return true;
    const auto drawn = [&](const std::string& path) {
        TrackShape shape;
        if (!readDrawnMap(path, trackId, length, shape)) return false;
        out = std::move(shape);
        return true;
    };
    return shapeOfBins(communityMapPath(dataDir, trackId), trackId, length, out) ||
           shapeOfBins(mapFilePath(baseDir, "trackmaps", trackId), trackId, length, out) ||
           drawn(mapFilePath(dataDir, "tracks", trackId)) ||
           drawn(learnedMapPath(baseDir, trackId));
}

} // namespace

bool readDrawnMap(const std::string& path, int32_t trackId, float length, TrackShape& out) {
    out = {};
    Json root;
    if (!readMapFile(path, trackId, root) || !readPoints(root, "path", out.line) ||
        !readPoints(root, "pitPath", out.pitLane) || out.line.size() <= 10)
        return false;
    const auto reversed = root.find("sfRev");
    if (reversed != root.end() && reversed->is_boolean() && reversed->get<bool>())
        std::reverse(out.line.begin() + 1, out.line.end());
    out.length = length;
    const float way = wayRound(out.line);
    if (length > 1 && way > 0) out.scale = length / way;
    return true;
}

TrackShape shapeOfRoad(const RoadMap& road) {
    TrackShape shape;
    shape.simKind = road.simKind;
    shape.trackId = road.trackId;
    shape.closed = !road.lineOnly;
    shape.length = road.length;
    shape.scale = 1;
    shape.roadBins = road.binCount();
    const float mirror = road.normalSign < 0 ? -1.0f : 1.0f; // a plane seen from below
    std::vector<int> known;
    for (int i = 0; i < road.binCount(); ++i)
        if (road.bins[static_cast<size_t>(i)].count > 0) known.push_back(i);
    if (known.size() < 2) return shape;
    size_t next = 0;
    const int first = road.lineOnly ? known.front() : 0;
    const int last = road.lineOnly ? known.back() : road.binCount() - 1;
    for (int i = first; i <= last; ++i) {
        while (next < known.size() && known[next] < i)
            ++next;
        const int after = next < known.size() ? known[next] : known.front() + road.binCount();
        const int before = next < known.size() && known[next] == i ? i
                           : next > 0                              ? known[next - 1]
                                                                   : known.back() - road.binCount();
        const auto bin = [&](int at) -> const RoadBin& {
            const int n = road.binCount();
            return road.bins[static_cast<size_t>((at % n + n) % n)];
        };
        const RoadBin &a = bin(before), &b = bin(after);
        const float part = after > before
                               ? static_cast<float>(i - before) / static_cast<float>(after - before)
                               : 0;
        shape.line.push_back({a.x + (b.x - a.x) * part, mirror * (a.y + (b.y - a.y) * part)});
        shape.edgeLeft.push_back(a.leftCount > 0 ? a.edgeLeft : 0);
        shape.edgeRight.push_back(a.rightCount > 0 ? a.edgeRight : 0);
    }
    if (road.hasBest) shape.best = road.best;
    shape.bestSeconds = road.bestSeconds;
    shape.corners = road.corners;
    addTurns(shape);
    return shape;
}

bool loadTrackShape(TrackShape& out, const std::string& dataDir, const std::string& baseDir,
                    int simKind, int trackId, float length) {
    out = {};
    if (trackId < 1) return false;
    if (simKind == kSimIRacing) {
        TrackShape shape;
        if (loadSimTrack(shape, dataDir, baseDir, trackId, length)) {
            shape.simKind = simKind;
            shape.trackId = trackId;
            if (shape.turns.empty()) addTurns(shape);
            out = std::move(shape);
        }
    } else {
        RoadMap road;
        if (roadMapLoad(road, baseDir, simKind, trackId) && roadMapGood(road))
            out = shapeOfRoad(road);
    }
    nameTurns(out, dataDir, baseDir, simKind, trackId, length);
    return out.known();
}

PointF shapeAt(const TrackShape& shape, float pct) {
    const auto count = static_cast<float>(shape.line.size());
    if (shape.line.empty() || !std::isfinite(pct)) return {};
    const float span = shape.closed ? count : count - 1;
    float at = (shape.closed ? pct - std::floor(pct) : std::clamp(pct, 0.0f, 1.0f)) * span;
    at = std::clamp(at, 0.0f, count - (shape.closed ? 0.001f : 1.0f));
    const auto from = static_cast<size_t>(at);
    const float part = at - static_cast<float>(from);
    const PointF a = shape.line[from % shape.line.size()];
    const PointF b =
        shape.line[std::min(from + 1, shape.closed ? SIZE_MAX : shape.line.size() - 1) %
                   shape.line.size()];
    return {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
}

} // namespace vt
