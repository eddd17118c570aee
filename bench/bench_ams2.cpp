// What a look at Automobilista 2, RaceRoom and ETS2 costs: one poll of a full field with a new
// frame each time, the heap allocations in it, and the copy alone.
#include "count_allocations.h"
#include "driver_model/driver_model.h"
#include "platform/shared_map.h"
#include "sim_player/ams2_page.h"
#include "sim_player/ets2_page.h"
#include "sim_player/raceroom_page.h"
#include "telemetry/readers/ams2_reader.h"
#include "telemetry/readers/ets2_reader.h"
#include "telemetry/readers/raceroom_reader.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <unistd.h>

namespace vt {
namespace {

const model::Race& race(int cars) {
    static model::Race at[2];
    model::Race& one = at[cars > 64];
    if (one.cars.empty()) {
        model::Settings settings;
        settings.cars = cars;
        settings.classes = 4;
        one = model::startRace(settings, model::builtInCircuit("grand"));
        model::stepRace(one, 200);
    }
    return one;
}

struct Desk {
    Clock clock;
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{clock, scan, nullptr, steer, {0}, nullptr, {}};
    SimFrame frame;
    SharedMapWriter writer;
    std::string name = "vt_bench_page_" + std::to_string(getpid());
};

/// One poll a round; `step` moves the number on that tells of a new frame.
template <class Page, class Step>
void pollPages(benchmark::State& state, Desk& desk, SimReader& reader, const Page& page,
               Step step) {
    if (!desk.writer.create(desk.name, sizeof page)) return state.SkipWithError("no object");
    std::memcpy(desk.writer.data(), &page, sizeof page);
    auto& live = *reinterpret_cast<Page*>(desk.writer.data());
    if (!reader.open() || !reader.poll(desk.frame)) return state.SkipWithError("not open");
    const uint64_t before = allocations.load();
    for (auto _ : state) {
        step(live);
        if (!reader.poll(desk.frame)) state.SkipWithError("no frame");
    }
    state.counters["allocations"] = static_cast<double>(allocations.load() - before);
    state.counters["cars"] = static_cast<double>(desk.frame.cars.size());
    state.counters["bytes"] = sizeof page;
}

void ams2(benchmark::State& state) {
    Desk desk;
    Ams2Reader reader(desk.context, {desk.name});
    auto page = std::make_unique<Ams2Page>();
    player::fillAms2Page(race(64), *page);
    pollPages(state, desk, reader, *page, [](Ams2Page& live) { live.sequence += 2; });
}
BENCHMARK(ams2);

void raceRoom(benchmark::State& state) {
    Desk desk;
    RaceRoomReader reader({desk.name});
    auto page = std::make_unique<RaceRoomPage>();
    player::fillRaceRoomPage(race(128), *page);
    pollPages(state, desk, reader, *page, [](RaceRoomPage& live) { ++live.tick; });
}
BENCHMARK(raceRoom);

void ets2(benchmark::State& state) {
    Desk desk;
    Ets2Reader reader(desk.context, {desk.name});
    Ets2Page page;
    player::fillEts2Page(race(64), page);
    pollPages(state, desk, reader, page, [](Ets2Page& live) { ++live.simulatedTime; });
}
BENCHMARK(ets2);

void copyRaceRoom(benchmark::State& state) {
    Desk desk;
    auto page = std::make_unique<RaceRoomPage>();
    SharedMap map;
    if (!desk.writer.create(desk.name, sizeof *page) || !map.open(desk.name))
        return state.SkipWithError("no object");
    for (auto _ : state)
        benchmark::DoNotOptimize(map.read(0, *page));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(sizeof *page));
}
BENCHMARK(copyRaceRoom);

} // namespace
} // namespace vt

BENCHMARK_MAIN();
