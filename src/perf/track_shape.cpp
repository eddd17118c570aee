#include "perf/track_shape.h"

#include "perf/live_map.h"
#include "perf/turn_finder.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/sim_registry.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

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

bool loadDrawnMap(TrackShape& out, const std::string& path, int trackId, float length) {
    std::string text;
    if (!readFile(path, text, 16 << 20)) return false;
    const Json root = Json::parse(text, nullptr, false);
    const bool ours = root.is_object() && root.contains("trackId") &&
                      root["trackId"].is_number_integer() &&
                      root["trackId"].get<int64_t>() == trackId;
    if (!ours || !readPoints(root, "path", out.line) || !readPoints(root, "pitPath", out.pitLane) ||
        out.line.size() <= 10)
        return false;
    const auto reversed = root.find("sfRev");
    if (reversed != root.end() && reversed->is_boolean() && reversed->get<bool>())
        std::reverse(out.line.begin() + 1, out.line.end());
    out.length = length;
    const float way = wayRound(out.line);
    if (length > 1 && way > 0) out.scale = length / way;
    return true;
}

} // namespace

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
        const std::string name = std::to_string(trackId) + ".json";
        const std::string shipped =
            joinPath(joinPath(joinPath(dataDir, "tracks"), "iracing"), name);
        TrackShape shape;
        if ((!dataDir.empty() && loadDrawnMap(shape, shipped, trackId, length)) ||
            (shape = {}, loadDrawnMap(shape, learnedMapPath(baseDir, trackId), trackId, length))) {
            shape.simKind = simKind;
            shape.trackId = trackId;
            addTurns(shape);
            out = std::move(shape);
        }
        return out.known();
    }
    RoadMap road;
    if (roadMapLoad(road, baseDir, simKind, trackId) && roadMapGood(road)) out = shapeOfRoad(road);
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
