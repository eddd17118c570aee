// Le Mans Ultimate's reader and its lock against a sim that writes, stops, dies or is not there.
#include "support/eventually.h"
#include "support/vehicle_image.h"
#include "telemetry/readers/lmu_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <sys/wait.h>
#include <thread>

namespace vt::test {
namespace {

LmuNames ownNames() {
    const std::string base = ownName("lmu");
    return {base, base + "_event", base + "_lock", base + "_lock_event"};
}

bool never() {
    return false;
}

double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// A sim in this process with one car.
struct Sim : ReaderDesk, SimObject {
    LmuNames names = ownNames();
    NamedEvent event;
    std::atomic<uint32_t> stop{0};
    LmuReader reader{context, names};

    Sim() {
        context.stop = &stop;
        show(page().bytes);
        EXPECT_TRUE(event.create(names.event));
    }
    static PageImage page() {
        PageImage image(324824);
        image.i(40, 1).i(44, 1).put(128464, uint8_t{1}).put(128466, uint8_t{1});
        putRaceInfo({image, 1632}, 1);
        RecordImage car{image, 2192};
        putScored(car, 7, 1000, 1, "GT3");
        car.u8(196, 1);
        return image.put(128468 + 12, 10.0);
    }
    void show(const std::vector<uint8_t>& bytes) { ASSERT_TRUE(SimObject::show(names.map, bytes)); }
    void elapsed(double value) { put(128468 + 12, value); }
    bool poll() { return reader.poll(frame); }
    bool pollAfter(double time) {
        advance(clock, time);
        return poll();
    }
};

TEST(LmuReader, OpensOnlyAWholeLivingSim) {
    Sim sim;
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.reader.open()) << "again, at any time";
    EXPECT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.playerCarIdx, 7);
    EXPECT_FALSE(sim.poll()) << "the same millisecond";
    sim.elapsed(10.0009);
    EXPECT_FALSE(sim.poll());
    sim.elapsed(10.001);
    EXPECT_TRUE(sim.poll());
    sim.reader.close();
    sim.reader.close();
    EXPECT_FALSE(sim.reader.isConnected());
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.waitForData(1));

    sim.event.close();
    EXPECT_FALSE(sim.reader.open()) << "no event";
    ASSERT_TRUE(sim.event.create(sim.names.event));
    sim.show(std::vector<uint8_t>(324823));
    EXPECT_FALSE(sim.reader.open()) << "too short";
    sim.show(Sim::page().bytes);
    EXPECT_TRUE(sim.reader.open());
    sim.writer.close(true);
    EXPECT_FALSE(sim.reader.open()) << "a leftover";
    EXPECT_FALSE(sim.reader.isConnected());
    sim.show({1});
}

TEST(LmuReader, WakesWithTheSimsEvent) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        sim.event.signal();
    });
    const double start = seconds();
    EXPECT_TRUE(sim.reader.waitForData(4 * kPatienceMs));
    EXPECT_LT(seconds() - start, kPatienceMs / 1000.0);
    later.join();
}

TEST(LmuReader, GoneAfterFiveSecondsWithoutASample) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    EXPECT_FALSE(sim.pollAfter(1));
    EXPECT_FALSE(sim.pollAfter(4.9));
    sim.elapsed(11);
    EXPECT_TRUE(sim.poll()) << "a sample clears the count";
    sim.put(128466, uint8_t{0}); // the player has left his car
    EXPECT_FALSE(sim.pollAfter(1));
    EXPECT_FALSE(sim.pollAfter(5));
    EXPECT_TRUE(sim.reader.isConnected());
    EXPECT_FALSE(sim.pollAfter(0.001));
    EXPECT_FALSE(sim.reader.isConnected());
    EXPECT_FALSE(sim.poll());
    EXPECT_EQ(sim.frame.connected, 0);
}

TEST(LmuReader, CopiesOnlyWhatIsNew) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    sim.put(2192 + 104, 2000.0);
    sim.put(40, 0); // scoring is as it was
    sim.elapsed(11);
    ASSERT_TRUE(sim.poll());
    EXPECT_EQ(playerRow(sim.frame)->lapDistPct, 0.25f);
    sim.put(40, 1);
    sim.put(44, 0); // now telemetry is
    sim.elapsed(12);
    EXPECT_FALSE(sim.poll());
    sim.put(44, 1);
    ASSERT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.sessionTime, 12);
    EXPECT_EQ(playerRow(sim.frame)->lapDistPct, 0.5f);
    sim.put(1632 + 104, 5000); // more cars than there is room for
    sim.elapsed(13);
    ASSERT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.cars.size(), 104u);
}

TEST(LmuReader, AnotherHoldersLockIsWaitedForButNotForEver) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    SharedWords words;
    ASSERT_TRUE(words.openOrCreate(sim.names.lock, 2));
    words[1] = 1;
    words[0] = 3; // others wait as well
    const double start = seconds();
    EXPECT_FALSE(sim.poll());
    EXPECT_GT(seconds() - start, 0.4);
    EXPECT_LT(seconds() - start, 30) << "half a second, and what a busy machine adds";
    EXPECT_EQ(words[0], 3u) << "the count of waiters is as it was";
    EXPECT_EQ(words[1], 1u) << "and the lock is not broken";
    EXPECT_TRUE(sim.reader.isConnected());

    sim.stop = 1; // the program ends
    EXPECT_LT(quickestOf([&] { EXPECT_FALSE(sim.poll()); }, 0.2), 0.2);
    EXPECT_EQ(words[0], 3u);
    sim.stop = 0;

    NamedEvent event;
    ASSERT_TRUE(event.open(sim.names.lockEvent));
    // The reader sleeps for half a second; a busy machine may let the holder come too late.
    const auto givenBack = [&] {
        words[1] = 1;
        std::atomic<bool> over{false};
        std::thread holder([&] {
            while (words[0] == 3 && !over)
                std::this_thread::yield();
            if (over) return;
            words[1] = 0;
            event.signal();
        });
        const bool taken = sim.poll();
        over = true;
        holder.join();
        return taken;
    };
    EXPECT_TRUE(eventually(givenBack)) << "given back while the reader slept";
    EXPECT_EQ(words[0], 3u);
    EXPECT_EQ(words[1], 0u);

    ASSERT_EQ(truncate(("/dev/shm/" + sim.names.lock).c_str(), 0), 0);
    sim.elapsed(11);
    EXPECT_FALSE(sim.poll()) << "no fault on a lock that shrank";
}

