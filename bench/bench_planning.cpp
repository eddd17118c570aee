// What fuel, plans, the spotter and the voice cost. Input: a race of the driver model with 64 cars
// on the built-in circuit "oval", recorded as frames at 60 Hz over two laps, played round and
// round; for the voice a clip of a second into a device of two channels.
#include "base/log.h"
#include "count_allocations.h"
#include "driver_model/driver_model.h"
#include "race/fuel_save.h"
#include "race/spotter_model.h"
#include "telemetry/sim_registry.h"
#include "voice/voice_mix.h"
#include "voice/voice_pack.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

using namespace vt;

const std::vector<SimFrame>& frames() {
    static const std::vector<SimFrame> all = [] {
        model::Settings how;
        how.cars = 64;
        how.lappedTraffic = true;
        model::Race race = model::startRace(how, model::builtInCircuit("oval"));
        std::vector<SimFrame> out;
        while (model::player(race).lap < 1)
            model::stepRace(race, 1.0 / 60);
        while (model::player(race).lap < 3) {
            model::stepRace(race, 1.0 / 60);
            model::fillFrame(race, out.emplace_back());
            out.back().connected = 1;
            out.back().simKind = kSimLmu;
        }
        return out;
    }();
    return all;
}

template <class Step>
void run(benchmark::State& state, Step step) {
    const std::vector<SimFrame>& all = frames();
    size_t at = 0;
    for (; at < all.size(); ++at)
        step(all[at], at); // what is allocated once is allocated now
    const size_t before = allocations.load();
    for (auto _ : state) {
        step(all[at % all.size()], at);
        ++at;
    }
    state.counters["allocations"] = static_cast<double>(allocations.load() - before);
}

void strategy(benchmark::State& state) {
    FuelModels m;
    m.strategy.pitLossSource = kPitLossObserved;
    CarTrackEntry& known =
        *findOrAddCarTrack(m.store, kSimLmu, frames()[0].carModel, frames()[0].trackName);
    known.fuelPerLap = 1.1f;
    known.avgLapTime = 40;
    run(state, [&](const SimFrame& frame, size_t at) {
        strategyTick(m.strategy, m.store, {}, &frame, at * 16);
        if (m.strategy.pitLossSource == kPitLossNone) {
            m.strategy.pitLossSource =
                kPitLossObserved; // plans are reckoned from the first tick on
            m.strategy.pitLossSec = 20;
        }
    });
}
BENCHMARK(strategy);

void fuelView(benchmark::State& state) {
    FuelRing ring;
    for (int i = 0; i < kFuelRing; ++i)
        pushFuelSample(ring, {1.1f, 40, i == 4});
    run(state, [&](const SimFrame& frame, size_t) {
        benchmark::DoNotOptimize(computeFuelView(ring, {}, &frame));
    });
}
BENCHMARK(fuelView);

void spotterCalls(benchmark::State& state) {
    SpotterCalls calls;
    run(state, [&](const SimFrame& frame, size_t at) {
        benchmark::DoNotOptimize(spotterCallsTick(calls, {}, &frame, true, 1000 + at * 16));
    });
}
BENCHMARK(spotterCalls);

void spotterDisplay(benchmark::State& state) {
    SpotterRadar radar;
    run(state, [&](const SimFrame& frame, size_t) {
        spotterRadarTick(radar, 18, &frame, 16.7);
        benchmark::DoNotOptimize(radar.count);
    });
}
BENCHMARK(spotterDisplay);

/// One period of 10 ms; a period's own time is 10,000 us.
void voicePass(benchmark::State& state) {
    Clip clip;
    for (int i = 0; i < 48000; ++i)
        clip.samples.push_back(static_cast<float>(std::sin(i * 0.05)));
    const AudioFormat format{.channels = 2,
                             .rate = 48000,
                             .bits = static_cast<uint32_t>(state.range(0)),
                             .isFloat = state.range(1) != 0};
    std::vector<uint8_t> buffer(480 * frameBytes(format));
    const size_t before = allocations.load();
    size_t at = 0;
    for (auto _ : state) {
        mixClip(clip, at, 480, 32768, format, buffer.data());
        at = (at + 480) % 48000;
        benchmark::DoNotOptimize(buffer.data());
    }
    state.counters["allocations"] = static_cast<double>(allocations.load() - before);
}
/// A whole pack, as far as until it can speak: VT_VOICE_ROOT is the folder that
/// tools/make_voice_pack wrote ("--out").
void packLoad(benchmark::State& state) {
    const char* root = std::getenv("VT_VOICE_ROOT");
    if (!root) return state.SkipWithError("VT_VOICE_ROOT is not set");
    setVoiceRoot(root);
    setLogSink([](void*, std::string_view) {}, nullptr);
    for (auto _ : state) {
        VoiceClips clips;
        const bool coach = state.range(0) != 0;
        const bool any = loadPack({"en", "", true, true, coach}, 48000, 2, clips, nullptr, nullptr);
        if (!any) state.SkipWithError("no pack");
        state.counters["decodedMB"] = static_cast<double>(clips.samples) * 4e-6;
    }
    setLogSink(nullptr, nullptr);
}
BENCHMARK(packLoad)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

BENCHMARK(voicePass)->Args({32, 1})->Args({16, 0});

} // namespace

BENCHMARK_MAIN();
