// What a look at the Assetto Corsa family costs: one poll with a new frame each time, ACC's with a
// full field through its broadcasting port; and what the port's client spends on a round of cars.
// Heap allocations are counted in all of it.
#include "base/triple_buffer.h"
#include "count_allocations.h"
#include "platform/shared_map.h"
#include "support/acc_server.h"
#include "telemetry/readers/ac_reader.h"
#include "telemetry/readers/acc_reader.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <unistd.h>

namespace vt {
namespace {

using test::AccServer;
using test::Datagram;

test::AccWorld fullField(int cars) {
    test::AccWorld world;
    for (int i = 0; i < cars; ++i) {
        AccCar car;
        car.carIndex = 1000 + i;
        car.carModel = i % 2 == 0 ? 32 : 50;
        car.raceNumber = i + 1;
        car.currentDriver = 0;
        car.location = 1;
        car.kmh = 200;
        car.position = i + 1;
        car.splinePosition = static_cast<float>(i) / static_cast<float>(cars);
        car.laps = 5;
        car.bestLapMs = car.lastLapMs = 100'000 + i;
        std::snprintf(car.firstName, sizeof car.firstName, "Maximiliana %d", i);
        std::snprintf(car.surname, sizeof car.surname, "Hohenfels-Wasserburg %d", i);
        world.cars.push_back(car);
    }
    return world;
}

/// The mappings of a sim with moving cars, with a reader on them.
template <class Reader>
struct Played {
    std::string base = "vt_bench_ac_" + std::to_string(getpid());
    AcNames names{base + "_p", base + "_g", base + "_s"};
    SharedMapWriter physics, graphics, statics;
    Clock clock;
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{clock, scan, nullptr, steer, {0}, nullptr, {}};
    SimFrame frame;
    Reader reader{context, names};

