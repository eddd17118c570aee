// One table row per stored setting: its JSON key, where it lives, and what becomes of a value that
// does not fit. Reading, writing and listing settings walk the same tables.
#pragma once
#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <limits>
#include <string>
#include <variant>

namespace vt {

struct ReadRule {
    double low = -std::numeric_limits<double>::infinity();
    double high = std::numeric_limits<double>::infinity();
    bool replaces = false; // outside: `replacement` instead of the nearer end
    double replacement = 0;
    bool absentReadsZero = false;        // the fallback is 0, not what the setting held
    size_t maxBytes = std::string::npos; // of a text, cut between two code points
};

/// Numbers outside are brought to the nearer end.
constexpr ReadRule within(double low, double high) {
    return {.low = low, .high = high};
}
/// Numbers outside read `replacement`.
constexpr ReadRule within(double low, double high, double replacement) {
    return {.low = low, .high = high, .replaces = true, .replacement = replacement};
}
/// A style 0..high that older files do not store: where its overlay is stored without it, it is
/// the one that there was, 0.
constexpr ReadRule laterStyle(int high, int replacement) {
    return {.low = 0,
            .high = static_cast<double>(high),
            .replaces = true,
            .replacement = static_cast<double>(replacement),
            .absentReadsZero = true};
}
constexpr ReadRule atMostBytes(size_t count) {
    return {.maxBytes = count};
}

template <class T>
struct SettingKey {
    const char* name;
    std::variant<bool T::*, int T::*, float T::*, std::string T::*> member;
    ReadRule rule{};
};

// Reads never throw: an absent key or a wrong type leaves `value` (or 0, by the rule).
void readSetting(const nlohmann::json& object, const char* key, const ReadRule& rule, bool& value);
void readSetting(const nlohmann::json& object, const char* key, const ReadRule& rule, int& value);
void readSetting(const nlohmann::json& object, const char* key, const ReadRule& rule, float& value);
void readSetting(const nlohmann::json& object, const char* key, const ReadRule& rule,
                 std::string& value);

void writeSetting(nlohmann::json& object, const char* key, bool value);
void writeSetting(nlohmann::json& object, const char* key, int value);
/// As the shortest decimal number that reads back as `value`.
void writeSetting(nlohmann::json& object, const char* key, float value);
void writeSetting(nlohmann::json& object, const char* key, const std::string& value);

template <class T, size_t N>
void readSettings(const SettingKey<T> (&keys)[N], const nlohmann::json& object, T& out) {
    for (const SettingKey<T>& key : keys)
        std::visit([&](auto member) { readSetting(object, key.name, key.rule, out.*member); },
                   key.member);
}

template <class T, size_t N>
void writeSettings(const SettingKey<T> (&keys)[N], const T& in, nlohmann::json& object) {
    for (const SettingKey<T>& key : keys)
        std::visit([&](auto member) { writeSetting(object, key.name, in.*member); }, key.member);
}

} // namespace vt
