// The calibration of a track: its file, its table, and what a clean lap teaches.
#include "base/json_read.h"
#include "perf/bin_line.h"
#include "perf/map_text.h"
#include "perf/road_offset_fold.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <numeric>

namespace vt {

namespace {

using Json = nlohmann::json;

constexpr float kStationMax = 30;  // m
constexpr int kLapsWeightMax = 30; // laps that a new one is held against at most
constexpr int kLapsSettled = 3;    // folded before a turned heading counts as a new frame
constexpr int32_t kCountMax = 1'000'000'000;
constexpr int kPairsMin = 64;
constexpr float kVersionMove = 0.5f; // m of a station

double wrapAngle(double radians) {
    return std::remainder(radians, 2 * M_PI);
}

bool readTrackCal(const std::string& path, int32_t trackId, TrackCal& out) {
    Json root;
    TrackCal cal;
    std::vector<float> stations;
    if (!readMapFile(path, trackId, root) ||
        !mapInteger(root, "calVersion", 0, kCountMax, cal.calVersion) ||
        !mapNumber(root, "rotationRad", -7, 7, cal.rotationRad) ||
        !mapFloats(root, "stationOffsetM", kCalStations, kStationMax, stations) ||
        !mapFloat(root, "mapBaseline", 1e9f, cal.mapBaseline))
        return false;
    if (root.contains("mapSource") && !mapInteger(root, "mapSource", 0, 100, cal.mapSource))
        return false;
    if (root.contains("laps") && !mapInteger(root, "laps", 0, kCountMax, cal.laps)) return false;
    std::copy(stations.begin(), stations.end(), cal.stationOffsetM.begin());
    cal.mapClockwise = readBool(root, "mapClockwise", false);
    cal.trackId = trackId;
    out = cal;
    return true;
}

std::string calPath(const std::string& root, int32_t trackId) {
    return mapFilePath(root, "trackcal", trackId);
}

/// The fraction in the middle of a bin.
double binPct(size_t bin, size_t count) {
    return (static_cast<double>(bin) + 0.5) / static_cast<double>(count);
}

struct Vec {
    double x = 0, y = 0;
};

/// The lap's own turn against the map, each bin by its speed.
double lapRotation(const TrackCal& cal, const MetreLine& map, const CalLap& lap) {
    double sine = 0, cosine = 0;
    for (size_t i = 0; i < lap.bins(); ++i) {
        if (!lap.valid(i)) continue;
        const PointF way =
            mapWay(map, calStation(cal, binPct(i, lap.bins()), static_cast<double>(map.length)));
        const double turn = std::atan2(static_cast<double>(way.y), static_cast<double>(way.x)) -
                            static_cast<double>(lap.heading[i]);
        const auto weight = static_cast<double>(lap.speed[i]);
        sine += std::sin(turn) * weight;
        cosine += std::cos(turn) * weight;
    }
    return std::atan2(sine, cosine);
}

/// How far along the road the reckoned lap lies from the map at each station, mean of its bins.
struct StationMeans {
    std::array<double, kCalStations> sum{};
    std::array<int, kCalStations> count{};
};

bool stationMeans(const MetreLine& map, const CalLap& lap, StationMeans& out) {
    const auto mapAt = [&](size_t bin) {
        const PointF p = lineAt(map.points, binPct(bin, lap.bins()));
        return Vec{static_cast<double>(p.x), static_cast<double>(p.y)};
    };
    Vec drivenMean, mapMean;
    int pairs = 0;
    for (size_t i = 0; i < lap.bins(); ++i) {
        if (!lap.valid(i)) continue;
        const Vec m = mapAt(i);
        drivenMean = {drivenMean.x + lap.x[i], drivenMean.y + lap.y[i]};
        mapMean = {mapMean.x + m.x, mapMean.y + m.y};
        ++pairs;
    }
    if (pairs < kPairsMin) return false;
    drivenMean = {drivenMean.x / pairs, drivenMean.y / pairs};
    mapMean = {mapMean.x / pairs, mapMean.y / pairs};
    double cross = 0, dot = 0;
    for (size_t i = 0; i < lap.bins(); ++i) {
        if (!lap.valid(i)) continue;
        const Vec m = mapAt(i);
        const Vec a{lap.x[i] - drivenMean.x, lap.y[i] - drivenMean.y};
        const Vec b{m.x - mapMean.x, m.y - mapMean.y};
        cross += a.x * b.y - a.y * b.x;
        dot += a.x * b.x + a.y * b.y;
    }
    const double turn = std::atan2(cross, dot), c = std::cos(turn), s = std::sin(turn);
    for (size_t i = 0; i < lap.bins(); ++i) {
        if (!lap.valid(i)) continue;
        const Vec m = mapAt(i);
        const Vec a{lap.x[i] - drivenMean.x, lap.y[i] - drivenMean.y};
        const Vec off{c * a.x - s * a.y + mapMean.x - m.x, s * a.x + c * a.y + mapMean.y - m.y};
        const double pct = binPct(i, lap.bins());
        const PointF way = mapWay(map, pct);
        const double along =
            off.x * static_cast<double>(way.x) + off.y * static_cast<double>(way.y);
        if (!(std::abs(along) <= static_cast<double>(kStationMax))) continue;
        const auto station = static_cast<size_t>(pct * kCalStations);
        out.sum[station] += along;
        ++out.count[station];
    }
    return true;
}

void foldStations(TrackCal& cal, const StationMeans& means, double weight) {
    std::array<float, kCalStations> moved = cal.stationOffsetM;
    for (size_t i = 0; i < moved.size(); ++i) {
        if (means.count[i] == 0) continue;
        const double mean = means.sum[i] / means.count[i];
        moved[i] = std::clamp(
            static_cast<float>((static_cast<double>(moved[i]) * weight + mean) / (weight + 1)),
            -kStationMax, kStationMax);
    }
    for (size_t i = 0; i < moved.size(); ++i)
        cal.stationOffsetM[i] = 0.25f * moved[(i + kCalStations - 1) % kCalStations] +
                                0.5f * moved[i] + 0.25f * moved[(i + 1) % kCalStations];
}

} // namespace

bool loadTrackCal(const std::string& dataDir, const std::string& baseDir, int32_t trackId,
                  TrackCal& out) {
    out = {};
    out.trackId = trackId;
    return readTrackCal(calPath(baseDir, trackId), trackId, out) ||
           readTrackCal(calPath(dataDir, trackId), trackId, out);
}

bool saveTrackCal(const std::string& baseDir, const TrackCal& cal) {
    if (baseDir.empty() || cal.trackId < 1) return false;
    MapWriter out;
    out.begin('{');
    out.member("trackId", cal.trackId);
    out.member("calVersion", cal.calVersion);
    out.member("laps", cal.laps);
    out.member("rotationRad", cal.rotationRad);
    out.list("stationOffsetM", cal.stationOffsetM);
    out.member("mapBaseline", cal.mapBaseline);
    out.member("mapClockwise", cal.mapClockwise);
    out.member("mapSource", cal.mapSource);
    out.end('}');
    const std::string path = calPath(baseDir, cal.trackId);
    TrackCal old;
    return writeMapFile(path, out.text(), readTrackCal(path, cal.trackId, old));
}

double calStation(const TrackCal& cal, double pct, double trackLength) {
    if (!std::isfinite(pct)) return 0;
    const double turn = pct - std::floor(pct);
    // A station's value stands in its middle.
    const double at = turn * kCalStations - 0.5;
    const double low = std::floor(at);
    const auto from = static_cast<size_t>(static_cast<int>(low) + kCalStations) % kCalStations;
    const auto a = static_cast<double>(cal.stationOffsetM[from]);
    const auto b = static_cast<double>(cal.stationOffsetM[(from + 1) % kCalStations]);
    const double metres = a + (b - a) * (at - low);
    const double shifted = turn + (trackLength > 1 ? metres / trackLength : 0);
    return std::min(shifted - std::floor(shifted), 0.999999);
}

PointF mapWay(const MetreLine& map, double pct) {
    const double reach = 2 / static_cast<double>(map.length);
    const PointF a = lineAt(map.points, pct - reach), b = lineAt(map.points, pct + reach);
    const float dx = b.x - a.x, dy = b.y - a.y, length = std::hypot(dx, dy);
    if (!(length > 1e-6f)) return {};
    return {dx / length, dy / length};
}

bool foldCalLap(TrackCal& cal, const MetreLine& map, const CalLap& lap,
                std::array<float, kCalStations>& versionTable) {
    size_t valid = 0;
    for (size_t i = 0; i < lap.bins(); ++i)
        if (lap.valid(i)) ++valid;
    if (lap.bins() == 0 || valid * 3 < lap.bins()) return false;
    const double rotation = lapRotation(cal, map, lap);
    bool raise = false;
    if (cal.laps >= kLapsSettled && std::abs(wrapAngle(rotation - cal.rotationRad)) > M_PI / 2) {
        cal.laps = 0;
        cal.stationOffsetM.fill(0);
        raise = true;
    }
    const double weight = std::min(cal.laps, kLapsWeightMax);
    cal.rotationRad =
        wrapAngle(cal.rotationRad + wrapAngle(rotation - cal.rotationRad) / (weight + 1));
    StationMeans means;
    if (stationMeans(map, lap, means)) foldStations(cal, means, weight);
    for (size_t i = 0; i < versionTable.size(); ++i)
        raise = raise || std::abs(cal.stationOffsetM[i] - versionTable[i]) > kVersionMove;
    if (raise) {
        cal.calVersion = std::min(cal.calVersion + 1, kCountMax);
        versionTable = cal.stationOffsetM;
    }
    cal.laps = std::min(cal.laps + 1, kCountMax);
    cal.mapBaseline = 0;
    cal.mapSource = static_cast<int32_t>(map.source);
    cal.mapClockwise = drivenClockwise(map.points);
    return true;
}

} // namespace vt
