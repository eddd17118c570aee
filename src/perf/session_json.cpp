#include "perf/session_json.h"

#include "base/json_read.h"
#include "base/utf8.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

namespace vt {

namespace {

using Json = nlohmann::json;

// ---- text

void appendFloat(std::string& out, float value) {
    char digits[32];
    if (!std::isfinite(value)) value = 0;
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    out.append(digits, end);
    if (std::string_view(digits, static_cast<size_t>(end - digits)).find_first_of(".e") ==
        std::string_view::npos)
        out += ".0";
}

/// Writes objects and lists with two spaces a level.
struct JsonText {
    std::string out;
    int depth = 0;
    bool first = true; // nothing in the present object or list yet

    void line() {
        if (!first) out += ',';
        first = false;
        newLine();
    }
    void newLine() {
        out += '\n';
        out.append(static_cast<size_t>(depth) * 2, ' ');
    }
    void open(char bracket) {
        out += bracket;
        ++depth;
        first = true;
    }
    void close(char bracket) {
        --depth;
        if (!first) newLine();
        out += bracket;
        first = false;
    }
    void key(const char* name) {
        line();
        out += '"';
        out += name;
        out += "\": ";
    }
    void value(float number) { appendFloat(out, number); }
    void value(int32_t number) { out += std::to_string(number); }
    void value(bool flag) { out += flag ? "true" : "false"; }
    void value(std::string_view text) {
        out += Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
    }
};

// ---- reading one value; null leaves the default

bool readValue(const Json& json, float& out) {
    if (!json.is_number()) return false;
    const double number = json.get<double>();
    if (std::abs(number) <= std::numeric_limits<float>::max()) out = static_cast<float>(number);
    return true;
}
bool readValue(const Json& json, int32_t& out) {
    if (!json.is_number()) return false;
    out = toInt(json, out);
    return true;
}
bool readValue(const Json& json, bool& out) {
    if (!json.is_boolean()) return false;
    out = json.get<bool>();
    return true;
}
bool readValue(const Json& json, std::string& out) {
    if (!json.is_string()) return false;
    out = json.get_ref<const std::string&>();
    return true;
}
template <size_t N>
bool readValue(const Json& json, char (&out)[N]) {
    if (!json.is_string()) return false;
    copyText(out, json.get_ref<const std::string&>());
    return true;
}

// ---- tables

/// One key of an object that T is kept in.
template <class T>
struct Field {
    const char* key;
    bool (*wanted)(const T& owner);
    void (*write)(const T& owner, JsonText& text);
    bool (*read)(const Json& json, T& owner);
};

// When a value is written.
struct Always {
    template <class V>
    static bool holds(const V&) {
        return true;
    }
};
struct NotZero {
    static bool holds(int32_t value) { return value != 0; }
};
struct AboveZero {
    static bool holds(int32_t value) { return value > 0; }
};
struct FromZero {
    template <class V>
    static bool holds(V value) {
        return value >= 0 && value <= std::numeric_limits<V>::max(); // neither NaN nor infinite
    }
};
struct IsLevel {
    static bool holds(float value) { return value > kNoLevel && std::isfinite(value); }
};
struct IsTrue {
    static bool holds(bool value) { return value; }
};
struct NotEmpty {
    static bool holds(std::string_view value) { return !value.empty(); }
};

template <class Member>
struct OwnerOf;
template <class T, class V>
struct OwnerOf<V T::*> {
    using type = T;
};

template <auto Member, class When = Always>
constexpr auto field(const char* key) {
    using T = typename OwnerOf<decltype(Member)>::type;
    return Field<T>{
        key,
        [](const T& owner) { return When::holds(owner.*Member); },
        [](const T& owner, JsonText& text) {
            if constexpr (std::is_arithmetic_v<std::remove_cvref_t<decltype(owner.*Member)>>)
                text.value(owner.*Member);
            else
                text.value(std::string_view(owner.*Member));
        },
        [](const Json& json, T& owner) { return readValue(json, owner.*Member); },
    };
}

/// As `field`, under a condition on the whole record.
template <auto Member>
constexpr auto fieldIf(const char* key, bool (*wanted)(const SessionRecord&)) {
    auto made = field<Member>(key);
    made.wanted = wanted;
    return made;
}

template <class T, size_t N>
void writeFields(const Field<T> (&table)[N], const T& owner, JsonText& text) {
    for (const Field<T>& entry : table) {
        if (!entry.wanted(owner)) continue;
        text.key(entry.key);
        entry.write(owner, text);
    }
}

template <class T, size_t N>
bool readFields(const Field<T> (&table)[N], const Json& object, T& owner) {
    if (!object.is_object()) return false;
    for (const Field<T>& entry : table) {
        const auto found = object.find(entry.key);
        if (found == object.end() || found->is_null()) continue;
        if (!entry.read(*found, owner)) return false;
    }
    return true;
}

template <class T, size_t N>
void writeObject(const Field<T> (&table)[N], const T& owner, JsonText& text) {
    text.open('{');
    writeFields(table, owner, text);
    text.close('}');
}

template <class T, size_t N>
void writeList(const Field<T> (&table)[N], const std::vector<T>& items, size_t limit,
               JsonText& text) {
    text.open('[');
    for (size_t i = 0; i < std::min(items.size(), limit); ++i) {
        text.line();
        writeObject(table, items[i], text);
    }
    text.close(']');
}

/// Null and missing are an empty list.
template <class T, class Read>
bool readList(const Json& object, const char* key, size_t limit, std::vector<T>& items, Read read) {
    items.clear();
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) return true;
    if (!found->is_array()) return false;
    items.reserve(std::min(found->size(), limit));
    for (const Json& item : *found) {
        if (items.size() == limit) break;
        if (!read(item, items.emplace_back())) return false;
    }
    return true;
}

constexpr Field<SessionSummary> kSummary[] = {
    field<&SessionSummary::bestLapTime>("bestLapTime"),
    field<&SessionSummary::avgLapTime>("avgLapTime"),
    field<&SessionSummary::worstLapTime>("worstLapTime"),
    field<&SessionSummary::lapStdDev>("lapStdDev"),
    field<&SessionSummary::avgSpeed>("avgSpeed"),
    field<&SessionSummary::topSpeed>("topSpeed"),
    field<&SessionSummary::throttlePct>("throttlePct"),
    field<&SessionSummary::brakePct>("brakePct"),
    field<&SessionSummary::coastPct>("coastPct"),
    field<&SessionSummary::avgTransition>("avgTransition"),
};

constexpr Field<SprintBest> kSprint[] = {
    field<&SprintBest::pb0to60>("pb0to60"),       field<&SprintBest::pb0to100>("pb0to100"),
    field<&SprintBest::pbQuarter>("pbQuarter"),   field<&SprintBest::pbTrapMph>("pbTrapMph"),
    field<&SprintBest::pbReaction>("pbReaction"), field<&SprintBest::pbTopSpeed>("pbTopSpeed"),
};

constexpr Field<BestTraceBin> kBin[] = {
    field<&BestTraceBin::speed>("speed"), field<&BestTraceBin::throttle>("throttle"),
    field<&BestTraceBin::brake>("brake"), field<&BestTraceBin::steer>("steer"),
    field<&BestTraceBin::latG>("latG"),   field<&BestTraceBin::lapTimeSec>("lapTimeSec"),
    field<&BestTraceBin::valid>("valid"),
};

constexpr Field<CornerRecord> kCorner[] = {
    field<&CornerRecord::entryPct>("entryPct"), field<&CornerRecord::exitPct>("exitPct"),
    field<&CornerRecord::minSpeed>("minSpeed"), field<&CornerRecord::maxSpeed>("maxSpeed"),
    field<&CornerRecord::avgSpeed>("avgSpeed"), field<&CornerRecord::peakLatG>("peakLatG"),
    field<&CornerRecord::sector>("sector"),
};

// ---- laps

bool hasShareId(const LapRecord& lap) {
    return lap.share == kLapShared && lap.shareLapId[0] != '\0';
}

/// Three sectors, and with four or more a fourth that holds the rest of the lap: readers that know
/// no more than four still see whole laps.
void writeSectors(const LapRecord& lap, JsonText& text) {
    const int count = std::clamp(lap.sectorCount, 0, kMaxSectors);
    const auto list = [&](const float* values, int n) {
        text.open('[');
        for (int i = 0; i < n; ++i) {
            text.line();
            text.value(values[i]);
        }
        text.close(']');
    };
    float four[4] = {lap.sectorSec[0], lap.sectorSec[1], lap.sectorSec[2], 0};
    bool whole = true;
    for (int i = 3; i < count; ++i) {
        four[3] += lap.sectorSec[i];
        whole = whole && lap.sectorSec[i] > 0;
    }
    if (!whole) four[3] = 0;
    text.key("sectorSec");
    list(four, count >= 4 ? 4 : 3);
    text.key("sectorCount");
    text.value(std::min(count, 4));
    if (count < 5) return;
    text.key("sectorSecAll");
    list(lap.sectorSec, count);
}

/// Seconds from `key`, at most kMaxSectors; how many, 0 without the key, -1 for a wrong type.
int readSectorList(const Json& lap, const char* key, float (&out)[kMaxSectors]) {
    const auto found = lap.find(key);
    if (found == lap.end() || found->is_null()) return 0;
    if (!found->is_array()) return -1;
    const int count = static_cast<int>(std::min<size_t>(found->size(), kMaxSectors));
    std::fill(std::begin(out), std::end(out), 0.0f);
    for (int i = 0; i < count; ++i)
        if (!(*found)[i].is_null() && !readValue((*found)[i], out[i])) return -1;
    return count;
}

constexpr Field<LapRecord> kLap[] = {
    field<&LapRecord::lapTime>("lapTime"),
    field<&LapRecord::avgSpeed>("avgSpeed"),
    field<&LapRecord::topSpeed>("topSpeed"),
    field<&LapRecord::maxLatG>("maxLatG"),
    field<&LapRecord::maxBrakeG>("maxBrakeG"),
    field<&LapRecord::maxAccelG>("maxAccelG"),
    field<&LapRecord::throttlePct>("throttlePct"),
    field<&LapRecord::brakePct>("brakePct"),
    field<&LapRecord::coastPct>("coastPct"),
    field<&LapRecord::invalid, NotZero>("invalid"),
    field<&LapRecord::share, NotZero>("share"),
    {"shareLapId", hasShareId,
     [](const LapRecord& lap, JsonText& text) { text.value(std::string_view(lap.shareLapId)); },
     [](const Json& json, LapRecord& lap) { return readValue(json, lap.shareLapId); }},
    field<&LapRecord::fuelStartL, FromZero>("fuelStartL"),
    field<&LapRecord::tyreLaps, FromZero>("tyreLaps"),
    field<&LapRecord::compound, FromZero>("compound"),
    field<&LapRecord::airTempC, IsLevel>("airTempC"),
    field<&LapRecord::trackTempC, IsLevel>("trackTempC"),
    field<&LapRecord::wetness, FromZero>("wetness"),
    field<&LapRecord::brakeBias, IsLevel>("brakeBias"),
    field<&LapRecord::tcLevel, IsLevel>("tcLevel"),
    field<&LapRecord::absLevel, IsLevel>("absLevel"),
    field<&LapRecord::outLap, IsTrue>("outLap"),
    field<&LapRecord::inLap, IsTrue>("inLap"),
    field<&LapRecord::trafficSec, FromZero>("trafficSec"),
    field<&LapRecord::trafficWorstPct, FromZero>("trafficWorstPct"),
};

void writeLaps(const std::vector<LapRecord>& laps, JsonText& text) {
    text.open('[');
    for (size_t i = 0; i < std::min<size_t>(laps.size(), kMaxLaps); ++i) {
        text.line();
        text.open('{');
        writeFields(kLap, laps[i], text);
        writeSectors(laps[i], text);
        text.close('}');
    }
    text.close(']');
}

bool readLap(const Json& json, LapRecord& lap) {
    if (!readFields(kLap, json, lap)) return false;
    const auto count = json.find("sectorCount");
    if (count != json.end() && !count->is_null() && !readValue(*count, lap.sectorCount))
        return false;
    lap.sectorCount = std::clamp(lap.sectorCount, 0, kMaxSectors);
    if (readSectorList(json, "sectorSec", lap.sectorSec) < 0) return false;
    const int all = readSectorList(json, "sectorSecAll", lap.sectorSec);
    if (all < 0) return false;
    if (all > 0) lap.sectorCount = all;
    if (lap.share < 0 || lap.share > 2 || (lap.share == kLapShared && lap.shareLapId[0] == '\0'))
        lap.share = kLapNotShared;
    if (lap.share != kLapShared) lap.shareLapId[0] = '\0';
    return true;
}

// ---- the session

bool hasSetup(const SessionRecord& record) {
    return record.setupHash != 0;
}
bool hasPower(const SessionRecord& record) {
    return record.powerAdjustPct > -999 && record.weightPenaltyKg > -999 &&
           std::isfinite(record.powerAdjustPct) && std::isfinite(record.weightPenaltyKg);
}

template <class T, size_t N>
void writeMember(const char* key, const Field<T> (&table)[N], const T& owner, JsonText& text) {
    text.key(key);
    writeObject(table, owner, text);
}

constexpr Field<SessionRecord> kHead[] = {
    field<&SessionRecord::version>("version"),
    field<&SessionRecord::carName>("carName"),
    field<&SessionRecord::trackName>("trackName"),
    field<&SessionRecord::trackId>("trackId"),
    field<&SessionRecord::simId>("simId"),
    field<&SessionRecord::sessionType>("sessionType"),
    field<&SessionRecord::date>("date"),
    field<&SessionRecord::totalLaps>("totalLaps"),
};

constexpr Field<SessionRecord> kTail[] = {
    field<&SessionRecord::traceFile, NotEmpty>("traceFile"),
    field<&SessionRecord::airTempC>("airTempC"),
    field<&SessionRecord::trackTempC>("trackTempC"),
    field<&SessionRecord::wetnessMax>("wetnessMax"),
    field<&SessionRecord::trackLengthM>("trackLengthM"),
    field<&SessionRecord::trackConfig, NotEmpty>("trackConfig"),
    field<&SessionRecord::simVersion, NotEmpty>("simVersion"),
    field<&SessionRecord::simDate, NotEmpty>("simDate"),
    field<&SessionRecord::timeOfDaySec, FromZero>("timeOfDaySec"),
    field<&SessionRecord::seasonId, AboveZero>("seasonId"),
    field<&SessionRecord::raceWeek, FromZero>("raceWeek"),
    field<&SessionRecord::fixedSetup, FromZero>("fixedSetup"),
    field<&SessionRecord::trackNumTurns, FromZero>("trackNumTurns"),
    field<&SessionRecord::sectorLayout, FromZero>("sectorLayout"),
    fieldIf<&SessionRecord::setupText>("setupText", hasSetup),
    field<&SessionRecord::setupHash, NotZero>("setupHash"),
    fieldIf<&SessionRecord::setupChangedMidStint>("setupChangedMidStint",
                                                  [](const SessionRecord& record) {
                                                      return hasSetup(record) &&
                                                             record.setupChangedMidStint;
                                                  }),
    fieldIf<&SessionRecord::powerAdjustPct>("powerAdjustPct", hasPower),
    fieldIf<&SessionRecord::weightPenaltyKg>("weightPenaltyKg", hasPower),
    field<&SessionRecord::source, NotEmpty>("source"),
    field<&SessionRecord::sourceFile, NotEmpty>("sourceFile"),
    field<&SessionRecord::gps, NotZero>("gps"),
};

template <class T, size_t N>
bool readMember(const Json& object, const char* key, const Field<T> (&table)[N], T& owner) {
    const auto found = object.find(key);
    return found == object.end() || found->is_null() || readFields(table, *found, owner);
}

} // namespace

