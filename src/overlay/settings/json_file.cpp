#include "overlay/settings/json_file.h"

#include "base/json_read.h"
#include "platform/file.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vt {

namespace {

/// The JSON library walks a document by recursion when it copies or writes it, so a file of
/// nothing but brackets would exhaust the stack. No file of ours comes near this.
constexpr int kMaxDepth = 200;

bool depthWithinLimit(std::string_view text) {
    int depth = 0, deepest = 0;
    bool quoted = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted && c == '\\')
            ++i;
        else if (c == '"')
            quoted = !quoted;
        else if (!quoted && (c == '{' || c == '['))
            deepest = std::max(deepest, ++depth);
        else if (!quoted && (c == '}' || c == ']'))
            --depth;
    }
    return deepest <= kMaxDepth;
}

} // namespace

JsonFile readJsonFile(const std::string& path, nlohmann::json& root) {
    std::string text;
    root = nlohmann::json::object();
    if (!readFile(path, text)) return JsonFile::missing;
    nlohmann::json parsed;
    if (!depthWithinLimit(text) || !parseJson(text, parsed) || !parsed.is_object())
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
