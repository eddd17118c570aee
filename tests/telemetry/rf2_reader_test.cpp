// rFactor 2's reader against a sim that writes, tears, stops, dies or is not there.
#include "support/eventually.h"
#include "support/vehicle_image.h"
#include "telemetry/readers/rf2_reader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace vt::test {
namespace {

constexpr size_t kSecondCar = 16 + 1888;

/// A sim in this process with three cars; the player's telemetry is the second record.
struct Sim : ReaderDesk {
    Rf2Names names{ownName("rf2_telemetry"), ownName("rf2_scoring")};
    SimObject telemetry, scoring;
    Rf2Reader reader{context, names};

    Sim() {
        showTelemetry(telemetryPage().bytes);
        showScoring(scoringPage().bytes);
    }
    static PageImage telemetryPage() {
        PageImage image(241680);
        image.i(12, 3).i(16, 5).i(kSecondCar, 9).i(kSecondCar + 1888, 8);
        return image.put(kSecondCar + 12, 10.0);
    }
    static PageImage scoringPage() {
        PageImage image(75312);
        putRaceInfo({image, 12}, 2);
        putScored({image, 560}, 5, 1500, 1, "GT3");
        RecordImage player{image, 560 + 584};
        putScored(player, 9, 1000, 2, "GT3");
        player.u8(196, 1);
        return image;
    }
    void showTelemetry(const std::vector<uint8_t>& bytes) {
        ASSERT_TRUE(telemetry.show(names.telemetry, bytes));
    }
    void showScoring(const std::vector<uint8_t>& bytes) {
        ASSERT_TRUE(scoring.show(names.scoring, bytes));
    }
    void elapsed(double value, size_t car = kSecondCar) { telemetry.put(car + 12, value); }
    bool poll() { return reader.poll(frame); }
};

TEST(Rf2Reader, OpensOnTwoWholePagesWithAPlayer) {
    Sim sim;
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.reader.open());
    EXPECT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.sessionTime, 10);
    EXPECT_EQ(sim.frame.playerCarIdx, 9);
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.waitForData(1000));
    sim.reader.close();
    sim.reader.close();
    EXPECT_FALSE(sim.poll());

    const auto refused = [&](const char* what) {
        EXPECT_FALSE(sim.reader.open()) << what;
        EXPECT_FALSE(sim.reader.isConnected()) << what;
        sim.showTelemetry(Sim::telemetryPage().bytes);
        sim.showScoring(Sim::scoringPage().bytes);
        EXPECT_TRUE(sim.reader.open()) << "after: " << what;
        sim.reader.close();
    };
    sim.scoring.put(560 + 584 + 196, uint8_t{0});
    refused("no player");
    sim.scoring.put(12 + 104, 1);
    refused("the player is not counted");
    sim.scoring.put(0, 1u);
    refused("scoring that is being written");
    sim.showTelemetry(std::vector<uint8_t>(241679));
    refused("short telemetry");
    sim.showScoring(std::vector<uint8_t>(75311));
    refused("short scoring");
    sim.telemetry.writer.close();
    refused("no telemetry");
    sim.scoring.writer.close(true);
    refused("leftover scoring");
}

TEST(Rf2Reader, FollowsThePlayersRecordByItsId) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    // He moves to the first record, somebody else to his.
    sim.telemetry.put(16, 9);
    sim.telemetry.put(kSecondCar, 5);
    sim.elapsed(11, 16);
    EXPECT_TRUE(sim.poll());
    EXPECT_EQ(sim.frame.sessionTime, 11);
    sim.elapsed(12, 16);
    sim.telemetry.put(12, 0); // and is no longer counted
    EXPECT_FALSE(sim.poll());
    sim.telemetry.put(12, 1'000'000);
    EXPECT_TRUE(sim.poll());
    sim.telemetry.put(16, 1); // nobody has his id
    sim.elapsed(13, 16);
    EXPECT_FALSE(sim.poll());
    EXPECT_TRUE(sim.reader.isConnected());
}

TEST(Rf2Reader, GoneAfter151Misses) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    for (int round = 0; round < 2; ++round) {
        sim.elapsed(20 + round);
        sim.telemetry.put(4, 0u);
        ASSERT_TRUE(sim.poll());
        sim.telemetry.put(4, 77u); // half written for ever
        for (int i = 0; i < 150; ++i)
            ASSERT_FALSE(sim.poll());
        EXPECT_TRUE(sim.reader.isConnected());
    }
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected());
}

TEST(Rf2Reader, ADeadWriterEndsItAtOnce) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    ASSERT_TRUE(sim.poll());
    sim.scoring.writer.close(true);
    EXPECT_FALSE(sim.poll());
    EXPECT_FALSE(sim.reader.isConnected()) << "one of the two pages is enough";
    EXPECT_FALSE(sim.poll());
    EXPECT_EQ(sim.frame.connected, 0);
}

TEST(Rf2Reader, NoCopyIsTorn) {
    Sim sim;
    ASSERT_TRUE(sim.reader.open());
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        const auto version = [](SimObject& page, size_t at) {
            return std::atomic_ref<uint32_t>(*reinterpret_cast<uint32_t*>(page.writer.data() + at));
        };
        sim.scoring.put(12 + 104, 128);
        for (uint32_t n = 1; !stop; ++n) {
            version(sim.scoring, 0).store(n);
            for (size_t car = 0; car < 128; ++car)
                sim.scoring.put(560 + car * 584 + 100, static_cast<int16_t>(n));
            version(sim.scoring, 4).store(n);
            version(sim.telemetry, 0).store(n);
            sim.elapsed(20 + n * 0.001);
            // Speed and fuel belong together; far apart, with the version between them.
            sim.telemetry.put(kSecondCar + 200, -static_cast<double>(n));
            sim.telemetry.put(kSecondCar + 524, static_cast<double>(n));
            version(sim.telemetry, 4).store(n);
            if (n % 8 == 0) std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
    });
    int good = 0;
    bool whole = true;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
    while (good < 500 && whole && std::chrono::steady_clock::now() < end) {
        if (!sim.reader.isConnected()) sim.reader.open(); // too many misses without a pause
        if (!sim.poll()) continue;
        ++good;
        whole = sim.frame.speed == sim.frame.fuelLevel;
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
