#include "perf/perf_paths.h"

#include "base/format.h"
#include "base/slug.h"
#include "platform/paths.h"
#include "telemetry/sim_registry.h"

#include <chrono>

namespace vt {

namespace {

std::string comboSlug(std::string_view carName, std::string_view trackName) {
    return nameSlug(carName) + "_" + nameSlug(trackName);
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The number in `length` digits at `at`; -1 for anything else.
int digitsAt(std::string_view text, size_t at, size_t length) {
    int value = 0;
    for (const char c : text.substr(at, length)) {
        if (!isDigit(c)) return -1;
        value = value * 10 + (c - '0');
    }
    return value;
}

} // namespace

std::string perfRoot(const std::string& base) {
    return joinPath(base, "performance");
}

std::string perfSimDir(const std::string& base, int32_t simKind) {
    const bool known = simKind >= 0 && simKind < kSimCount;
    return joinPath(perfRoot(base), simKey(known ? simKind : int32_t{kSimIRacing}));
}

std::string perfTraceDir(const std::string& base, int32_t simKind) {
    return joinPath(perfSimDir(base, simKind), "traces");
}

std::string perfRecordPath(const std::string& base, int32_t simKind, std::string_view carName,
                           std::string_view trackName) {
    return joinPath(perfSimDir(base, simKind), comboSlug(carName, trackName) + ".json");
}

std::string perfTraceName(std::string_view carName, std::string_view trackName,
                          std::string_view date) {
    if (date.size() < 19) return {};
    std::string stamp;
    for (const char c : date) {
        if (!isDigit(c) || stamp.size() == 15) continue;
        if (stamp.size() == 8) stamp += '-';
        stamp += c;
    }
    if (stamp.size() < 15) return {};
    return comboSlug(carName, trackName) + "_" + stamp + ".vttr";
}

bool traceNameIsSafe(std::string_view name) {
    return !name.empty() && name != "." && name.find_first_of("/\\") == name.npos &&
           name.find("..") == name.npos && name.find('\0') == name.npos;
}

std::string recordDate(int64_t unixSeconds) {
    using namespace std::chrono;
    const sys_seconds moment{seconds{unixSeconds}};
    const auto day = floor<days>(moment);
    const year_month_day date{day};
    const hh_mm_ss time{moment - day};
    char text[64];
    formatText(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
               static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
               static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
               static_cast<int>(time.seconds().count()));
    return text;
}

bool parseRecordDate(std::string_view date, int64_t& unixSeconds) {
    using namespace std::chrono;
    if (date.size() < 19 || date[4] != '-' || date[7] != '-' || date[10] != 'T' ||
        date[13] != ':' || date[16] != ':')
        return false;
    const int numbers[] = {digitsAt(date, 0, 4),  digitsAt(date, 5, 2),  digitsAt(date, 8, 2),
                           digitsAt(date, 11, 2), digitsAt(date, 14, 2), digitsAt(date, 17, 2)};
    for (const int number : numbers)
        if (number < 0) return false;
    const year_month_day day{year{numbers[0]}, month{static_cast<unsigned>(numbers[1])},
                             std::chrono::day{static_cast<unsigned>(numbers[2])}};
    if (!day.ok() || numbers[3] > 23 || numbers[4] > 59 || numbers[5] > 59) return false;
    const auto moment =
        sys_days{day} + hours{numbers[3]} + minutes{numbers[4]} + seconds{numbers[5]};
    unixSeconds = duration_cast<seconds>(moment.time_since_epoch()).count();
    return true;
}

} // namespace vt
