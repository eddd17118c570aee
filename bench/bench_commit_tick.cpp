// What the main thread notices while a stint of 50 laps is committed into a store of 200 cars and
// tracks with 100 sessions each: the recorder's tick at 60 a second, before the car leaves the
// track, until the stint stands in the store. A program rather than a benchmark: it is one commit.
#include "app/recorder.h"
#include "base/log.h"
#include "driver_model/driver_model.h"
#include "full_store.h"
#include "overlay/settings/app_config.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

using namespace vt;
using SteadyClock = std::chrono::steady_clock;

double msSince(SteadyClock::time_point begin) {
    return std::chrono::duration<double, std::milli>(SteadyClock::now() - begin).count();
}

void print(const char* name, std::vector<double> values) {
    std::sort(values.begin(), values.end());
    if (values.empty()) return;
    std::printf("%-34s median %.3f ms, p99 %.3f ms, worst %.3f ms, %zu ticks\n", name,
                values[values.size() / 2], values[values.size() * 99 / 100], values.back(),
                values.size());
}

} // namespace

int main() {
    const test::ScratchFolder folder("vt_bench_commit");
    fillStore(folder.path, 200, 100, 15);
    std::atomic<uint32_t> wants{0};
    const AppConfig config = defaultAppConfig(1920, 1080);
    Recorder recorder(folder.text(), "", &wants);
    int kept = 0;
    setLogSink(
        [](void* user, std::string_view line) {
            if (line.find("lap(s) kept") != line.npos) ++*static_cast<int*>(user);
        },
        &kept);

    model::Settings how;
    how.cars = 1;
    how.laps = 60;
    how.startFuel = 200;
    model::Race race = model::startRace(how, model::builtInCircuit("club"));
    SimFrame frame;
    int64_t seconds = 1'780'000'000;
    const auto feed = [&](bool onTrack) {
        model::stepRace(race, 1.0 / 60);
        model::fillFrame(race, frame);
        frame.connected = 1;
        frame.simKind = kSimIRacing;
        frame.isOnTrack = onTrack ? 1 : 0;
        copyText(frame.carName, "Car 3");
        copyText(frame.trackName, "Some Ring");
        recorder.placeOnRoad(frame);
        recorder.pushSample(frame, false);
        const auto begin = SteadyClock::now();
        recorder.tick(frame, config, false, seconds);
        return msSince(begin);
    };
    std::vector<double> driving, committing, late;
    while (model::player(race).lap < 50)
        driving.push_back(feed(true));
    print("driving, as fast as it goes", driving);
    std::printf("waiting until the store was looked through\n");
    std::this_thread::sleep_for(std::chrono::seconds(30));

    const auto left = SteadyClock::now();
    auto due = left;
    double took = 0;
    for (int tick = 0; tick < 60 * 20 && (took == 0 || tick < 120); ++tick) {
        due += std::chrono::microseconds(16'667);
        std::this_thread::sleep_until(due);
        if (took == 0) late.push_back(msSince(due));
        const double ms = feed(false);
        if (took == 0) committing.push_back(ms);
        if (kept > 0 && took == 0) took = msSince(left);
    }
    print("while the stint is committed", committing);
    print("the same ticks, late by", late);
    std::printf("off the track to stored: %.0f ms, %d stint(s)\n", took, kept);
    setLogSink(nullptr, nullptr);
    return kept == 1 ? 0 : 1;
}
