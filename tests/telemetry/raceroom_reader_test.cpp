// RaceRoom's reader against sims of other versions, stopped, killed and shrunk ones.
#include "support/page_image.h"
#include "telemetry/coach_log.h"
#include "telemetry/readers/raceroom_reader.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace vt::test {
namespace {

struct Sim : SimObject {
    std::string name = ownName("raceroom");
    RaceRoomReader reader{{name}};
    SimFrame frame;

    Sim() { show(page().bytes); }
    static PageImage page(size_t size = 43996) {
        PageImage image(size);
        return image.i(0, 3).i(8, 2008).i(12, 328).i(2008, 1);
    }
    void show(const std::vector<uint8_t>& bytes) { ASSERT_TRUE(SimObject::show(name, bytes)); }
    void tick(int32_t value) { put(44, value); }
    bool poll() { return reader.poll(frame); }
};

TEST(RaceRoomReader, OpensOnlyTheLayoutThatItReads) {
    Sim sim;
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.poll()); // tick 0 is new
    EXPECT_FALSE(sim.poll());
    const std::pair<size_t, int32_t> bad[] = {{0, 2},    {0, 4},     {8, 2012}, {8, 0},
                                              {12, 329}, {12, -328}, {2008, 0}, {2008, -1}};
    for (const auto& [offset, value] : bad) {
        sim.show(Sim::page().i(offset, value).bytes);
        EXPECT_FALSE(sim.reader.open()) << offset << " " << value;
        EXPECT_FALSE(sim.reader.isConnected());
    }
    sim.show(Sim::page(43995).bytes);
    EXPECT_FALSE(sim.reader.open());
    sim.show(Sim::page(45056).bytes);
    EXPECT_TRUE(sim.reader.open());
    sim.writer.close(true);
    EXPECT_FALSE(sim.reader.open());
    SharedMapWriter cleaner;
    EXPECT_TRUE(cleaner.create(sim.name, 1));
}

TEST(RaceRoomReader, GoneAfter151PollsWithoutATick) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    for (int i = 0; i < 150; ++i)
        ASSERT_FALSE(sim.poll());
    sim.tick(-7); // any new value will do
    EXPECT_TRUE(sim.poll());
    sim.put(0, int32_t{4}); // another version: no frame, whatever the tick says
    for (int i = 0; i < 150; ++i) {
        sim.tick(i);
        ASSERT_FALSE(sim.poll());
    }
    EXPECT_TRUE(sim.reader.isConnected());
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
    EXPECT_FALSE(sim.poll());
    EXPECT_EQ(sim.frame.connected, 0);
}

TEST(RaceRoomReader, ADeadOrShrunkSimIsGoneWithoutAFault) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    {
        SharedMapWriter shorter;
        ASSERT_TRUE(shorter.create(sim.name, 100));
        EXPECT_FALSE(sim.poll());
        EXPECT_TRUE(sim.reader.isConnected());
        shorter.close(true);
    }
    sim.writer.close();
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
}

TEST(RaceRoomReader, ARefusedVersionIsLoggedOnce) {
    const auto folder = std::filesystem::temp_directory_path() / ownName("raceroom_log");
    Clock clock = manualClock();
    coachLogOpen(folder, clock);
    Sim sim;
    sim.show(Sim::page().i(0, 4).bytes);
    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(sim.reader.open());
    coachLogOpen("", clock);
    std::ifstream in(folder / "logs" / "coach.log");
    const std::string log{std::istreambuf_iterator<char>(in), {}};
    EXPECT_NE(log.find("RaceRoom: version 4"), log.npos) << log;
    EXPECT_EQ(log.find("RaceRoom:"), log.rfind("RaceRoom:")) << log;
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace vt::test
