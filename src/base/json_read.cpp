#include "base/json_read.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace vt {

namespace {

const nlohmann::json* member(const nlohmann::json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    const auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

} // namespace

int toInt(const nlohmann::json& value, int fallback) {
    if (!value.is_number()) return fallback;
    const double number = value.get<double>();
    if (std::isnan(number)) return fallback;
    constexpr double low = std::numeric_limits<int>::min(), high = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(std::max(number, low), high));
}

int readInt(const nlohmann::json& object, const char* key, int fallback) {
    const nlohmann::json* value = member(object, key);
    return value ? toInt(*value, fallback) : fallback;
}

bool readBool(const nlohmann::json& object, const char* key, bool fallback) {
    const nlohmann::json* value = member(object, key);
    return value && value->is_boolean() ? value->get<bool>() : fallback;
}

float readFloat(const nlohmann::json& object, const char* key, float fallback) {
    const nlohmann::json* value = member(object, key);
    if (!value || !value->is_number()) return fallback;
    const double number = value->get<double>();
    return std::isfinite(number) && std::abs(number) <= std::numeric_limits<float>::max()
               ? static_cast<float>(number)
               : fallback;
}

std::string readString(const nlohmann::json& object, const char* key, std::string_view fallback) {
    const nlohmann::json* value = member(object, key);
    return value && value->is_string() ? value->get<std::string>() : std::string(fallback);
}

bool parseJson(std::string_view text, nlohmann::json& out) {
    out = nlohmann::json::parse(text, nullptr, false);
    if (!out.is_discarded()) return true;
    out = nullptr;
    return false;
}

bool jsonDepthWithin(std::string_view text, int limit) {
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
    return deepest <= limit;
}

std::string dumpJson(const nlohmann::json& document) {
    return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace vt
