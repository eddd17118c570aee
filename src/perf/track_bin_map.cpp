#include "perf/track_bin_map.h"

#include "perf/bin_line.h"
#include "perf/map_text.h"
#include "perf/track_map_files.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vt {

namespace {

using Json = nlohmann::json;

constexpr float kGateSquared = 225;      // m², how far a sample may lie from its bin
constexpr int kOffPercentMax = 2;        // of a lap's filled bins
constexpr float kPlaceMax = 1e6f;        // m from the origin
constexpr double kOriginsApartMax = 5e4; // m between two recordings of one track
constexpr int64_t kLapsMax = 1'000'000'000;

std::string binMapPath(const std::string& baseDir, int32_t trackId) {
    return mapFilePath(baseDir, "trackmaps", trackId);
}

bool readBin(const Json& item, TrackBin& bin) {
    return mapFloat(item, "x", kPlaceMax, bin.x) && mapFloat(item, "y", kPlaceMax, bin.y) &&
           mapInteger(item, "count", 0, kLapsMax, bin.count) &&
           mapFloat(item, "l05", kPlaceMax, bin.l05) && mapFloat(item, "l50", kPlaceMax, bin.l50) &&
           mapFloat(item, "l95", kPlaceMax, bin.l95);
}

/// The old bins spread over the new number: a track whose length is told differently by a metre is
/// still the same.
void resizeBins(TrackBinMap& map, uint32_t binCount) {
    std::vector<TrackBin> old(binCount);
    old.swap(map.bins);
    for (size_t i = 0; i < map.bins.size(); ++i)
        map.bins[i] = old[i * old.size() / map.bins.size()];
    rebuildNormals(map);
}

bool lapJoins(const LapTrace& lap, const std::vector<uint8_t>& onTrack, size_t bins) {
    if (lap.x.size() != bins || lap.y.size() != bins || lap.have.size() != bins ||
        onTrack.size() != bins)
        return false;
    size_t filled = 0, off = 0;
    for (size_t i = 0; i < bins; ++i) {
        if (!lap.have[i]) continue;
        ++filled;
        if (!onTrack[i]) ++off;
    }
    return filled > 0 && off * 100 <= filled * kOffPercentMax;
}

/// One lap's place at a bin in the map's frame; false where it has none on the road.
struct LapInMap {
    const LapTrace* lap;
    const std::vector<uint8_t>* onTrack;
    OriginShift shift;

    bool at(size_t bin, PointF& out) const {
        if (!lap->have[bin] || !(*onTrack)[bin]) return false;
        out = {static_cast<float>(static_cast<double>(lap->x[bin]) * shift.scale + shift.dx),
               static_cast<float>(static_cast<double>(lap->y[bin]) + shift.dy)};
        return std::abs(out.x) < kPlaceMax && std::abs(out.y) < kPlaceMax;
    }
};

bool beyondGate(const TrackBin& bin, PointF p) {
    const float dx = p.x - bin.x, dy = p.y - bin.y;
    return dx * dx + dy * dy > kGateSquared;
}

void foldPlaces(TrackBinMap& map, const LapInMap& lap) {
    for (size_t i = 0; i < map.bins.size(); ++i) {
        TrackBin& bin = map.bins[i];
        PointF p;
        if (!lap.at(i, p) || (bin.count > 0 && beyondGate(bin, p)) || bin.count >= kLapsMax)
            continue;
        const float share = 1 / static_cast<float>(bin.count + 1);
        bin.x += (p.x - bin.x) * share;
        bin.y += (p.y - bin.y) * share;
        ++bin.count;
    }
}

void foldPercentiles(TrackBinMap& map, const std::vector<LapInMap>& laps,
                     const std::vector<int32_t>& prior) {
    std::vector<float> offsets;
    for (size_t i = 0; i < map.bins.size(); ++i) {
        TrackBin& bin = map.bins[i];
        offsets.clear();
        PointF p;
        for (const LapInMap& lap : laps)
            if (lap.at(i, p) && !beyondGate(bin, p))
                offsets.push_back((p.x - bin.x) * bin.normalX + (p.y - bin.y) * bin.normalY);
        if (offsets.empty()) continue;
        std::sort(offsets.begin(), offsets.end());
        const auto before = static_cast<float>(prior[i]);
        const float all = before + static_cast<float>(offsets.size());
        const auto fold = [&](float& value, double share) {
            value = (value * before + percentileOf(offsets, share) * (all - before)) / all;
        };
        fold(bin.l05, 0.05);
        fold(bin.l50, 0.50);
        fold(bin.l95, 0.95);
    }
}

} // namespace

std::string communityMapPath(const std::string& dataDir, int32_t trackId) {
    return mapFilePath(dataDir, "communitymaps", trackId);
}

