// What the driver model costs. Input: a race of N cars in four classes on the built-in circuit
// "grand", a minute old when the measuring begins, one step of 1/60 s at a time.
#include "driver_model/driver_model.h"

#include <benchmark/benchmark.h>

namespace {

model::Settings field(int cars) {
    model::Settings settings;
    settings.cars = cars;
    settings.classes = 4;
    settings.laps = 1000;
    settings.pitEvery = 5;
    return settings;
}

void step(benchmark::State& state) {
    model::Race race =
        model::startRace(field(static_cast<int>(state.range(0))), model::builtInCircuit("grand"));
    model::stepRace(race, 60);
    for (auto _ : state)
        model::stepRace(race, 1.0 / 60);
}
BENCHMARK(step)->ArgName("cars")->Arg(1)->Arg(20)->Arg(60)->Arg(104)->Unit(benchmark::kMicrosecond);

void start(benchmark::State& state) {
    const model::Circuit circuit = model::builtInCircuit("grand");
    for (auto _ : state)
        benchmark::DoNotOptimize(model::startRace(field(60), circuit));
}
BENCHMARK(start)->Unit(benchmark::kMillisecond);

void frame(benchmark::State& state) {
    model::Race race = model::startRace(field(60), model::builtInCircuit("grand"));
    model::stepRace(race, 60);
    vt::SimFrame out;
    for (auto _ : state)
        model::fillFrame(race, out);
}
BENCHMARK(frame)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
