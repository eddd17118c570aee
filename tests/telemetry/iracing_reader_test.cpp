// The reader against a writer that is absent, wrong, fast, hostile or killed.
#include "platform/broadcast.h"
#include "support/eventually.h"
#include "support/iracing_image.h"
#include "telemetry/readers/iracing_broadcast.h"
#include "telemetry/readers/iracing_newest.h"
#include "telemetry/readers/iracing_reader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <random>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace vt {
namespace {

IRacingNames testNames() {
    IRacingNames names;
    names.map = "vt_test_iracing_" + std::to_string(getpid());
    names.event = names.map + "_event";
    return names;
}

std::string driversText(int cars) {
    std::string text = "DriverInfo:\n DriverCarIdx: 0\n Drivers:\n";
    for (int i = 0; i < cars; ++i)
        text += " - CarIdx: " + std::to_string(i) + "\n   UserName: Driver " + std::to_string(i) +
                "\n   CarNumber: \"" + std::to_string(i + 1) + "\"\n";
    return text;
}

IracingImage simpleImage(int cars = 2) {
    IracingImage image;
    image.text = driversText(cars);
    image.set("SessionTime", 100);
    image.set("Speed", 50);
    image.set("CarIdxLapDistPct", 0.25, 0);
    return image;
}

/// A sim inside this process. The reader under test sees it as it would see another process.
struct Sim {
    IRacingNames names = testNames();
    SharedMapWriter writer;
    Clock clock = manualClock();
    IRacingWants wants;
    SimFrame frame;
    IRacingReader reader{clock, wants, names};

    explicit Sim(const std::vector<uint8_t>& image = simpleImage().build()) { show(image); }

    /// Puts the image into the object that is there, as a restarted sim does.
    void show(const std::vector<uint8_t>& image) {
        writer.close(true);
        ASSERT_TRUE(writer.create(names.map, image.size()));
        std::copy(image.begin(), image.end(), writer.data());
    }
    IrHeader& header() { return *reinterpret_cast<IrHeader*>(writer.data()); }
    bool poll() { return reader.poll(frame); }
    /// A new sample in the newest buffer.
    void step() { header().varBuf[1].tickCount += 1; }
};

TEST(IracingReader, OpensOnlyWhatIsWholeAndConnected) {
    using Spoil = void (*)(IrHeader&);
    const std::pair<const char*, Spoil> bad[] = {
        {"not connected", [](IrHeader& h) { h.status = 6; }},
        {"too many variables", [](IrHeader& h) { h.numVars = 100001; }},
        {"negative variables", [](IrHeader& h) { h.numVars = -1; }},
        {"table inside the header", [](IrHeader& h) { h.varHeaderOffset = 111; }},
        {"table behind the end", [](IrHeader& h) { h.varHeaderOffset = 1 << 30; }},
        {"table over the end", [](IrHeader& h) { h.numVars = 5000; }},
        {"no sample", [](IrHeader& h) { h.bufLen = 0; }},
        {"sample beyond the object", [](IrHeader& h) { h.bufLen = 1 << 30; }},
        {"text before the object", [](IrHeader& h) { h.sessionInfoOffset = -1; }},
        {"negative text", [](IrHeader& h) { h.sessionInfoLen = -1; }},
        {"text over the end", [](IrHeader& h) { h.sessionInfoLen = INT32_MAX; }},
    };
    Sim sim;
    const IrHeader good = sim.header();
    for (const auto& [what, spoil] : bad) {
        sim.header() = good;
        spoil(sim.header());
        EXPECT_FALSE(sim.reader.open()) << what;
        EXPECT_FALSE(sim.reader.isConnected()) << what;
    }
    sim.header() = good;
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.poll());
    sim.reader.close();
    sim.reader.close();
    EXPECT_FALSE(sim.reader.isConnected());

    sim.show(std::vector<uint8_t>(111, 1));
    EXPECT_FALSE(sim.reader.open());
    sim.writer.close();
    EXPECT_FALSE(sim.reader.open());
}

TEST(IracingReader, PicksTheNewestBufferThatLiesInside) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    sim.header().numBuf = 7; // counts as four; the fourth lies outside
    sim.header().varBuf[3] = {.tickCount = 5000, .bufOffset = INT32_MAX};
    sim.header().varBuf[2] = {.tickCount = 4000, .bufOffset = -16};
    EXPECT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.sessionTime, 100);
    EXPECT_FALSE(sim.poll()); // the same tick again
    sim.step();
    EXPECT_TRUE(sim.poll());
    sim.header().numBuf = -1;
    sim.step();
    EXPECT_FALSE(sim.poll());
    EXPECT_TRUE(sim.reader.isConnected());
}

