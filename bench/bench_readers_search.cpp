// What it costs to look for a sim when none runs: every reader is asked once to open. The real time
// is mostly waiting for datagrams; CPU is the time of the whole process.
#include "app/readers.h"
#include "platform/process_list.h"

#include <benchmark/benchmark.h>

namespace vt {
namespace {

void searchRound(benchmark::State& state) {
    Clock clock;
    ProcessScan scan;
    SteerWords steer;
    std::atomic<uint32_t> stop{0};
    IRacingWants wants;
    ReaderContext context{clock, scan, listProcessNames, steer, {0}, &stop, {}};
    auto readers = makeReaders(context, wants);
    int found = 0;
    for (auto _ : state)
        for (const auto& reader : readers)
            if (reader->open()) {
                ++found;
                reader->close();
            }
    if (found > 0) state.SkipWithError("a sim runs");
    state.counters["readers"] = static_cast<double>(readers.size());
}
// Ten rounds take long enough for the process list to be read several times.
BENCHMARK(searchRound)
    ->Iterations(10)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

} // namespace
} // namespace vt

BENCHMARK_MAIN();