bool readTrackBinMap(const std::string& path, int32_t trackId, TrackBinMap& out) {
    out = {};
    Json root;
    TrackBinMap map;
    int32_t binCount = 0;
    if (!readMapFile(path, trackId, root) ||
        !mapInteger(root, "binCount", kMapBinsMin, kMapBinsMax, binCount) ||
        !mapInteger(root, "cleanLaps", 0, kLapsMax, map.cleanLaps))
        return false;
    const auto origin = root.find("origin");
    const auto bins = root.find("bins");
    if (origin == root.end() || bins == root.end() || !bins->is_array() ||
        bins->size() != static_cast<size_t>(binCount) ||
        !mapNumber(*origin, "lat", -90, 90, map.originLat) ||
        !mapNumber(*origin, "lon", -360, 360, map.originLon))
        return false;
    map.trackId = trackId;
    map.bins.resize(bins->size());
    for (size_t i = 0; i < map.bins.size(); ++i)
        if (!readBin((*bins)[i], map.bins[i])) return false;
    rebuildNormals(map);
    out = std::move(map);
    return true;
}

bool loadTrackBinMap(const std::string& baseDir, int32_t trackId, TrackBinMap& out) {
    return readTrackBinMap(binMapPath(baseDir, trackId), trackId, out);
}

bool saveTrackBinMap(const std::string& baseDir, const TrackBinMap& map) {
    if (baseDir.empty() || map.trackId < 1) return false;
    MapWriter out;
    out.text().reserve(map.bins.size() * 96 + 256);
    out.begin('{');
    out.member("trackId", map.trackId);
    out.member("binCount", map.bins.size());
    out.member("cleanLaps", map.cleanLaps);
    out.key("origin");
    out.begin('{');
    out.member("lat", map.originLat);
    out.member("lon", map.originLon);
    out.end('}');
    out.key("bins");
    out.begin('[');
    for (const TrackBin& bin : map.bins) {
        out.begin('{');
        out.member("x", bin.x);
        out.member("y", bin.y);
        out.member("count", bin.count);
        out.member("l05", bin.l05);
        out.member("l50", bin.l50);
        out.member("l95", bin.l95);
        out.end('}');
    }
    out.end(']');
    out.end('}');
    const std::string path = binMapPath(baseDir, map.trackId);
    TrackBinMap old;
    return writeMapFile(path, out.text(), readTrackBinMap(path, map.trackId, old));
}

void rebuildNormals(TrackBinMap& map) {
    std::vector<size_t> filled;
    for (size_t i = 0; i < map.bins.size(); ++i) {
        map.bins[i].normalX = map.bins[i].normalY = 0;
        if (map.bins[i].count > 0) filled.push_back(i);
    }
    std::vector<PointF> line;
    for (const size_t i : filled)
        line.push_back({map.bins[i].x, map.bins[i].y});
    const std::vector<PointF> normals = lineNormals(line, 1);
    for (size_t i = 0; i < filled.size(); ++i) {
        map.bins[filled[i]].normalX = normals[i].x;
        map.bins[filled[i]].normalY = normals[i].y;
    }
}

int learnGpsSession(TrackBinMap& map, const TraceFile& trace,
                    const std::vector<std::vector<uint8_t>>& onTrack,
                    const std::vector<uint8_t>& lapClean) {
    if (!usableOrigin(trace.originLat, trace.originLon) || trace.binCount < kMapBinsMin ||
        trace.binCount > kMapBinsMax)
        return 0;
    if (map.bins.empty()) {
        map.bins.resize(trace.binCount);
        map.originLat = trace.originLat;
        map.originLon = trace.originLon;
    }
    if (map.bins.size() != trace.binCount) {
        resizeBins(map, trace.binCount);
        return 0;
    }
    const OriginShift shift =
        originShift(trace.originLat, trace.originLon, map.originLat, map.originLon);
    if (!(std::hypot(shift.dx, shift.dy) < kOriginsApartMax)) return 0;
    std::vector<LapInMap> laps;
    for (size_t i = 0; i < trace.laps.size(); ++i)
        if (i < lapClean.size() && lapClean[i] && i < onTrack.size() &&
            lapJoins(trace.laps[i], onTrack[i], map.bins.size()))
            laps.push_back({&trace.laps[i], &onTrack[i], shift});
    if (laps.empty()) return 0;
    std::vector<int32_t> prior;
    for (const TrackBin& bin : map.bins)
        prior.push_back(bin.count);
    for (const LapInMap& lap : laps)
        foldPlaces(map, lap);
    const auto joined = static_cast<int>(laps.size());
    map.cleanLaps =
        static_cast<int32_t>(std::min<int64_t>(int64_t{map.cleanLaps} + joined, kLapsMax));
    rebuildNormals(map);
    foldPercentiles(map, laps, prior);
    return joined;
}

} // namespace vt
