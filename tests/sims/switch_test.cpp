// One simulator after the other, as a driver changes them, some of them killed in the middle of a
// sample: the pump finds each by itself, loses it, and finds the next. VT_LONG=1 takes all of them.
#include "app/sim_pump.h"
#include "platform/file.h"
#include "sim_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <random>

namespace vt::test {
namespace {

struct RunningPump {
    ReaderSet set;
    TripleBuffer buffer;
    PumpWords words;
    SimPump pump{buffer, words, set.scan, set.clock, listProcessNames, {}, {}, {}};
    std::thread thread;

    RunningPump() {
        set.context.stop = &words.pumpStop;
        pump.readers = std::move(set.readers);
        thread = std::thread([this] { simPumpMain(pump); });
    }
    ~RunningPump() { stop(); }

    double stop() {
        const double start = clockSeconds(set.clock);
        words.pumpStop = 1;
        wakePump(pump);
        if (thread.joinable()) thread.join();
        return clockSeconds(set.clock) - start;
    }
    bool until(const std::function<bool(const SimFrame&)>& condition, int ms = kPatienceMs) {
        return eventually([&] { return condition(*frameRead(buffer)); }, 20, ms);
    }
};

std::vector<SimUnderTest> sequence() {
    std::vector<SimUnderTest> sims;
    const char* wanted = std::getenv("VT_LONG");
    const bool all = wanted && *wanted;
    for (const SimUnderTest& sim : simsUnderTest()) {
        const bool some = sim.kind == kSimLmu || sim.kind == kSimAcc || sim.kind == kSimAc ||
                          sim.kind == kSimDirtRally2 || sim.kind == kSimRaceRoom;
        if ((all || some) && canPlay(sim)) sims.push_back(sim);
    }
    std::shuffle(sims.begin(), sims.end(), std::mt19937(20));
    return sims;
}

TEST(SimSwitch, EachIsFoundLostAndFollowedByTheNext) {
    RunningPump run;
    bool kill = true;
    for (const SimUnderTest& sim : sequence()) {
        SCOPED_TRACE(sim.command);
        ChildProcess player(playerWords(sim, {"--seconds", "200", "--tear"}));
        const double start = clockSeconds(run.set.clock);
        ASSERT_TRUE(run.until([&](const SimFrame& frame) {
            return frame.connected && frame.simKind == sim.kind && frame.speed >= 0;
        })) << player.output();
        const double found = clockSeconds(run.set.clock) - start;
        EXPECT_TRUE(run.until([&](const SimFrame& frame) { return frame.speed > 5; }));
        player.signal(kill ? SIGKILL : SIGTERM); // a killed one leaves its memory behind
        kill = !kill;
        const double ended = clockSeconds(run.set.clock);
        EXPECT_TRUE(run.until([](const SimFrame& frame) { return !frame.connected; }));
        const double lost = clockSeconds(run.set.clock) - ended;
        std::printf("%-12s found after %4.1f s, lost after %4.1f s\n", sim.command, found, lost);
        EXPECT_FALSE(run.until([](const SimFrame& frame) { return frame.connected != 0; }, 1500))
            << "what a dead sim left behind is no sim";
    }
    // No wait holds up the end of the program.
    double quickest = run.stop();
    for (int i = 0; i < 4 && quickest >= 0.5; ++i) {
        RunningPump again;
        pause(700);
        quickest = std::min(quickest, again.stop());
    }
    EXPECT_LT(quickest, 0.5);
}

} // namespace
} // namespace vt::test
