#include "platform/desktop.h"
#include "platform/headless/headless.h"
#include "platform/main_loop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <thread>
#include <unistd.h>

using namespace vt;

namespace {

class LoopTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(platformStart(PlatformKind::headless)); }
    void TearDown() override { platformStop(); }

    static WindowId messageWindow(WindowHandler handler) {
        WindowSpec spec;
        spec.kind = WindowKind::message;
        return createWindow(spec, std::move(handler));
    }
};

double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

} // namespace

TEST_F(LoopTest, CallsAndMessagesKeepOneOrder) {
    static std::vector<int64_t> seen;
    seen.clear();
    const WindowId window = messageWindow([](const WindowEvent& event) {
        if (event.kind == EventKind::user) seen.push_back(event.value);
        return true;
    });
    for (int64_t i = 0; i < 10; i += 2) {
        EXPECT_TRUE(postToWindow(window, 0x8002, i));
        loopPost([](void* user) { seen.push_back(reinterpret_cast<int64_t>(user)); },
                 reinterpret_cast<void*>(i + 1));
    }
    EXPECT_TRUE(seen.empty()) << "nothing runs inside the post";
    loopPump();
    EXPECT_EQ(seen, (std::vector<int64_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));

    postToWindow(window, 1, 99);
    destroyWindow(window);
    EXPECT_FALSE(postToWindow(window, 1, 100));
    loopPump();
    EXPECT_EQ(seen.size(), 10u) << "messages of a window that went are dropped";
}

TEST_F(LoopTest, PostsOfManyThreadsWakeTheLoopAndNoneIsLost) {
    static constexpr int kThreads = 4, kPosts = 2000;
    int next[kThreads] = {}, wrong = 0, got = 0;
    const WindowId window = messageWindow([&](const WindowEvent& event) {
        int& expected = next[event.message];
        if (event.value != expected++) ++wrong;
        if (++got == kThreads * kPosts) loopQuit(7);
        return true;
    });
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < kThreads; ++t)
        threads.emplace_back([=] {
            for (int i = 0; i < kPosts; ++i) {
                postToWindow(window, t, i);
                if (i % 100 == 0) std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        });
    EXPECT_EQ(loopRun(), 7);
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(wrong, 0) << "each thread's own order holds";
}

TEST_F(LoopTest, PostingRacesWithTheWindowsEnd) {
    std::atomic<bool> stop{false};
    std::atomic<WindowId> target{0};
    std::thread poster([&] {
        while (!stop) {
            postToWindow(target, 1, 2);
            std::this_thread::yield();
        }
    });
    int handled = 0;
    const Clock clock;
    const uint64_t end = clockMs(clock) + 30000;
    for (int i = 0; i < 300 || (handled == 0 && clockMs(clock) < end); ++i) {
        const WindowId window = messageWindow([&](const WindowEvent&) { return ++handled > 0; });
        target = window;
        loopPump(1);
        destroyWindow(window);
    }
    stop = true;
    poster.join();
    EXPECT_GT(handled, 0);
}

TEST_F(LoopTest, QuitInsideAModalLoopEndsTheOuterOnesToo) {
    static std::vector<std::string> trace;
    trace.clear();
    static bool never = false;
    const WindowId window = messageWindow([](const WindowEvent& event) {
        if (event.message == 1) {
            loopRunModal(&never);
            trace.push_back("inner modal left");
        } else if (event.message == 2) {
            loopRunModal(&never);
            trace.push_back("innermost modal left");
        } else {
            trace.push_back("message");
        }
        return true;
    });
    postToWindow(window, 1, 0);
    postToWindow(window, 2, 0);
    postToWindow(window, 3, 0);
    loopQuit(5);
    EXPECT_EQ(loopRun(), 5);
    EXPECT_EQ(trace,
              (std::vector<std::string>{"message", "innermost modal left", "inner modal left"}));

    // A modal loop that ends by itself leaves the outer one running.
    static bool done = false;
    loopPost(
        [](void*) {
            loopRunModal(&done);
            trace.push_back("done");
        },
        nullptr);
    loopPost([](void*) { done = true; }, nullptr);
    EXPECT_TRUE(loopPump());
    EXPECT_EQ(trace.back(), "done");

    loopQuit(6);
    EXPECT_FALSE(loopPump());
    EXPECT_EQ(loopRun(), 6) << "a quit met while pumping still ends the loop outside";
}

