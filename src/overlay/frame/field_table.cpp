#include "overlay/frame/field_table.h"

#include "base/format.h"
#include "base/translate.h"
#include "base/utf8.h"
#include "race/relative_model.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace vt {

bool fieldValueKnown(float value) {
    return std::isfinite(value) && value > -999;
}

namespace {

constexpr float kStandardGravity = 9.80665f; // m/s²
constexpr float kPsiPerBar = 14.50377f;
constexpr float kKphPerMps = 3.6f;
constexpr float kMphPerMps = 2.23694f;
constexpr double kUnknownTime = 86400; // a session clock of a day or more means that it is not set

int nothing(TextOut out) {
    out.text[0] = '\0';
    return 0;
}

int copied(TextOut out, std::string_view text) {
    copyText(out.text, out.capacity, text);
    return static_cast<int>(std::strlen(out.text));
}

int appended(TextOut out, int used, std::string_view text) {
    const size_t from = static_cast<size_t>(used);
    const size_t n = std::min(text.size(), out.capacity - 1 - from);
    std::memcpy(out.text + from, text.data(), n);
    out.text[from + n] = '\0';
    return static_cast<int>(from + n);
}

/// "%.<decimals>f<unit>" or, with `sign`, "%+.<decimals>f<unit>", several times faster than printf.
int decimal(TextOut out, double value, int decimals, std::string_view unit, bool sign = false) {
    char digits[64]; // the largest float has 39
    char* start = digits;
    if (sign && !std::signbit(value)) *start++ = '+';
    const auto end =
        std::to_chars(start, std::end(digits), value, std::chars_format::fixed, decimals);
    if (end.ec != std::errc{}) return nothing(out);
    return appended(out, appended(out, 0, {digits, end.ptr}), unit);
}

/// Keeps a value that rounds to zero from printing as "-0".
double unsignedZero(double value, double half) {
    return std::fabs(value) < half ? 0.0 : value;
}

int whole(TextOut out, double value, std::string_view unit) {
    return decimal(out, unsignedZero(value, 0.5), 0, unit);
}

int temperature(TextOut out, float celsius, const FieldContext& context) {
    if (!fieldValueKnown(celsius)) return nothing(out);
    const double value = static_cast<double>(celsius);
    if (context.config.imperial != 0) return whole(out, value * 9 / 5 + 32, "°F");
    return whole(out, value, "°C");
}

int percent(TextOut out, float fraction) {
    if (!std::isfinite(fraction) || fraction < 0) return nothing(out);
    return whole(out, static_cast<double>(fraction) * 100, "%");
}

/// One decimal, of a value that is missing at -999 and below.
int tenths(TextOut out, float value, std::string_view unit) {
    if (!fieldValueKnown(value)) return nothing(out);
    return decimal(out, unsignedZero(static_cast<double>(value), 0.05), 1, unit);
}

int step(TextOut out, float value) {
    if (!fieldValueKnown(value)) return nothing(out);
    return whole(out, static_cast<double>(value), "");
}

int delta(TextOut out, float seconds, bool ok) {
    if (!ok || !std::isfinite(seconds)) return nothing(out);
    return decimal(out, static_cast<double>(seconds), 2, "", true);
}

int rating(TextOut out, int value) {
    if (value < 1) return nothing(out);
    if (value >= 1000) return decimal(out, value / 1000.0, 1, "k");
    return formatText(out.text, out.capacity, "%d", value);
}

// ---- one function per field ----

int title(TextOut out, const SimFrame&, const FieldContext& context) {
    if (!overlaySlot(context.slot)) return nothing(out);
    const int length = copied(out, overlayKey(context.slot));
    std::transform(out.text, out.text + length, out.text, [](char c) { return asciiUpper(c); });
    return length;
}

int simName(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (frame.simKind < 0 || frame.simKind >= kSimCount) return nothing(out);
    return copied(out, simDisplayName(frame.simKind));
}

int wallClock(TextOut out, const SimFrame&, const FieldContext& context) {
    const LocalTime now = clockLocalTime(context.clock);
    return formatText(out.text, out.capacity, "%02d:%02d", now.hour, now.minute);
}

int sessionName(TextOut out, const SimFrame& frame, const FieldContext&) {
    return copied(out, frame.sessionName);
}

int trackName(TextOut out, const SimFrame& frame, const FieldContext&) {
    return copied(out, frame.trackName);
}

int timeLeft(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (!frame.timedSession || frame.timeRemain >= kUnknownTime) return nothing(out);
    return formatDuration(out.text, out.capacity, frame.timeRemain);
}

int lapsLeftWith(TextOut out, const SimFrame& frame, const char* suffix) {
    if (!frame.timedSession) {
        if (frame.lapsRemain < 0) return nothing(out);
        return formatText(out.text, out.capacity, "%d%s", frame.lapsRemain, suffix);
    }
    const float laps = frame.lapsEstimate;
    if (!std::isfinite(laps) || laps < 0 || laps > 1e6f) return nothing(out);
    if (!frame.lapsEstimateIsExact) {
        out.text[0] = '\0';
        const int tilde = appended(out, 0, "~");
        const TextOut rest{out.text + tilde, out.capacity - static_cast<size_t>(tilde)};
        return tilde + decimal(rest, static_cast<double>(laps), 1, suffix);
    }
    return formatText(out.text, out.capacity, "%d%s", static_cast<int>(std::lround(laps)), suffix);
}

int lapsLeft(TextOut out, const SimFrame& frame, const FieldContext&) {
    return lapsLeftWith(out, frame, Translate(" L"));
}

int lapsLeftPlain(TextOut out, const SimFrame& frame, const FieldContext&) {
    return lapsLeftWith(out, frame, "");
}

int position(TextOut out, const SimFrame& frame, const FieldContext&) {
    const CarRow* player = playerRow(frame);
    if (!player || player->position < 1) return copied(out, "P-");
    return formatText(out.text, out.capacity, "P%d", player->position);
}

int flagWord(TextOut out, const SimFrame& frame, const FieldContext&) {
    // The flags that have a word; a red, repair or warning flag alone shows nothing.
    constexpr uint32_t worded = kFlagChequered | kFlagWhite | kFlagYellow | kFlagBlue | kFlagGreen;
    switch (flagPriority(frame.sessionFlags & worded)) {
    case kFlagChequered:
        return copied(out, Translate("CHECKERED"));
    case kFlagWhite:
        return copied(out, Translate("WHITE"));
    case kFlagYellow:
        return copied(out, Translate("YELLOW"));
    case kFlagBlue:
        return copied(out, Translate("BLUE"));
    case kFlagGreen:
        return copied(out, Translate("GREEN"));
    default:
        return nothing(out);
    }
}

int airTemp(TextOut out, const SimFrame& frame, const FieldContext& context) {
    return temperature(out, frame.airTemp, context);
}

int trackTemp(TextOut out, const SimFrame& frame, const FieldContext& context) {
    return temperature(out, frame.trackTemp, context);
}

int rain(TextOut out, const SimFrame& frame, const FieldContext&) {
    return percent(out, frame.precipitation);
}

int wetness(TextOut out, const SimFrame& frame, const FieldContext&) {
    static constexpr const char* words[] = {"Dry",          "Mostly Dry",     "Very Lightly Wet",
                                            "Lightly Wet",  "Moderately Wet", "Very Wet",
                                            "Extremely Wet"};
    const int level = frame.wetnessLevel;
    if (level >= 1 && level <= static_cast<int>(std::size(words)))
        return copied(out, Translate(words[level - 1]));
    return percent(out, frame.wetness);
}

int fuel(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (!(frame.fuelLevel >= 0)) return nothing(out);
    return tenths(out, frame.fuelLevel, " L");
}

int lastLap(TextOut out, const SimFrame& frame, const FieldContext&) {
    return formatLapTime(out.text, out.capacity, static_cast<double>(frame.lastLapTime));
}

int incidents(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (frame.incidents < 0) return nothing(out);
    return formatText(out.text, out.capacity, "%dx", frame.incidents);
}

int ownRating(TextOut out, const SimFrame& frame, const FieldContext&) {
    const CarRow* player = playerRow(frame);
    return player ? rating(out, player->irating) : nothing(out);
}

bool ratingGain(const SimFrame& frame, int& present, int& gain) {
    const CarRow* player = playerRow(frame);
    if (!player) return false;
    bool ok = false;
    gain = ratingGainOf(frame, *player, ok);
    present = player->irating;
    return ok;
}

int ownRatingGain(TextOut out, const SimFrame& frame, const FieldContext&) {
    int present = 0, gain = 0;
    if (!ratingGain(frame, present, gain)) return nothing(out);
    return formatText(out.text, out.capacity, "%+d", gain);
}

int fieldStrength(TextOut out, const SimFrame& frame, const FieldContext&) {
    const CarRow* player = playerRow(frame);
    return rating(out, static_cast<int>(classStrength(frame, player ? player->carClass : "")));
}

int waterTemp(TextOut out, const SimFrame& frame, const FieldContext& context) {
    return temperature(out, frame.waterTemp, context);
}

int oilTemp(TextOut out, const SimFrame& frame, const FieldContext& context) {
    return temperature(out, frame.oilTemp, context);
}

int oilPressure(TextOut out, const SimFrame& frame, const FieldContext& context) {
    const float bar = frame.oilPressure;
    if (!fieldValueKnown(bar)) return nothing(out);
    switch (context.config.pressureUnit) {
    case 1:
        return whole(out, static_cast<double>(bar * kPsiPerBar), " psi");
    case 2:
        return whole(out, static_cast<double>(bar * 100), " kPa");
    default:
        return tenths(out, bar, " bar");
    }
}

int battery(TextOut out, const SimFrame& frame, const FieldContext&) {
    return tenths(out, frame.batteryVolts, " V");
}

int brakeBias(TextOut out, const SimFrame& frame, const FieldContext&) {
    return tenths(out, frame.brakeBias, "%");
}

int tractionControl(TextOut out, const SimFrame& frame, const FieldContext&) {
    return step(out, frame.tcLevel);
}

int absStep(TextOut out, const SimFrame& frame, const FieldContext&) {
    return step(out, frame.absLevel);
}

int lateralG(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (!std::isfinite(frame.latAccel)) return nothing(out);
    return decimal(out, static_cast<double>(std::fabs(frame.latAccel) / kStandardGravity), 2, "g");
}

int longitudinalG(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (!std::isfinite(frame.longAccel)) return nothing(out);
    return decimal(out, static_cast<double>(frame.longAccel / kStandardGravity), 2, "g", true);
}

int airAndTrack(TextOut out, const SimFrame& frame, const FieldContext& context) {
    if (!fieldValueKnown(frame.airTemp) || !fieldValueKnown(frame.trackTemp)) return nothing(out);
    const int air = appended(out, temperature(out, frame.airTemp, context), "·");
    const TextOut rest{out.text + air, out.capacity - static_cast<size_t>(air)};
    return air + temperature(rest, frame.trackTemp, context);
}

int lapNumber(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (frame.lap < 0) return nothing(out);
    if (frame.timedSession || frame.lapsRemain < 0)
        return formatText(out.text, out.capacity, "%d", frame.lap);
    const long long total = static_cast<long long>(frame.lap) + frame.lapsRemain;
    return formatText(out.text, out.capacity, "%d / %lld", frame.lap, total);
}

int deltaBest(TextOut out, const SimFrame& frame, const FieldContext&) {
    return delta(out, frame.deltaBest, frame.deltaBestOk);
}

int deltaLast(TextOut out, const SimFrame& frame, const FieldContext&) {
    return delta(out, frame.deltaLast, frame.deltaLastOk);
}

int deltaOptimal(TextOut out, const SimFrame& frame, const FieldContext&) {
    return delta(out, frame.deltaOptimal, frame.deltaOptimalOk);
}

int deltaSessionBest(TextOut out, const SimFrame& frame, const FieldContext&) {
    return delta(out, frame.deltaSessionBest, frame.deltaSessionBestOk);
}

int sectorDeltaBest(TextOut out, const SimFrame& frame, const FieldContext&) {
    return delta(out, frame.sectorDeltaBest, frame.sectorDeltaBestOk);
}

int sectorDeltaLast(TextOut out, const SimFrame& frame, const FieldContext&) {
    return delta(out, frame.sectorDeltaLast, frame.sectorDeltaLastOk);
}

int projectedRating(TextOut out, const SimFrame& frame, const FieldContext&) {
    int present = 0, gain = 0;
    if (!ratingGain(frame, present, gain)) return nothing(out);
    return rating(out, present + gain);
}

int licence(TextOut out, const SimFrame& frame, const FieldContext&) {
    const CarRow* player = playerRow(frame);
    return player ? copied(out, player->licence) : nothing(out);
}

int heartRate(TextOut out, const SimFrame&, const FieldContext&) {
    const int bpm = fieldProviders.heartRate ? fieldProviders.heartRate() : 0;
    if (bpm < 1) return nothing(out);
    return formatText(out.text, out.capacity, Translate("%d BPM"), bpm);
}

int timeLeftOfTotal(TextOut out, const SimFrame& frame, const FieldContext& context) {
    const int left = timeLeft(out, frame, context);
    const bool totalKnown = frame.timeTotal > 0 && frame.timeTotal < kUnknownTime;
    if (left == 0 || !totalKnown) return left;
    const int used = appended(out, left, " / ");
    return used + formatDuration(out.text + used, out.capacity - static_cast<size_t>(used),
                                 frame.timeTotal);
}

int incidentsOfLimit(TextOut out, const SimFrame& frame, const FieldContext& context) {
    if (frame.incidents < 0 || frame.incidentLimit < 1) return incidents(out, frame, context);
    return formatText(out.text, out.capacity, "%dx / %dx", frame.incidents, frame.incidentLimit);
}

int liveDeltaBest(TextOut out, const SimFrame& frame, const FieldContext&) {
    return delta(out, frame.liveDeltaBest, frame.liveDeltaBestOk);
}

int liveDeltaLast(TextOut out, const SimFrame& frame, const FieldContext&) {
    return delta(out, frame.liveDeltaLast, frame.liveDeltaLastOk);
}

int projectedLap(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (!frame.liveDeltaBestOk || !(frame.bestLapTime > 0)) return nothing(out);
    return formatLapTime(out.text, out.capacity,
                         static_cast<double>(frame.bestLapTime + frame.liveDeltaBest));
}

int bestLap(TextOut out, const SimFrame& frame, const FieldContext&) {
    return formatLapTime(out.text, out.capacity, static_cast<double>(frame.bestLapTime));
}

int optimalLap(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (!frame.optimalLapTimeOk) return nothing(out);
    return formatLapTime(out.text, out.capacity, static_cast<double>(frame.optimalLapTime));
}

int positionsGained(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (!frame.positionsGainedOk) return nothing(out);
    if (frame.positionsGained == 0) return copied(out, "0");
    return formatText(out.text, out.capacity, "%+d", frame.positionsGained);
}

int strategy(TextOut out, const SimFrame&, const FieldContext&) {
    if (!fieldProviders.strategyTitle) return nothing(out);
    out.text[0] = '\0';
    return static_cast<int>(
        std::min(fieldProviders.strategyTitle(out.text, out.capacity), out.capacity - 1));
}

int fuelSave(TextOut out, const SimFrame&, const FieldContext&) {
    float litres = 0;
    if (!fieldProviders.fuelSaveTarget || !fieldProviders.fuelSaveTarget(litres) ||
        !std::isfinite(litres))
        return nothing(out);
    return formatText(out.text, out.capacity, Translate("SAVE %.2f L/LAP"),
                      static_cast<double>(litres));
}

int currentLap(TextOut out, const SimFrame& frame, const FieldContext&) {
    return formatLapTime(out.text, out.capacity, static_cast<double>(frame.currentLapTime));
}

int roadSpeed(TextOut out, const SimFrame& frame, const FieldContext& context) {
    if (!std::isfinite(frame.speed) || frame.speed < 0) return nothing(out);
    const bool imperial = context.config.imperial != 0;
    const float shown = frame.speed * (imperial ? kMphPerMps : kKphPerMps);
    return formatText(out.text, out.capacity,
                      imperial ? Translate("%.0f MPH") : Translate("%.0f KM/H"),
                      static_cast<double>(shown));
}

int engineRpm(TextOut out, const SimFrame& frame, const FieldContext&) {
    if (!(frame.rpm >= 0)) return nothing(out);
    return step(out, frame.rpm);
}

int emptyPlace(TextOut out, const SimFrame&, const FieldContext&) {
    return nothing(out);
}

// ---- the catalogue ----

using enum FieldSource;

} // namespace

