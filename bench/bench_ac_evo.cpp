// What a look at AC EVO costs: one poll of its three pages with 60 cars that move, and the heap
// allocations in it.
#include "count_allocations.h"
#include "platform/shared_map.h"
#include "telemetry/readers/ac_evo_reader.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <unistd.h>

namespace vt {
namespace {

bool listPrograms(std::vector<std::string>& names) {
    names = {"AssettoCorsaEVO.exe"};
    return true;
}

/// 60 cars round a ring of 5 km, the player in front of them, at 50 m/s.
struct Ring {
    std::string base = "vt_bench_acevo_" + std::to_string(getpid());
    AcEvoNames names{base + "_p", base + "_g", base + "_s"};
    SharedMapWriter physicsMap, graphicsMap, staticMap;
    AcPhysics physics;
    AcEvoGraphics graphics;
    AcEvoStatic statics;
    Clock clock = manualClock();
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{clock, scan, listPrograms, steer, {0}, nullptr, {}};
    AcEvoReader reader{context, names};
    SimFrame frame;
    int n = 0;

    Ring() {
        physicsMap.create(names.physics, sizeof physics);
        graphicsMap.create(names.graphics, sizeof graphics);
        staticMap.create(names.statics, sizeof statics);
        std::strcpy(statics.track, "Ring");
        std::strcpy(graphics.firstName, "Anna");
        std::strcpy(graphics.surname, "Driver");
        statics.trackLength = 5000;
        graphics.status = kAcLive;
        graphics.activeCars = kAcMaxCars;
        physics.speedKmh = 180;
        write();
        reader.open();
    }
    void write() {
        std::memcpy(physicsMap.data(), &physics, sizeof physics);
        std::memcpy(graphicsMap.data(), &graphics, sizeof graphics);
        std::memcpy(staticMap.data(), &statics, sizeof statics);
    }
    /// A thirtieth of a second; a new page with places each time.
    void step() {
        constexpr double radius = 5000 / (2 * M_PI);
        const double metres = ++n * 50.0 / 30;
        for (int i = 0; i < kAcMaxCars; ++i) {
            const double angle = (metres - 20.0 * i) / radius;
            graphics.carPosition[i][0] = static_cast<float>(radius * std::cos(angle));
            graphics.carPosition[i][2] = static_cast<float>(-radius * std::sin(angle));
        }
        const double angle = metres / radius, c = std::cos(angle), s = std::sin(angle);
        for (int i = 0; i < 4; ++i) {
            const double along = i < 2 ? 1.35 : -1.35, out = i % 2 ? 0.8 : -0.8;
            physics.contactPoint[i][0] = static_cast<float>((radius + out) * c - along * s);
            physics.contactPoint[i][2] = static_cast<float>(-(radius + out) * s - along * c);
        }
        const double lap = metres / 5000;
        graphics.lapPosition = static_cast<float>(lap - std::floor(lap));
        graphics.completedLaps = static_cast<int32_t>(lap);
        graphics.packetId += 1;
        physics.packetId += 1;
        advance(clock, 1.0 / 30);
        write();
    }
};

void poll(benchmark::State& state) {
    Ring sim;
    for (int i = 0; i < 300; ++i) {
        sim.step();
        sim.reader.poll(sim.frame);
    }
    uint64_t allocated = 0;
    for (auto _ : state) {
        state.PauseTiming();
        sim.step();
        const uint64_t before = allocations.load();
        state.ResumeTiming();
        if (!sim.reader.poll(sim.frame)) state.SkipWithError("no frame");
        allocated += allocations.load() - before;
    }
    state.counters["cars"] = static_cast<double>(sim.frame.cars.size());
    state.counters["allocations"] = static_cast<double>(allocated); // in all polls together
}
BENCHMARK(poll);

} // namespace
} // namespace vt

BENCHMARK_MAIN();
