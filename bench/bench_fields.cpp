// What the values of strips, widgets and cells cost. Input: the demo race at 42 s (11 cars), and a
// frame of 60 cars for the fields that look at the whole field.
#include "base/utf8.h"
#include "overlay/frame/fields.h"
#include "overlay/frame/sim_support.h"
#include "overlay/frame/strips.h"
#include "telemetry/demo_feed.h"

#include <benchmark/benchmark.h>

using namespace vt;

namespace {

SimFrame demo() {
    SimFrame frame;
    demoFrameAt(frame, 42);
    frame.lapsEstimate = 28.4f;
    return frame;
}

SimFrame bigField() {
    SimFrame frame = demo();
    const CarRow row = frame.cars.front();
    while (frame.cars.size() < 60) {
        CarRow next = row;
        next.carIdx = 100 + static_cast<int32_t>(frame.cars.size());
        next.irating = 1500 + 37 * static_cast<int32_t>(frame.cars.size());
        next.position = static_cast<int32_t>(frame.cars.size()) + 1;
        frame.cars.push_back(next);
    }
    // One class, so that every car counts.
    for (CarRow& car : frame.cars)
        copyText(car.carClass, "GT3");
    return frame;
}

void oneField(benchmark::State& state, const SimFrame& frame, int id) {
    const AppConfig config;
    const Clock clock;
    const FieldContext context{config, kSlotRelative, clock};
    char text[kFieldTextSize];
    for (auto _ : state) {
        benchmark::DoNotOptimize(formatField(text, sizeof text, id, frame, context));
        benchmark::ClobberMemory();
    }
    state.SetLabel(std::string(fieldLabel(id)) + " = " + text);
}

void field(benchmark::State& state) {
    oneField(state, demo(), static_cast<int>(state.range(0)));
}
BENCHMARK(field)->DenseRange(1, kFieldCount - 1);

void fieldOf60Cars(benchmark::State& state) {
    oneField(state, bigField(), static_cast<int>(state.range(0)));
}
BENCHMARK(fieldOf60Cars)->Arg(8)->Arg(17)->Arg(18)->Arg(19)->Arg(37);

// Both strips of one overlay, as a tick makes them to see whether they changed.
void stripTextsOfATick(benchmark::State& state) {
    const SimFrame frame = demo();
    const AppConfig config;
    const Clock clock;
    const FieldContext context{config, kSlotRelative, clock};
    OverlayConfig overlay;
    overlay.headerLeft = 13, overlay.headerCenter = 19, overlay.headerRight = 16;
    overlay.footerLeft = 6, overlay.footerCenter = 10, overlay.footerRight = 11;
    for (auto _ : state) {
        benchmark::DoNotOptimize(stripTexts(overlay, true, frame, context));
        benchmark::DoNotOptimize(stripTexts(overlay, false, frame, context));
    }
}
BENCHMARK(stripTextsOfATick);

void supportOfAllFields(benchmark::State& state) {
    for (auto _ : state)
        for (int id = 0; id < kFieldCount; ++id)
            for (int sim = 0; sim < kSimCount; ++sim)
                benchmark::DoNotOptimize(fieldSupported(id, sim));
    state.SetLabel("54 x 14 questions");
}
BENCHMARK(supportOfAllFields);

void supportOfAllOverlays(benchmark::State& state) {
    const AppConfig config;
    SupportStatus status;
    for (auto _ : state)
        for (int slot = 0; slot < kSlotCount; ++slot)
            benchmark::DoNotOptimize(supportFor(config, slot, status));
    state.SetLabel("43 x 14 states and notes");
}
BENCHMARK(supportOfAllOverlays);

} // namespace

BENCHMARK_MAIN();
