// Any text as each of the files that keep what was learned of a track.
#include "perf/gps_map.h"
#include "perf/road_map.h"
#include "perf/road_offset.h"
#include "perf/track_bin_map.h"
#include "platform/file.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

const std::string base = "/dev/shm/vt_map_fuzz_" + std::to_string(getpid());
const struct Remover {
    ~Remover() { std::filesystem::remove_all(base); }
} remover;

/// The first byte says which file the rest is.
constexpr const char* kFiles[] = {"trackmaps/iracing/7.json", "gpsmaps/iracing/7.json",
                                  "trackevents/iracing/7.json", "trackcal/iracing/7.json",
                                  "simmaps/lmu/7.json"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const std::string name = base + "/" + kFiles[data[0] % std::size(kFiles)];
    vt::makeFolders(name.substr(0, name.rfind('/')));
    if (!vt::writeFileAtomic(name, {reinterpret_cast<const char*>(data + 1), size - 1})) return 0;
    switch (data[0] % std::size(kFiles)) {
    case 0: {
        vt::TrackBinMap map;
        if (vt::loadTrackBinMap(base, 7, map) && map.bins.size() > 26000) std::abort();
        for (const vt::TrackBin& bin : map.bins)
            if (!std::isfinite(bin.x) || !std::isfinite(bin.normalX)) std::abort();
        break;
    }
    case 1: {
        vt::GpsMap map;
        if (vt::loadGpsMapForTrack("", base, 7, map) && map.x.size() != map.y.size()) std::abort();
        break;
    }
    case 2: {
        vt::TrackEventTotals totals;
        if (vt::loadTrackEvents(base, 7, totals) &&
            totals.grid.kerbL.size() != totals.grid.binCount)
            std::abort();
        break;
    }
    case 3: {
        vt::TrackCal cal;
        if (vt::loadTrackCal("", base, 7, cal) && !std::isfinite(cal.rotationRad)) std::abort();
        break;
    }
    default: {
        vt::RoadMap map;
        vt::roadMapLoad(map, base, 1, 7);
        break;
    }
    }
    vt::removeFile(name);
    return 0;
}
