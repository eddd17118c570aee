// What a stop costs, measured from an in-lap and an out-lap against a lap without a stop.
#include "race/pit_strategy.h"

#include <cmath>

namespace vt {

namespace {

constexpr float kLossMin = 5, kLossMax = 180; // s; anything else was no plain stop
constexpr float kLapMax = 600;                // s

bool isLap(float seconds) {
    return seconds > 0 && seconds < kLapMax;
}

void forget(PitLossWatch& watch) {
    watch.state = 0;
    watch.armed = watch.endedOnPitRoad = watch.yellow = false;
    watch.inLap = 0;
}

float lossOf(const PitLossWatch& watch, float outLap) {
    if (watch.endedOnPitRoad || watch.yellow) return 0;
    if (!isLap(watch.reference) || !isLap(watch.inLap) || !isLap(outLap)) return 0;
    const float loss = watch.inLap + outLap - 2 * watch.reference;
    return loss >= kLossMin && loss <= kLossMax ? loss : 0;
}

} // namespace

float pitLossStep(PitLossWatch& watch, const PitLossStep& step) {
    if (step.jumped) forget(watch);
    const bool entered = step.onPitRoad && !watch.wasOnPitRoad;
    watch.wasOnPitRoad = step.onPitRoad;
    if (entered && watch.state != 1) {
        forget(watch);
        watch.state = 1;
        watch.reference = step.reference;
    }
    if (watch.state != 0 && step.yellow) watch.yellow = true;
    if (step.lapEnded && watch.state != 0) {
        if (watch.state == 2) {
            watch.armed = true;
            watch.endedOnPitRoad = step.onPitRoad;
            watch.state = 0;
        } else {
            watch.state = 2;
        }
    }
    if (!step.timeKnown) return 0;
    if (watch.state == 2) {
        watch.inLap = step.time;
        return 0;
    }
    if (!watch.armed) return 0;
    const float loss = lossOf(watch, step.time);
    forget(watch);
    return loss;
}

float observePitLoss(PitLossWatch& watch, const CarRow& row, bool yellow) {
    if (row.lap < 0) return 0;
    const bool first = watch.lap < 0;
    PitLossStep step;
    step.onPitRoad = row.onPitRoad != 0;
    if (first) watch.wasOnPitRoad = step.onPitRoad; // joined in the pits: no entry was seen
    step.yellow = yellow;
    step.lapEnded = !first && row.lap == watch.lap + 1;
    step.jumped = !first && !step.lapEnded && row.lap != watch.lap;
    step.reference = watch.lastClean;
    if (step.onPitRoad || row.pitThisLap) watch.lapTouchedPit = true;
    if (step.lapEnded) {
        watch.awaitsTime = true;
        watch.awaitedTouchedPit = watch.lapTouchedPit;
    }
    if (step.jumped) {
        watch.awaitsTime = false;
        watch.lastClean = 0;
    }
    if (row.lap != watch.lap) watch.lapTouchedPit = step.onPitRoad;
    watch.lap = row.lap;

    const float told = row.lastLapTime > 0 ? row.lastLapTime : row.lapEstimate;
    const float time = std::isfinite(told) ? told : 0;
    if (watch.awaitsTime && time != watch.lastTime) {
        watch.awaitsTime = false;
        step.timeKnown = true;
        step.time = time;
        if (!watch.awaitedTouchedPit && isLap(time)) watch.lastClean = time;
    }
    if (!watch.awaitsTime) watch.lastTime = time;
    return pitLossStep(watch, step);
}

} // namespace vt
