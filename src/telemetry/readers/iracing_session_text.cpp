#include "telemetry/readers/iracing_session_text.h"

#include "base/utf8.h"
#include "telemetry/readers/iracing_setup_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace vt {

namespace {

constexpr auto npos = std::string_view::npos;
constexpr double kMaxFloat = std::numeric_limits<float>::max();

size_t findMarker(std::string_view text, std::string_view key, size_t from = 0) {
    for (size_t at = text.find(key, from); at != npos; at = text.find(key, at + 1))
        if (text.substr(at + key.size(), 2) == ": ") return at;
    return npos;
}

std::string_view trimmedEnd(std::string_view value) {
    while (!value.empty() && (value.back() == ' ' || value.back() == '\r'))
        value.remove_suffix(1);
    return value;
}

/// Where a heading stands alone on the rest of its line.
size_t findHeading(std::string_view text, std::string_view heading) {
    for (size_t at = text.find(heading); at != npos; at = text.find(heading, at + 1)) {
        const size_t end = at + heading.size();
        if (end < text.size() && (text[end] == '\n' || text[end] == '\r')) return at;
    }
    return npos;
}

std::string_view blockAt(std::string_view text, size_t position) {
    return position == npos ? std::string_view()
                            : text.substr(position, irBlockEnd(text, position) - position);
}

/// Calls `fill(number, record)` for each "marker: " in `range`; a record runs to the next marker.
template <class Fill>
void forEachRecord(std::string_view range, std::string_view marker, Fill fill) {
    size_t at = findMarker(range, marker);
    while (at != npos) {
        const size_t next = findMarker(range, marker, at + 1);
        const std::string_view record = range.substr(at, next == npos ? npos : next - at);
        fill(irInt(irFind(record, marker), -1), record);
        at = next;
    }
}

double numberOr(std::string_view value, double fallback) {
    double out = 0;
    return irNumber(value, out) ? out : fallback;
}

float realOr(std::string_view value, float fallback) {
    double out = 0;
    return irNumber(value, out) && std::abs(out) <= kMaxFloat ? static_cast<float>(out) : fallback;
}

float positiveOr0(std::string_view value) {
    return std::max(realOr(value, 0), 0.0f);
}

// ---- single keys ----

float engineSpeed(std::string_view text, std::string_view key) {
    const float rpm = realOr(irFind(text, key), 0);
    return rpm > 100 ? rpm : 0;
}

float maxRpmOf(std::string_view text) {
    const float last = engineSpeed(text, "DriverCarSLLastRPM");
    return last > 0 ? last : engineSpeed(text, "DriverCarRedLine");
}

float fuelCapacityOf(std::string_view text) {
    const float litres = positiveOr0(irFind(text, "DriverCarFuelMaxLtr"));
    const float share = realOr(irFind(text, "DriverCarMaxFuelPct"), 1);
    return litres * (share > 0 && share <= 1 ? share : 1);
}

float trackLengthOf(std::string_view value) {
    const double metres = numberOr(value, 0) * (value.find("mi") != npos ? 1609.344 : 1000.0);
    return metres > 0 && metres <= kMaxFloat ? static_cast<float>(metres) : 0;
}

bool scanInt(std::string_view& value, int32_t& out) {
    while (!value.empty() && value.front() == ' ')
        value.remove_prefix(1);
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), out);
    if (error != std::errc()) return false;
    value.remove_prefix(static_cast<size_t>(end - value.data()));
    return true;
}

int32_t timeOfDayOf(std::string_view value) {
    std::string_view rest = value;
    int32_t hours = 0, minutes = 0;
    if (!scanInt(rest, hours) || rest.empty() || rest.front() != ':') return -1;
    rest.remove_prefix(1);
    if (!scanInt(rest, minutes)) return -1;
    if (hours < 0 || hours > 23 || minutes < 0 || minutes > 59) return -1;
    if (containsNoCase(value, "pm")) {
        if (hours < 12) hours += 12;
    } else if (containsNoCase(value, "am") && hours == 12) {
        hours = 0;
    }
    return (hours * 60 + minutes) * 60;
}

int32_t incidentLimitOf(std::string_view value) {
    return containsNoCase(value, "unlimited") ? -1 : irInt(value, -1);
}

