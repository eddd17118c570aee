// What drawing costs. Run on one core; the fonts of fonts/ when they are there.
#include "overlay/drawing/drawing.h"
#include "platform/paths.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

namespace {

std::atomic<uint64_t> allocations{0};

} // namespace

void* operator new(size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, size_t) noexcept {
    std::free(p);
}

namespace vt {

namespace {

struct Desk {
    BitmapRef bitmap = createBitmap(1000, 1400);
    Canvas canvas;
    BrushCache brushes;
    TextFormatRef text = makeTextFormat("Inter Tight", 13, 500);
    TextFormatRef number = makeTextFormat("JetBrains Mono", 12, 400);
    Desk() { canvas.begin(bitmap); }
};

void countAllocations(benchmark::State& state, uint64_t before) {
    state.counters["news"] = benchmark::Counter(static_cast<double>(allocations.load() - before),
                                                benchmark::Counter::kAvgIterations);
}

/// Every text is new to the program.
void drawTextCold(benchmark::State& state) {
    Desk desk;
    static int n = 0;
    char text[32];
    for (auto _ : state) {
        std::snprintf(text, sizeof text, "Driver %d", ++n);
        drawText(desk.canvas, desk.text.get(), text, {10, 10, 160, 34},
                 brushFor(desk.brushes, {1, 1, 1, 1}));
    }
}
BENCHMARK(drawTextCold);

void drawTextCachedLayout(benchmark::State& state) {
    Desk desk;
    const Brush* brush = brushFor(desk.brushes, {1, 1, 1, 1});
    const auto draw = [&] {
        drawText(desk.canvas, desk.text.get(), "Max Verstappen", {10, 10, 160, 34}, brush);
    };
    draw();
    const uint64_t before = allocations.load();
    for (auto _ : state)
        draw();
    countAllocations(state, before);
}
BENCHMARK(drawTextCachedLayout);

/// The same text in a rectangle that moves and changes its size, as when an overlay is dragged.
void drawTextInNewRectangle(benchmark::State& state) {
    Desk desk;
    const Brush* brush = brushFor(desk.brushes, {1, 1, 1, 1});
    float width = 100;
    for (auto _ : state) {
        width = width > 900 ? 100 : width + 0.25f;
        drawText(desk.canvas, desk.text.get(), "Max Verstappen", {10, 10, 10 + width, 34}, brush,
                 TextAlign::center);
    }
}
BENCHMARK(drawTextInNewRectangle);

void brushForAmongSixty(benchmark::State& state) {
    BrushCache cache;
    std::vector<Color> colors;
    for (int i = 0; i < 60; ++i)
        colors.push_back({static_cast<float>(i) / 60, 0.5f, 0.25f, 1});
    for (Color c : colors)
        brushFor(cache, c);
    size_t i = 0;
    const uint64_t before = allocations.load();
    for (auto _ : state)
        benchmark::DoNotOptimize(brushFor(cache, colors[i++ % colors.size()]));
    countAllocations(state, before);
}
BENCHMARK(brushForAmongSixty);

/// 60 rows of 12 cells of their own text each, over banded rows; `changing` cells of every row have
/// a new text at each redraw.
void drawTable(benchmark::State& state) {
    const int changing = static_cast<int>(state.range(0));
    Desk desk;
    OverlayLayoutCache cells;
    std::vector<std::string> texts;
    char text[32];
    for (int i = 0; i < 60 * 12; ++i) {
        std::snprintf(text, sizeof text, i % 12 == 0 ? "Driver Name %d" : "1:%02d.%03d", i % 60, i);
        texts.emplace_back(text);
    }
    int turn = 0;
    const auto redraw = [&] {
        desk.canvas.begin(desk.bitmap);
        desk.canvas.clear({0, 0, 0, 0});
        ++turn;
        for (int row = 0; row < 60; ++row) {
            const float y = 23.0f * static_cast<float>(row);
            desk.canvas.fillRect(
                {0, y, 1000, y + 23},
                brushFor(desk.brushes, {0.1f, 0.1f, 0.12f, row % 2 ? 0.8f : 0.9f}));
            for (int cell = 0; cell < 12; ++cell) {
                std::string& t = texts[static_cast<size_t>(row * 12 + cell)];
                if (cell > 0 && cell <= changing) {
                    std::snprintf(text, sizeof text, "%d.%03d", (turn + row) % 90, turn % 997);
                    t = text;
                }
                const float x = 83.0f * static_cast<float>(cell);
                drawTextCached(desk.canvas, cells, cell == 0 ? desk.text.get() : desk.number.get(),
                               t, {x + 4, y, x + 79, y + 23}, brushFor(desk.brushes, {1, 1, 1, 1}),
                               cell == 0 ? TextAlign::leading : TextAlign::trailing);
            }
        }
        desk.canvas.end();
    };
    redraw();
    const uint64_t before = allocations.load(), layouts = textLayoutsMade();
    for (auto _ : state)
        redraw();
    countAllocations(state, before);
    state.counters["layouts"] = benchmark::Counter(static_cast<double>(textLayoutsMade() - layouts),
                                                   benchmark::Counter::kAvgIterations);
}
BENCHMARK(drawTable)->Arg(0)->Arg(1)->Arg(4)->Unit(benchmark::kMicrosecond);

void roundedPanels(benchmark::State& state) {
    Desk desk;
    const Brush* brush = brushFor(desk.brushes, {0.1f, 0.1f, 0.12f, 0.9f});
    for (auto _ : state)
        desk.canvas.fillRoundedRect({10, 10, 410, 310}, 8, brush);
}
BENCHMARK(roundedPanels);

void blurPicture(benchmark::State& state) {
    const BitmapRef picture = createBitmap(400, 300);
    Canvas canvas;
    canvas.begin(picture);
    canvas.fillRoundedRect({50, 50, 350, 250}, 20, solidBrush({1, 0.5f, 0, 1}).get());
    canvas.end();
    for (auto _ : state)
        benchmark::DoNotOptimize(blurBitmap(*picture, static_cast<float>(state.range(0)) / 10));
}
BENCHMARK(blurPicture)->Arg(15)->Arg(60)->Arg(200)->Unit(benchmark::kMicrosecond);

void fontsLoaded(benchmark::State& state) {
    const std::string folder = shippedFolder("fonts");
    for (auto _ : state)
        loadFonts(folder);
}
BENCHMARK(fontsLoaded)->Unit(benchmark::kMillisecond);

void firstText(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        loadFonts(shippedFolder("fonts"));
        state.ResumeTiming();
        Desk desk;
        drawText(desk.canvas, desk.text.get(), "First", {0, 0, 100, 30},
                 brushFor(desk.brushes, {1, 1, 1, 1}));
    }
}
BENCHMARK(firstText)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

} // namespace vt

int main(int argc, char** argv) {
    const std::string folder = vt::shippedFolder("fonts");
    vt::drawingInit(folder);
    std::printf("fonts: %s\n", folder.empty() ? "the system's" : "the shipped ones");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    vt::drawingShutdown();
    return 0;
}
