// What a look at Le Mans Ultimate and rFactor 2 costs with full fields of the driver model: one
// poll with new scoring and telemetry each time, the heap allocations in it, and for how long the
// lock of Le Mans Ultimate is held while a sim in another process writes 400 times a second.
#include "count_allocations.h"
#include "platform/named_event.h"
#include "sim_player/lmu_page.h"
#include "sim_player/rf2_pages.h"
#include "telemetry/readers/lmu_reader.h"
#include "telemetry/readers/rf2_reader.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vt {
namespace {

std::string ownName(const char* what) {
    return std::string("vt_bench_") + what + "_" + std::to_string(getpid());
}

LmuNames ownLmuNames() {
    const std::string base = ownName("lmu");
    return {base, base + "_event", base + "_lock", base + "_lock_event"};
}

model::Race fullField(int cars) {
    model::Settings settings;
    settings.cars = cars;
    settings.classes = 3;
    model::Race race = model::startRace(settings, model::builtInCircuit("grand"));
    model::stepRace(race, 60);
    return race;
}

struct Desk {
    Clock clock;
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{clock, scan, nullptr, steer, {0}, nullptr, {}};
    SimFrame frame;
};

std::unique_ptr<LmuPage> lmuPage() {
    const model::Race race = fullField(kLmuCars);
    auto page = std::make_unique<LmuPage>();
    player::fillLmuScoring(race, *page);
    player::fillLmuTelemetry(race, *page);
    page->head.events[kLmuScoringUpdated] = page->head.events[kLmuTelemetryUpdated] = 1;
    return page;
}

/// A poll for which `step` made something new each time.
template <class Step>
void pollEach(benchmark::State& state, SimReader& reader, SimFrame& frame, Step step) {
    step();
    if (!reader.open() || !reader.poll(frame)) {
        state.SkipWithError("no frame");
        return;
    }
    const uint64_t before = allocations.load();
    for (auto _ : state) {
        step();
        if (!reader.poll(frame)) state.SkipWithError("no frame");
    }
    state.counters["allocations"] = static_cast<double>(allocations.load() - before); // in all
    state.counters["cars"] = static_cast<double>(frame.cars.size());
}

void pollLmu(benchmark::State& state) {
    Desk desk;
    const LmuNames names = ownLmuNames();
    const auto page = lmuPage();
    SharedMapWriter writer;
    NamedEvent event;
    if (!writer.create(names.map, sizeof *page) || !event.create(names.event)) return;
    std::memcpy(writer.data(), page.get(), sizeof *page);
    auto& live = *reinterpret_cast<LmuPage*>(writer.data());
    LmuReader reader(desk.context, names);
    pollEach(state, reader, desk.frame,
             [&] { live.telemetry[live.playerVehicleIdx].elapsed += 0.01; });
}
BENCHMARK(pollLmu);

void pollRFactor2(benchmark::State& state) {
    Desk desk;
    const Rf2Names names{ownName("rf2_telemetry"), ownName("rf2_scoring")};
    SharedMapWriter telemetry, scoring;
    if (!telemetry.create(names.telemetry, sizeof(Rf2TelemetryPage)) ||
        !scoring.create(names.scoring, sizeof(Rf2ScoringPage)))
        return;
    const model::Race race = fullField(kRf2Cars);
    auto& live = *reinterpret_cast<Rf2TelemetryPage*>(telemetry.data());
    player::fillRf2Telemetry(race, live);
    player::fillRf2Scoring(race, *reinterpret_cast<Rf2ScoringPage*>(scoring.data()));
    Rf2Reader reader(desk.context, names);
    pollEach(state, reader, desk.frame, [&] {
        for (VehicleTelemetry& car : live.vehicles)
            car.elapsed += 0.01;
    });
}
BENCHMARK(pollRFactor2);

/// A sim in a process of its own: the whole page under the lock, 400 times a second.
pid_t startWriter(const LmuNames& names, const LmuPage& page) {
    int ready[2];
    if (pipe(ready) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        SharedMapWriter writer;
        LmuLock lock;
        if (!writer.create(names.map, sizeof page) || !lock.open(names.lock, names.lockEvent) ||
            write(ready[1], "r", 1) != 1)
            _exit(1);
        auto next = std::chrono::steady_clock::now();
        for (;;) {
            if (lock.take([] { return false; })) {
                std::memcpy(writer.data(), &page, sizeof page);
                lock.release();
            }
            next += std::chrono::microseconds(2500);
            std::this_thread::sleep_until(next);
        }
    }
    char byte = 0;
    if (read(ready[0], &byte, 1) != 1) return -1;
    close(ready[0]);
    close(ready[1]);
    return child;
}

double percentile(std::vector<double>& values, double share) {
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(share * static_cast<double>(values.size() - 1))];
}

/// From the moment in which the lock is ours to the moment in which it is free again, and how long
/// it took to get it; µs. Looks come at a rate that drifts against the writer's.
void lockHeld(benchmark::State& state) {
    const LmuNames names = ownLmuNames();
    const auto page = lmuPage();
    const pid_t writer = startWriter(names, *page);
    SharedMap map;
    LmuLock lock;
    const auto copy = std::make_unique<LmuPage>();
    if (writer > 0 && map.open(names.map) && lock.open(names.lock, names.lockEvent)) {
        std::vector<double> held, waited;
        for (auto _ : state) {
            usleep(1700);
            const auto asked = std::chrono::steady_clock::now();
            if (!lock.take([] { return false; })) continue;
            const auto taken = std::chrono::steady_clock::now();
            if (!lmuCopyPage(map, *copy)) state.SkipWithError("no copy");
            lock.release();
            const auto freed = std::chrono::steady_clock::now();
            held.push_back(std::chrono::duration<double, std::micro>(freed - taken).count());
            waited.push_back(std::chrono::duration<double, std::micro>(taken - asked).count());
        }
        state.counters["held_us_median"] = percentile(held, 0.5);
        state.counters["held_us_p99"] = percentile(held, 0.99);
        state.counters["held_us_max"] = percentile(held, 1);
        state.counters["waited_us_median"] = percentile(waited, 0.5);
        state.counters["waited_us_p99"] = percentile(waited, 0.99);
    } else {
        state.SkipWithError("no writer");
    }
    if (writer > 0) {
        kill(writer, SIGKILL);
        waitpid(writer, nullptr, 0);
        SharedMapWriter sweeper; // removes what the killed one left behind
        sweeper.create(names.map, 1);
        NamedEvent lockEvent;
        lockEvent.create(names.lockEvent);
    }
}
BENCHMARK(lockHeld)->Iterations(3000);

} // namespace
} // namespace vt

BENCHMARK_MAIN();