    explicit Played(const AcPageSizes& sizes) {
        physics.create(names.physics, sizes.physics);
        graphics.create(names.graphics, sizes.graphics);
        statics.create(names.statics, sizes.statics);
        page<AcStatic>(statics).splineLength = 4000;
        page<AcPhysics>(physics).velocity[2] = 50;
    }
    template <class Page>
    static Page& page(SharedMapWriter& map) {
        return *reinterpret_cast<Page*>(map.data());
    }
    void fillField(int cars) {
        auto& out = page<AccGraphics>(graphics);
        out.activeCars = cars;
        for (int i = 0; i < cars; ++i)
            out.carId[i] = 1000 + i;
        out.playerCarId = 1000;
    }
    void step() { *reinterpret_cast<int32_t*>(physics.data()) += 1; }
};

template <class Reader, const AcPageSizes& sizes>
void pollPages(benchmark::State& state) {
    Played<Reader> sim(sizes);
    if (!sim.reader.open()) return state.SkipWithError("cannot open");
    sim.step();
    sim.reader.poll(sim.frame);
    const uint64_t before = allocations.load();
    for (auto _ : state) {
        sim.step();
        if (!sim.reader.poll(sim.frame)) state.SkipWithError("no frame");
    }
    state.counters["allocations"] = static_cast<double>(allocations.load() - before);
}
BENCHMARK(pollPages<AcReader, kAcSizes>)->Name("poll_ac");
BENCHMARK(pollPages<AcRallyReader, kAcRallySizes>)->Name("poll_ac_rally");

/// Without the port: rows by the cars' coordinates.
void pollAccPages(benchmark::State& state) {
    Played<AccReader> sim(kAccSizes);
    sim.fillField(60);
    if (!sim.reader.open()) return state.SkipWithError("cannot open");
    auto& cars = Played<AccReader>::page<AccGraphics>(sim.graphics).carPosition;
    for (int i = 0; i < 2; ++i) {
        sim.step();
        cars[5][0] += 1;
        sim.reader.poll(sim.frame);
    }
    const uint64_t before = allocations.load(); // the client's thread asks in vain meanwhile
    for (auto _ : state) {
        sim.step();
        cars[5][0] += 0.1f;
        if (!sim.reader.poll(sim.frame)) state.SkipWithError("no frame");
    }
    state.counters["allocations"] = static_cast<double>(allocations.load() - before);
    state.counters["cars"] = static_cast<double>(sim.frame.cars.size());
}
BENCHMARK(pollAccPages)->Name("poll_acc_60_cars_pages");

/// With the port: the client's thread and a server at 10 Hz run beside.
void pollAccBroadcast(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    Played<AccReader> sim(kAccSizes);
    sim.fillField(std::min(count, kAcMaxCars));
    AccServer server;
    server.world = fullField(count);
    if (!server.open(0)) return state.SkipWithError("no port");
    const std::string documents = "/tmp/" + sim.base;
    const std::string folder = documents + "/Assetto Corsa Competizione/Config";
    std::filesystem::create_directories(folder);
    std::ofstream(folder + "/broadcasting.json")
        << "{\"updListenerPort\": " << server.port() << "}";
    sim.context.documentsDir = documents;
    const bool opened = sim.reader.open();
    std::filesystem::remove_all(documents);
    if (!opened) return state.SkipWithError("cannot open");
    for (int i = 0; i < 2000; ++i) {
        server.tick(clockMs(sim.clock));
        sim.step();
        sim.reader.poll(sim.frame);
        if (accBroadcastLive == 5u && static_cast<int>(sim.frame.cars.size()) == count) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    if (accBroadcastLive != 5u) return state.SkipWithError("not registered");
    // Rounds are built and sent between measurements, at 10 Hz; building them allocates, so that
    // is taken out of the count.
    uint64_t allocated = 0, next = 0;
    for (auto _ : state) {
        if (const uint64_t now = clockMs(sim.clock); now >= next) {
            state.PauseTiming();
            next = now + 100;
            server.tick(now);
            std::this_thread::sleep_for(std::chrono::milliseconds(5)); // the client takes it in
            state.ResumeTiming();
        }
        sim.step();
        const uint64_t before = allocations.load();
        if (!sim.reader.poll(sim.frame)) state.SkipWithError("no frame");
        allocated += allocations.load() - before;
    }
    state.counters["cars"] = static_cast<double>(sim.frame.cars.size());
    state.counters["allocations"] = static_cast<double>(allocated);
}
BENCHMARK(pollAccBroadcast)->Name("poll_acc_broadcast")->Arg(60)->Arg(96);

/// One snapshot from the client's own copy into the buffer.
void publishSnapshot(benchmark::State& state) {
    const auto buffer = std::make_unique<TripleBufferOf<AccSnapshot>>();
    const auto working = std::make_unique<AccSnapshot>();
    for (auto _ : state) {
        buffer->writable() = *working;
        buffer->publish();
        benchmark::DoNotOptimize(buffer->take());
    }
    state.counters["bytes"] = sizeof(AccSnapshot);
}
BENCHMARK(publishSnapshot)->Name("snapshot_copy");

std::vector<Datagram> roundOf(int cars) {
    const test::AccWorld world = fullField(cars);
    std::vector<Datagram> round = {test::accRealtimeUpdate(world.realtime)};
    for (const AccCar& car : world.cars)
        round.push_back(test::accCarUpdate(car));
    return round;
}

/// A round of 60 cars through the client's rules, publication included.
void parseRound(benchmark::State& state) {
    const std::vector<Datagram> round = roundOf(60);
    const auto buffer = std::make_unique<TripleBufferOf<AccSnapshot>>();
    AccBroadcastState client;
    const AccBroadcastOut out{[](const AccMessage&) {},
                              [&](const AccSnapshot& snapshot) {
                                  buffer->writable() = snapshot;
                                  buffer->publish();
                              }};
    uint64_t now = 1000;
    const uint64_t before = allocations.load();
    for (auto _ : state) {
        for (const Datagram& datagram : round)
            accBroadcastReceive(client, datagram, now, out);
        accBroadcastDue(client, now, out);
        now += 100;
    }
    state.counters["allocations"] = static_cast<double>(allocations.load() - before);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(round.size()));
}
BENCHMARK(parseRound)->Name("client_round_60_cars");

/// The same over a socket pair on 127.0.0.1, sending included.
void socketRound(benchmark::State& state) {
    const std::vector<Datagram> round = roundOf(60);
    UdpSocket from, to;
    if (!from.open(0) || !to.open(0)) return state.SkipWithError("no socket");
    AccBroadcastState client;
    const AccBroadcastOut out{[](const AccMessage&) {}, [](const AccSnapshot&) {}};
    uint8_t bytes[8192];
    for (auto _ : state) {
        for (const Datagram& datagram : round)
            from.send(to.port(), datagram.data(), datagram.size());
        for (int n = 0; (n = to.receive(bytes, sizeof bytes)) >= 0;)
            accBroadcastReceive(client, {bytes, static_cast<size_t>(n)}, 1000, out);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(round.size()));
}
BENCHMARK(socketRound)->Name("client_round_60_cars_with_socket");

} // namespace
} // namespace vt

BENCHMARK_MAIN();
