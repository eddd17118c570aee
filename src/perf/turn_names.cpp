#include "perf/turn_names.h"

#include "base/json_read.h"
#include "base/utf8.h"
#include "perf/map_text.h"
#include "platform/file.h"
#include "telemetry/sim_registry.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

using Json = nlohmann::json;

constexpr size_t kFileMax = 256 * 1024, kTurnsMax = 200, kNameMax = 63; // bytes of a name
constexpr double kNear = 0.02;                                          // of a lap
constexpr double kLengthMax = 100'000;                                  // m

bool readNames(const std::string& root, int simKind, int trackId, Json& out) {
    if (root.empty()) return false;
    const std::string path =
        root + "/turnnames/" + simKey(simKind) + "/" + std::to_string(trackId) + ".json";
    std::string text;
    return readFile(path, text, kFileMax) && parseJson(text, out) && out.is_object();
}

bool ofThisLength(const Json& file, double length) {
    const auto match = file.find("match");
    double told = 0, tolerance = 0;
    return match != file.end() && mapNumber(*match, "lengthM", 1, kLengthMax, told) &&
           mapNumber(*match, "lengthTolPct", 0, 100, tolerance) &&
           std::abs(length - told) <= told * tolerance / 100;
}

TrackTurn* nearestTurn(TrackShape& shape, double pct) {
    TrackTurn* best = nullptr;
    double least = kNear;
    for (TrackTurn& turn : shape.turns) {
        double way = std::abs(static_cast<double>(turn.pct) - pct);
        if (shape.closed) way = std::min(way, 1 - way);
        if (way > least) continue;
        least = way;
        best = &turn;
    }
    return best;
}

} // namespace

void nameTurns(TrackShape& shape, const std::string& dataDir, const std::string& baseDir,
               int simKind, int trackId, float length) {
    Json file;
    if (trackId < 1 || shape.turns.empty() ||
        (!readNames(baseDir, simKind, trackId, file) &&
         !readNames(dataDir, simKind, trackId, file)))
        return;
    const double metres = static_cast<double>(length > 0 ? length : shape.length);
    const auto turns = file.find("turns");
    if (!ofThisLength(file, metres) || turns == file.end() || !turns->is_array()) return;
    for (size_t i = 0; i < std::min(turns->size(), kTurnsMax); ++i) {
        const Json& entry = (*turns)[i];
        const auto name = entry.is_object() ? entry.find("name") : entry.end();
        if (!entry.is_object() || name == entry.end() || !name->is_string()) continue;
        double pct = 0;
        TrackTurn* turn = mapNumber(entry, "pct", 0, 1, pct) ? nearestTurn(shape, pct)
                          : i < shape.turns.size()           ? &shape.turns[i]
                                                             : nullptr;
        if (!turn || !turn->name.empty()) continue;
        const std::string text = utf8Repaired(name->get_ref<const std::string&>());
        turn->name = text.substr(0, utf8CutLength(text, kNameMax));
    }
}

} // namespace vt
