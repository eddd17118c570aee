// What the files of learned maps have in common: where they lie, how their text is written and how
// it is believed. Any thread; nothing throws.
#pragma once
#include <nlohmann/json_fwd.hpp>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

namespace vt {

inline constexpr size_t kMapFileMax = 32u << 20; // bytes; 26,000 bins take 4 MB
inline constexpr uint32_t kMapBinsMin = 64, kMapBinsMax = 26000;

/// `<root>/<kind>/iracing/<id><suffix>.json`; "" without a root, which is no file.
std::string mapFilePath(const std::string& root, const char* kind, int32_t trackId,
                        const char* suffix = "");

/// The document of a track's file. False when it is missing, not JSON or of another track.
bool readMapFile(const std::string& path, int32_t trackId, nlohmann::json& out);

/// Whole or not at all. A file that stands there and is not `oldIsWhole` is kept as
/// `<path>.corrupt`, in place of an earlier one.
bool writeMapFile(const std::string& path, const std::string& text, bool oldIsWhole);

/// A member that is a finite number (a whole one for integers) from `low` to `high`.
bool mapNumber(const nlohmann::json& object, const char* key, double low, double high, double& out);
bool mapInteger(const nlohmann::json& object, const char* key, int64_t low, int64_t high,
                int64_t& out);
bool mapInteger(const nlohmann::json& object, const char* key, int64_t low, int64_t high,
                int32_t& out);
bool mapFloat(const nlohmann::json& object, const char* key, float limit, float& out);
/// A member that is a list of exactly `count` finite numbers within plus or minus `limit`.
bool mapFloats(const nlohmann::json& object, const char* key, size_t count, float limit,
               std::vector<float>& out);

/// Degrees that name a place: not both 0, and not the mark of positions that were reckoned.
bool usableOrigin(double latitude, double longitude);

/// What to add to metres from one origin to make them metres from another: x' = x * scale + dx.
struct OriginShift {
    double scale = 1, dx = 0, dy = 0;
};
OriginShift originShift(double fromLat, double fromLon, double toLat, double toLon);

/// JSON text by hand: the library takes ten times as long for long lists of floats, and writes
/// them with the digits of a double.
class MapWriter {
public:
    void begin(char bracket) {
        comma();
        text_ += bracket;
        more_ = false;
    }
    void end(char bracket) {
        text_ += bracket;
        more_ = true;
    }
    void key(const char* name) {
        comma();
        text_ += '"';
        text_ += name;
        text_ += "\":";
        more_ = false;
    }
    template <class T>
    void value(T number) {
        comma();
        char digits[32];
        if constexpr (std::is_floating_point_v<T>)
            if (!std::isfinite(number)) number = 0;
        text_.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
        more_ = true;
    }
    void value(bool yes) {
        comma();
        text_ += yes ? "true" : "false";
        more_ = true;
    }
    /// `text` is valid UTF-8 already.
    void value(const std::string& text);
    template <class T>
    void member(const char* name, const T& item) {
        key(name);
        value(item);
    }
    template <class List>
    void list(const char* name, const List& items) {
        key(name);
        begin('[');
        for (const auto& item : items)
            value(item);
        end(']');
    }
    std::string& text() { return text_; }

private:
    void comma() {
        if (more_) text_ += ',';
    }
    std::string text_;
    bool more_ = false;
};

} // namespace vt