void parseSingleKeys(IrSessionText& out, std::string_view text) {
    const auto key = [&](std::string_view name) { return irFind(text, name); };

    const int32_t player = irInt(key("DriverCarIdx"), -1);
    out.playerCarIdx = player >= 0 && player < kIrMaxCars ? player : -1;
    out.maxRpm = maxRpmOf(text);
    out.shiftFirstRpm = engineSpeed(text, "DriverCarSLFirstRPM");
    out.shiftRpm = engineSpeed(text, "DriverCarSLShiftRPM");
    out.shiftBlinkRpm = engineSpeed(text, "DriverCarSLBlinkRPM");
    out.fuelCapacity = fuelCapacityOf(text);
    out.trackLength = trackLengthOf(key("TrackLength"));
    out.pitLimitSpeed = positiveOr0(key("TrackPitSpeedLimit")) / 3.6f;
    const float stall = realOr(key("DriverPitTrkPct"), -1);
    out.pitStallPct = stall > 0 && stall < 1 ? stall : -1;
    copyText(out.trackName, key("TrackDisplayName"));
    copyText(out.trackConfig, key("TrackConfigName"));
    copyText(out.buildVersion, key("BuildVersion"));
    const std::string_view date = key("Date");
    if (date.size() == 10 && date[4] == '-' && date[7] == '-') copyText(out.sessionDate, date);
    out.timeOfDay = timeOfDayOf(key("TimeOfDay"));
    out.seasonId = std::max(irInt(key("SeasonID"), 0), 0);
    out.raceWeek = std::max(irInt(key("RaceWeek"), -1), -1);
    const int32_t fixedSetup = irInt(key("IsFixedSetup"), -1);
    out.fixedSetup = fixedSetup < 0 ? -1 : fixedSetup != 0;
    out.trackTurns = std::max(irInt(key("TrackNumTurns"), 0), 0);
    out.trackId = irInt(key("TrackID"), 0);
    out.incidentLimit = incidentLimitOf(key("IncidentLimit"));
}

// ---- sessions and results ----

void parseResults(IrSession& session, std::string_view record) {
    const std::string_view block = blockAt(record, record.find("ResultsPositions:"));
    forEachRecord(block, "CarIdx", [&](int32_t car, std::string_view entry) {
        if (car < 0 || car >= kIrMaxCars) return;
        IrResultTimes& times = session.results[static_cast<size_t>(car)];
        times.fastest = positiveOr0(irFind(entry, "FastestTime"));
        times.last = positiveOr0(irFind(entry, "LastTime"));
    });
}

void parseSession(IrSession& session, std::string_view record) {
    session = IrSession{};
    const std::string_view type = irFind(record, "SessionType");
    const std::string_view name = irFind(record, "SessionName");
    copyText(session.name, name.empty() ? type : name);
    session.isRace = type.empty() ? -1 : containsNoCase(type, "race");
    const std::string_view length = irFind(record, "SessionTime");
    const double seconds = containsNoCase(length, "unlimited") ? -1 : numberOr(length, -1);
    session.length = seconds > 0 ? seconds : -1;
    parseResults(session, record);
}

void parseSessions(IrSessionText& out, std::string_view text) {
    const std::string_view block = blockAt(text, findHeading(text, "Sessions:"));
    forEachRecord(block, "SessionNum", [&](int32_t number, std::string_view record) {
        if (number < 0 || number >= kIrMaxSessions) return;
        const auto index = static_cast<size_t>(number);
        if (out.sessions.size() <= index) out.sessions.resize(index + 1);
        parseSession(out.sessions[index], record);
    });
}

void parseQualifying(IrSessionText& out, std::string_view text) {
    if (out.playerCarIdx < 0) return;
    std::string_view block = blockAt(text, text.find("QualifyResultsInfo:"));
    constexpr std::string_view marker = "- Position: ";
    for (size_t at = block.find(marker); at != npos;) {
        const size_t next = block.find(marker, at + 1);
        const std::string_view entry = block.substr(at, next == npos ? npos : next - at);
        if (irInt(irFind(entry, "CarIdx"), -1) == out.playerCarIdx) {
            const int32_t position = irInt(irFind(entry, "ClassPosition"), -1);
            out.qualifyFallback = position >= 0 && position < 10000 ? position + 1 : -1;
            return;
        }
        at = next;
    }
}

void parseSectors(IrSessionText& out, std::string_view text) {
    const size_t start = text.find("SplitTimeInfo:");
    if (start == npos) return;
    size_t end = text.find('\n', start);
    while (end != npos && end + 1 < text.size() &&
           (text[end + 1] == ' ' || text[end + 1] == '\n' || text[end + 1] == '\r'))
        end = text.find('\n', end + 1);
    std::string_view block = text.substr(start, end == npos ? npos : end - start);
    constexpr std::string_view key = "SectorStartPct";
    for (size_t at = findMarker(block, key); at != npos; at = findMarker(block, key, at + 1)) {
        const float pct = realOr(irFind(block.substr(at), key), -1);
        if (pct >= 0 && pct < 1) out.sectorStarts.push_back(pct);
    }
}

