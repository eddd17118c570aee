// What a change of a setting costs: one load, and one save of both files, with six panels of 24
// items in them. In memory (the program's own work) and on the disk of the working folder (with
// what its flush costs).
#include "base/json_read.h"
#include "overlay/settings/settings_store.h"
#include "platform/file.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <string>

using namespace vt;
using nlohmann::json;

namespace {

AppConfig grownConfig() {
    AppConfig config = defaultAppConfig(2560, 1440);
    for (int i = 0; i < 300; ++i)
        config.shareSuppressedCombos.push_back("0|some_car_model_" + std::to_string(i) + "|track");
    for (int i = 0; i < 60; ++i)
        config.steerRotations.push_back({i % 14, "car_" + std::to_string(i), 900});
    for (PanelDesign& panel : config.panels) {
        json items = json::array();
        for (int i = 0; i < 24; ++i)
            items.push_back({{"kind", i},
                             {"x", i * 10},
                             {"y", 4.25 * i},
                             {"text", "some label"},
                             {"style", {{"color", "#aabbcc"}, {"size", 14}, {"bold", true}}}});
        panel.json = json{{"name", "Panel"}, {"items", items}}.dump();
    }
    return config;
}

struct Folder {
    std::string path;
    explicit Folder(const std::string& parent) : path(parent + "/vt_bench_settings") {
        std::filesystem::remove_all(path);
    }
    ~Folder() { std::filesystem::remove_all(path); }
};

std::string placeOf(const benchmark::State& state) {
    return state.range(0) == 0 ? "/dev/shm" : std::filesystem::current_path().string();
}

void save(benchmark::State& state) {
    const Folder folder(placeOf(state));
    AppConfig config = grownConfig();
    for (auto _ : state) {
        ++config.perfHistoryLimit;
        if (!saveSettings(config, folder.path)) state.SkipWithError("the save failed");
    }
    std::string text;
    readFile(folder.path + "/overlays.json", text);
    state.counters["overlays.json KiB"] = static_cast<double>(text.size()) / 1024;
    readFile(folder.path + "/panels.json", text);
    state.counters["panels.json KiB"] = static_cast<double>(text.size()) / 1024;
}

void load(benchmark::State& state) {
    const Folder folder(placeOf(state));
    saveSettings(grownConfig(), folder.path);
    for (auto _ : state) {
        AppConfig config = defaultAppConfig(2560, 1440);
        if (!loadSettings(config, folder.path)) state.SkipWithError("the load failed");
        benchmark::DoNotOptimize(config);
    }
}

void unchanged(benchmark::State& state) {
    AppConfig config = grownConfig();
    SaveState save;
    uint64_t now = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(saveIfDirty(config, "", save, ++now));
}

} // namespace

BENCHMARK(save)->ArgName("disk")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(load)->ArgName("disk")->Arg(0)->Unit(benchmark::kMillisecond);
BENCHMARK(unchanged)->Unit(benchmark::kNanosecond);

BENCHMARK_MAIN();
