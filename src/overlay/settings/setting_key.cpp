#include "overlay/settings/setting_key.h"

#include "base/json_read.h"
#include "base/utf8.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vt {

namespace {

template <class Number>
Number fitted(Number value, const ReadRule& rule) {
    const auto x = static_cast<double>(value);
    if (x >= rule.low && x <= rule.high) return value;
    return static_cast<Number>(rule.replaces  ? rule.replacement
                               : x < rule.low ? rule.low
                                              : rule.high);
}

} // namespace

void readSetting(const nlohmann::json& object, const char* key, const ReadRule& rule, bool& value) {
    value = readBool(object, key, !rule.absentReadsZero && value);
}

void readSetting(const nlohmann::json& object, const char* key, const ReadRule& rule, int& value) {
    value = fitted(readInt(object, key, rule.absentReadsZero ? 0 : value), rule);
}

void readSetting(const nlohmann::json& object, const char* key, const ReadRule& rule,
                 float& value) {
    value = fitted(readFloat(object, key, rule.absentReadsZero ? 0 : value), rule);
}

void readSetting(const nlohmann::json& object, const char* key, const ReadRule& rule,
                 std::string& value) {
    value = readString(object, key, value);
    value.resize(utf8CutLength(value, rule.maxBytes));
}

void writeSetting(nlohmann::json& object, const char* key, bool value) {
    object[key] = value;
}

void writeSetting(nlohmann::json& object, const char* key, int value) {
    object[key] = value;
}

void writeSetting(nlohmann::json& object, const char* key, float value) {
    char text[48];
    double number = static_cast<double>(value);
    // 0.85f is 0.8500000238 as a double; the file is to say 0.85.
    const auto printed = std::to_chars(text, text + sizeof text, value);
    if (std::isfinite(value) && printed.ec == std::errc{})
        std::from_chars(text, printed.ptr, number);
    object[key] = number;
}

void writeSetting(nlohmann::json& object, const char* key, const std::string& value) {
    object[key] = value;
}

} // namespace vt
