// What a look at iRacing costs: one poll of a real image with a new sample each time, the heap
// allocations in it, and the session text that is only parsed when it changed.
#include "count_allocations.h"
#include "platform/shared_map.h"
#include "telemetry/readers/iracing_reader.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <string>
#include <unistd.h>
#include <vector>

namespace vt {
namespace {

std::vector<uint8_t> capture(const char* name) {
    const auto root = std::filesystem::path(__FILE__).parent_path().parent_path().parent_path();
    std::ifstream in(root / "shared/realdata/iracing" / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// A capture in shared memory, with a reader on it.
struct Played {
    std::vector<uint8_t> image;
    IRacingNames names;
    SharedMapWriter writer;
    Clock clock;
    IRacingWants wants;
    SimFrame frame;
    IRacingReader reader;

    explicit Played(const char* name)
        : image(capture(name)), names{"vt_bench_iracing_" + std::to_string(getpid()),
                                      "vt_bench_no_event"},
          reader(clock, wants, names) {
        if (image.empty() || !writer.create(names.map, image.size())) return;
        std::copy(image.begin(), image.end(), writer.data());
        reader.open();
        reader.poll(frame);
    }
    IrHeader& header() { return *reinterpret_cast<IrHeader*>(writer.data()); }
    void step() {
        IrVarBuf* buffers = header().varBuf;
        buffers[1].tickCount += 1;
    }
};

constexpr const char* kImages[] = {"lime_rock_race_13.irsdk", "le_mans_race_38.irsdk",
                                   "oulton_practice_62.irsdk"};

void poll(benchmark::State& state) {
    const char* name = kImages[state.range(0)];
    Played sim(name);
    if (!sim.reader.isConnected()) {
        state.SkipWithError("the capture is not there");
        return;
    }
    const uint64_t before = allocations.load();
    const uint64_t parses = sim.reader.counters().textParses;
    for (auto _ : state) {
        sim.step();
        if (!sim.reader.poll(sim.frame)) state.SkipWithError("no frame");
    }
    const uint64_t allocated = allocations.load() - before;
    state.counters["cars"] = static_cast<double>(sim.frame.cars.size());
    state.counters["sample_bytes"] = sim.header().bufLen;
    state.counters["allocations"] = static_cast<double>(allocated); // in all polls together
    state.counters["text_parses"] = static_cast<double>(sim.reader.counters().textParses - parses);
    state.SetLabel(name);
}
BENCHMARK(poll)->DenseRange(0, 2);

/// What a poll would cost if it parsed the text, as it does when the sim changed it.
void parseText(benchmark::State& state) {
    const char* name = kImages[state.range(0)];
    const std::vector<uint8_t> image = capture(name);
    if (image.empty()) {
        state.SkipWithError("the capture is not there");
        return;
    }
    const auto header = readAt<IrHeader>(image, 0);
    const std::string bytes(reinterpret_cast<const char*>(image.data()) + header.sessionInfoOffset,
                            static_cast<size_t>(header.sessionInfoLen));
    IrSessionText text;
    for (auto _ : state) {
        parseSessionText(text, bytes);
        benchmark::DoNotOptimize(text.playerCarIdx);
    }
    state.counters["text_bytes"] = static_cast<double>(bytes.find('\0'));
    state.SetLabel(name);
}
BENCHMARK(parseText)->DenseRange(0, 2);

} // namespace
} // namespace vt

BENCHMARK_MAIN();
