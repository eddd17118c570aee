// Relative and Standings: a redraw in every look, an unchanged tick, and the race model beneath
// them, on sixty cars in four classes.
#include "overlay/drawing/drawing.h"
#include "overlay/overlays/relative_overlay.h"
#include "overlay/overlays/standings_overlay.h"
#include "overlay/settings/settings_store.h"
#include "platform/main_loop.h"
#include "platform/paths.h"
#include "support/race_frames.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

static std::atomic<uint64_t> allocations;

// Not inlined: the compiler would pair malloc with delete and warn.
[[gnu::noinline]] void* operator new(size_t size) {
    ++allocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    std::abort();
}
[[gnu::noinline]] void operator delete(void* p) noexcept {
    std::free(p);
}
[[gnu::noinline]] void operator delete(void* p, size_t) noexcept {
    std::free(p);
}

using namespace vt;

namespace {

constexpr const char* kStyles[] = {"Classic", "Grid", "Compact", "Focus", "Rows", "Apex"};

struct Bench {
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock = manualClock();
    OverlayHost host{config, clock};
    SimFrame frames[2] = {test::sixtyCarFrame(), test::sixtyCarFrame()};
    Bench() {
        // The second frame differs as one tenth of a second later does: gaps and one lap time.
        for (CarRow& car : frames[1].cars)
            car.gapToPlayer += 0.1f;
        frames[1].cars[4].lastLapTime += 0.3f;
    }
};

/// Ticks on the memory desktop, each of which redraws.
template <class Overlay>
void redraw(benchmark::State& state) {
    Bench bench;
    const int style = static_cast<int>(state.range(0));
    bench.config.relative.relStyle = bench.config.standings.stdStyle = style;
    bench.config.standings.standingsRows = bench.config.standings.standingsRowsOther = 15;
    bench.config.relative.rowsAhead = bench.config.relative.rowsBehind = 5;
    for (OverlayConfig* o : {static_cast<OverlayConfig*>(&bench.config.relative),
                             static_cast<OverlayConfig*>(&bench.config.standings)}) {
        o->widthMul = o->heightMul = o->textScale = 1;
        o->enabled = true;
    }
    Overlay overlay(bench.host);
    int failures = 0;
    if (!createOverlay(overlay, "VT Bench", failures)) {
        state.SkipWithError("no window");
        return;
    }
    uint64_t turn = 0;
    const auto tick = [&] {
        advance(bench.clock, 0.2);
        overlayTick(overlay, &bench.frames[turn++ % 2]);
    };
    for (int i = 0; i < 6; ++i)
        tick();
    const uint64_t layouts = textLayoutsMade(), drawn = overlay.frameCounter;
    const uint64_t before = allocations;
    for (auto _ : state)
        tick();
    const auto ticks = static_cast<double>(state.iterations());
    state.counters["drawn"] = static_cast<double>(overlay.frameCounter - drawn) / ticks;
    state.counters["layouts"] = static_cast<double>(textLayoutsMade() - layouts) / ticks;
    state.counters["allocations"] = static_cast<double>(allocations - before) / ticks;
    if (overlay.picture)
        state.counters["Mpixels"] =
            bitmapWidth(*overlay.picture) * bitmapHeight(*overlay.picture) / 1e6;
    state.SetLabel(kStyles[style]);
    destroyOverlay(overlay);
}

void standingsRedraw(benchmark::State& state) {
    redraw<StandingsOverlay>(state);
}
void relativeRedraw(benchmark::State& state) {
    redraw<RelativeOverlay>(state);
}

template <class Overlay>
void unchangedHash(benchmark::State& state) {
    Bench bench;
    Overlay overlay(bench.host);
    overlay.frame = &bench.frames[0];
    overlay.prepareFrame(overlay.frame);
    overlay.contentHash();
    const uint64_t before = allocations;
    for (auto _ : state) {
        overlay.prepareFrame(overlay.frame);
        benchmark::DoNotOptimize(overlay.contentHash());
    }
    state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations - before),
                                                       benchmark::Counter::kAvgIterations);
    overlay.frame = nullptr;
}

/// Sixty-four cars in eight classes.
SimFrame fullField() {
    SimFrame f = test::simpleRace(64, 20);
    for (CarRow& row : f.cars) {
        formatText(row.carClass, sizeof row.carClass, "CLASS%d", row.carIdx % 8);
        row.classPosition = row.carIdx / 8 + 1;
    }
    return f;
}

void modelClasses(benchmark::State& state) {
    const SimFrame f = fullField();
    for (auto _ : state)
        benchmark::DoNotOptimize(standingsClasses(f, playerRow(f)));
}
void modelPalette(benchmark::State& state) {
    const SimFrame f = fullField();
    for (auto _ : state)
        benchmark::DoNotOptimize(buildClassPalette(f, playerRow(f)));
}
void modelRelativeRows(benchmark::State& state) {
    const SimFrame f = fullField();
    const CarRow* player = nullptr;
    for (auto _ : state)
        benchmark::DoNotOptimize(relativeRows(&f, 5, 5, player));
}
void modelBests(benchmark::State& state) {
    const SimFrame f = fullField();
    for (auto _ : state)
        benchmark::DoNotOptimize(buildClassBests(f));
}
void modelRatingGains(benchmark::State& state) {
    const SimFrame f = fullField();
    for (auto _ : state) {
        bool known = false;
        for (const CarRow& row : f.cars)
            benchmark::DoNotOptimize(ratingGainOf(f, row, known));
    }
}

BENCHMARK(standingsRedraw)->DenseRange(0, 5)->Unit(benchmark::kMicrosecond);
BENCHMARK(relativeRedraw)->DenseRange(0, 5)->Unit(benchmark::kMicrosecond);
BENCHMARK(unchangedHash<RelativeOverlay>);
BENCHMARK(unchangedHash<StandingsOverlay>);
BENCHMARK(modelClasses);
BENCHMARK(modelPalette);
BENCHMARK(modelRelativeRows);
BENCHMARK(modelBests);
BENCHMARK(modelRatingGains);

} // namespace

int main(int argc, char** argv) {
    if (!platformStart(PlatformKind::headless)) return 1;
    const std::string fonts = shippedFolder("fonts");
    drawingInit(fonts.empty() ? "fonts" : fonts); // else those of the present folder
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    drawingShutdown();
    platformStop();
    return 0;
}
