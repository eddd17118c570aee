#include "perf/map_text.h"
#include "perf/track_bin_map.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vt {

namespace {

using Json = nlohmann::json;
using Counts = std::vector<uint16_t>;

constexpr float kLatSumMax = 65535 * 1000.0f; // m

struct CountList {
    const char* key;
    Counts TrackEventGrid::*counts;
};
constexpr CountList kCountLists[] = {{"kerbL", &TrackEventGrid::kerbL},
                                     {"kerbR", &TrackEventGrid::kerbR},
                                     {"furl", &TrackEventGrid::furl}};

struct OffList {
    const char* key;
    Counts TrackEventGrid::*counts;
    Counts TrackEventGrid::*latN;
    std::vector<float> TrackEventGrid::*latSum;
};
constexpr OffList kOffLists[] = {{"offEnter", &TrackEventGrid::offEnter,
                                  &TrackEventGrid::offEnterLatN, &TrackEventGrid::offEnterLatSum},
                                 {"offExit", &TrackEventGrid::offExit, &TrackEventGrid::offExitLatN,
                                  &TrackEventGrid::offExitLatSum}};

struct PitMark {
    const char* key;
    int32_t TrackEventGrid::*bin;
};
constexpr PitMark kPitMarks[] = {{"approachEnter", &TrackEventGrid::approachEnter},
                                 {"approachExit", &TrackEventGrid::approachExit},
                                 {"conesEnter", &TrackEventGrid::conesEnter},
                                 {"conesExit", &TrackEventGrid::conesExit}};

std::string eventsPath(const std::string& baseDir, int32_t trackId) {
    return mapFilePath(baseDir, "trackevents", trackId);
}

bool asWhole(const Json& item, int64_t below, size_t& out) {
    if (!item.is_number_unsigned() && !(item.is_number_integer() && item.get<int64_t>() >= 0))
        return false;
    const auto value = item.get<uint64_t>();
    out = static_cast<size_t>(value);
    return value < static_cast<uint64_t>(below);
}

/// Items of `width` values, the first a bin and the second a count.
template <class Take>
bool readItems(const Json& root, const char* key, size_t width, uint32_t bins, Take take) {
    const auto list = root.find(key);
    if (list == root.end() || !list->is_array() || list->size() > bins) return false;
    for (const Json& item : *list) {
        size_t bin = 0, count = 0;
        if (!item.is_array() || item.size() != width || !asWhole(item[0], bins, bin) ||
            !asWhole(item[1], 65536, count) || !take(item, bin, static_cast<uint16_t>(count)))
            return false;
    }
    return true;
}

bool readGrid(const Json& root, TrackEventGrid& grid) {
    for (const CountList& list : kCountLists)
        if (!readItems(root, list.key, 2, grid.binCount, [&](const Json&, size_t bin, uint16_t n) {
                (grid.*list.counts)[bin] = n;
                return true;
            }))
            return false;
    for (const OffList& list : kOffLists)
        if (!readItems(root, list.key, 4, grid.binCount,
                       [&](const Json& item, size_t bin, uint16_t n) {
                           size_t latN = 0;
                           if (!asWhole(item[2], 65536, latN) || !item[3].is_number()) return false;
                           const auto sum = static_cast<float>(item[3].get<double>());
                           if (!(std::abs(sum) <= kLatSumMax)) return false;
                           (grid.*list.counts)[bin] = n;
                           (grid.*list.latN)[bin] = static_cast<uint16_t>(latN);
                           (grid.*list.latSum)[bin] = sum;
                           return true;
                       }))
            return false;
    const auto pit = root.find("pit");
    if (pit == root.end()) return false;
    for (const PitMark& mark : kPitMarks)
        if (!mapInteger(*pit, mark.key, -1, static_cast<int64_t>(grid.binCount) - 1,
                        grid.*mark.bin))
            return false;
    return true;
}

void addCounts(Counts& to, const Counts& from) {
    for (size_t i = 0; i < to.size() && i < from.size(); ++i)
        to[i] = static_cast<uint16_t>(std::min(65535, to[i] + from[i]));
}

} // namespace