// ---- drivers ----

std::string_view withoutQuotes(std::string_view value) {
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        value = value.substr(1, value.size() - 2);
    return value;
}

void parsePlayer(IrSessionText& out, std::string_view record) {
    copyText(out.carName, irFind(record, "CarScreenName"));
    std::string path(irFind(record, "CarPath"));
    for (char& c : path)
        if (std::string_view("\"*/:<>?\\|").find(c) != npos) c = '_';
    copyText(out.carModel, path);
    constexpr float missing = std::numeric_limits<float>::quiet_NaN();
    const float power = realOr(irFind(record, "CarClassPowerAdjust"), missing);
    const float weight = realOr(irFind(record, "CarClassWeightPenalty"), missing);
    const bool both = std::isfinite(power) && std::isfinite(weight);
    out.classPowerAdjust = both ? power : -1000;
    out.classWeightPenalty = both ? weight : -1000;
}

void parseDriver(IrDriver& driver, int32_t number, std::string_view record) {
    driver = IrDriver{};
    driver.carIdx = number;
    copyText(driver.userName, irFind(record, "UserName"));
    copyText(driver.className, irFind(record, "CarClassShortName"));
    driver.irating = irInt(irFind(record, "IRating"), 0);
    const std::string_view carNumber = withoutQuotes(irFind(record, "CarNumber"));
    driver.numberValue = irInt(carNumber, 0);
    copyText(driver.numberText, carNumber);
    copyText(driver.licence, irFind(record, "LicString"));
    const std::string_view screenName = irFind(record, "CarScreenName");
    copyText(driver.brand, screenName.substr(0, screenName.find(' ')));
    driver.isPaceCar = irFind(record, "CarIsPaceCar") == "1";
    driver.isSpectator = irFind(record, "IsSpectator") == "1";
    driver.present = 1;
}

void parseDrivers(IrSessionText& out, std::string_view text) {
    const size_t start = findHeading(text, "Drivers:");
    if (start == npos) return;
    forEachRecord(text.substr(start), "CarIdx", [&](int32_t number, std::string_view record) {
        if (number < 0 || number >= kIrMaxCars) return;
        parseDriver(out.drivers[static_cast<size_t>(number)], number, record);
        if (number == out.playerCarIdx) parsePlayer(out, record);
    });
}

void resetText(IrSessionText& out) {
    std::vector<IrSession> sessions = std::move(out.sessions);
    std::vector<float> starts = std::move(out.sectorStarts);
    sessions.clear();
    starts.clear();
    out = IrSessionText{};
    out.sessions = std::move(sessions);
    out.sectorStarts = std::move(starts);
}

} // namespace

std::string_view irFind(std::string_view text, std::string_view key) {
    const size_t at = findMarker(text, key);
    if (at == npos) return {};
    const std::string_view rest = text.substr(at + key.size() + 2);
    return trimmedEnd(rest.substr(0, rest.find('\n')));
}

size_t irBlockEnd(std::string_view text, size_t position) {
    const size_t lineStart = position == 0 ? npos : text.rfind('\n', position - 1);
    const size_t indent = lineStart == npos ? position : position - lineStart - 1;
    for (size_t line = text.find('\n', position); line != npos; line = text.find('\n', line)) {
        line += 1;
        const size_t first = text.find_first_not_of(' ', line);
        if (first == npos) break;
        const char c = text[first];
        if (c != '\n' && c != '\r' && c != '-' && first - line <= indent) return line;
    }
    return text.size();
}

bool irNumber(std::string_view value, double& out) {
    while (!value.empty() && (value.front() == ' ' || value.front() == '\t'))
        value.remove_prefix(1);
    if (!value.empty() && value.front() == '+') value.remove_prefix(1);
    double number = 0;
    const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
    if (result.ec != std::errc() || !std::isfinite(number)) return false;
    out = number;
    return true;
}

int32_t irInt(std::string_view value, int32_t fallback) {
    double number = 0;
    if (!irNumber(value, number)) return fallback;
    return static_cast<int32_t>(std::clamp(number, -2147483648.0, 2147483647.0));
}

void parseSessionText(IrSessionText& out, std::string_view bytes) {
    resetText(out);
    bytes = bytes.substr(0, bytes.find('\0'));
    std::string converted;
    if (!utf8Valid(bytes)) {
        converted = windows1252ToUtf8(bytes);
        bytes = converted;
    }
    parseSingleKeys(out, bytes);
    parseSessions(out, bytes);
    parseQualifying(out, bytes);
    parseSectors(out, bytes);
    parseDrivers(out, bytes);
    parseSetupText(out, bytes);
}

} // namespace vt
