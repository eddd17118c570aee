// The Assetto Corsa family's readers against mappings that are absent, short, torn, left over, or
// taken over by another sim of the family.
#include "support/eventually.h"
#include "telemetry/readers/ac_reader.h"
#include "telemetry/readers/acc_reader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vt {
namespace {

AcNames testNames() {
    const std::string base = "vt_test_ac_" + std::to_string(getpid());
    return {base + "_p", base + "_g", base + "_s"};
}

/// A sim inside this process; the reader sees it as it would see another one.
struct Sim {
    AcNames names = testNames();
    SharedMapWriter physics, graphics, statics;
    Clock clock = manualClock();
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{clock, scan, nullptr, steer, {0}, nullptr, {}};
    SimFrame frame;

    void start(const AcPageSizes& sizes) {
        ASSERT_TRUE(physics.create(names.physics, sizes.physics));
        ASSERT_TRUE(graphics.create(names.graphics, sizes.graphics));
        ASSERT_TRUE(statics.create(names.statics, sizes.statics));
        step();
    }
    /// As a kill does it: the names stay.
    void die() {
        physics.close(true);
        graphics.close(true);
        statics.close(true);
    }
    template <class T>
    void set(SharedMapWriter& page, size_t word, T value) {
        std::memcpy(page.data() + acWord(word), &value, sizeof value);
    }
    int32_t id() const {
        int32_t value = 0;
        std::memcpy(&value, physics.data(), sizeof value);
        return value;
    }
    void step() { set(physics, 0, id() + 1); }
    bool poll(SimReader& reader) {
        advance(clock, 0.033);
        return reader.poll(frame);
    }
    /// Polls without news until the reader gives up; how many.
    int missesUntilGone(SimReader& reader) {
        int polls = 0;
        while (reader.isConnected() && polls < 1000) {
            EXPECT_FALSE(poll(reader));
            ++polls;
        }
        return polls;
    }
};

TEST(AcReader, OpensWhatAWriterHolds) {
    Sim sim;
    AcReader reader(sim.context, sim.names);
    EXPECT_FALSE(reader.open());
    sim.frame.connected = 1;
    EXPECT_FALSE(sim.poll(reader));
    EXPECT_EQ(sim.frame.connected, 0);
    ASSERT_TRUE(sim.physics.create(sim.names.physics, kAcSizes.physics));
    EXPECT_FALSE(reader.open()) << "the graphics page is missing";
    ASSERT_TRUE(sim.graphics.create(sim.names.graphics, kAcSizes.graphics));
    EXPECT_TRUE(reader.open()) << "the static page may be";
    EXPECT_TRUE(sim.poll(reader)) << "the first look is news";
    EXPECT_FALSE(sim.poll(reader));
    EXPECT_STREQ(sim.frame.trackName, "");

    // The static page comes a little later.
    ASSERT_TRUE(sim.statics.create(sim.names.statics, kAcSizes.statics));
    sim.set(sim.statics, 130, 4321.0f);
    for (int i = 0; i < 40; ++i) {
        sim.step();
        EXPECT_TRUE(sim.poll(reader));
    }
    EXPECT_FLOAT_EQ(sim.frame.trackLength, 4321);
    reader.close();
    reader.close();
    EXPECT_FALSE(reader.isConnected());

    sim.die();
    EXPECT_FALSE(reader.open()) << "left over, nobody writes";
    for (const std::string& name : {sim.names.physics, sim.names.graphics, sim.names.statics})
        shm_unlink(("/" + name).c_str());
}

TEST(AcReader, GivesUpAfterMissesOrWithTheWriter) {
    Sim sim;
    sim.start(kAcSizes);
    AcReader reader(sim.context, sim.names);
    ASSERT_TRUE(reader.open());
    ASSERT_TRUE(sim.poll(reader));
    for (int i = 0; i < 150; ++i)
        EXPECT_FALSE(sim.poll(reader));
    EXPECT_TRUE(reader.isConnected());
    sim.step();
    EXPECT_TRUE(sim.poll(reader)) << "a long pause is a pause";
    EXPECT_EQ(sim.missesUntilGone(reader), 151);
    EXPECT_EQ(sim.frame.connected, 0);

    ASSERT_TRUE(reader.open());
    ASSERT_TRUE(sim.poll(reader));
    sim.die();
    EXPECT_LE(sim.missesUntilGone(reader), 15) << "half a second after the kill";
    EXPECT_FALSE(reader.open());
    sim.start(kAcSizes);
    EXPECT_TRUE(reader.open()) << "and back";
    EXPECT_TRUE(sim.poll(reader));
}

TEST(AcReader, AnotherSimUnderTheSameNamesEndsTheConnection) {
    const struct {
        AcPageSizes before, after;
        int32_t runs; // the family's program that runs now
        bool stays;
    } cases[] = {
        {kAcSizes, kAccSizes, kSimAcc, false},
        {kAcSizes, kAcRallySizes, -1, false}, // the size alone tells
        {kAcSizes, {580, 1588, 820}, -1, false},
        {kAcSizes, kAcSizes, kSimAcRally, false}, // the program alone tells
        {kAcSizes, kAcSizes, kSimAc, true},       // the same sim, restarted quickly
        {kAcSizes, kAcSizes, -1, true},           // nothing speaks against it
    };
    for (const auto& c : cases) {
        Sim sim;
        sim.start(c.before);
        sim.set(sim.physics, 0, 5000);
        sim.scan.acFamilyKind = kSimAc;
        AcReader reader(sim.context, sim.names);
        ASSERT_TRUE(reader.open());
        ASSERT_TRUE(sim.poll(reader));
        sim.die();
        EXPECT_FALSE(sim.poll(reader));
        sim.start(c.after);
        sim.scan.acFamilyKind = c.runs;
        EXPECT_EQ(sim.poll(reader), c.stays) << c.after.physics << " " << c.runs;
        EXPECT_EQ(reader.isConnected(), c.stays) << c.after.physics << " " << c.runs;
    }
}

TEST(AcReader, AnotherSimThatCountsOnIsSeenByThePause) {
    Sim sim;
    sim.start(kAcSizes);
    sim.scan.acFamilyKind = kSimAc;
    AcReader reader(sim.context, sim.names);
    ASSERT_TRUE(reader.open());
    ASSERT_TRUE(sim.poll(reader));
    for (int i = 0; i < 20; ++i)
        sim.poll(reader);
    sim.set(sim.physics, 0, 70'000);
    sim.scan.acFamilyKind = kSimAcc;
    EXPECT_FALSE(sim.poll(reader));
    EXPECT_FALSE(reader.isConnected());
}

/// Fills an object with what a hostile or newer sim might leave there.
void fillWith(SharedMapWriter& page, uint8_t byte, size_t from) {
    if (from < page.size()) std::memset(page.data() + from, byte, page.size() - from);
}

TEST(AcReader, ReadsNothingBehindThePagesOfItsSim) {
    Sim sim;
    sim.start({4096, 4096, 4096});
    AcReader ac(sim.context, sim.names);
    AcRallyReader rally(sim.context, sim.names);
    sim.set(sim.physics, 7, 100.0f);
    const auto framesOf = [&](SimReader& reader) {
        sim.step();
        EXPECT_TRUE(reader.open());
        EXPECT_TRUE(sim.poll(reader));
        return sim.frame;
    };
    const SimFrame acClean = framesOf(ac), rallyClean = framesOf(rally);
    fillWith(sim.physics, 0x3F, kAcSizes.physics);
    fillWith(sim.graphics, 0x3F, kAcSizes.graphics);
    const SimFrame acSpoilt = framesOf(ac);
    EXPECT_EQ(acSpoilt.maxRpm, acClean.maxRpm);
    EXPECT_EQ(acSpoilt.slipPairSource, 0);
    EXPECT_EQ(acSpoilt.sessionFlags, acClean.sessionFlags);
    EXPECT_EQ(acSpoilt.tcLevel, acClean.tcLevel);
    fillWith(sim.physics, 0, kAcSizes.physics);
    fillWith(sim.graphics, 0, kAcSizes.graphics);
    fillWith(sim.physics, 0x3F, kAcRallySizes.physics);
    fillWith(sim.graphics, 0x3F, kAcRallySizes.graphics);
    const SimFrame rallySpoilt = framesOf(rally);
    EXPECT_EQ(rallySpoilt.maxRpm, rallyClean.maxRpm);
    EXPECT_EQ(rallySpoilt.sessionFlags, rallyClean.sessionFlags);
    EXPECT_EQ(rallySpoilt.frontSlip, rallyClean.frontSlip);
}

TEST(AcReader, TakesShortPagesAsFarAsTheyGo) {
    for (size_t size = 1; size <= 700; size += size < 40 ? 1 : 37) {
        Sim sim;
        sim.start({std::max<size_t>(size, 4), size, size});
        fillWith(sim.graphics, 0xFF, 0);
        fillWith(sim.statics, 0xFF, 0);
        AccReader acc(sim.context, sim.names);
        AcReader ac(sim.context, sim.names);
        AcRallyReader rally(sim.context, sim.names);
        for (SimReader* reader : {static_cast<SimReader*>(&ac), static_cast<SimReader*>(&rally)}) {
            ASSERT_TRUE(reader->open());
            sim.step();
            EXPECT_TRUE(sim.poll(*reader)) << size;
            EXPECT_GE(sim.frame.lapDistPct, 0);
            EXPECT_LE(sim.frame.lapDistPct, 1);
            EXPECT_GE(sim.frame.timeRemain, 0);
            reader->close();
        }
    }
    Sim tiny; // no room even for the packet id
    ASSERT_TRUE(tiny.physics.create(tiny.names.physics, 3));
    ASSERT_TRUE(tiny.graphics.create(tiny.names.graphics, 3));
    AcReader reader(tiny.context, tiny.names);
    EXPECT_FALSE(reader.open());
}

TEST(AcReader, AnObjectThatShrinksIsLeft) {
    Sim sim;
    sim.start(kAcSizes);
    AcReader reader(sim.context, sim.names);
    ASSERT_TRUE(reader.open());
    ASSERT_TRUE(sim.poll(reader));
    sim.step();
    const int fd = shm_open(("/" + sim.names.graphics).c_str(), O_RDWR, 0);
    ASSERT_EQ(ftruncate(fd, 100), 0);
    ::close(fd);
    EXPECT_FALSE(sim.poll(reader));
    EXPECT_FALSE(reader.isConnected());
}

TEST(AcReader, PagesThatAreBeingWrittenAreRarelyTorn) {
    Sim sim;
    sim.start(kAcSizes);
    AcReader reader(sim.context, sim.names);
    ASSERT_TRUE(reader.open());
    std::atomic<bool> stop{false};
    // Writes one number into gas, brake and lateral acceleration of a step, the id last.
    std::thread writer([&] {
        for (int32_t n = 1; !stop; ++n) {
            const auto value = static_cast<float>(n % 1000);
            for (const size_t word : {1, 3, 141}) {
                std::atomic_ref<float> out(
                    *reinterpret_cast<float*>(sim.physics.data() + acWord(word)));
                out.store(value, std::memory_order_relaxed);
            }
            std::atomic_ref<int32_t>(*reinterpret_cast<int32_t*>(sim.physics.data()))
                .store(n, std::memory_order_release);
            for (int i = 0; i < 2000 && !stop; ++i)
                std::atomic_signal_fence(std::memory_order_seq_cst);
        }
    });
    int frames = 0, torn = 0;
    // On a busy machine the two take turns, and every turn is one frame.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (frames < 500 && std::chrono::steady_clock::now() < end) {
        if (!reader.isConnected()) reader.open(); // so fast, a writer that waits counts as gone
        if (!sim.poll(reader)) continue;
        ++frames;
        // A step that was half done has the old number here and the new one there.
        torn += sim.frame.throttle != sim.frame.fuelLevel;
    }
    stop = true;
    writer.join();
    EXPECT_GT(frames, 20);
    RecordProperty("torn", torn);
    EXPECT_LE(torn, frames / 20 + 1) << frames;
}

TEST(AcReader, AKilledSimAndThenAnother) {
    Sim sim;
    const auto spawn = [&](AcPageSizes sizes, int32_t firstId) {
        const pid_t pid = fork();
        if (pid != 0) return pid;
        SharedMapWriter pages[3];
        pages[0].create(sim.names.physics, sizes.physics);
        pages[1].create(sim.names.graphics, sizes.graphics);
        pages[2].create(sim.names.statics, sizes.statics);
        for (int32_t id = firstId;; ++id, usleep(1000))
            std::memcpy(pages[0].data(), &id, sizeof id);
    };
    AcRallyReader rally(sim.context, sim.names);
    AcReader ac(sim.context, sim.names);
    for (int round = 0; round < 3; ++round) {
        const pid_t first = spawn(kAcRallySizes, 100'000);
        ASSERT_TRUE(test::eventually([&] { return rally.open() && sim.poll(rally); }));
        EXPECT_EQ(sim.frame.simKind, kSimAcRally);
        kill(first, SIGKILL);
        waitpid(first, nullptr, 0);
        const pid_t second = spawn(kAcSizes, 1);
        EXPECT_TRUE(test::eventually([&] {
            sim.poll(rally);
            return !rally.isConnected();
        }));
        rally.close();
        EXPECT_TRUE(test::eventually([&] { return ac.open() && sim.poll(ac); }));
        EXPECT_EQ(sim.frame.simKind, kSimAc);
        kill(second, SIGKILL);
        waitpid(second, nullptr, 0);
        sim.poll(ac); // its last words
        EXPECT_LE(sim.missesUntilGone(ac), 16);
        EXPECT_FALSE(ac.open()) << "what the dead left behind";
    }
    for (const std::string& name : {sim.names.physics, sim.names.graphics, sim.names.statics})
        shm_unlink(("/" + name).c_str());
}

TEST(AccReader, LivesWithoutABroadcastAndCleansUp) {
    Sim sim;
    sim.start(kAccSizes);
    sim.set(sim.graphics, 63, 2);
    sim.set(sim.graphics, 245, 9);
    AccReader reader(sim.context, sim.names);
    ASSERT_TRUE(reader.open());
    ASSERT_TRUE(sim.poll(reader));
    EXPECT_EQ(sim.frame.cars.size(), 2u);
    EXPECT_EQ(accBroadcastLive.load(), 0u);
    EXPECT_NE(reader.client().state(), kAccFailed);
    accBroadcastLive = 5;
    reader.close();
    EXPECT_EQ(accBroadcastLive.load(), 0u);
    EXPECT_FALSE(reader.waitForData(100));
}

} // namespace
} // namespace vt
