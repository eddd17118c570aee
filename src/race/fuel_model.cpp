#include "race/fuel_model.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kBurnMin = 0.01f;      // litres a lap; less is no burn
constexpr float kLapMax = 600;         // s; longer laps are no laps
constexpr int kCleanForVerdict = 3;    // clean laps
constexpr double kTimeUnknown = 86400; // s, what sims tell for "no limit"
constexpr double kFractionLap = 0.85;  // of a lap left over that makes one more

float litres(float value) {
    return std::isfinite(value) && value > 0 ? value : 0;
}

float lapsToFinish(const SimFrame& frame, float avgLap) {
    if (!frame.timedSession)
        return frame.lapsRemain >= 0 ? static_cast<float>(frame.lapsRemain) : -1;
    if (std::isfinite(frame.lapsEstimate) && frame.lapsEstimate >= 0)
        return std::ceil(frame.lapsEstimate);
    if (avgLap > 0 && frame.timeRemain > 0 && frame.timeRemain < kTimeUnknown)
        return static_cast<float>(std::ceil(frame.timeRemain / static_cast<double>(avgLap)) + 1);
    return -1;
}

int verdict(const FuelView& view) {
    if (!view.burnValid || view.cleanCount < kCleanForVerdict) return kFuelLearning;
    if (!view.toFinishKnown) return kFuelNoLength;
    if (view.delta > 0) return kFuelShort;
    return view.delta > -1.0f ? kFuelMarginal : kFuelSafe;
}

int alertOf(float lapsInTank, const FuelRules& rules) {
    if (lapsInTank < 0) return 0;
    if (rules.redLaps > 0 && lapsInTank <= static_cast<float>(rules.redLaps)) return 2;
    return rules.amberLaps > 0 && lapsInTank <= static_cast<float>(rules.amberLaps) ? 1 : 0;
}

} // namespace

void pushFuelSample(FuelRing& ring, const LapFuelSample& sample) {
    if (ring.count == kFuelRing) {
        std::move(ring.samples.begin() + 1, ring.samples.end(), ring.samples.begin());
        --ring.count;
    }
    ring.samples[static_cast<size_t>(ring.count++)] = sample;
}

FuelAverages averageFuel(const FuelRing& ring, int window) {
    FuelAverages out;
    double fuel = 0, lap = 0;
    int laps = 0;
    for (int i = ring.count - 1; i >= 0; --i) {
        const LapFuelSample& sample = ring.samples[static_cast<size_t>(i)];
        if (sample.dirty) continue;
        if (out.clean++ < window) fuel += static_cast<double>(sample.fuelUsed);
        if (laps < window && sample.lapTime > 0 && sample.lapTime < kLapMax) {
            lap += static_cast<double>(sample.lapTime);
            ++laps;
        }
    }
    const int burns = std::min(out.clean, window);
    if (burns > 0) out.fuel = static_cast<float>(fuel / burns);
    if (laps > 0) out.lap = static_cast<float>(lap / laps);
    return out;
}

float lapsLeftEstimate(const SimFrame* frame, bool includeFraction) {
    if (!frame || !frame->connected || !frame->timedSession) return -1;
    const float estimate = frame->lapsEstimate;
    if (!std::isfinite(estimate) || estimate < 0) return -1;
    float laps = std::ceil(estimate);
    const double fraction =
        static_cast<double>(estimate) - std::floor(static_cast<double>(estimate));
    // Compared with the decimal as a float tells it: 12.85 in a float is a little less.
    if (includeFraction && !frame->lapsEstimateIsExact && fraction >= kFractionLap - 1e-5)
        laps += 1;
    return laps;
}

FuelView computeFuelView(const FuelRing& ring, const FuelRules& rules, const SimFrame* frame) {
    FuelView view;
    view.window = std::clamp(rules.windowLaps, 3, kFuelRing);
    const FuelAverages averages = averageFuel(ring, view.window);
    view.burn = averages.fuel;
    view.burnValid = view.burn > kBurnMin;
    view.cleanCount = averages.clean;
    view.avgLap = averages.lap;
    view.live = frame && frame->connected;
    if (!view.live) return view;

    const float buffer = std::isfinite(rules.pitBuffer) ? rules.pitBuffer : 0;
    view.fuel = litres(frame->fuelLevel);
    view.capacity = litres(frame->fuelCapacity);
    view.timed = frame->timedSession != 0;
    view.timeRemain = frame->timeRemain;
    view.lapsRemain = frame->lapsRemain;
    view.lap = frame->lap;
    if (view.burnValid) view.lapsInTank = view.fuel / view.burn;
    view.lapsToFinish = lapsToFinish(*frame, view.avgLap);
    if (view.burnValid && view.lapsToFinish >= 0)
        view.fuelToFinish = std::ceil(view.lapsToFinish * view.burn * 10) / 10;
    view.toFinishKnown = view.fuelToFinish >= 0;
    if (view.toFinishKnown) view.delta = view.fuelToFinish - view.fuel;
    if (view.delta > 0) view.addAtPit = view.delta + buffer;
    view.status = verdict(view);
    if (view.status == kFuelShort) {
        const float spare = view.fuel - buffer;
        const float laps = spare > 0 ? std::floor(spare / view.burn) : 0;
        view.lapsBeforePit =
            static_cast<int>(std::clamp(laps, 0.0f, std::max(view.lapsToFinish, 0.0f)));
        if (view.lap >= 0) view.pitLap = view.lap + view.lapsBeforePit;
    }
    if (view.lapsInTank >= 0 && view.avgLap > 0)
        view.minutesInTank = view.lapsInTank * view.avgLap / 60;
    if (view.lapsToFinish >= 0 && view.lap >= 0)
        view.finishLap = static_cast<int>(std::ceil(view.lapsToFinish)) + view.lap;
    view.alertLevel = alertOf(view.lapsInTank, rules);
    return view;
}

} // namespace vt
