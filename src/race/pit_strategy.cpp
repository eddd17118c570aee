#include "race/pit_strategy.h"

#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vt {

namespace {

constexpr int kWindow = 5; // clean laps that the plans rest on
constexpr uint32_t kYellowFlag = 0x10;
constexpr uint64_t kBannerMs = 15000;
constexpr int kAnnounceEvery = 3; // laps
constexpr int kLapTolerance = 1;
constexpr float kFuelTolerance = 2; // litres
constexpr uint64_t kWriteEveryMs = 500;
constexpr int kWriteMax = 250;                        // litres that the sim's command takes
constexpr uint32_t kAddFuelCommand = (2u << 16) | 9u; // pit command, add fuel
constexpr float kScreenshotLoss = 22;                 // s
constexpr double kTimeUnknown = 86400;                // s

void clearOptions(PitStrategyEngine& engine) {
    if (engine.optionCount == 0) return;
    engine.optionCount = engine.selected = 0;
    ++engine.generation;
}

void takeStoredLoss(PitStrategyEngine& engine, const CarTrackStore& store) {
    for (const CarTrackEntry& entry : store.entries) {
        if (entry.simId != engine.simKind || entry.trackName != engine.track ||
            !(entry.pitLossSec > 0))
            continue;
        const bool own = entry.carId == engine.car;
        if (!own && engine.pitLossSource == kPitLossOwn) continue; // the first other car stands
        engine.pitLossSec = entry.pitLossSec;
        engine.pitLossSource = kPitLossOwn;
        if (own) return;
    }
}

void followIdentity(PitStrategyEngine& engine, CarTrackStore& store, const PitSettings& settings,
                    const SimFrame& frame) {
    if (engine.simKind != frame.simKind) {
        resetStrategy(engine);
        engine.simKind = frame.simKind;
    }
    const bool named = frame.carModel[0] && frame.trackName[0];
    if (named && (engine.car != frame.carModel || engine.track != frame.trackName)) {
        resetStrategy(engine);
        engine.simKind = frame.simKind;
        engine.car = frame.carModel;
        engine.track = frame.trackName;
        const CarTrackEntry* known = findCarTrack(store, engine.simKind, engine.car, engine.track);
        if (known && known->fuelPerLap > 0)
            pushFuelSample(engine.laps, {known->fuelPerLap, known->avgLapTime, false});
        takeStoredLoss(engine, store);
    }
    if (settings.screenshots) {
        engine.pitLossSec = kScreenshotLoss;
        engine.pitLossSource = kPitLossObserved;
    }
}

void measureOwnStop(PitStrategyEngine& engine, CarTrackStore& store, const PitSettings& settings,
                    const SimFrame& frame, const FuelLapEvent& event, bool first) {
    PitLossStep step;
    step.onPitRoad = frame.onPitRoad != 0;
    if (first) engine.own.wasOnPitRoad = step.onPitRoad; // joined in the pits: no entry was seen
    step.yellow = (frame.sessionFlags & kYellowFlag) != 0;
    step.lapEnded = event.ended;
    step.jumped = event.jumped;
    step.timeKnown = event.timeKnown;
    step.time = event.lapTime;
    step.reference = averageFuel(engine.laps, kWindow).lap;
    const float loss = pitLossStep(engine.own, step);
    if (!(loss > 0) || settings.screenshots) return;
    engine.pitLossSec = loss;
    engine.pitLossSource = kPitLossOwn;
    ++engine.generation;
    if (engine.car.empty() || engine.track.empty()) return;
    findOrAddCarTrack(store, engine.simKind, engine.car, engine.track)->pitLossSec = loss;
    store.dirty = true;
}

void measureOtherStops(PitStrategyEngine& engine, const SimFrame& frame) {
    if (engine.pitLossSource == kPitLossOwn) return;
    const bool yellow = (frame.sessionFlags & kYellowFlag) != 0;
    for (const CarRow& row : frame.cars) {
        if (row.carIdx < 0 || row.carIdx >= static_cast<int>(engine.observers.size()) ||
            row.carIdx == frame.playerCarIdx)
            continue;
        const float loss =
            observePitLoss(engine.observers[static_cast<size_t>(row.carIdx)], row, yellow);
        if (!(loss > 0)) continue;
        engine.observedSum += static_cast<double>(loss);
        ++engine.observedCount;
        engine.pitLossSec = static_cast<float>(engine.observedSum / engine.observedCount);
        engine.pitLossSource = kPitLossObserved;
        ++engine.generation;
    }
}

int lapsToGo(const SimFrame& frame, float avgLap) {
    if (!frame.timedSession) return frame.lapsRemain;
    const float told = lapsLeftEstimate(&frame, true);
    if (told >= 0) return static_cast<int>(std::min(told, 1e6f));
    if (avgLap > 0 && frame.timeRemain > 0 && frame.timeRemain < kTimeUnknown)
        return static_cast<int>(std::ceil(frame.timeRemain / static_cast<double>(avgLap)));
    return -1;
}

void recompute(PitStrategyEngine& engine, const PitSettings& settings, const SimFrame& frame) {
    const FuelAverages averages = averageFuel(engine.laps, kWindow);
    const bool able = averages.fuel > 0.01f && frame.fuelCapacity > 0 &&
                      std::isfinite(frame.fuelCapacity) && engine.pitLossSource != kPitLossNone &&
                      frame.lap >= 0;
    PlanInput race;
    race.lap = frame.lap;
    race.lapsToGo = able ? lapsToGo(frame, averages.lap) : 0;
    if (race.lapsToGo < 1) return clearOptions(engine);
    race.fuel = std::isfinite(frame.fuelLevel) ? std::max(frame.fuelLevel, 0.0f) : 0;
    race.capacity = frame.fuelCapacity;
    race.burn = averages.fuel;
    race.avgLap = averages.lap;
    race.pitLossSec = engine.pitLossSec;
    race.imperial = settings.imperial;

    std::array<StrategyOption, 4> options{};
    const int count = rankPlans(race, options);
    if (count == engine.optionCount &&
        std::equal(options.begin(), options.begin() + count, engine.options.begin()))
        return;
    const bool had = engine.optionCount > 0;
    const int stops = had ? engine.options[static_cast<size_t>(engine.selected)].stops : -1;
    engine.options = options;
    engine.optionCount = count;
    engine.selected = 0;
    for (int i = 0; i < count; ++i) {
        if (options[static_cast<size_t>(i)].stops != stops) continue;
        engine.selected = i;
        break;
    }
    ++engine.generation;
}

struct ToldPlan {
    int stops, lap;
    float fuel;
};

bool agrees(const ToldPlan& a, const ToldPlan& b) {
    return a.stops == b.stops && std::abs(a.lap - b.lap) <= kLapTolerance &&
           std::abs(a.fuel - b.fuel) <= kFuelTolerance;
}

void report(PitStrategyEngine& engine, int lap, uint64_t nowMs) {
    if (engine.optionCount == 0) return;
    const StrategyOption& top = engine.options[0];
    const ToldPlan plan{top.stops, top.stopLap[0], top.addFuel[0] + top.addFuel[1]};
    const ToldPlan announced{engine.announcedStops, engine.announcedLap, engine.announcedFuel};
    if (engine.announcedStops >= 0 && agrees(plan, announced)) {
        engine.candidateCount = 0;
        return;
    }
    const ToldPlan candidate{engine.candidateStops, engine.candidateLap, engine.candidateFuel};
    const bool again = engine.candidateCount > 0 && agrees(plan, candidate);
    engine.candidateCount = again ? engine.candidateCount + 1 : 1;
    if (!again) {
        engine.candidateStops = plan.stops;
        engine.candidateLap = plan.lap;
        engine.candidateFuel = plan.fuel;
        return;
    }
    if (lap - engine.announcedAtLap < kAnnounceEvery) return;
    engine.announcedStops = plan.stops;
    engine.announcedLap = plan.lap;
    engine.announcedFuel = plan.fuel;
    engine.announcedAtLap = lap;
    engine.candidateCount = 0;
    engine.bannerOn = true;
    engine.bannerStartMs = nowMs;
    ++engine.generation;
}

} // namespace

