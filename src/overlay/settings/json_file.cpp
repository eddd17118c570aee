#include "overlay/settings/json_file.h"

#include "base/json_read.h"
#include "platform/file.h"

#include <nlohmann/json.hpp>

namespace vt {

namespace {

constexpr int kMaxDepth = 200; // no file of ours comes near this

} // namespace

JsonFile readJsonFile(const std::string& path, nlohmann::json& root) {
    std::string text;
    root = nlohmann::json::object();
    if (!readFile(path, text)) return JsonFile::missing;
    nlohmann::json parsed;
    if (!jsonDepthWithin(text, kMaxDepth) || !parseJson(text, parsed) || !parsed.is_object())
        return JsonFile::damaged;
    root = std::move(parsed);
    return JsonFile::good;
}

bool keepDamaged(const std::string& path, JsonFile state) {
    if (state != JsonFile::damaged) return true;
    std::string text;
    // An empty file holds nothing to keep.
    return readFile(path, text) && (text.empty() || writeFileAtomic(path + ".bad", text));
}

} // namespace vt
