// What recording costs. Input: one car of the driver model on the built-in circuit "grand" (about
// 5 km) at 60 Hz, as samples; the same lap over and over, with the times and lap numbers moved on.
#include "count_allocations.h"
#include "driver_model/driver_model.h"
#include "perf/road_saver.h"
#include "perf/road_survey.h"
#include "perf/session_tracker.h"
#include "support/perf_samples.h"
#include "telemetry/sim_registry.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
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

/// Of processor time: a busy machine does not count.
double threadMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

/// A circle of 26 km in LMU's words, five runs at 60 m/s and 60 frames a second, each folded and
/// handed to the saver: what a pass of the pump waits at the worst.
void surveyPass(benchmark::State& state) {
    const test::ScratchFolder folder("vt_bench_road");
    constexpr double kLength = 26'000, kRadius = kLength / (2 * M_PI);
    std::vector<double> us;
    int runs = 0;
    for (auto _ : state) {
        RoadSaver saver(folder.text());
        RoadSurvey survey;
        survey.baseDir = folder.text();
        survey.save = [&saver](const RoadMap& map) {
            saver.store(map);
            return true;
        };
        for (double metres = 100; metres < 6.02 * kLength; metres += 1) {
            SimFrame frame;
            frame.connected = 1;
            frame.simKind = kSimLmu;
            frame.trackId = 7;
            frame.worldOk = 1;
            frame.speed = 60;
            frame.trackSurface = 3;
            frame.trackLength = static_cast<float>(kLength);
            const double lap = std::fmod(metres, kLength), angle = -lap / kRadius;
            frame.lapDistPct = static_cast<float>(lap / kLength);
            frame.currentLapTime = static_cast<float>(lap / 60);
            frame.worldX = static_cast<float>(kRadius * std::cos(angle));
            frame.worldY = static_cast<float>(kRadius * std::sin(angle));
            const double heading = angle - M_PI / 2;
            frame.forwardX = static_cast<float>(std::cos(heading));
            frame.forwardY = static_cast<float>(std::sin(heading));
            frame.rightX = frame.forwardY;
            frame.rightY = -frame.forwardX;
            frame.pathLateralOk = 1;
            frame.trackEdge = 6;
            const double began = threadMicroseconds();
            roadSurveyFrame(survey, frame);
            us.push_back(threadMicroseconds() - began);
        }
        runs = survey.map.laps;
        if (!saver.flush(20'000)) state.SkipWithError("not saved");
    }
    if (runs < 5) state.SkipWithError("nothing was folded");
    std::sort(us.begin(), us.end());
    state.counters["runs"] = runs;
    state.counters["medianUs"] = us[us.size() / 2];
    state.counters["worstUs"] = us.back();
}
BENCHMARK(surveyPass)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
