#include "telemetry/readers/ac_evo_learned.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kLongestStep = 0.25; // s
constexpr int kMissesToStop = 3;
constexpr float kLeastLock = 1.5708f; // rad: no steering wheel turns less than a quarter

} // namespace

void acEvoClockTick(AcEvoClock& clock, double now, bool live, int misses) {
    if (clock.last >= 0 && live && misses < kMissesToStop)
        clock.session += std::clamp(now - clock.last, 0.0, kLongestStep);
    clock.last = now;
}

void acEvoLearnTank(AcEvoTank& tank, float litres, float fraction) {
    // A nearly empty tank has less than 1 % left: what was a percentage once remains one. A full
    // tank may be told as a little more than 1.
    if (fraction > 1.5f) tank.percent = true;
    if (tank.percent || fraction > 1) fraction /= 100;
    if (!(fraction > 0.02f) || !(litres > 0.5f)) return;
    const float capacity = litres / fraction;
    if (capacity >= 1 && capacity <= 500) tank.capacity = capacity;
}

float acEvoPitLimit(float kmh, float aboveLimit) {
    const float limit = kmh - aboveLimit;
    return kmh > 5 && limit >= 30 && limit <= 120 ? limit / 3.6f : 0;
}

float acEvoLearnLock(AcEvoWheel& wheel, float steerAngle) {
    wheel.largest = std::max(wheel.largest, std::abs(steerAngle));
    return wheel.largest >= kLeastLock ? wheel.largest : 0;
}

} // namespace vt
