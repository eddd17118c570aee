#include "perf/live_map.h"

#include "base/geometry.h"
#include "base/log.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

using Json = nlohmann::json;
using OrderedJson = nlohmann::ordered_json;

constexpr double kSide = 1000; // of the map's square
constexpr double kSpanMin = 1e-8;
constexpr int kSmoothReach = 2; // bins to each side

struct GlobePoint {
    double latitude = 0, longitude = 0;
};

std::string mapFolder(const std::string& baseDir) {
    return joinPath(joinPath(baseDir, "tracks"), "iracing");
}

std::string sumsPath(const std::string& baseDir, int32_t trackId) {
    return joinPath(mapFolder(baseDir), std::to_string(trackId) + "_acc.json");
}

OrderedJson binsJson(const std::array<LiveMapBin, kLiveMapBins>& bins) {
    OrderedJson list = OrderedJson::array();
    for (const LiveMapBin& bin : bins)
        list.push_back({bin.latitude, bin.longitude, bin.count});
    return list;
}

bool readBins(const Json& root, const char* key, std::array<LiveMapBin, kLiveMapBins>& bins) {
    const auto found = root.find(key);
    if (found == root.end() || !found->is_array() || found->size() != bins.size()) return false;
    for (size_t i = 0; i < bins.size(); ++i) {
        const Json& item = (*found)[i];
        if (!item.is_array() || item.size() != 3 || !item[0].is_number() || !item[1].is_number() ||
            !item[2].is_number_integer())
            return false;
        bins[i] = {item[0].get<double>(), item[1].get<double>(), item[2].get<int64_t>()};
        if (bins[i].count < 0 || !std::isfinite(bins[i].latitude) ||
            !std::isfinite(bins[i].longitude))
            return false;
    }
    return true;
}

GlobePoint meanOf(const LiveMapBin& bin) {
    const auto n = static_cast<double>(bin.count);
    return {bin.latitude / n, bin.longitude / n};
}

/// Mean per bin; an empty one lies between its nearest filled neighbours.
std::vector<GlobePoint> closedLine(const std::array<LiveMapBin, kLiveMapBins>& bins) {
    std::vector<GlobePoint> line(bins.size());
    const auto n = static_cast<int>(bins.size());
    const auto filled = [&](int from, int step) {
        for (int i = 1; i < n; ++i) {
            const LiveMapBin& bin = bins[static_cast<size_t>(((from + i * step) % n + n) % n)];
            if (bin.count > 0) return &bin;
        }
        return &bins[static_cast<size_t>(from)];
    };
    for (int i = 0; i < n; ++i) {
        const LiveMapBin& bin = bins[static_cast<size_t>(i)];
        if (bin.count > 0) {
            line[static_cast<size_t>(i)] = meanOf(bin);
            continue;
        }
        const GlobePoint a = meanOf(*filled(i, -1)), b = meanOf(*filled(i, 1));
        line[static_cast<size_t>(i)] = {(a.latitude + b.latitude) / 2,
                                        (a.longitude + b.longitude) / 2};
    }
    return line;
}

void smoothRound(std::vector<GlobePoint>& line) {
    const std::vector<GlobePoint> raw = line;
    const auto n = static_cast<int>(raw.size());
    for (int i = 0; i < n; ++i) {
        GlobePoint sum;
        for (int j = -kSmoothReach; j <= kSmoothReach; ++j) {
            const GlobePoint& p = raw[static_cast<size_t>((i + j + n) % n)];
            sum.latitude += p.latitude;
            sum.longitude += p.longitude;
        }
        line[static_cast<size_t>(i)] = {sum.latitude / (2 * kSmoothReach + 1),
                                        sum.longitude / (2 * kSmoothReach + 1)};
    }
}

/// From degrees to the map's square, north up, both axes by one factor.
struct Fit {
    double lonScale = 1, factor = 1, left = 0, top = 0, shiftX = 0, shiftY = 0;

    explicit Fit(const std::vector<GlobePoint>& line) {
        double mean = 0;
        for (const GlobePoint& p : line)
            mean += p.latitude / static_cast<double>(line.size());
        lonScale = std::cos(mean * M_PI / 180);
        double right = -1e9, bottom = -1e9;
        left = top = 1e9;
        for (const GlobePoint& p : line) {
            left = std::min(left, p.longitude * lonScale);
            right = std::max(right, p.longitude * lonScale);
            top = std::min(top, -p.latitude);
            bottom = std::max(bottom, -p.latitude);
        }
        const double width = std::max(right - left, kSpanMin);
        const double height = std::max(bottom - top, kSpanMin);
        factor = kSide / std::max(width, height);
        shiftX = (kSide - (right - left) * factor) / 2;
        shiftY = (kSide - (bottom - top) * factor) / 2;
    }
    PointF operator()(const GlobePoint& p) const {
        return {static_cast<float>((p.longitude * lonScale - left) * factor + shiftX),
                static_cast<float>((-p.latitude - top) * factor + shiftY)};
    }
};

OrderedJson pointsJson(const std::vector<PointF>& points) {
    OrderedJson list = OrderedJson::array();
    for (const PointF& p : points)
        list.push_back({std::round(p.x * 100) / 100, std::round(p.y * 100) / 100});
    return list;
}

