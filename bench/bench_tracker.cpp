// What recording costs. Input: one car of the driver model on the built-in circuit "grand" (about
// 5 km) at 60 Hz, as samples; the same lap over and over, with the times and lap numbers moved on.
#include "count_allocations.h"
#include "driver_model/driver_model.h"
#include "perf/session_tracker.h"
#include "telemetry/sim_registry.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

using namespace vt;
constexpr double kStep = 1.0 / 60;

/// One whole lap, from its first tick.
std::vector<PerfSample> lapSamples() {
    model::Settings how;
    how.laps = 10;
    model::Race race = model::startRace(how, model::builtInCircuit("grand"));
    SimFrame frame;
    frame.simKind = kSimLmu;
    std::vector<PerfSample> lap;
    while (model::player(race).lap < 2) {
        model::stepRace(race, kStep);
        model::fillFrame(race, frame);
        frame.yawNorth = static_cast<float>(model::player(race).heading);
        if (model::player(race).lap == 1) lap.push_back(perfSampleOf(frame, false, 0));
    }
    return lap;
}

/// Lap `number` of an endless drive.
PerfSample sampleOf(const std::vector<PerfSample>& lap, size_t tick, int number) {
    PerfSample s = lap[tick];
    s.lap = number;
    s.sessionTime = (static_cast<double>(number) * static_cast<double>(lap.size()) +
                     static_cast<double>(tick)) *
                    kStep;
    return s;
}

long residentKb() {
    long pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*d %ld", &pages) != 1) pages = 0;
        std::fclose(file);
    }
    return pages * 4;
}

void tick(benchmark::State& state) {
    const auto lap = lapSamples();
    SessionTracker tracker;
    int number = 1;
    size_t at = 0;
    uint64_t ticks = 0, taken = 0;
    for (auto _ : state) {
        const PerfSample s = sampleOf(lap, at, number);
        const uint64_t before = allocations;
        tracker.tick(s);
        if (ticks++ > 0) taken += allocations - before;
        if (++at < lap.size()) continue;
        at = 0;
        ++number;
    }
    state.counters["allocations"] = static_cast<double>(taken);
    state.counters["laps"] = tracker.lapCount();
}
BENCHMARK(tick)->Unit(benchmark::kNanosecond);

void sampleAndRing(benchmark::State& state) {
    model::Settings how;
    how.cars = 60;
    model::Race race = model::startRace(how, model::builtInCircuit("grand"));
    model::stepRace(race, 60);
    SimFrame frame;
    frame.simKind = kSimLmu;
    model::fillFrame(race, frame);
    const auto ring = std::make_unique<PerfRing>();
    PerfSample out;
    for (auto _ : state) {
        perfPushSample(*ring, frame, false, 0);
        benchmark::DoNotOptimize(ring->pop(out));
    }
}
BENCHMARK(sampleAndRing)->Unit(benchmark::kNanosecond);

/// The ticks that close a lap, the first one, and what a hundred laps hold. Argument: track length,
/// m; the samples stay those of "grand".
void closing(benchmark::State& state) {
    auto lap = lapSamples();
    for (PerfSample& s : lap)
        s.trackLength = static_cast<float>(state.range(0));
    std::vector<double> closes, firsts, takes, ticks;
    uint64_t taken = 0;
    long sized = 0, full = 0;
    for (auto _ : state) {
        SessionTracker tracker;
        const long empty = residentKb();
        for (int number = 1; number <= 101; ++number) {
            for (size_t at = 0; at < lap.size(); ++at) {
                const PerfSample s = sampleOf(lap, at, number);
                const bool first = number == 1 && at == 0;
                const uint64_t before = allocations;
                const auto began = std::chrono::steady_clock::now();
                tracker.tick(s);
                const double us = std::chrono::duration<double, std::micro>(
                                      std::chrono::steady_clock::now() - began)
                                      .count();
                if (!first) taken += allocations - before;
                (first ? firsts : at == 0 ? closes : ticks).push_back(us);
                if (first) sized = residentKb() - empty;
            }
        }
        full = residentKb() - empty;
        const auto began = std::chrono::steady_clock::now();
        const StintData stint = tracker.take();
        takes.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - began)
                .count());
        if (stint.laps.size() != kMaxLaps) state.SkipWithError("laps are missing");
    }
    std::sort(closes.begin(), closes.end());
    std::sort(ticks.begin(), ticks.end());
    state.counters["closeMedianUs"] = closes[closes.size() / 2];
    state.counters["closeMaxUs"] = closes.back();
    state.counters["firstTickUs"] = *std::max_element(firsts.begin(), firsts.end());
    state.counters["tickP999Us"] = ticks[ticks.size() * 999 / 1000];
    state.counters["takeUs"] = *std::max_element(takes.begin(), takes.end());
    state.counters["allocations"] = static_cast<double>(taken);
    state.counters["sizedKb"] = static_cast<double>(sized);
    state.counters["fullKb"] = static_cast<double>(full);
}
BENCHMARK(closing)->ArgName("metres")->Arg(5000)->Arg(26000)->Iterations(1)->Unit(
    benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
