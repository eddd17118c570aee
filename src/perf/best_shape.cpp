// Which of the many sources of an iRacing track's line is asked first.
#include "perf/bin_line.h"
#include "perf/gps_map.h"
#include "perf/live_map.h"
#include "perf/map_text.h"
#include "perf/track_map_files.h"

#include <algorithm>

namespace vt {

namespace {

constexpr int kSmoothReach = 2; // bins
constexpr int kNormalReach = 2; // points
constexpr size_t kPointsMin = 64;

/// A bin's mean stands in the bin's middle; a line begins at the lap's line.
std::vector<PointF> atBinStarts(const std::vector<PointF>& middles) {
    std::vector<PointF> out;
    for (size_t i = 0; i < middles.size(); ++i) {
        const PointF a = middles[(i + middles.size() - 1) % middles.size()], b = middles[i];
        out.push_back({(a.x + b.x) / 2, (a.y + b.y) / 2});
    }
    return out;
}

void finish(MetreLine& out) {
    out.normals = lineNormals(out.points, kNormalReach);
}

bool fromSurvey(const GpsMap& map, MetreLine& out) {
    if (!map.usable()) return false;
    std::vector<PointF> middles;
    for (size_t i = 0; i < map.x.size(); ++i)
        middles.push_back({map.x[i], map.y[i]});
    out.points = atBinStarts(middles);
    out.length = map.trackLengthM;
    out.north = true;
    finish(out);
    return true;
}

bool fromDrawing(const std::string& path, int32_t trackId, float length, bool north,
                 MetreLine& out) {
    TrackShape shape;
    if (!(length > 1) || !readDrawnMap(path, trackId, length, shape) || !(shape.scale > 0) ||
        shape.line.size() < kPointsMin)
        return false;
    for (const PointF& p : shape.line)
        out.points.push_back({p.x * shape.scale, p.y * shape.scale});
    out.length = length;
    out.north = north;
    finish(out);
    return true;
}

} // namespace

bool metreLineOf(const TrackBinMap& map, float length, MetreLine& out) {
    out = {};
    std::vector<PointF> line;
    std::vector<bool> filled;
    for (const TrackBin& bin : map.bins) {
        line.push_back({bin.x, bin.y});
        filled.push_back(bin.count > 0);
    }
    const auto known = static_cast<size_t>(std::count(filled.begin(), filled.end(), true));
    if (known < kPointsMin || known * 2 < line.size() || !closeGaps(line, filled)) return false;
    out.points = atBinStarts(smoothLine(line, kSmoothReach));
    out.length = length > 1 ? length : static_cast<float>(line.size());
    out.north = true;
    finish(out);
    return true;
}

bool loadBestShape(const std::string& dataDir, const std::string& baseDir, int32_t trackId,
                   float trackLength, MetreLine& out) {
    out = {};
    if (trackId < 1) return false;
    const auto found = [&out](MetreLine&& line, LineSource source) {
        out = std::move(line);
        out.source = source;
        return true;
    };
    GpsMap survey;
    MetreLine line;
    if (loadGpsMapForTrack(dataDir, baseDir, trackId, survey) && fromSurvey(survey, line))
        return found(std::move(line), LineSource::survey);
    TrackBinMap bins;
    const auto ofBins = [&](const std::string& path) {
        return readTrackBinMap(path, trackId, bins) && metreLineOf(bins, trackLength, line);
    };
    if (ofBins(communityMapPath(dataDir, trackId)))
        return found(std::move(line), LineSource::community);
    if (ofBins(mapFilePath(baseDir, "trackmaps", trackId)))
        return found(std::move(line), LineSource::ownBins);
    if (fromDrawing(mapFilePath(dataDir, "tracks", trackId), trackId, trackLength, false, line))
        return found(std::move(line), LineSource::shippedDrawing);
    if (fromDrawing(learnedMapPath(baseDir, trackId), trackId, trackLength, true, line))
        return found(std::move(line), LineSource::learnedDrawing);
    return false;
}

} // namespace vt
