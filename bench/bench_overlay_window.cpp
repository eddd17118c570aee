// What the overlays' base costs: an unchanged tick, a hidden one, a full redraw, and passes over 43
// tables as heavy as a full field's. Runs on the desktop in memory.
#include "app/main_tick.h"
#include "overlay/settings/slots.h"
#include "platform/main_loop.h"
#include "support/test_overlay.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

using namespace vt;

struct Bench {
    AppConfig config = defaultAppConfig(1920, 1080);
    Clock clock;
    OverlayHost host{config, clock};
    std::vector<std::unique_ptr<OverlayWindow>> kept;
    SimFrame live;

    explicit Bench(const Clock& used) : clock(used) {
        static const bool started = [] {
            const bool up = platformStart(PlatformKind::headless);
            drawingInit("");
            return up;
        }();
        host.overlays.assign(kSlotCount, nullptr);
        live.connected = started;
        live.simKind = kSimIRacing;
        live.isOnTrack = 1;
    }

    template <class Overlay>
    Overlay& add(int slot) {
        auto made = std::make_unique<Overlay>(host, slot);
        Overlay& overlay = *made;
        kept.push_back(std::move(made));
        host.overlays[static_cast<size_t>(slot)] = &overlay;
        if (OverlayConfig* common = overlay.configBase()) {
            *common = OverlayConfig{};
            common->enabled = true;
            common->refreshHz = 60;
        }
        int failures = 0;
        createOverlay(overlay, overlaySlot(slot)->windowTitle, failures);
        return overlay;
    }
};

void unchangedTick(benchmark::State& state) {
    Bench bench(manualClock());
    auto& overlay = bench.add<TestOverlay>(kSlotSession);
    const bool strips = state.range(0) != 0;
    overlay.usesChrome = strips;
    overlay.configBase()->showHeader = overlay.configBase()->showFooter = strips;
    for (auto _ : state) {
        advance(bench.clock, 1.0 / 60);
        overlayTick(overlay, &bench.live);
    }
    state.counters["draws"] = overlay.draws;
}
BENCHMARK(unchangedTick)->ArgName("strips")->Arg(0)->Arg(1);

void hiddenTick(benchmark::State& state) {
    Bench bench(manualClock());
    auto& overlay = bench.add<TestOverlay>(kSlotSession);
    const SimFrame none;
    for (auto _ : state) {
        advance(bench.clock, 1.0 / 60);
        overlayTick(overlay, &none);
    }
    state.counters["draws"] = overlay.draws;
}
BENCHMARK(hiddenTick);

/// Sixty rows of ten texts, one of which changes in every row.
void fullRedraw(benchmark::State& state) {
    Bench bench(manualClock());
    auto& overlay = bench.add<HeavyOverlay>(kSlotStandings);
    for (auto _ : state) {
        advance(bench.clock, 1.0 / 60);
        ++frameStamp;
        ++overlay.tenths;
        overlayTick(overlay, &bench.live);
    }
    state.counters["pictures"] = static_cast<double>(overlay.frameCounter);
}
BENCHMARK(fullRedraw)->Unit(benchmark::kMillisecond);

class HeavyEverySlot : public HeavyOverlay { // the custom panels' slots have no block of their own
public:
    HeavyEverySlot(OverlayHost& overlayHost, int slotNumber)
        : HeavyOverlay(overlayHost, slotNumber) {
        own.enabled = true;
        own.refreshHz = 60;
    }
    OverlayConfig* configBase() override { return &own; }
    OverlayConfig own;
};

/// All slots changed in every frame: far more than a pass may take, so that it ends by its budget.
void passOfHeavyOverlays(benchmark::State& state) {
    Bench bench{Clock{}};
    for (int slot = 0; slot < kSlotCount; ++slot)
        bench.add<HeavyEverySlot>(slot);
    TripleBuffer buffer;
    PumpWords pumpWords;
    TickWords words;
    MainTick tick{buffer, pumpWords, words, bench.host, bench.clock, {}, 0, 8.0, false, {}, {}};
    std::vector<double> passMs;
    for (auto _ : state) {
        ++frameStamp;
        for (auto& overlay : bench.kept) {
            ++static_cast<HeavyEverySlot&>(*overlay).tenths;
            overlay->nextFrameDue = 0; // due in every pass, however fast they follow
        }
        const int64_t began = clockTicks(bench.clock);
        overlayPass(tick, bench.live);
        passMs.push_back(static_cast<double>(clockTicks(bench.clock) - began) / 1e6);
        state.SetIterationTime(passMs.back() / 1e3);
    }
    std::sort(passMs.begin(), passMs.end());
    double peak = 0, drawn = 0;
    for (const auto& overlay : bench.kept) {
        peak = std::max(peak, bench.host.timing[static_cast<size_t>(overlay->slot)].peakMs);
        drawn += static_cast<double>(overlay->frameCounter);
    }
    state.counters["p99Ms"] = passMs[passMs.size() * 99 / 100];
    state.counters["worstMs"] = passMs.back();
    state.counters["worstOverlayMs"] = peak;
    state.counters["drawnPerPass"] = drawn / static_cast<double>(passMs.size());
}
BENCHMARK(passOfHeavyOverlays)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(300);

} // namespace

BENCHMARK_MAIN();