void resetStrategy(PitStrategyEngine& engine) {
    clearOptions(engine);
    ++engine.generation;
    engine.pitLossSec = 0;
    engine.pitLossSource = kPitLossNone;
    engine.laps.count = 0;
    engine.watch = {};
    engine.observers.fill({});
    engine.observedSum = 0;
    engine.observedCount = 0;
    engine.own = {};
    engine.announcedStops = engine.announcedLap = -1;
    engine.announcedFuel = 0;
    engine.announcedAtLap = -100000;
    engine.candidateStops = engine.candidateLap = -1;
    engine.candidateFuel = 0;
    engine.candidateCount = 0;
    engine.bannerOn = false;
    engine.simKind = -1;
    engine.car.clear();
    engine.track.clear();
}

void strategyTick(PitStrategyEngine& engine, CarTrackStore& store, const PitSettings& settings,
                  const SimFrame* frame, uint64_t nowMs) {
    if (!settings.strategyEnabled) return clearOptions(engine);
    const bool live = frame && frame->connected;
    if (live != engine.wasLive) resetStrategy(engine);
    engine.wasLive = live;
    if (!live) return;
    followIdentity(engine, store, settings, *frame);
    const bool first = engine.watch.lap < 0;
    const FuelLapEvent event = watchFuelLap(engine.watch, *frame);
    if (event.lapEnd) pushFuelSample(engine.laps, event.sample);
    if (event.timeForSample && engine.laps.count > 0)
        engine.laps.samples[static_cast<size_t>(engine.laps.count - 1)].lapTime = event.lapTime;
    if (frame->lap >= 0) measureOwnStop(engine, store, settings, *frame, event, first);
    if (!settings.screenshots) measureOtherStops(engine, *frame);
    recompute(engine, settings, *frame);
    if (event.ended) report(engine, frame->lap, nowMs);
    if (engine.bannerOn && nowMs - engine.bannerStartMs >= kBannerMs) {
        engine.bannerOn = false;
        ++engine.generation;
    }
}