TEST_F(LoopTest, TimersFollowTheirClock) {
    Clock clock = manualClock();
    headlessUseClock(&clock);
    std::vector<int64_t> beats;
    WindowId window = 0;
    window = messageWindow([&](const WindowEvent& event) {
        beats.push_back(event.value);
        if (event.value == 3) stopTimer(window, 3);
        return true;
    });
    startTimer(window, 1, 100);
    startTimer(window, 2, 250);
    startTimer(window, 3, 50);
    loopPump();
    EXPECT_TRUE(beats.empty());
    for (int i = 0; i < 10; ++i) {
        advance(clock, 0.05);
        loopPump();
    }
    // 50 ms: 3 and no more; 100 ... 500: 1; 250 and 500: 2.
    EXPECT_EQ(std::count(beats.begin(), beats.end(), 1), 5);
    EXPECT_EQ(std::count(beats.begin(), beats.end(), 2), 2);
    EXPECT_EQ(std::count(beats.begin(), beats.end(), 3), 1);

    beats.clear();
    advance(clock, 10);
    for (int i = 0; i < 5; ++i)
        loopPump();
    EXPECT_EQ(beats.size(), 2u) << "beats lost in a pause are not made up";
    startTimer(window, 1, 400); // the same number: a new period, not a second timer
    stopTimer(window, 2);
    beats.clear();
    advance(clock, 0.3);
    loopPump();
    EXPECT_TRUE(beats.empty());
    headlessUseClock(nullptr);
}

TEST_F(LoopTest, RealTimersSleepInBetween) {
    int beats = 0;
    const WindowId window = messageWindow([&](const WindowEvent& event) {
        if (event.kind == EventKind::timer && ++beats == 5) loopQuit(0);
        return true;
    });
    startTimer(window, 1, 20);
    const Clock clock;
    const int64_t start = clockTicks(clock);
    const double cpu = cpuSeconds();
    loopRun();
    const double elapsed = static_cast<double>(clockTicks(clock) - start) * 1e-9;
    EXPECT_GE(elapsed, 0.099);
    EXPECT_LT(cpuSeconds() - cpu, elapsed / 4) << "the loop polls";
}

TEST_F(LoopTest, AFloodOnOneSideStarvesNobody) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    int posts = 0, paints = 0, beats = 0, reads = 0, before = 0;
    static int* counted = nullptr;
    counted = &before;
    loopSetBeforeMessage([] { ++*counted; });
    WindowSpec spec;
    spec.kind = WindowKind::panel;
    spec.rect = {0, 0, 10, 10};
    spec.visible = true;
    WindowId window = 0;
    window = createWindow(spec, [&](const WindowEvent& event) {
        if (event.kind == EventKind::user) {
            ++posts;
            postToWindow(window, 1, 0); // for ever
        } else if (event.kind == EventKind::paint) {
            ++paints;
        } else if (event.kind == EventKind::timer) {
            ++beats;
        }
        return true;
    });
    startTimer(window, 1, 1);
    loopWatch(ends[0], [&] {
        char c;
        if (read(ends[0], &c, 1) == 1) ++reads;
    });
    loopPump(); // the first paint
    const int before0 = before;
    postToWindow(window, 1, 0);
    ASSERT_EQ(write(ends[1], "abc", 3), 3);
    for (int i = 0; i < 200 && (reads < 3 || paints < 4 || beats < 2); ++i) {
        invalidateWindow(window);
        invalidateWindow(window); // twice is once
        loopPump(1);
        usleep(100);
    }
    EXPECT_EQ(reads, 3);
    EXPECT_GE(beats, 2);
    EXPECT_GE(paints, 4);
    EXPECT_LE(paints, posts + 2);
    EXPECT_GE(before - before0, posts + reads + beats) << "the hook runs before every message";

    loopWatch(ends[0], nullptr);
    ASSERT_EQ(write(ends[1], "d", 1), 1);
    loopPump();
    EXPECT_EQ(reads, 3) << "no watch any more";
    close(ends[0]);
    close(ends[1]);
}

TEST_F(LoopTest, AutomaticWithoutADisplayIsTheMemoryDesktop) {
    platformStop();
    const char* set = getenv("DISPLAY");
    const std::string before = set ? set : "";
    setenv("DISPLAY", ":65000", 1); // nobody there
    EXPECT_FALSE(platformStart(PlatformKind::x11));
    EXPECT_TRUE(platformStart(PlatformKind::automatic));
    EXPECT_EQ(platformKind(), PlatformKind::headless);
    if (set)
        setenv("DISPLAY", before.c_str(), 1);
    else
        unsetenv("DISPLAY");
}
