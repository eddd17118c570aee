#include "perf/map_text.h"

#include "base/json_read.h"
#include "base/log.h"
#include "perf/trace_file.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <nlohmann/json.hpp>

namespace vt {

namespace {

using Json = nlohmann::json;

constexpr double kEarthRadius = 6378137; // m, as the recorder turns degrees into metres
constexpr double kRadians = M_PI / 180;

} // namespace

std::string mapFilePath(const std::string& root, const char* kind, int32_t trackId,
                        const char* suffix) {
    if (root.empty()) return {};
    return joinPath(joinPath(joinPath(root, kind), "iracing"),
                    std::to_string(trackId) + suffix + ".json");
}

bool readMapFile(const std::string& path, int32_t trackId, Json& out) {
    std::string text;
    if (trackId < 1 || !readFile(path, text, kMapFileMax) || !parseJson(text, out)) return false;
    int64_t id = 0;
    return mapInteger(out, "trackId", trackId, trackId, id);
}

bool writeMapFile(const std::string& path, const std::string& text, bool oldIsWhole) {
    if (!makeFolders(path.substr(0, path.find_last_of('/')))) return false;
    if (!oldIsWhole && fileExists(path)) {
        const std::string aside = path + ".corrupt";
        removeFile(aside);
        if (!copyFileNew(path, aside)) return false;
        logStatus("[trackmap] %s was not whole, kept as .corrupt\n", path.c_str());
    }
    return writeFileAtomic(path, text);
}

bool mapNumber(const Json& object, const char* key, double low, double high, double& out) {
    if (!object.is_object()) return false;
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number()) return false;
    const double value = found->get<double>();
    if (!(value >= low && value <= high)) return false;
    out = value;
    return true;
}

bool mapInteger(const Json& object, const char* key, int64_t low, int64_t high, int64_t& out) {
    if (!object.is_object()) return false;
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number_integer()) return false;
    if (found->is_number_unsigned() && found->get<uint64_t>() > INT64_MAX) return false;
    const auto value = found->get<int64_t>();
    if (value < low || value > high) return false;
    out = value;
    return true;
}

bool mapInteger(const Json& object, const char* key, int64_t low, int64_t high, int32_t& out) {
    int64_t value = 0;
    if (!mapInteger(object, key, low, high, value)) return false;
    out = static_cast<int32_t>(value);
    return true;
}

bool mapFloat(const Json& object, const char* key, float limit, float& out) {
    double value = 0;
    if (!mapNumber(object, key, -static_cast<double>(limit), static_cast<double>(limit), value))
        return false;
    out = static_cast<float>(value);
    return true;
}

bool mapFloats(const Json& object, const char* key, size_t count, float limit,
               std::vector<float>& out) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_array() || found->size() != count) return false;
    out.clear();
    out.reserve(count);
    for (const Json& item : *found) {
        if (!item.is_number()) return false;
        const auto value = static_cast<float>(item.get<double>());
        if (!(std::abs(value) <= limit)) return false;
        out.push_back(value);
    }
    return true;
}

bool usableOrigin(double latitude, double longitude) {
    const bool mark = latitude == kDeadReckonedOrigin && longitude == kDeadReckonedOrigin;
    return std::abs(latitude) <= 90 && std::abs(longitude) <= 360 &&
           (latitude != 0 || longitude != 0) && !mark;
}

OriginShift originShift(double fromLat, double fromLon, double toLat, double toLon) {
    const double toCos = std::cos(toLat * kRadians);
    return {toCos / std::cos(fromLat * kRadians),
            toCos * (fromLon - toLon) * kRadians * kEarthRadius,
            (fromLat - toLat) * kRadians * kEarthRadius};
}

void MapWriter::value(const std::string& text) {
    comma();
    text_ += Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    more_ = true;
}

} // namespace vt
