// The road's file. A map of 26,000 bins holds a quarter of a million numbers, so its text is
// written by hand; it is read by the JSON library.
#include "perf/road_map.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <functional>

namespace vt {

namespace {

constexpr int kVersion = 1;

using Json = nlohmann::json;

struct Writer {
    std::string text = "{";
    bool first = true;

    void key(const char* name) {
        text += first ? "\n  \"" : ",\n  \"";
        text += name;
        text += "\": ";
        first = false;
    }
    template <class T>
    void number(T value) {
        char digits[32];
        if constexpr (std::is_floating_point_v<T>)
            if (!std::isfinite(value)) value = 0;
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        text.append(digits, end);
    }
    template <class T>
    void member(const char* name, T value) {
        key(name);
        number(value);
    }
    void member(const char* name, bool value) {
        key(name);
        text += value ? "true" : "false";
    }
    template <class List, class Get>
    void list(const char* name, const List& items, Get get) {
        key(name);
        text += '[';
        bool more = false;
        for (const auto& item : items) {
            if (more) text += ',';
            more = true;
            number(get(item));
        }
        text += ']';
    }
};

/// Fills one member of every bin. False when the list is no list of `bins.size()` numbers within
/// `low`..`high`.
template <class Bin, class T>
bool readList(const Json& root, const char* name, std::vector<Bin>& bins, T Bin::*member,
              double low, double high) {
    const auto found = root.find(name);
    if (found == root.end() || !found->is_array() || found->size() != bins.size()) return false;
    for (size_t i = 0; i < bins.size(); ++i) {
        const Json& item = (*found)[i];
        if (!item.is_number()) return false;
        const double value = item.get<double>();
        if (!(value >= low && value <= high)) return false;
        bins[i].*member = static_cast<T>(value);
    }
    return true;
}

template <class T>
bool readNumber(const Json& root, const char* name, T& out, double low, double high) {
    const auto found = root.find(name);
    if (found == root.end() || !found->is_number()) return false;
    const double value = found->template get<double>();
    if (!(value >= low && value <= high)) return false;
    out = static_cast<T>(value);
    return true;
}

bool readFlag(const Json& root, const char* name, bool& out) {
    const auto found = root.find(name);
    if (found == root.end() || !found->is_boolean()) return false;
    out = found->get<bool>();
    return true;
}

constexpr double kFar = 1e7; // m
constexpr double kInt = 2147483647.0;

bool readHead(const Json& root, RoadMap& map, int& count) {
    int version = 0;
    const auto name = root.find("trackName");
    if (name == root.end() || !name->is_string()) return false;
    map.trackName = name->get<std::string>();
    return readNumber(root, "version", version, kVersion, kVersion) &&
           readNumber(root, "simId", map.simKind, 1, 1000) &&
           readNumber(root, "trackId", map.trackId, 1, kInt) &&
           readNumber(root, "lengthM", map.length, 0, kFar) &&
           readNumber(root, "binCount", count, kRoadBinsMin, kRoadBinsMax) &&
           readNumber(root, "laps", map.laps, 0, kInt) &&
           readNumber(root, "normalSign", map.normalSign, -1, 1) &&
           readFlag(root, "lineOnly", map.lineOnly) && readFlag(root, "usedRoad", map.usedRoad);
}

bool readBins(const Json& root, RoadMap& map) {
    std::vector<RoadBin>& bins = map.bins;
    const bool road = readList(root, "cx", bins, &RoadBin::x, -kFar, kFar) &&
                      readList(root, "cy", bins, &RoadBin::y, -kFar, kFar) &&
                      readList(root, "n", bins, &RoadBin::count, 0, kRoadWindow) &&
                      readList(root, "eL", bins, &RoadBin::edgeLeft, 0, 1000) &&
                      readList(root, "nL", bins, &RoadBin::leftCount, 0, kRoadWindow) &&
                      readList(root, "eR", bins, &RoadBin::edgeRight, 0, 1000) &&
                      readList(root, "nR", bins, &RoadBin::rightCount, 0, kRoadWindow);
    if (!road || !map.usedRoad) return road;
    return readList(root, "lm", bins, &RoadBin::lineMean, -1000, 1000) &&
           readList(root, "lv", bins, &RoadBin::lineVariance, 0, 1e6) &&
           readList(root, "ln", bins, &RoadBin::lineCount, 0, kRoadWindow);
}

bool readBest(const Json& root, RoadMap& map) {
    const auto found = root.find("best");
    if (found == root.end()) return true;
    if (!found->is_object()) return false;
    map.hasBest = true;
    map.best.resize(map.bins.size());
    return readNumber(*found, "timeSec", map.bestSeconds, 0, 1e6) &&
           readList(*found, "have", map.best, &RoadBestBin::have, 0, 1) &&
           readList(*found, "thr", map.best, &RoadBestBin::throttle, 0, 100) &&
           readList(*found, "brk", map.best, &RoadBestBin::brake, 0, 100) &&
           readList(*found, "spd", map.best, &RoadBestBin::speed, 0, 65535) &&
           readList(*found, "gear", map.best, &RoadBestBin::gear, 0, 255);
}

bool readCorners(const Json& root, RoadMap& map) {
    const auto found = root.find("cornerBest");
    if (found == root.end()) return true;
    if (!found->is_array() || found->size() > map.bins.size()) return false;
    for (const Json& item : *found) {
        RoadCorner corner;
        const double last = map.binCount() - 1;
        if (!item.is_object() || !readNumber(item, "entry", corner.entry, 0, last) ||
            !readNumber(item, "apex", corner.apex, 0, last) ||
            !readNumber(item, "exit", corner.exit, 0, last) ||
            !readNumber(item, "sec", corner.seconds, 0, 1e6) ||
            !readNumber(item, "spd", corner.speed, 0, 65535) ||
            !readNumber(item, "gear", corner.gear, -1, 255))
            return false;
        map.corners.push_back(corner);
    }
    return true;
}

} // namespace

std::string roadMapText(const RoadMap& map) {
    Writer out;
    out.text.reserve(map.bins.size() * 64 + 1024);
    out.member("version", kVersion);
    out.member("simId", map.simKind);
    out.member("trackId", map.trackId);
    out.key("trackName");
    out.text += Json(map.trackName).dump(-1, ' ', false, Json::error_handler_t::replace);
    out.member("lengthM", map.length);
    out.member("binCount", map.binCount());
    out.member("laps", map.laps);
    out.member("normalSign", map.normalSign);
    out.member("lineOnly", map.lineOnly);
    out.member("usedRoad", map.usedRoad);
    const auto list = [&](const char* name, auto member) {
        out.list(name, map.bins, [member](const RoadBin& bin) {
            using T = std::remove_cvref_t<decltype(bin.*member)>;
            if constexpr (std::is_same_v<T, uint8_t>)
                return static_cast<int>(bin.*member);
            else
                return bin.*member;
        });
    };
    list("cx", &RoadBin::x);
    list("cy", &RoadBin::y);
    list("n", &RoadBin::count);
    list("eL", &RoadBin::edgeLeft);
    list("nL", &RoadBin::leftCount);
    list("eR", &RoadBin::edgeRight);
    list("nR", &RoadBin::rightCount);
    if (map.usedRoad) {
        list("lm", &RoadBin::lineMean);
        list("lv", &RoadBin::lineVariance);
        list("ln", &RoadBin::lineCount);
    }
    if (map.lineOnly && map.hasBest) {
        Writer best;
        best.member("timeSec", map.bestSeconds);
        const auto inputs = [&](const char* name, auto member) {
            best.list(name, map.best,
                      [member](const RoadBestBin& bin) { return static_cast<int>(bin.*member); });
        };
        inputs("have", &RoadBestBin::have);
        inputs("thr", &RoadBestBin::throttle);
        inputs("brk", &RoadBestBin::brake);
        inputs("spd", &RoadBestBin::speed);
        inputs("gear", &RoadBestBin::gear);
        out.key("best");
        out.text += best.text + "}";
    }
    if (map.lineOnly) {
        out.key("cornerBest");
        out.text += '[';
        for (const RoadCorner& corner : map.corners) {
            Writer item;
            item.member("entry", corner.entry);
            item.member("apex", corner.apex);
            item.member("exit", corner.exit);
            item.member("sec", corner.seconds);
            item.member("spd", corner.speed);
            item.member("gear", corner.gear);
            if (out.text.back() != '[') out.text += ',';
            out.text += item.text + "}";
        }
        out.text += ']';
    }
    out.text += "\n}\n";
    return std::move(out.text);
}

bool roadMapParse(RoadMap& map, const std::string& text) {
    map = {};
    const Json root = Json::parse(text, nullptr, false);
    int count = 0;
    if (!root.is_object() || !readHead(root, map, count)) {
        map = {};
        return false;
    }
    map.bins.resize(static_cast<size_t>(count));
    if (!readBins(root, map) || !readBest(root, map) || !readCorners(root, map)) {
        map = {};
        return false;
    }
    roadNormals(map);
    return true;
}

} // namespace vt