void cycleStrategy(PitStrategyEngine& engine) {
    if (engine.optionCount == 0) return;
    engine.selected = (engine.selected + 1) % engine.optionCount;
    ++engine.generation;
}

bool commitStrategy(PitStrategyEngine& engine, const PitSettings& settings, const SimFrame* frame,
                    uint64_t nowMs, void (*send)(void* user, uint32_t word, int litres),
                    void* user) {
    if (!settings.writeEnabled || !frame || !frame->connected || frame->simKind != kSimIRacing ||
        !frame->isOnTrack || engine.selected >= engine.optionCount)
        return false;
    const StrategyOption& plan = engine.options[static_cast<size_t>(engine.selected)];
    int stop = 0;
    while (stop < plan.stops && plan.stopLap[static_cast<size_t>(stop)] < frame->lap)
        ++stop;
    if (stop >= plan.stops) return false;
    double litres = std::max(
        0.0, std::floor(static_cast<double>(plan.addFuel[static_cast<size_t>(stop)]) + 0.5));
    const double tank = std::isfinite(frame->fuelCapacity)
                            ? std::floor(static_cast<double>(frame->fuelCapacity))
                            : 0;
    if (tank >= 1) litres = std::min(litres, tank);
    const int amount = static_cast<int>(std::min(litres, 1e6));
    if (amount < 1) return false;
    if (engine.lastWriteMs != 0 && nowMs - engine.lastWriteMs < kWriteEveryMs) return false;
    engine.lastWrittenFuel = amount;
    engine.lastWriteMs = nowMs;
    if (amount > kWriteMax) return false;
    send(user, kAddFuelCommand, amount);
    return true;
}

} // namespace vt