const FieldRow kFields[kFieldCount] = {
    {"(none)", "(none)", 0, program, emptyPlace},
    {"Title", "Overlay title", 0, program, title},
    {"Sim", "Connected sim", 0, program, simName},
    {"Clock", "Wall clock time", 0, program, wallClock},
    {"Session", "Session name", 0x10, sim, sessionName},
    {"Track", "Track name", 0, sim, trackName},
    {"Time Left", "Session time remaining", 0x10, sim, timeLeft},
    {"Laps Left", "Laps remaining", 0x10, sim, lapsLeft},
    {"Position", "Your position", 0x10, sim, position},
    {"Flag", "Flag state", 0x20, sim, flagWord},
    {"Air Temp", "Air temperature", 0x1000, sim, airTemp},
    {"Track Temp", "Track temperature", 0x1000, sim, trackTemp},
    {"Rain", "Rainfall", 0x800, sim, rain},
    {"Wetness", "Track wetness", 0x400, sim, wetness},
    {"Fuel", "Fuel in tank", 0x20000, sim, fuel},
    {"Last Lap", "Last lap time", 0x8, sim, lastLap},
    {"Incidents", "Incident count", 0x400000, sim, incidents},
    {"iRating", "iRating", 0x400000, sim, ownRating},
    {"iR Gain", "iRating gain or loss", 0x400000, sim, ownRatingGain},
    {"SOF", "Strength of field", 0x400000, sim, fieldStrength},
    {"Water", "Water temperature", 0x4000, sim, waterTemp},
    {"Oil Temp", "Oil temperature", 0x4000, sim, oilTemp},
    {"Oil Press", "Oil pressure", 0x4000, sim, oilPressure},
    {"Battery", "Battery voltage", 0x4000, sim, battery},
    {"Brake Bias", "Brake bias", 0x8000, sim, brakeBias},
    {"TC", "Traction control level", 0x2000000, sim, tractionControl},
    {"ABS", "ABS level", 0x2000000, sim, absStep},
    {"Lat G", "Lateral G-force", 0x2000, sim, lateralG},
    {"Long G", "Longitudinal G-force", 0x2000, sim, longitudinalG},
    {"Air/Trk", "Air and track temperature", 0x1000, sim, airAndTrack},
    {"Lap", "Lap number", 0x8, sim, lapNumber},
    {"d Best", "Delta to best lap", 0x200, sim, deltaBest},
    {"d Last", "Delta to last lap", 0x200, sim, deltaLast},
    {"d Optimal", "Delta to optimal lap", 0x200, sim, deltaOptimal},
    {"d Sess Best", "Delta to session best lap", 0x200, sim, deltaSessionBest},
    {"Sec d Best", "Sector delta to best", 0x80, sim, sectorDeltaBest},
    {"Sec d Last", "Sector delta to last lap", 0x80, sim, sectorDeltaLast},
    {"iR Proj", "Projected iRating", 0x400000, sim, projectedRating},
    {"SR", "Safety Rating", 0x400000, sim, licence},
    {"Heart Rate", "Heart rate", 0, program, heartRate},
    {"Time Left / Total", "Session time remaining / total", 0x10, sim, timeLeftOfTotal},
    {"Incidents / Limit", "Incident count / limit", 0x400000, sim, incidentsOfLimit},
    {"d Best (live)", "Delta to best lap (predicted)", 0x100, sim, liveDeltaBest},
    {"d Last (live)", "Delta to last lap (predicted)", 0x100, sim, liveDeltaLast},
    {"Proj Lap", "Projected lap time", 0x140, sim, projectedLap},
    {"Best Lap", "Best lap time", 0x40, sim, bestLap},
    {"Optimal Lap", "Optimal lap time", 0x80, sim, optimalLap},
    {"Pos +/-", "Positions gained or lost", 0x4000001, sim, positionsGained},
    {"Strategy", "Pit strategy", 0x20010, sim, strategy},
    {"Fuel Save", "Fuel saving needed", 0x20010, sim, fuelSave},
    {"Cur Lap", "Current lap time", 0x8000000, sim, currentLap},
    {"Speed", "Road speed", 0, sim, roadSpeed},
    {"RPM", "Engine RPM", 0, sim, engineRpm},
    {"Est Laps", "Laps remaining (estimated)", 0x18, sim, lapsLeftPlain},
};

} // namespace vt