bool loadTrackEvents(const std::string& baseDir, int32_t trackId, TrackEventTotals& out) {
    out = {};
    Json root;
    TrackEventTotals totals;
    int64_t binCount = 0;
    if (!readMapFile(eventsPath(baseDir, trackId), trackId, root) ||
        !mapInteger(root, "binCount", 1, kMapBinsMax, binCount) ||
        !mapInteger(root, "laps", 0, INT64_MAX / 2, totals.laps))
        return false;
    sizeEventGrid(totals.grid, static_cast<uint32_t>(binCount));
    if (!readGrid(root, totals.grid)) return false;
    totals.trackId = trackId;
    out = std::move(totals);
    return true;
}

bool saveTrackEvents(const std::string& baseDir, const TrackEventTotals& totals) {
    const TrackEventGrid& grid = totals.grid;
    if (baseDir.empty() || totals.trackId < 1 || grid.binCount < 1) return false;
    MapWriter out;
    out.begin('{');
    out.member("trackId", totals.trackId);
    out.member("binCount", grid.binCount);
    out.member("laps", totals.laps);
    const auto items = [&](const char* key, const Counts& counts, auto more) {
        out.key(key);
        out.begin('[');
        for (size_t i = 0; i < counts.size(); ++i) {
            if (counts[i] == 0) continue;
            out.begin('[');
            out.value(i);
            out.value(counts[i]);
            more(i);
            out.end(']');
        }
        out.end(']');
    };
    for (const CountList& list : kCountLists)
        items(list.key, grid.*list.counts, [](size_t) {});
    for (const OffList& list : kOffLists)
        items(list.key, grid.*list.counts, [&](size_t bin) {
            out.value((grid.*list.latN)[bin]);
            out.value((grid.*list.latSum)[bin]);
        });
    out.key("pit");
    out.begin('{');
    for (const PitMark& mark : kPitMarks)
        out.member(mark.key, grid.*mark.bin);
    out.end('}');
    out.end('}');
    TrackEventTotals old;
    return writeMapFile(eventsPath(baseDir, totals.trackId), out.text(),
                        loadTrackEvents(baseDir, totals.trackId, old));
}

bool learnTrackEvents(TrackEventTotals& totals, int32_t trackId, const TrackEventGrid& grid,
                      int laps) {
    if (trackId < 1 || grid.binCount < 1 || grid.binCount > kMapBinsMax || laps < 0) return false;
    const bool fresh = totals.trackId == 0 && totals.grid.binCount == 0;
    if (!fresh && (totals.trackId != trackId || totals.grid.binCount != grid.binCount))
        return false;
    if (fresh) {
        totals.trackId = trackId;
        sizeEventGrid(totals.grid, grid.binCount);
    }
    totals.laps += laps;
    for (const CountList& list : kCountLists)
        addCounts(totals.grid.*list.counts, grid.*list.counts);
    for (const OffList& list : kOffLists) {
        addCounts(totals.grid.*list.counts, grid.*list.counts);
        // Sum and number stop together, so that their mean stays one.
        const Counts& addN = grid.*list.latN;
        const std::vector<float>& addSum = grid.*list.latSum;
        for (size_t i = 0; i < addN.size() && i < addSum.size() && i < grid.binCount; ++i) {
            uint16_t& n = (totals.grid.*list.latN)[i];
            if (n + addN[i] > 65535 || !std::isfinite(addSum[i])) continue;
            n = static_cast<uint16_t>(n + addN[i]);
            (totals.grid.*list.latSum)[i] += addSum[i];
        }
    }
    for (const PitMark& mark : kPitMarks)
        if (totals.grid.*mark.bin < 0 && grid.*mark.bin < static_cast<int32_t>(grid.binCount))
            totals.grid.*mark.bin = std::max(-1, grid.*mark.bin);
    return true;
}

} // namespace vt
