#include "app/main_tick.h"
#include "base/pacing.h"
#include "platform/main_loop.h"
#include "support/eventually.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace vt {
namespace {

TEST(Pacing, DeadlinesKeepTheirGridAndLostTurnsAreNotMadeUp) {
    EXPECT_EQ(nextDeadline(1000, 100, 1040), 1100); // late by a little: the grid stays
    EXPECT_EQ(nextDeadline(1000, 100, 1100), 1200);
    EXPECT_EQ(nextDeadline(1000, 100, 5000), 5100);
}

/// The headless desktop with a message window that counts ticks.
struct PacedWindow {
    TickWords words;
    DeadlineTimer timer;
    int ticks = 0;
    int workMs = 0;
    WindowId window = 0;
    std::thread pacer;

    PacedWindow() {
        platformStart(PlatformKind::headless);
        WindowSpec spec;
        spec.kind = WindowKind::message;
        window = createWindow(spec, [this](const WindowEvent& event) {
            if (event.kind != EventKind::user || event.message != kTickMessage) return false;
            words.tickPosted = 0;
            ticks += 1;
            if (workMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(workMs));
            return true;
        });
    }
    ~PacedWindow() {
        stop();
        destroyWindow(window);
        platformStop();
    }
    void start() {
        pacer = std::thread([this] { tickPacer(words, timer, window); });
    }
    void stop() {
        if (!pacer.joinable()) return;
        words.tickStop = 1;
        timer.wake();
        pacer.join();
    }
    /// Pumps for that long and a busy machine for longer. No more ticks come than one in each
    /// interval, one that was on its way before, and one at the end.
    int ticksIn(int milliseconds, double intervalMs) {
        const int before = ticks;
        const auto start = std::chrono::steady_clock::now();
        std::chrono::duration<double, std::milli> ran{};
        while (ran.count() < milliseconds) {
            loopPump(5);
            ran = std::chrono::steady_clock::now() - start;
        }
        EXPECT_LE(ticks - before, ran.count() / intervalMs + 2);
        return ticks - before;
    }
};

TEST(Pacer, FollowsTheIntervalAndTakesANewOneWhenWoken) {
    PacedWindow paced;
    paced.words.tickIntervalUs = 250000;
    paced.start();
    paced.ticksIn(600, 250);
    paced.words.tickIntervalUs = 16667;
    paced.timer.wake();
    EXPECT_TRUE(test::eventually([&] { return paced.ticksIn(500, 16.667) > 10; }));
}

TEST(Pacer, ASlowTickNeverFillsTheQueue) {
    PacedWindow paced;
    paced.workMs = 100;
    paced.start();
    paced.ticksIn(500, 100);
    paced.workMs = 0;
    paced.stop();
    const int before = paced.ticks;
    for (int i = 0; i < 5; ++i)
        loopPump(0);
    EXPECT_LE(paced.ticks - before, 1); // what was still on its way
}

TEST(Pacer, APostThatFailsIsNotWaitedFor) {
    PacedWindow paced;
    const WindowId real = paced.window;
    paced.window = 0x7ffffff0; // no such window
    paced.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    paced.stop();
    EXPECT_EQ(paced.words.tickPosted, 0u);
    paced.window = real;
    paced.words.tickStop = 0;
    paced.start();
    EXPECT_TRUE(test::eventually([&] { return loopPump(5) && paced.ticks > 2; }));
}

TEST(Pacer, StopsAtOnce) {
    PacedWindow paced;
    paced.words.tickIntervalUs = 600'000'000;
    paced.start();
    const auto begin = std::chrono::steady_clock::now();
    paced.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
}

} // namespace
} // namespace vt
