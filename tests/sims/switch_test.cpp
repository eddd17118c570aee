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
    bool within(double seconds, const std::function<bool(const SimFrame&)>& condition) {
        const double end = clockSeconds(set.clock) + seconds;
        while (clockSeconds(set.clock) < end) {
            if (condition(*frameRead(buffer))) return true;
            pause(20);
        }
        return false;
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
        ChildProcess player(playerWords(sim, {"--seconds", "100", "--tear"}));
        const double start = clockSeconds(run.set.clock);
        ASSERT_TRUE(run.within(20, [&](const SimFrame& frame) {
            return frame.connected && frame.simKind == sim.kind && frame.speed >= 0;
        })) << player.output();
        const double found = clockSeconds(run.set.clock) - start;
        EXPECT_TRUE(run.within(5, [&](const SimFrame& frame) { return frame.speed > 5; }));
        player.signal(kill ? SIGKILL : SIGTERM); // a killed one leaves its memory behind
        kill = !kill;
        const double ended = clockSeconds(run.set.clock);
        EXPECT_TRUE(run.within(8, [](const SimFrame& frame) { return !frame.connected; }));
        const double lost = clockSeconds(run.set.clock) - ended;
        std::printf("%-12s found after %4.1f s, lost after %4.1f s\n", sim.command, found, lost);
        EXPECT_FALSE(run.within(1.5, [](const SimFrame& frame) { return frame.connected != 0; }))
            << "what a dead sim left behind is no sim";
    }
    EXPECT_LT(run.stop(), 0.5) << "no wait holds up the end of the program";
}

} // namespace
} // namespace vt::test