/// Removes what killed sims left behind.
struct Sweeper {
    LmuNames names;
    ~Sweeper() {
        SharedMapWriter map;
        NamedEvent event, lockEvent;
        EXPECT_TRUE(map.create(names.map, 1) && event.create(names.event) &&
                    lockEvent.create(names.lockEvent));
    }
};

/// A sim in a process of its own that takes the lock and dies over it once it is told to.
struct DoomedSim {
    pid_t child = -1;
    int go[2] = {-1, -1};

    explicit DoomedSim(const LmuNames& names) {
        int ready[2];
        if (pipe(ready) != 0 || pipe(go) != 0) return;
        child = fork();
        if (child == 0) {
            const PageImage page = Sim::page();
            SharedMapWriter writer;
            NamedEvent event;
            LmuLock lock;
            if (!writer.create(names.map, page.bytes.size()) || !event.create(names.event) ||
                !lock.open(names.lock, names.lockEvent))
                _exit(1);
            std::copy(page.bytes.begin(), page.bytes.end(), writer.data());
            char byte = 0;
            if (write(ready[1], "r", 1) != 1 || read(go[0], &byte, 1) != 1) _exit(1);
            if (!lock.take(never) || write(ready[1], "l", 1) != 1) _exit(1);
            for (;;)
                pause();
        }
        readyEnd = ready[0];
        close(ready[1]);
        next();
    }
    ~DoomedSim() {
        die();
        close(readyEnd);
        close(go[0]);
        close(go[1]);
    }
    void next() const {
        char byte = 0;
        EXPECT_EQ(read(readyEnd, &byte, 1), 1);
    }
    void takeLock() const {
        EXPECT_EQ(write(go[1], "g", 1), 1);
        next();
    }
    void die() {
        if (child <= 0) return;
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        child = -1;
    }
    int readyEnd = -1;
};

TEST(LmuReader, ASimKilledInTheLockIsGoneAndItsNextRunWorks) {
    ReaderDesk desk;
    const LmuNames names = ownNames();
    const Sweeper sweeper{names};
    LmuReader reader(desk.context, names);
    double quickest = 1e9;
    for (int run = 0; run < 20 && quickest >= 0.3; ++run) {
        DoomedSim first(names);
        ASSERT_TRUE(reader.open());
        ASSERT_TRUE(reader.poll(desk.frame));
        first.takeLock();
        first.die();
        const double start = seconds();
        EXPECT_FALSE(reader.poll(desk.frame));
        quickest = std::min(quickest, seconds() - start);
        EXPECT_FALSE(reader.isConnected());
        EXPECT_FALSE(reader.open()) << "nobody writes what is left there";
    }
    EXPECT_LT(quickest, 0.3) << "it waits for the lock of a dead sim";

    DoomedSim second(names);
    ASSERT_TRUE(reader.open());
    EXPECT_TRUE(reader.poll(desk.frame));
    second.takeLock(); // it can be had, and is given back by nobody
    second.die();
    // The third run comes before the reader has seen that the second died: the lock is still taken,
    // and the reader holds the object.
    DoomedSim third(names);
    EXPECT_FALSE(reader.poll(desk.frame));
    EXPECT_TRUE(reader.isConnected());
    advance(desk.clock, 5.1);
    EXPECT_FALSE(reader.poll(desk.frame));
    EXPECT_FALSE(reader.isConnected());
    EXPECT_TRUE(reader.open());
    EXPECT_TRUE(reader.poll(desk.frame)) << "the forsaken lock was freed";
    third.takeLock();
}

TEST(LmuReader, NoCopyIsTorn) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    std::atomic<bool> stop{false};
    // Under the lock all cars have one and the same lap counter.
    std::thread writer([&] {
        LmuLock lock;
        ASSERT_TRUE(lock.open(sim.names.lock, sim.names.lockEvent));
        for (int n = 1; !stop; ++n) {
            if (!lock.take(never)) continue;
            sim.put(1632 + 104, 104);
            for (size_t car = 0; car < 104; ++car)
                sim.put(2192 + car * 584 + 100, static_cast<int16_t>(n));
            sim.elapsed(20 + n * 0.001);
            lock.release();
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    });
    int good = 0;
    const auto end = seconds() + kPatienceMs / 1000.0;
    bool whole = true;
    while (good < 200 && whole && seconds() < end) {
        if (!sim.poll()) continue;
        ++good;
        for (const CarRow& row : sim.frame.cars)
            whole = whole && row.lap == sim.frame.cars.front().lap;
    }
    stop = true;
    writer.join();
    EXPECT_TRUE(whole) << good;
    EXPECT_GT(good, 50);
}

} // namespace
} // namespace vt::test
