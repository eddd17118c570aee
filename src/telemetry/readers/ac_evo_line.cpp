#include "telemetry/readers/ac_evo_line.h"

#include "telemetry/reader_parts.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kKnownWindow = 0.01f;
constexpr float kLastPlace = 0.9999f;
constexpr double kLongestAhead = 0.15; // s

float wrapLap(float position) {
    const float wrapped = position - std::floor(position);
    return wrapped < 1 ? wrapped : 0; // a tiny negative number rounds up to 1
}

bool learnOffset(AcEvoLine& line, float npos) {
    if (npos <= kAcEvoLineWindow)
        line.offset = npos;
    else if (npos >= 1 - kAcEvoLineWindow)
        line.offset = npos - 1;
    else
        return false;
    return line.known = true;
}

float applyHolds(AcEvoLine& line, float position, bool lapDone) {
    const float window = line.known ? kKnownWindow : kAcEvoLineWindow;
    if (lapDone) {
        line.heldEnd = false;
        line.heldStart = position >= 1 - window;
    } else if (line.position >= 1 - window && position < window) {
        line.heldEnd = true;
    }
    if (line.heldEnd && position >= window) line.heldEnd = false;
    if (line.heldStart && position < 0.5f) line.heldStart = false;
    if (line.heldEnd) return kLastPlace;
    return line.heldStart ? 0 : position;
}

} // namespace

AcEvoLineStep acEvoLineStep(AcEvoLine& line, float npos, int32_t laps, bool learnable) {
    AcEvoLineStep step;
    npos = clamp01(npos);
    step.lapDone = line.started && line.laps >= 0 && laps - int64_t{line.laps} == 1;
    if (step.lapDone && learnable && !line.known) {
        step.learned = learnOffset(line, npos);
        step.refused = !step.learned && !line.refused;
        line.refused = line.refused || step.refused;
    }
    const float position = line.known ? wrapLap(npos - line.offset) : npos;
    if (!line.started || (laps != line.laps && !step.lapDone)) {
        line.heldEnd = line.heldStart = false;
        line.position = position;
    }
    step.position = applyHolds(line, position, step.lapDone);
    step.held = line.heldEnd || line.heldStart;
    line.started = true;
    line.laps = laps;
    line.position = step.position;
    return step;
}

float acEvoPlaceNow(AcEvoPlace& place, float position, double now, double pctPerSecond) {
    if (!place.known || position != place.page) {
        // Driven slower than expected since the last page: wait until the car has come here.
        const bool waits = place.known && position > place.page && position < place.shown;
        if (!waits || !(pctPerSecond > 0)) place.shown = position;
        place.known = true;
        place.page = position;
        place.since = now;
    }
    if (pctPerSecond > 0) {
        const double ahead = std::clamp(now - place.since, 0.0, kLongestAhead) * pctPerSecond;
        const auto there = static_cast<float>(static_cast<double>(place.page) + ahead);
        place.shown = std::max(place.shown, std::min(there, kLastPlace));
    }
    return place.shown;
}

} // namespace vt
