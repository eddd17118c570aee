#include "race/fuel_save.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vt {

namespace {

constexpr int kBaselineLaps = 2;          // clean laps that a baseline needs
constexpr float kTargetTolerance = 0.02f; // litres

/// What the overlays show, in thousandths.
struct Shown {
    bool active, valid, onTarget;
    std::array<long, 5> values;
    bool operator==(const Shown&) const = default;
};

Shown shownOf(const FuelSaveModel& model) {
    const auto round = [](float value) { return std::lround(static_cast<double>(value) * 1000); };
    return {model.active,
            model.lastLapValid,
            model.onTarget,
            {round(model.targetPerLap), round(model.lastSaved), round(model.bank),
             round(model.baseline), model.tipCount}};
}

void clearResults(FuelSaveModel& model) {
    model.lastLapValid = model.onTarget = false;
    model.lastSaved = model.bank = 0;
}

void stopSaving(FuelSaveModel& model) {
    model.active = false;
    model.targetPerLap = 0;
    model.baseline = -1;
    model.tipCount = 0;
    clearResults(model);
}

void clearModel(FuelSaveModel& model) {
    stopSaving(model);
    model.laps.count = 0;
    model.watch = {};
}

const char* carKey(const SimFrame& frame) {
    return frame.carName[0] ? frame.carName : frame.carModel;
}

bool sameStint(const FuelSaveModel& model, const SimFrame& frame) {
    return model.simKind == frame.simKind && model.sessionNum == frame.sessionNum &&
           model.trackId == frame.trackId && model.car == carKey(frame) &&
           model.track == frame.trackName;
}

float targetOf(const PitStrategyEngine& engine, const FuelPublished& published) {
    if (engine.optionCount > 0) {
        const int at = std::clamp(engine.selected, 0, engine.optionCount - 1);
        const float plan = engine.options[static_cast<size_t>(at)].saveLitresPerLap;
        if (plan > 0) return plan;
    }
    if (published.shortLitres > 0 && published.lapsToFinish > 0)
        return published.shortLitres / published.lapsToFinish;
    return 0;
}

void startSaving(FuelSaveModel& model, const FuelRules& rules) {
    const FuelAverages laps = averageFuel(model.laps, std::clamp(rules.windowLaps, 3, kFuelRing));
    model.baseline = laps.clean >= kBaselineLaps ? laps.fuel : -1;
    clearResults(model);
}

void judgeLap(FuelSaveModel& model, const FuelLapEvent& event) {
    if (!model.active || !(model.baseline > 0) || event.sample.dirty || event.previousDirty) return;
    model.lastSaved = model.baseline - event.sample.fuelUsed;
    model.lastLapValid = true;
    model.onTarget = model.lastSaved >= model.targetPerLap - kTargetTolerance;
    model.bank += model.lastSaved - model.targetPerLap;
}

void step(FuelSaveModel& model, const PitStrategyEngine& engine, const FuelPublished& published,
          const FuelRules& rules, const SimFrame& frame) {
    if (!sameStint(model, frame)) {
        clearModel(model);
        model.simKind = frame.simKind;
        model.sessionNum = frame.sessionNum;
        model.trackId = frame.trackId;
        model.car = carKey(frame);
        model.track = frame.trackName;
    }
    const float target = targetOf(engine, published);
    const bool active = target > 0;
    if (active && !model.active) startSaving(model, rules);
    if (!active && model.active) stopSaving(model);
    model.active = active;
    model.targetPerLap = target;
    const FuelLapEvent event = watchFuelLap(model.watch, frame);
    if (!event.lapEnd) return;
    judgeLap(model, event);
    pushFuelSample(model.laps, event.sample);
}

} // namespace

void fuelSaveTick(FuelSaveModel& model, const PitStrategyEngine& engine,
                  const FuelPublished& published, const FuelRules& rules, const SimFrame* frame) {
    const Shown before = shownOf(model);
    const bool live = frame && frame->connected;
    if (live) {
        step(model, engine, published, rules, *frame);
    } else if (model.wasLive) {
        clearModel(model);
        model.simKind = -1;
    }
    model.wasLive = live;
    if (!(shownOf(model) == before)) ++model.generation;
}

} // namespace vt
