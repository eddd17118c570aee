// How often the main tick runs, measured through the real pacer and the message loop of the desktop
// in memory, and what its own steps cost. Input: no overlays; the frame decides the pace.
#include "app/main_tick.h"
#include "platform/main_loop.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <thread>

namespace {

using namespace vt;

struct Rig {
    Clock clock;
    AppConfig config;
    OverlayHost host{.config = config, .clock = clock, .saveSettings = {}, .editModeChanged = {}};
    TripleBuffer buffer;
    PumpWords pumpWords;
    TickWords words;
    MainTick tick{.buffer = buffer,
                  .pumpWords = pumpWords,
                  .words = words,
                  .host = host,
                  .clock = clock,
                  .steps = defaultTickSteps()};

    void publish(bool connected) {
        resetKeepingCapacity(buffer.writable());
        buffer.writable().connected = connected;
        buffer.publish();
    }
};

void tickRate(benchmark::State& state) {
    constexpr int64_t kSeconds = 5;
    struct Mode {
        const char* name;
        bool connected, connection;
    };
    constexpr Mode modes[] = {
        {"a sim is connected: 60 wanted", true, false},
        {"a chat connection to keep: 10 wanted", false, true},
        {"idle: 4 wanted", false, false},
    };
    const Mode& mode = modes[state.range(0)];
    platformStart(PlatformKind::headless);
    for (auto _ : state) {
        const auto rig = std::make_unique<Rig>();
        rig->tick.connectionToKeep = [&] { return mode.connection; };
        rig->publish(mode.connected);
        std::vector<int64_t> ticks;
        WindowSpec spec;
        spec.kind = WindowKind::message;
        const WindowId window = createWindow(spec, [&](const WindowEvent& event) {
            if (event.kind != EventKind::user || event.message != kTickMessage) return false;
            ticks.push_back(clockTicks(rig->clock));
            mainTick(rig->tick);
            return true;
        });
        DeadlineTimer timer;
        std::thread pacer([&] { tickPacer(rig->words, timer, window); });
        while (ticks.size() < 2) // the first tick chooses the pace
            loopPump(50);
        const int64_t began = ticks.back();
        ticks.clear();
        int64_t wakes = 0;
        while (ticks.empty() || ticks.back() - began < kSeconds * kTicksPerSecond) {
            loopPump(1000);
            wakes += 1;
        }
        rig->words.tickStop = 1;
        timer.wake();
        pacer.join();
        destroyWindow(window);
        const double seconds =
            static_cast<double>(ticks.back() - began) / static_cast<double>(kTicksPerSecond);
        state.counters["ticksPerSecond"] = static_cast<double>(ticks.size()) / seconds;
        state.counters["loopWakesPerSecond"] = static_cast<double>(wakes) / seconds;
    }
    state.SetLabel(mode.name);
}
BENCHMARK(tickRate)->Arg(0)->Arg(1)->Arg(2)->Iterations(1)->UseRealTime()->Unit(benchmark::kSecond);

void emptyTick(benchmark::State& state) {
    const auto rig = std::make_unique<Rig>();
    rig->publish(true);
    for (auto _ : state)
        mainTick(rig->tick);
    state.SetLabel("all steps, no overlays");
}
BENCHMARK(emptyTick);

} // namespace

BENCHMARK_MAIN();
