#include "perf/road_map.h"

#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr int kLookAround = 20;      // bins
constexpr float kLateralMax = 60.0f; // m

/// The nearest bin with a point, `step` at a time; -1 for none. A stage stops at its ends.
int neighbour(const RoadMap& map, int from, int step) {
    const int count = map.binCount();
    for (int i = 1; i <= kLookAround; ++i) {
        int at = from + i * step;
        if (at < 0 || at >= count) {
            if (map.lineOnly) return -1;
            at = (at % count + count) % count;
        }
        if (map.bins[static_cast<size_t>(at)].count > 0) return at;
    }
    return -1;
}

} // namespace

int roadBinCount(float length) {
    if (!std::isfinite(length)) return kRoadBinsMin;
    return static_cast<int>(
        std::clamp(length, static_cast<float>(kRoadBinsMin), static_cast<float>(kRoadBinsMax)));
}

int roadBin(const RoadMap& map, float pct) {
    const auto count = static_cast<float>(map.binCount());
    const float at = count * std::clamp(pct, 0.0f, 1.0f);
    return std::clamp(static_cast<int>(at), 0, std::max(map.binCount() - 1, 0));
}

bool roadMapGood(const RoadMap& map) {
    return map.laps >= (map.lineOnly ? 1 : map.usedRoad ? 5 : 2);
}

void roadNormals(RoadMap& map) {
    const float sign = map.normalSign < 0 ? -1.0f : 1.0f;
    for (int i = 0; i < map.binCount(); ++i) {
        RoadBin& bin = map.bins[static_cast<size_t>(i)];
        bin.normalX = bin.normalY = 0;
        if (bin.count == 0) continue;
        const int before = neighbour(map, i, -1), after = neighbour(map, i, 1);
        if (before < 0 && after < 0) continue;
        const RoadBin& from = map.bins[static_cast<size_t>(before < 0 ? i : before)];
        const RoadBin& to = map.bins[static_cast<size_t>(after < 0 ? i : after)];
        const float dx = to.x - from.x, dy = to.y - from.y;
        const float length = std::sqrt(dx * dx + dy * dy);
        if (!(length >= 1e-6f)) continue;
        bin.normalX = sign * dy / length;
        bin.normalY = -sign * dx / length;
    }
}

RoadLateral roadLateral(const RoadMap& map, float pct, float x, float y) {
    if (map.bins.empty() || !std::isfinite(pct) || !std::isfinite(x) || !std::isfinite(y))
        return {};
    const int at = roadBin(map, pct);
    const bool here = map.bins[static_cast<size_t>(at)].count > 0;
    const int before = here ? at : neighbour(map, at, -1);
    const int after = neighbour(map, at, 1);
    if (before < 0 && after < 0) return {};
    const RoadBin& a = map.bins[static_cast<size_t>(before < 0 ? after : before)];
    const RoadBin& b = map.bins[static_cast<size_t>(after < 0 ? before : after)];
    const float dx = b.x - a.x, dy = b.y - a.y;
    const float length = std::sqrt(dx * dx + dy * dy);
    const float sign = map.normalSign < 0 ? -1.0f : 1.0f;
    RoadLateral result;
    if (before >= 0 && after >= 0 && before != after && length >= 1e-6f)
        result.metres = sign * (dy * (x - a.x) - dx * (y - a.y)) / length;
    else if (a.normalX != 0 || a.normalY != 0)
        result.metres = a.normalX * (x - a.x) + a.normalY * (y - a.y);
    else
        return {};
    result.ok = std::abs(result.metres) <= kLateralMax;
    return result;
}

std::string roadMapPath(const std::string& baseDir, int simKind, int trackId) {
    char name[32];
    std::snprintf(name, sizeof name, "%d.json", trackId);
    return joinPath(joinPath(joinPath(baseDir, "simmaps"), simKey(simKind)), name);
}

bool roadMapLoad(RoadMap& map, const std::string& baseDir, int simKind, int trackId) {
    map = {};
    std::string text;
    if (baseDir.empty() || !readFile(roadMapPath(baseDir, simKind, trackId), text)) return false;
    if (roadMapParse(map, text) && map.simKind == simKind && map.trackId == trackId) return true;
    map = {};
    return false;
}

bool roadMapSave(const RoadMap& map, const std::string& baseDir) {
    if (baseDir.empty()) return false;
    const std::string folder = joinPath(joinPath(baseDir, "simmaps"), simKey(map.simKind));
    return makeFolders(folder) &&
           writeFileAtomic(roadMapPath(baseDir, map.simKind, map.trackId), roadMapText(map));
}

} // namespace vt