/// In a square whose y grows downwards, a positive area is driven clockwise.
bool clockwise(const std::vector<PointF>& path) {
    double area = 0;
    for (size_t i = 0; i < path.size(); ++i) {
        const PointF a = path[i], b = path[(i + 1) % path.size()];
        area += static_cast<double>(a.x * b.y - b.x * a.y);
    }
    return area > 0;
}

size_t filledBins(const std::array<LiveMapBin, kLiveMapBins>& bins) {
    return static_cast<size_t>(std::count_if(bins.begin(), bins.end(),
                                             [](const LiveMapBin& bin) { return bin.count > 0; }));
}

} // namespace

std::string learnedMapPath(const std::string& baseDir, int32_t trackId) {
    return joinPath(mapFolder(baseDir), std::to_string(trackId) + ".json");
}

bool saveLiveMap(const LiveMapJob& job) {
    if (job.baseDir.empty() || job.trackId < 1 || !makeFolders(mapFolder(job.baseDir)))
        return false;
    OrderedJson sums;
    sums["trackId"] = job.trackId;
    sums["lapsRecorded"] = job.laps;
    sums["raceBins"] = binsJson(job.sums.race);
    sums["pitBins"] = binsJson(job.sums.pit);
    if (!writeFileAtomic(sumsPath(job.baseDir, job.trackId), sums.dump())) return false;

    const size_t raceBins = filledBins(job.sums.race);
    if (raceBins < kLiveMapBinsMin) return false;
    std::vector<GlobePoint> line = closedLine(job.sums.race);
    smoothRound(line);
    const Fit fit(line);
    std::vector<PointF> path, pit;
    for (const GlobePoint& p : line)
        path.push_back(fit(p));
    for (const LiveMapBin& bin : job.sums.pit)
        if (bin.count > 0) pit.push_back(fit(meanOf(bin)));
    OrderedJson map;
    map["trackId"] = job.trackId;
    map["baseline"] = 0;
    map["clockwise"] = clockwise(path);
    map["pctUniform"] = true;
    map["autoRecorded"] = true;
    map["lapsRecorded"] = job.laps;
    map["path"] = pointsJson(path);
    map["pitPath"] = pointsJson(pit);
    map["turns"] = OrderedJson::array();
    const std::string file = learnedMapPath(job.baseDir, job.trackId);
    if (!writeFileAtomic(file, map.dump())) return false;
    logStatus("[trackmap] saved track %d (%d laps, %d race bins, %zu pit pts) -> %s\n", job.trackId,
              job.laps, static_cast<int>(raceBins), pit.size(), file.c_str());
    return true;
}

bool loadLiveSums(const std::string& baseDir, int32_t trackId, LiveMapSums& sums, int32_t& laps) {
    std::string text;
    if (baseDir.empty() || !readFile(sumsPath(baseDir, trackId), text, 4 << 20)) return false;
    const Json root = Json::parse(text, nullptr, false);
    const auto number = [&](const char* key, int32_t low, int32_t& out) {
        const auto found = root.find(key);
        if (found == root.end() || !found->is_number_integer()) return false;
        const auto value = found->get<int64_t>();
        if (value < low || value > INT32_MAX) return false;
        out = static_cast<int32_t>(value);
        return true;
    };
    int32_t id = 0;
    return root.is_object() && number("trackId", 1, id) && id == trackId &&
           number("lapsRecorded", 0, laps) && readBins(root, "raceBins", sums.race) &&
           readBins(root, "pitBins", sums.pit);
}

LiveMap::~LiveMap() {
    wait();
}

void LiveMap::wait() {
    if (saver_.joinable()) saver_.join();
}

void LiveMap::begin(int32_t trackId) {
    trackId_ = trackId;
    previousPct_ = -1;
    laps_ = 0;
    sums_ = {};
    LiveMapSums earlier;
    if (!loadLiveSums(job_.baseDir, trackId, earlier, laps_)) {
        laps_ = 0;
        return;
    }
    sums_ = earlier;
    logStatus("[trackmap] loaded accumulator for track %d (%d prior laps)\n", trackId, laps_);
}

void LiveMap::save() {
    if (busy_.load() != 0) return; // the next third lap will do
    wait();
    job_.trackId = trackId_;
    job_.laps = laps_;
    job_.sums = sums_;
    busy_ = 1;
    saver_ = std::thread([this] {
        if (saveLiveMap(job_)) ++saved_;
        busy_ = 0;
    });
}

void LiveMap::tick(const SimFrame& frame) {
    if (!frame.connected || frame.simKind != 0 || frame.trackId < 1) return;
    const bool located = frame.latitude != 0 || frame.longitude != 0;
    if (!located || !std::isfinite(frame.latitude) || !std::isfinite(frame.longitude) ||
        !(frame.speed >= 1.0f) || !(frame.lapDistPct >= 0))
        return;
    if (frame.trackId != trackId_) begin(frame.trackId);
    const int bin =
        std::clamp(static_cast<int>(frame.lapDistPct * kLiveMapBins), 0, kLiveMapBins - 1);
    LiveMapBin& sum = (frame.onPitRoad ? sums_.pit : sums_.race)[static_cast<size_t>(bin)];
    sum.latitude += frame.latitude;
    sum.longitude += frame.longitude;
    sum.count += 1;
    const bool lap = previousPct_ > 0.9f && frame.lapDistPct < 0.1f && !frame.onPitRoad;
    previousPct_ = frame.lapDistPct;
    if (lap && ++laps_ % kLiveMapLapsPerSave == 0) save();
}

} // namespace vt