double shortestDouble(float value) {
    if (!std::isfinite(value)) return 0;
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    double wide = 0;
    std::from_chars(digits, end, wide);
    return wide;
}

std::string sessionToJson(const SessionRecord& record) {
    JsonText text;
    text.out.reserve(4096 + record.laps.size() * 800 + record.bestTrace.size() * 220);
    text.open('{');
    writeFields(kHead, record, text);
    writeMember("summary", kSummary, record.summary, text);
    writeMember("sprintPB", kSprint, record.sprintPB, text);
    if (!record.laps.empty()) {
        text.key("laps");
        writeLaps(record.laps, text);
    }
    text.key("hasBestTrace");
    text.value(record.hasBestTrace);
    if (record.hasBestTrace) {
        text.key("bestTrace");
        writeList(kBin, record.bestTrace, kBestTraceBins, text);
    }
    if (!record.corners.empty()) {
        text.key("corners");
        writeList(kCorner, record.corners, kMaxCorners, text);
    }
    writeFields(kTail, record, text);
    text.close('}');
    return std::move(text.out);
}

bool parseSession(const Json& object, SessionRecord& out) {
    out = {};
    out.version = 0;
    if (!readFields(kHead, object, out) || !readFields(kTail, object, out) ||
        !readMember(object, "summary", kSummary, out.summary) ||
        !readMember(object, "sprintPB", kSprint, out.sprintPB) ||
        !readList(object, "laps", kMaxLaps, out.laps, readLap))
        return false;
    const auto flag = object.find("hasBestTrace");
    if (flag != object.end() && !flag->is_null() && !readValue(*flag, out.hasBestTrace))
        return false;
    const auto bin = [](const Json& json, BestTraceBin& item) {
        return readFields(kBin, json, item);
    };
    const auto corner = [](const Json& json, CornerRecord& item) {
        return readFields(kCorner, json, item);
    };
    if (out.hasBestTrace && !readList(object, "bestTrace", kBestTraceBins, out.bestTrace, bin))
        return false;
    if (!readList(object, "corners", kMaxCorners, out.corners, corner)) return false;
    if (!hasSetup(out)) {
        out.setupText.clear();
        out.setupChangedMidStint = false;
    }
    if (!hasPower(out)) out.powerAdjustPct = out.weightPenaltyKg = kNoLevel;
    return true;
}

bool parseSessionText(std::string_view text, SessionRecord& out) {
    Json object;
    return parseJson(text, object) && parseSession(object, out);
}

} // namespace vt
