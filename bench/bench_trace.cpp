// The codec of lap traces on laps as a driver leaves them: smooth, with the sensors' noise. And a
// commit into a store of 200 cars and tracks with 100 sessions each.
#include "base/log.h"
#include "full_store.h"
#include "perf/perf_store.h"
#include "perf/trace_codec.h"
#include "perf/xpress_huffman.h"
#include "platform/file.h"
#include "support/perf_samples.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <random>

namespace vt {
namespace {

/// 5 km laps; no two the same.
TraceFile drivenTrace(int laps) {
    std::mt19937 random(1);
    std::normal_distribution<float> noise;
    TraceFile trace = test::sampleTrace(5000, laps);
    for (LapTrace& lap : trace.laps)
        for (size_t i = 0; i < lap.speed.size(); ++i) {
            lap.speed[i] += noise(random) * 0.1f;
            lap.steer[i] += noise(random) * 0.004f;
            lap.latG[i] += noise(random) * 0.05f;
            lap.longG[i] += noise(random) * 0.05f;
            lap.yawRate[i] += noise(random) * 0.01f;
            lap.latVelocity[i] += noise(random) * 0.03f;
            lap.x[i] += noise(random) * 0.5f;
            lap.y[i] += noise(random) * 0.5f;
        }
    return trace;
}

/// The payload alone: what stands behind the lap table of an uncompressed file.
std::string payloadOf(const TraceFile& trace) {
    const std::string bytes = traceEncode(trace, false);
    return bytes.substr(60 + 20 * trace.laps.size());
}

ByteView view(const std::string& bytes) {
    return {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()};
}

void codecIn(benchmark::State& state) {
    const std::string payload = payloadOf(drivenTrace(20));
    std::string packed;
    for (auto _ : state) {
        packed.clear();
        xpressCompress(view(payload), packed);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * payload.size()));
    state.counters["ratio"] =
        static_cast<double>(packed.size()) / static_cast<double>(payload.size());
}
BENCHMARK(codecIn)->Unit(benchmark::kMillisecond);

void codecOut(benchmark::State& state) {
    const std::string payload = payloadOf(drivenTrace(20));
    std::string packed;
    xpressCompress(view(payload), packed);
    std::vector<uint8_t> out(payload.size());
    for (auto _ : state) {
        size_t used = 0;
        if (!xpressDecompress(view(packed), out, used)) state.SkipWithError("does not unpack");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * payload.size()));
}
BENCHMARK(codecOut)->Unit(benchmark::kMillisecond);

/// 100 laps of 5 km, channels included.
void traceFile100Laps(benchmark::State& state) {
    const TraceFile trace = drivenTrace(100);
    const bool reading = state.range(0) == 1;
    const std::string bytes = traceEncode(trace, true);
    for (auto _ : state) {
        TraceFile back;
        if (reading ? !traceDecode(view(bytes), back) : traceEncode(trace, true).empty())
            state.SkipWithError("not whole");
    }
    state.counters["fileMB"] = static_cast<double>(bytes.size()) / 1e6;
}
BENCHMARK(traceFile100Laps)->ArgName("read")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

double milliseconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since)
        .count();
}

void commitFullStore(benchmark::State& state) {
    const test::ScratchFolder folder("vt_bench_store");
    const auto laps = static_cast<int>(state.range(0));
    fillStore(folder.path, 200, 100, laps);
    setLogSink([](void*, std::string_view) {}, nullptr);
    PerfStore store(folder.text());
    const auto start = std::chrono::steady_clock::now();
    store.warm();
    state.counters["warmMs"] = milliseconds(start);
    state.counters["storeMB"] = static_cast<double>(store.storeSizeBytes()) / 1e6;

    const TraceFile trace = drivenTrace(50);
    const SessionRecord record = storedSession(3, 500, 50);
    double longest = 0;
    int n = 0;
    for (auto _ : state) {
        SessionRecord next = record;
        copyText(next.date, test::dateAfter(500 * 3600 + n++));
        const auto begin = std::chrono::steady_clock::now();
        if (!store.commit(next, &trace, 100).kept) state.SkipWithError("not stored");
        longest = std::max(longest, milliseconds(begin));
    }
    state.counters["longestMs"] = longest;

    // Where it goes.
    const std::string path = perfRecordPath(folder.text(), kSimIRacing, "Car 3", "Some Ring");
    const auto time = [&](const char* name, const auto& work) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        state.counters[name] = milliseconds(begin);
    };
    std::string text;
    time("encodeMs", [&] { traceEncode(trace, true); });
    time("sweepMs", [&] { store.sweepOrphans(kSimIRacing); });
    time("sizeMs", [&] { store.storeSizeBytes(); });
    time("readMs", [&] { readFile(path, text, 1u << 30); });
    time("writeMs", [&] { writeFileAtomic(path + ".copy", text); });
    time("loadMs", [&] { store.loadSessions(kSimIRacing, "Car 3", "Some Ring"); });
    time("combosMs", [&] { store.listCombos(); });
    state.counters["recordMB"] = static_cast<double>(text.size()) / 1e6;
    setLogSink(nullptr, nullptr);
}
BENCHMARK(commitFullStore)
    ->ArgName("laps")
    ->Arg(15)
    ->Iterations(10)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace vt

BENCHMARK_MAIN();
