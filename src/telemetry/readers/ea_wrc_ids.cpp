#include "base/json_read.h"
#include "base/utf8.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/readers/ea_wrc_frame.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace vt {

namespace {

constexpr size_t kMinBytes = 3;
constexpr size_t kMaxBytes = 8u << 20;
// A name that the game has not translated.
constexpr std::string_view kTranslationKey = "lng_";

std::string textOf(std::string_view file) {
    const bool littleMark = file.starts_with("\xFF\xFE"), bigMark = file.starts_with("\xFE\xFF");
    std::string bytes(file.substr(littleMark || bigMark ? 2 : 0));
    if (bigMark)
        for (size_t i = 0; i + 1 < bytes.size(); i += 2)
            std::swap(bytes[i], bytes[i + 1]);
    return utf16ToUtf8(bytes.data(), bytes.size() / 2);
}

void readNames(const nlohmann::json& document, const char* list,
               std::unordered_map<uint16_t, std::string>& out) {
    if (!document.is_object() || !document.contains(list) || !document[list].is_array()) return;
    for (const nlohmann::json& entry : document[list]) {
        if (!entry.is_object() || !entry.contains("id") || !entry["id"].is_number()) continue;
        const int id = readInt(entry, "id", -1);
        const std::string name = readString(entry, "name", "");
        if (id < 0 || id > 0xFFFF || name.empty() || name.starts_with(kTranslationKey)) continue;
        out[static_cast<uint16_t>(id)] = name;
    }
}

} // namespace

EaWrcIds parseEaWrcIds(std::string_view file) {
    EaWrcIds ids;
    nlohmann::json document;
    if (file.size() < kMinBytes || file.size() > kMaxBytes || !parseJson(textOf(file), document))
        return ids;
    readNames(document, "locations", ids.locations);
    readNames(document, "routes", ids.routes);
    return ids;
}

EaWrcIds loadEaWrcIds(const std::string& documentsDir) {
    std::string file;
    if (documentsDir.empty() || !readFile(joinPath(documentsDir, kEaWrcIdsFile), file, kMaxBytes))
        return {};
    return parseEaWrcIds(file);
}

} // namespace vt
