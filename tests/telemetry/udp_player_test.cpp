// The readers of datagrams and the program that plays the sims, in processes of their own.
#include "platform/process_list.h"
#include "support/child_process.h"
#include "support/udp_desk.h"
#include "telemetry/readers/dirt_rally2_reader.h"
#include "telemetry/readers/ea_wrc_reader.h"
#include "telemetry/readers/f1_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

namespace vt {
namespace {

using test::ChildProcess;

std::string playerProgram() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return (self.parent_path().parent_path() / "tools" / "sim_player").string();
}

class PlayedDatagrams : public testing::Test {
protected:
    test::UdpDesk desk_;
    SimFrame frame_;
    const std::string suffix_ = "_test" + std::to_string(getpid());
    const std::string map_ = kSiblingMapName + suffix_;

    void SetUp() override {
        if (access(playerProgram().c_str(), X_OK) != 0)
            GTEST_SKIP() << "sim_player is not built beside the tests";
        desk_.place.siblingMap = map_.c_str(); // which forwards to the next port up
        desk_.context.lister = listProcessNames;
    }
    void TearDown() override {
        unlink(("/dev/shm/" + std::string(sharedObjectName(map_))).c_str());
    }

    std::vector<std::string> words(const std::string& sim, std::vector<std::string> more = {}) {
        std::vector<std::string> all = {
            playerProgram(), sim, "--port", std::to_string(desk_.place.port), "--suffix", suffix_};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    bool connect(SimReader& reader) {
        return test::eventually([&] { return reader.open(); }) &&
               test::eventually([&] { return desk_.poll(reader, frame_) && frame_.rpm > 0; });
    }
    /// The list of programs is looked at every three seconds of the hand-turned clock.
    bool within3s(auto& reader, const auto& condition) {
        return test::eventually([&] {
            const bool heard = desk_.poll(reader, frame_);
            if (condition()) return true;
            // However rarely the sim gets its turn, the silence must not end the connection. A
            // new port has six seconds of grace.
            if (heard || reader.stage().forwarded()) advance(desk_.clock, 0.5);
            return false;
        });
    }
};

TEST_F(PlayedDatagrams, TheSiblingTakesThePortAndDiesWithIt) {
    ChildProcess sim(words("dirtrally2"));
    DirtRally2Reader reader(desk_.context, desk_.place);
    ASSERT_TRUE(connect(reader));
    EXPECT_FALSE(reader.stage().forwarded());
    {
        ChildProcess sibling(words("sibling", {"--extra", "game=10,serving=1"}));
        ASSERT_TRUE(within3s(reader, [&] { return reader.stage().forwarded(); }));
        EXPECT_EQ(reader.stage().port(), desk_.place.forwardedPort);
        ASSERT_TRUE(sibling.waitFor("serving port", test::kPatienceMs)) << "it found the port free";
        EXPECT_TRUE(test::eventually([&] { return desk_.poll(reader, frame_); }))
            << "forwarded datagrams arrive";
        EXPECT_TRUE(reader.isConnected());
        sibling.signal(SIGKILL);
    }
    ASSERT_TRUE(within3s(reader, [&] { return !reader.stage().forwarded(); }));
    EXPECT_EQ(reader.stage().port(), desk_.place.port);
    EXPECT_TRUE(test::eventually([&] { return desk_.poll(reader, frame_); }));
}

TEST_F(PlayedDatagrams, ARaceOfF1ComesOutAsItWasDriven) {
    ChildProcess sim(words("f1", {"--cars", "22", "--skip", "120", "--laps", "12"}));
    F1Reader reader(desk_.context, desk_.place);
    ASSERT_TRUE(connect(reader));
    ASSERT_TRUE(test::eventually([&] {
        // Each kind of packet has a rate of its own.
        return desk_.poll(reader, frame_) && frame_.cars.size() == 22 && frame_.trackLength > 0 &&
               frame_.maxRpm > 0 && frame_.fuelLevel > 0 &&
               std::all_of(frame_.cars.begin(), frame_.cars.end(), [](const CarRow& car) {
                   return car.position > 0 && car.driverName[0] && car.carNumberValue > 0;
               });
    }));
    EXPECT_EQ(frame_.cars.size(), 22u);
    EXPECT_STREQ(frame_.sessionName, "Race");
    EXPECT_EQ(frame_.timedSession, 0);
    EXPECT_GT(frame_.lapsRemain, 0);
    EXPECT_LE(frame_.lapsRemain, 12);
    std::vector<int> seen(23);
    for (const CarRow& car : frame_.cars) {
        ASSERT_TRUE(car.position >= 1 && car.position <= 22);
        ++seen[static_cast<size_t>(car.position)];
        EXPECT_NE(car.driverName[0], '\0');
        EXPECT_GT(car.carNumberValue, 0);
    }
    for (int position = 1; position <= 22; ++position)
        EXPECT_EQ(seen[static_cast<size_t>(position)], 1) << position;
    const CarRow* player = playerRow(frame_);
    ASSERT_NE(player, nullptr);
    EXPECT_EQ(player->lap, frame_.lap);
    EXPECT_GT(frame_.maxRpm, frame_.rpm * 0.9f);
    EXPECT_GT(frame_.fuelLevel, 0);
    EXPECT_GE(frame_.ersStore, 0);
}

TEST_F(PlayedDatagrams, AnOlderGamesFormatIsRefused) {
    ChildProcess sim(words("f1", {"--extra", "2021"}));
    ASSERT_TRUE(sim.waitFor("F1", test::kPatienceMs));
    F1Reader reader(desk_.context, desk_.place);
    EXPECT_FALSE(reader.open());
}

TEST_F(PlayedDatagrams, AStageUnderAFlood) {
    ChildProcess sim(words("eawrc", {"--flood", "3000", "--skip", "20", "--lose", "0.1"}));
    EaWrcReader reader(desk_.context, desk_.place);
    ASSERT_TRUE(connect(reader));
    int frames = 0;
    EXPECT_TRUE(test::eventually([&] { return (frames += desk_.poll(reader, frame_)) >= 15; }, 33));
    EXPECT_TRUE(reader.isConnected());
}

} // namespace
} // namespace vt
