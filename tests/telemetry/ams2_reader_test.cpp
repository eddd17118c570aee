// Automobilista 2's reader against a sim that writes, stops, dies over a page or is not there.
#include "support/page_image.h"
#include "telemetry/readers/ams2_copy.h"
#include "telemetry/readers/ams2_reader.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vt::test {
namespace {

constexpr size_t kSequence = 7320;

struct Sim : ReaderDesk, SimObject {
    std::string name = ownName("ams2");
    Ams2Reader reader{context, {name}};

    Sim() { show(page().bytes); }
    static PageImage page(size_t size = 19248) {
        PageImage image(size);
        image.i(8, 2).i(20, 0).i(24, 1).f(6848, 40);
        image.put(28, uint8_t{1});
        return image;
    }
    void show(const std::vector<uint8_t>& bytes) { ASSERT_TRUE(SimObject::show(name, bytes)); }
    void sequence(uint32_t value) { put(kSequence, value); }
    bool poll() { return reader.poll(frame); }
};

TEST(Ams2Reader, OpensAWholePageOfALivingSim) {
    Sim sim;
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.poll()); // sequence 0 is new
    EXPECT_EQ(sim.frame.speed, 40);
    EXPECT_FALSE(sim.poll());
    sim.reader.close();
    sim.reader.close();
    EXPECT_FALSE(sim.reader.isConnected());
    EXPECT_FALSE(sim.poll());

    sim.show(std::vector<uint8_t>(19247));
    EXPECT_FALSE(sim.reader.open());
    sim.show(Sim::page(20480).bytes); // whole pages of memory
    EXPECT_TRUE(sim.reader.open());
    sim.writer.close(true); // the name stays, the sim does not
    EXPECT_FALSE(sim.reader.open());
    EXPECT_FALSE(sim.reader.isConnected());
    sim.show(Sim::page().bytes);
    sim.writer.close();
    EXPECT_FALSE(sim.reader.open());
}

TEST(Ams2Reader, GoneAfter151PollsWithoutNews) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    for (uint32_t round = 0; round < 2; ++round) {
        sim.sequence(2 + round * 2);
        ASSERT_TRUE(sim.poll());
        for (int i = 0; i < 150; ++i)
            ASSERT_FALSE(sim.poll());
        EXPECT_TRUE(sim.reader.isConnected());
    }
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
    EXPECT_FALSE(sim.poll());
    EXPECT_EQ(sim.frame.connected, 0);
}

TEST(Ams2Reader, AnOddSequenceIsNoMissButDoesNotLastForEver) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    sim.sequence(7);
    for (int i = 0; i < 200; ++i) // more than the misses that end a connection
        EXPECT_FALSE(sim.poll());
    EXPECT_TRUE(sim.reader.isConnected());
    advance(sim.clock, 4.9);
    EXPECT_FALSE(sim.poll());
    EXPECT_TRUE(sim.reader.isConnected());
    sim.sequence(9); // another write: the clock starts anew
    EXPECT_FALSE(sim.poll());
    advance(sim.clock, 4.9);
    EXPECT_FALSE(sim.poll());
    EXPECT_TRUE(sim.reader.isConnected());
    sim.sequence(10);
    EXPECT_TRUE(sim.poll());
    sim.sequence(11);
    EXPECT_FALSE(sim.poll());
    advance(sim.clock, 5.1);
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
}

TEST(Ams2Reader, ASimKilledOverAPageIsGoneAtOnce) {
    ReaderDesk desk;
    const std::string name = ownName("ams2_killed");
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        SharedMapWriter writer;
        const PageImage page = Sim::page();
        if (!writer.create(name, page.bytes.size())) _exit(1);
        std::copy(page.bytes.begin(), page.bytes.end(), writer.data());
        if (write(ready[1], "r", 1) != 1) _exit(1);
        for (uint32_t sequence = 1;; sequence += 2) { // odd whenever it is looked at
            std::memcpy(writer.data() + kSequence, &sequence, sizeof sequence);
            std::memset(writer.data() + 28, static_cast<int>(sequence), 6400);
        }
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    Ams2Reader reader(desk.context, {name});
    ASSERT_TRUE(reader.open());
    reader.poll(desk.frame);
    EXPECT_TRUE(reader.isConnected());
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(reader.poll(desk.frame));
    EXPECT_FALSE(reader.isConnected());
    EXPECT_FALSE(reader.open()); // what it left behind is still there
    SharedMapWriter taker;
    EXPECT_TRUE(taker.create(name, sizeof(Ams2Page)));
    EXPECT_TRUE(reader.open());
    close(ready[0]);
    close(ready[1]);
}

TEST(Ams2Reader, AShrunkPageIsAMissAndNoFault) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    SharedMapWriter shorter;
    ASSERT_TRUE(shorter.create(sim.name, 100));
    for (int i = 0; i < 151; ++i)
        EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
    EXPECT_FALSE(sim.reader.open());
}

/// A page whose sequence number has another value at each look. The speed in a copy says between
/// which two looks it was made.
struct ScriptedMap {
    std::vector<uint32_t> sequences;
    mutable size_t looks = 0;

    bool read(size_t offset, uint32_t& out) const {
        EXPECT_EQ(offset, kSequence);
        if (looks >= sequences.size()) return false;
        out = sequences[looks++];
        return true;
    }
    bool read(size_t offset, Ams2Page& out) const {
        EXPECT_EQ(offset, 0u);
        out.speed = static_cast<float>(looks);
        return true;
    }
};

TEST(Ams2Reader, ACopyCountsWhenNobodyWroteMeanwhile) {
    struct Case {
        std::vector<uint32_t> sequences;
        Ams2Copy result;
        float copied; // after so many looks
    };
    const Case cases[] = {
        {{4, 4}, Ams2Copy::fresh, 1},
        {{4, 5, 6, 6}, Ams2Copy::fresh, 3}, // written to meanwhile
        {{4, 6, 6, 6}, Ams2Copy::fresh, 3},
        {{3, 3, 3, 4, 4}, Ams2Copy::fresh, 4},
        {{3, 3, 3, 3, 4, 4}, Ams2Copy::busy, 0},
        {{4, 6, 8, 10, 12, 14, 16, 18, 20, 20}, Ams2Copy::busy, 7},
        {{2}, Ams2Copy::old, 0},
        {{3, 2}, Ams2Copy::old, 0},
        {{}, Ams2Copy::old, 0},
        {{4}, Ams2Copy::old, 1}, // shrank during the copy
        {{0xFFFFFFFE, 0xFFFFFFFE}, Ams2Copy::fresh, 1},
    };
    for (const Case& c : cases) {
        const ScriptedMap map{c.sequences};
        Ams2Page page;
        uint32_t sequence = 0;
        EXPECT_EQ(ams2Copy(map, page, 2, sequence), c.result)
            << testing::PrintToString(c.sequences);
        EXPECT_EQ(page.speed, c.copied) << testing::PrintToString(c.sequences);
        if (c.result == Ams2Copy::fresh) {
            EXPECT_EQ(sequence, c.sequences[map.looks - 1]);
        }
    }
}

} // namespace
} // namespace vt::test
