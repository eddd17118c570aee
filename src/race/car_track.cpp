#include "race/car_track.h"

#include "base/json_read.h"
#include "base/log.h"
#include "base/utf8.h"
#include "platform/file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr size_t kNameBytes = 63;
constexpr size_t kFileLimit = 8u << 20;
constexpr size_t kEntriesMax = 20000;

std::string_view cut(std::string_view name) {
    return name.substr(0, std::min(name.size(), kNameBytes));
}

float positive(float value) {
    return std::isfinite(value) && value > 0 ? value : 0;
}

bool readEntries(const std::string& text, std::vector<CarTrackEntry>& out) {
    nlohmann::json document;
    if (!jsonDepthWithin(text, 16) || !parseJson(text, document) || !document.is_array())
        return false;
    for (const nlohmann::json& item : document) {
        CarTrackEntry entry;
        entry.simId = readInt(item, "simId", -1);
        entry.carId = cut(readString(item, "carId", ""));
        entry.trackName = cut(readString(item, "trackName", ""));
        if (entry.simId < 0 || entry.carId.empty() || entry.trackName.empty()) continue;
        entry.fuelPerLap = positive(readFloat(item, "fuelPerLap", 0));
        entry.avgLapTime = positive(readFloat(item, "avgLapTime", 0));
        entry.cleanLaps = std::max(0, readInt(item, "cleanLaps", 0));
        entry.pitLossSec = positive(readFloat(item, "pitLossSec", 0));
        out.push_back(std::move(entry));
        if (out.size() >= kEntriesMax) break;
    }
    return true;
}

} // namespace

CarTrackEntry* findCarTrack(CarTrackStore& store, int sim, std::string_view car,
                            std::string_view track) {
    car = cut(car);
    track = cut(track);
    for (CarTrackEntry& entry : store.entries)
        if (entry.simId == sim && entry.carId == car && entry.trackName == track) return &entry;
    return nullptr;
}

CarTrackEntry* findOrAddCarTrack(CarTrackStore& store, int sim, std::string_view car,
                                 std::string_view track) {
    if (CarTrackEntry* found = findCarTrack(store, sim, car, track)) return found;
    CarTrackEntry entry;
    entry.simId = sim;
    entry.carId = cut(car);
    entry.trackName = cut(track);
    store.entries.push_back(std::move(entry));
    return &store.entries.back();
}

CarTrackStore loadCarTrack(const std::string& path) {
    CarTrackStore store;
    std::string text;
    if (!readFile(path, text, kFileLimit)) return store;
    if (readEntries(text, store.entries)) return store;
    store.entries.clear();
    const bool kept = writeFileAtomic(path + ".corrupt", text);
    logStatus("[fuel] %s cannot be read and counts as empty%s\n", path.c_str(),
              kept ? "; a copy is kept beside it as .corrupt" : "");
    return store;
}

bool saveCarTrack(CarTrackStore& store, const std::string& path) {
    if (!store.dirty) return true;
    nlohmann::json document = nlohmann::json::array();
    for (const CarTrackEntry& entry : store.entries)
        document.push_back({{"simId", entry.simId},
                            {"carId", entry.carId},
                            {"trackName", entry.trackName},
                            {"fuelPerLap", positive(entry.fuelPerLap)},
                            {"avgLapTime", positive(entry.avgLapTime)},
                            {"cleanLaps", entry.cleanLaps},
                            {"pitLossSec", positive(entry.pitLossSec)}});
    if (!writeFileAtomic(path, dumpJson(document))) return false;
    store.dirty = false;
    return true;
}

} // namespace vt
