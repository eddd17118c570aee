// Laps told apart, and the ring that the Fuel overlay keeps and hands to the store.
#include "race/fuel_model.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kBurnMax = 30;   // litres; more was a reset or a service
constexpr int kWeightMax = 20;   // laps that old knowledge counts as, at most
constexpr int kCleanToLearn = 2; // clean laps before anything is kept
constexpr int kDevMax = 25;      // percent

struct CleanMeans {
    int count = 0;
    float fuel = 0, lap = 0;
};

CleanMeans allClean(const FuelRing& ring) {
    const FuelAverages all = averageFuel(ring, kFuelRing);
    return {all.clean, all.fuel, all.lap};
}

int burnFlashOf(const FuelLapRing& ring, const FuelRules& rules, const FuelLapEvent& event) {
    const int percent = std::clamp(rules.devPct, 0, kDevMax);
    if (percent == 0 || event.sample.dirty || event.previousDirty) return 0;
    const FuelAverages before = averageFuel(ring.ring, std::clamp(rules.windowLaps, 3, kFuelRing));
    if (before.clean < 2 || before.fuel <= 0.01f) return 0;
    const double off =
        (static_cast<double>(event.sample.fuelUsed) - static_cast<double>(before.fuel)) /
        static_cast<double>(before.fuel);
    const double limit = percent / 100.0;
    return off > limit ? 1 : off < -limit ? -1 : 0;
}

void clearRing(FuelLapRing& ring) {
    ring.ring.count = 0;
    ring.watch = {};
    ring.burnFlash = 0;
    ring.burnFlashMs = 0;
}

void openRing(FuelLapRing& ring, CarTrackStore& store, const SimFrame& frame) {
    clearRing(ring);
    ring.simKind = frame.simKind;
    ring.car = frame.carModel;
    ring.track = frame.trackName;
    if (ring.car.empty() || ring.track.empty()) return;
    const CarTrackEntry* known = findCarTrack(store, ring.simKind, ring.car, ring.track);
    if (known && known->fuelPerLap > 0)
        pushFuelSample(ring.ring, {known->fuelPerLap, known->avgLapTime, false});
}

} // namespace

FuelLapEvent watchFuelLap(FuelLapWatch& watch, const SimFrame& frame) {
    FuelLapEvent event;
    if (frame.lap < 0) return event;
    const float fuel =
        std::isfinite(frame.fuelLevel) && frame.fuelLevel >= 0 ? frame.fuelLevel : -1;
    const float time = std::isfinite(frame.lastLapTime) ? frame.lastLapTime : 0;
    event.ended = watch.lap >= 0 && frame.lap == watch.lap + 1;
    event.jumped = watch.lap >= 0 && !event.ended && frame.lap != watch.lap;
    if (frame.onPitRoad) watch.touchedPit = true;
    if (event.ended) {
        watch.awaitsTime = true;
        watch.sampleAwaits = false;
    }
    if (event.ended && watch.fuelAtLapEnd >= 0) {
        const float used = fuel >= 0 ? watch.fuelAtLapEnd - fuel : 0;
        event.lapEnd = true;
        event.previousDirty = watch.previousDirty;
        event.sample = {used, 0, watch.touchedPit || !(used > 0) || used > kBurnMax};
        watch.previousDirty = event.sample.dirty;
        watch.sampleAwaits = true;
    }
    if (event.jumped) {
        watch.previousDirty = true;
        watch.awaitsTime = false;
    }
    if (watch.lap != frame.lap) {
        // A lap that was not seen from its line tells no burn.
        watch.fuelAtLapEnd = event.ended ? fuel : -1;
        watch.touchedPit = frame.onPitRoad != 0;
        watch.lap = frame.lap;
    }
    if (watch.awaitsTime && time != watch.lapTimeBefore) {
        watch.awaitsTime = false;
        event.timeKnown = true;
        event.timeForSample = watch.sampleAwaits;
        event.lapTime = time;
    }
    if (!watch.awaitsTime) watch.lapTimeBefore = time;
    return event;
}

void flushFuelRing(FuelLapRing& ring, CarTrackStore& store) {
    if (ring.simKind < 0 || ring.car.empty() || ring.track.empty()) return;
    const CleanMeans now = allClean(ring.ring);
    if (now.count < kCleanToLearn) return;
    CarTrackEntry& entry = *findOrAddCarTrack(store, ring.simKind, ring.car, ring.track);
    const auto n = static_cast<float>(now.count);
    if (entry.cleanLaps > 0 && entry.fuelPerLap > 0) {
        const auto w = static_cast<float>(std::min(entry.cleanLaps, kWeightMax));
        entry.fuelPerLap = (n * now.fuel + w * entry.fuelPerLap) / (n + w);
        if (now.lap > 0)
            entry.avgLapTime =
                entry.avgLapTime > 0 ? (n * now.lap + w * entry.avgLapTime) / (n + w) : now.lap;
        entry.cleanLaps += now.count;
    } else {
        entry.fuelPerLap = now.fuel;
        entry.avgLapTime = now.lap;
        entry.cleanLaps = now.count;
    }
    store.dirty = true;
}

void fuelRingTick(FuelLapRing& ring, CarTrackStore& store, const FuelRules& rules,
                  const SimFrame* frame, uint64_t nowMs) {
    if (!frame || !frame->connected) {
        if (ring.simKind < 0) return;
        flushFuelRing(ring, store);
        clearRing(ring);
        ring.simKind = -1;
        ring.car.clear();
        ring.track.clear();
        return;
    }
    if (ring.simKind != frame->simKind || ring.car != frame->carModel ||
        ring.track != frame->trackName) {
        flushFuelRing(ring, store);
        openRing(ring, store, *frame);
    }
    const FuelLapEvent event = watchFuelLap(ring.watch, *frame);
    if (event.jumped) ring.burnFlash = 0;
    if (event.lapEnd) {
        ring.burnFlash = burnFlashOf(ring, rules, event);
        ring.burnFlashMs = nowMs;
        pushFuelSample(ring.ring, event.sample);
    }
    if (event.timeForSample && ring.ring.count > 0)
        ring.ring.samples[static_cast<size_t>(ring.ring.count - 1)].lapTime = event.lapTime;
}

void fillScreenshotRing(FuelLapRing& ring) {
    ring.ring.count = 0;
    for (int i = 0; i < kFuelRing; ++i)
        pushFuelSample(ring.ring,
                       {static_cast<float>(2.3 + 0.3 * std::sin(1.3 * i + 1.0)), 91.6f, false});
}

} // namespace vt