TEST(IracingReader, StaleAfterFiveSecondsWithoutASample) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    const auto wait = [&](double seconds) {
        advance(sim.clock, seconds);
        return sim.poll();
    };
    EXPECT_FALSE(wait(0.1)); // starts the count
    EXPECT_FALSE(wait(4.9));
    sim.step();
    EXPECT_TRUE(wait(0)); // and a sample clears it
    EXPECT_FALSE(wait(0));
    EXPECT_FALSE(wait(5));
    EXPECT_TRUE(sim.reader.isConnected());
    EXPECT_FALSE(wait(0.001));
    EXPECT_FALSE(sim.reader.isConnected());
    sim.step();
    EXPECT_FALSE(sim.poll());
    EXPECT_EQ(sim.frame.connected, 0);
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.poll());
}

TEST(IracingReader, AnUnchangedTextIsParsedOnce) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    for (int i = 0; i < 50; ++i, sim.step()) {
        if (i % 10 == 0) sim.header().sessionInfoUpdate += 1; // counted up for nothing
        EXPECT_TRUE(sim.poll());
    }
    EXPECT_EQ(sim.reader.counters().textParses, 1u);
    char* name = strstr(reinterpret_cast<char*>(sim.writer.data()) + sim.header().sessionInfoOffset,
                        "Driver 1");
    std::copy_n("Renamed!", 8, name);
    sim.step();
    EXPECT_TRUE(sim.poll());
    EXPECT_STREQ(sim.frame.cars[1].driverName, "Driver 1");
    sim.header().sessionInfoUpdate += 1;
    sim.step();
    EXPECT_TRUE(sim.poll());
    EXPECT_STREQ(sim.frame.cars[1].driverName, "Renamed!");

    sim.header().sessionInfoLen = INT32_MAX; // out of the object: no text, no rows
    sim.header().sessionInfoUpdate += 1;
    sim.step();
    EXPECT_TRUE(sim.poll());
    EXPECT_TRUE(sim.frame.cars.empty());
}

TEST(IracingReader, ARestartedSimInTheSameObjectIsReadAnew) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    IracingImage other = simpleImage(5); // another table, ticks going on
    other.set("RPM", 4321);
    other.tick = 2000;
    sim.show(other.build());
    EXPECT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.rpm, 4321);
    EXPECT_EQ(sim.frame.cars.size(), 5u);
    other.tick = 10; // the same layout, ticks from the start
    other.text = driversText(4) + std::string(driversText(5).size() - driversText(4).size(), ' ');
    sim.show(other.build());
    EXPECT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.cars.size(), 4u);
    EXPECT_EQ(sim.reader.counters().restarts, 2u);
    std::vector<uint8_t> broken = other.build();
    reinterpret_cast<IrHeader*>(broken.data())->numVars = 99999;
    sim.show(broken);
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
}

TEST(IracingReader, AnObjectThatShrinksIsNoFault) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    const std::string path = "/dev/shm/" + sim.names.map;
    sim.step();
    ASSERT_EQ(truncate(path.c_str(), 200), 0); // header whole, samples gone
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.open());
    ASSERT_EQ(truncate(path.c_str(), 0), 0);
    EXPECT_FALSE(sim.reader.isConnected());
    EXPECT_FALSE(sim.poll());
}

