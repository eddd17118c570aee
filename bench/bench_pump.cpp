// What the pump costs. Input: a scripted race of 64 cars in four classes, 90 to 106 s a lap, looked
// at 30 times a second, three minutes old when the measuring begins (all rings, sectors and lap
// profiles filled).
#include "app/enrich.h"
#include "app/sim_pump.h"
#include "base/log.h"
#include "support/scripted_race.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <thread>
#include <vector>

namespace {
thread_local uint64_t allocations = 0;
}

// Not inlined: the compiler would see malloc and free meet across them.
[[gnu::noinline]] void* operator new(size_t size) {
    allocations += 1;
    if (void* memory = std::malloc(size)) return memory;
    std::abort();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}

namespace {

using namespace vt;

constexpr int kCars = 64;
constexpr double kTick = 1.0 / 30;

double at(const std::vector<double>& sorted, double part) {
    return sorted[static_cast<size_t>(static_cast<double>(sorted.size() - 1) * part)];
}

void enrichPass(benchmark::State& state) {
    const auto kind = static_cast<int32_t>(state.range(0));
    const EnrichOffers offers = enrichOffers(kind);
    const auto enrich = std::make_unique<EnrichState>();
    const Clock clock;
    SimFrame frame;
    double t = 0;
    const auto pass = [&] {
        t += kTick;
        raceAt(frame, kind, kCars, 20, t);
        const uint64_t before = allocations;
        const int64_t began = clockTicks(clock);
        admitFrame(*enrich, frame);
        enrichFrame(*enrich, frame, t, offers);
        const auto took = static_cast<double>(clockTicks(clock) - began);
        return std::pair(took, allocations - before);
    };
    while (t < 180)
        pass();
    std::vector<double> times;
    times.reserve(1 << 20);
    uint64_t made = 0;
    for (auto _ : state) {
        const auto [took, allocated] = pass();
        times.push_back(took);
        made += allocated;
        state.SetIterationTime(took / 1e9);
    }
    std::sort(times.begin(), times.end());
    state.counters["medianUs"] = at(times, 0.5) / 1e3;
    state.counters["p99Us"] = at(times, 0.99) / 1e3;
    state.counters["allocations"] = static_cast<double>(made);
    state.SetLabel(std::string(simShortName(kind)) + ", 64 cars");
}
BENCHMARK(enrichPass)
    ->Arg(kSimIRacing)
    ->Arg(kSimLmu)
    ->Arg(kSimRFactor2)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

void publishAndRead(benchmark::State& state) {
    const auto buffer = std::make_unique<TripleBuffer>();
    for (auto _ : state) {
        buffer->publish();
        benchmark::DoNotOptimize(frameRead(*buffer));
    }
    state.SetLabel("one thread, no contention");
}
BENCHMARK(publishAndRead);

void publishWhileRead(benchmark::State& state) {
    const auto buffer = std::make_unique<TripleBuffer>();
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        while (!stop)
            benchmark::DoNotOptimize(frameRead(*buffer));
    });
    for (auto _ : state)
        buffer->publish();
    stop = true;
    reader.join();
    state.counters["taken"] = buffer->readCount;
    state.SetLabel("a second thread reads without pause");
}
BENCHMARK(publishWhileRead)->UseRealTime();

/// The real thread with a reader that has no signal: when is it polled?
void periodOverHalfAMinute(benchmark::State& state) {
    constexpr double kSeconds = 30;
    for (auto _ : state) {
        TripleBuffer buffer;
        PumpWords words;
        ProcessScan scan;
        Clock clock;
        SimPump pump{.buffer = buffer, .words = words, .scan = scan, .clock = clock};
        std::vector<int64_t> polls; // pump's thread; read after its end
        polls.reserve(4096);
        std::vector<uint64_t> made;
        made.reserve(4096);
        auto reader = std::make_unique<ScriptedReader>(kSimRFactor2);
        reader->onPoll = [&](SimFrame& out) {
            polls.push_back(clockTicks(clock));
            made.push_back(allocations);
            raceAt(out, kSimRFactor2, kCars, 20, static_cast<double>(polls.size()) * kTick);
            return true;
        };
        pump.readers.push_back(std::move(reader));
        std::thread thread([&] { simPumpMain(pump); });
        std::this_thread::sleep_for(std::chrono::duration<double>(kSeconds));
        words.pumpStop = 1;
        wakePump(pump);
        thread.join();
        polls.pop_back(); // the wake's own turn

        std::vector<double> late; // ms behind the grid that the first waited turn set
        for (size_t i = 1; i < polls.size(); ++i)
            late.push_back(static_cast<double>(polls[i] - polls[1]) / 1e6 -
                           static_cast<double>(i - 1) * 100.0 / 3);
        state.counters["polls"] = static_cast<double>(polls.size());
        state.counters["driftMs"] = late.back();
        std::sort(late.begin(), late.end());
        state.counters["worstMs"] = std::max(std::abs(late.front()), std::abs(late.back()));
        state.counters["allocationsAfter1s"] =
            static_cast<double>(made[made.size() - 2] - made[30]);
    }
    state.SetLabel("33.333 ms a turn, 64 cars");
}
BENCHMARK(periodOverHalfAMinute)->Iterations(1)->UseRealTime()->Unit(benchmark::kSecond);

} // namespace

int main(int argc, char** argv) {
    setLogSink([](void*, std::string_view) {}, nullptr);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