TEST(IracingReader, WaitsOnTheEventWhereThereIsOne) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    EXPECT_FALSE(sim.reader.waitForData(1));
    NamedEvent event;
    ASSERT_TRUE(event.create(sim.names.event));
    ASSERT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.reader.waitForData(1)); // also when nothing came
    event.signal();
    EXPECT_TRUE(sim.reader.waitForData(10'000));
}

/// 64 cars whose times all equal the session time, with a long gap between the first and the last
/// of them: a frame that mixes two samples shows it.
IracingImage checkedImage(int32_t gap) {
    IracingImage image;
    image.text = driversText(64);
    image.add("SessionTime", kIrDouble);
    image.add("CarIdxEstTime", kIrDouble, 64);
    image.add("Gap", kIrChar, gap);
    image.add("CarIdxF2Time", kIrDouble, 64);
    image.add("Speed", kIrDouble);
    return image;
}

TEST(IracingReader, NeverDeliversAMixedFrame) {
    Sim sim(checkedImage(50'000).build());
    ASSERT_TRUE(sim.reader.open());
    const auto length = static_cast<size_t>(sim.header().bufLen) / 8;
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        // A buffer that is being written counts as the oldest; then it becomes the newest.
        for (int32_t tick = 2000; !stop.load(); ++tick) {
            IrVarBuf& buf = sim.header().varBuf[tick % 3];
            std::atomic_ref(buf.tickCount).exchange(0); // nothing below moves before it
            auto* at = reinterpret_cast<double*>(sim.writer.data() + buf.bufOffset);
            for (size_t i = 0; i < length; ++i)
                std::memcpy(at + i, std::array{static_cast<double>(tick)}.data(), sizeof(double));
            std::atomic_ref(buf.tickCount).store(tick);
        }
    });
    int frames = 0;
    bool mixed = false;
    const auto start = std::chrono::steady_clock::now();
    const auto ran = [&](int seconds) {
        return std::chrono::steady_clock::now() - start > std::chrono::seconds(seconds);
    };
    // Torn copies come only where both run at the same time.
    while (!mixed && !(frames >= 100 && (sim.reader.counters().tornCopies >= 3 || ran(5))) &&
           !ran(30)) {
        if (!sim.poll()) continue;
        frames += 1;
        const auto tick = static_cast<float>(sim.frame.sessionTime);
        mixed = sim.frame.speed != tick || sim.frame.cars.size() != 64;
        for (const CarRow& row : sim.frame.cars)
            mixed = mixed || row.estTime != tick || row.gapToLeader != tick;
    }
    stop = true;
    writer.join();
    EXPECT_FALSE(mixed) << frames;
    EXPECT_GT(frames, 20);
    RecordProperty("torn_copies", static_cast<int>(sim.reader.counters().tornCopies));
}

/// Memory in which the sim writes again during the first `busy` copies of a sample.
struct BusyMemory {
    mutable IrHeader header;
    mutable int busy = 0;
    mutable int copies = 0;

    bool copyOut(size_t offset, void* out, size_t length) const {
        if (offset == 0) {
            std::memcpy(out, &header, length);
            return true;
        }
        copies += 1;
        std::memset(out, copies, length);
        if (busy-- > 0) header.varBuf[offset == 200].tickCount += 10;
        return true;
    }
};

TEST(IracingReader, AnotherRoundForATornCopyButNoFifth) {
    for (const int busy : {0, 1, 3, 4, 9}) {
        BusyMemory memory;
        memory.busy = busy;
        memory.header.numBuf = 2;
        memory.header.varBuf[0] = {.tickCount = 7, .bufOffset = 150};
        memory.header.varBuf[1] = {.tickCount = 8, .bufOffset = 200};
        IrHeader header = memory.header;
        std::vector<uint8_t> sample(16);
        int32_t tick = 0;
        uint64_t torn = 0;
        EXPECT_EQ(irTakeNewest(memory, 216, header, sample, tick, torn), busy < 4) << busy;
        EXPECT_EQ(torn, static_cast<uint64_t>(std::min(busy, 4)));
        EXPECT_EQ(memory.copies, std::min(busy + 1, 4));
        if (busy < 4) {
            EXPECT_EQ(tick, 8 + 10 * busy);
            EXPECT_EQ(sample[15], busy + 1); // the copy that counted
        }
    }
}

void expectSane(const SimFrame& f) {
    for (const CarRow& row : f.cars) {
        ASSERT_TRUE(row.carIdx >= 0 && row.carIdx < 64);
        ASSERT_LT(strnlen(row.driverName, sizeof row.driverName), sizeof row.driverName);
        for (const float x : {row.lapDistPct, row.estTime, row.gapToLeader, row.lastLapTime,
                              row.bestLapTime, row.lastPitTime, row.lastSectorTime})
            ASSERT_TRUE(std::isfinite(x));
    }
    for (const float x : {f.speed, f.rpm, f.throttle, f.trackLength, f.slipAngle, f.slipRate,
                          f.balance, f.tyreTemp[0], f.fuelCapacity, f.classPowerAdjust})
        ASSERT_TRUE(std::isfinite(x));
    ASSERT_LT(strnlen(f.setupText, sizeof f.setupText), sizeof f.setupText);
}

TEST(IracingReader, SurvivesRandomHeadersTablesAndTexts) {
    IracingImage image = simpleImage(64);
    image.text += "SplitTimeInfo:\n SectorStartPct: 0.5\n"
                  "CarSetup:\n UpdateCount: 1\n A:\n  B: 1\n"
                  "SessionInfo:\n Sessions:\n - SessionNum: 0\n   SessionType: Race\n";
    image.set("SessionNum", 0);
    image.set("VelocityX", 3);
    image.set("VelocityY", 3);
    const std::vector<uint8_t> good = image.build();
    const auto textStart = static_cast<uint32_t>(readAt<IrHeader>(good, 0).sessionInfoOffset);
    Sim sim(good);
    std::mt19937 generator(20240917);
    const auto random = [&] { return static_cast<uint32_t>(generator()); };
    constexpr uint32_t nasty[] = {0,          1,          0x7FFFFFFF, 0x80000000, 0xFFFFFFFF,
                                  0x7FC00000, 0x40000000, 100000,     64,         111};
    int opened = 0, frames = 0;
    for (int round = 0; round < 4000; ++round) {
        std::copy(good.begin(), good.end(), sim.writer.data());
        // Header words, table words or bytes anywhere; half of them before `open`, half after.
        const auto spoil = [&] {
            const uint32_t limits[] = {sizeof(IrHeader), textStart,
                                       static_cast<uint32_t>(good.size() - 4)};
            for (uint32_t n = random() % 6; n > 0; --n) {
                const size_t at = random() % limits[random() % 3] / 4 * 4;
                const uint32_t word = random() % 2 ? nasty[random() % std::size(nasty)] : random();
                std::memcpy(sim.writer.data() + at, &word, sizeof word);
            }
            sim.header().status |= kIrStatusConnected;
        };
        if (round % 2) spoil();
        if (!sim.reader.open()) continue;
        opened += 1;
        for (int i = 0; i < 3; ++i) {
            if (sim.poll()) {
                frames += 1;
                expectSane(sim.frame);
            }
            spoil();
            sim.header().sessionInfoUpdate ^= 1;
            sim.header().varBuf[1].tickCount ^= 1;
        }
    }
    EXPECT_GT(opened, 2000);
    EXPECT_GT(frames, 2000);
}

/// Another process that is a sim until it is killed.
pid_t startSim(const IRacingNames& names, int cars) {
    const pid_t child = fork();
    if (child != 0) return child;
    const std::vector<uint8_t> image = simpleImage(cars).build();
    SharedMapWriter writer;
    if (!writer.create(names.map, image.size())) _exit(1);
    std::copy(image.begin(), image.end(), writer.data());
    for (;;) {
        reinterpret_cast<IrHeader*>(writer.data())->varBuf[1].tickCount += 1;
        usleep(5'000);
    }
}

TEST(IracingReader, NoticesAKilledSimAndFindsTheNext) {
    const IRacingNames names = testNames();
    const Clock clock;
    const IRacingWants wants;
    IRacingReader reader(clock, wants, names);
    SimFrame frame;
    const auto killSim = [](pid_t sim) {
        kill(sim, SIGKILL);
        waitpid(sim, nullptr, 0);
    };
    const pid_t first = startSim(names, 3);
    ASSERT_GT(first, 0);
    EXPECT_TRUE(test::eventually([&] { return reader.open() && reader.poll(frame); }));
    EXPECT_EQ(frame.cars.size(), 3u);
    killSim(first);
    EXPECT_TRUE(test::eventually([&] { return !reader.isConnected(); }));
    EXPECT_FALSE(reader.poll(frame));
    EXPECT_EQ(frame.connected, 0);
    EXPECT_FALSE(reader.open()); // what the killed sim left behind says "connected"

    const pid_t second = startSim(names, 4);
    ASSERT_GT(second, 0);
    EXPECT_TRUE(test::eventually([&] { return reader.open() && reader.poll(frame); }));
    EXPECT_EQ(frame.cars.size(), 4u);
    killSim(second);
    unlink(("/dev/shm/" + names.map).c_str());
}

TEST(IracingBroadcast, PacksTheCommandIntoTheMessage) {
    BroadcastListener listener;
    if (!listener.listen("IRSDK_BROADCASTMSG")) GTEST_SKIP() << "another program listens";
    EXPECT_TRUE(irBroadcast(9, 2, 45));
    EXPECT_TRUE(irBroadcast(12, 0xFFFF, -1));
    BroadcastMessage got;
    ASSERT_TRUE(listener.take(got));
    EXPECT_EQ(got.wParam, 0x20009u);
    EXPECT_EQ(got.lParam, 45);
    ASSERT_TRUE(listener.take(got));
    EXPECT_EQ(got.wParam, 0xFFFF000Cu);
    EXPECT_EQ(got.lParam, -1);
    // Telemetry files are ordered with the first frame of each connection.
    IrTelemetryOrder order;
    SimFrame frame;
    frame.simKind = kSimIRacing;
    const auto orders = [&](bool connected, bool demo, bool wanted) {
        frame.connected = connected;
        irOrderTelemetry(order, frame, demo, wanted);
        int count = 0;
        while (listener.take(got))
            count += got.wParam == 0x1000Au && got.lParam == 0;
        return count;
    };
    EXPECT_EQ(orders(true, true, true), 0) << "the demo race";
    EXPECT_EQ(orders(false, false, true), 0);
    EXPECT_EQ(orders(true, false, true), 1);
    EXPECT_EQ(orders(true, false, true), 0);
    EXPECT_EQ(orders(false, false, true), 0);
    EXPECT_EQ(orders(true, false, false), 0);
    EXPECT_EQ(orders(true, false, true), 0) << "switched on later: with the next connection";
    listener.close();
    EXPECT_FALSE(irBroadcast(5, 8, 0));
}

} // namespace
} // namespace vt
