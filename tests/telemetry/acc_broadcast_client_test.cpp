// The client of ACC's broadcasting port with its thread and socket, against a server in this
// process.
#include "support/acc_server.h"
#include "support/eventually.h"
#include "telemetry/readers/acc_broadcast.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <random>
#include <thread>

namespace vt {
namespace {

using namespace test;
using std::chrono::milliseconds;

AccWorld someWorld(int cars) {
    AccWorld world;
    for (int i = 0; i < cars; ++i) {
        AccCar car;
        car.carIndex = 1000 + i;
        car.carModel = 1;
        car.currentDriver = 0;
        car.position = i + 1;
        car.laps = 3;
        std::snprintf(car.surname, sizeof car.surname, "Driver %d", i);
        world.cars.push_back(car);
    }
    return world;
}

class AccClientAndServer : public testing::Test {
protected:
    AccServer server_;
    AccBroadcastClient client_;
    const Clock clock_;

    void SetUp() override {
        server_.world = someWorld(30);
        ASSERT_TRUE(server_.open(0));
    }
    AccBroadcastConfig config() const {
        return {server_.port(), server_.password, server_.commandPassword};
    }
    /// Lets the server run until `done`.
    bool serveUntil(const auto& done, int ms = test::kPatienceMs) {
        const auto served = [&] {
            server_.tick(clockMs(clock_));
            return done();
        };
        return test::eventually(served, 2, ms);
    }
    bool hasCars() {
        const AccSnapshot& s = client_.latest();
        return s.registered && s.carCount == 30 && s.cars[29].realtimeKnown &&
               s.cars[29].entryKnown;
    }
};

TEST_F(AccClientAndServer, TellsWhatTheServerTells) {
    client_.start(config());
    ASSERT_TRUE(serveUntil([&] { return hasCars() && client_.latest().trackKnown; }));
    const AccSnapshot& s = client_.latest();
    EXPECT_EQ(client_.state(), kAccRegistered);
    EXPECT_STREQ(s.cars[7].surname, "Driver 7");
    EXPECT_EQ(s.cars[7].position, 8);
    EXPECT_EQ(s.trackMeters, 3000);
    client_.start(config()); // runs already
    ASSERT_EQ(server_.clients.size(), 1u);
    client_.stop();
    EXPECT_TRUE(serveUntil([&] { return server_.clients.empty(); }));
    EXPECT_EQ(server_.heard.back().type, kAccUnregister);
    client_.stop();
    client_.start(config()); // and again, from nothing
    EXPECT_EQ(client_.latest().carCount, 0);
    EXPECT_TRUE(serveUntil([&] { return hasCars(); }));
    // A stop is waited for by the loss of a sim.
    EXPECT_TRUE(test::eventually([&] {
        client_.start(config());
        const uint64_t before = clockMs(clock_);
        client_.stop();
        return clockMs(clock_) - before <= 300;
    }));
}

TEST_F(AccClientAndServer, IsTurnedAwayWithAWrongPasswordAndStaysPolite) {
    server_.password = "right";
    AccBroadcastConfig wrong = config();
    wrong.connectionPassword = "wrong";
    const uint64_t start = clockMs(clock_);
    client_.start(wrong);
    ASSERT_TRUE(serveUntil([&] { return client_.state() == kAccRejected; }));
    EXPECT_STREQ(client_.latest().error, "wrong connection password");
    for (const AccClientMessage& message : server_.heard)
        EXPECT_EQ(message.type, kAccRegister);
    // It asks again every two seconds until it has heard the answer.
    EXPECT_LE(server_.heard.size(), 1 + (clockMs(clock_) - start) / 2000);
}

TEST_F(AccClientAndServer, WithoutAServerItOnlyAsks) {
    AccBroadcastConfig nobody = config();
    server_.close();
    client_.start(nobody);
    std::this_thread::sleep_for(milliseconds(60));
    EXPECT_EQ(client_.state(), kAccStarted);
    ASSERT_TRUE(server_.open(static_cast<uint16_t>(nobody.port)));
    // The refusal of the closed port must not have killed the socket; asks again 2 s later.
    EXPECT_TRUE(serveUntil([&] { return client_.state() == kAccRegistered; }));
}

/// Throws everything at the client's port, about 10,000 datagrams a second.
void shout(uint16_t port, const std::atomic<bool>& stop) {
    UdpSocket socket;
    if (!socket.open(0)) return;
    std::mt19937 random(3);
    AccCar car;
    while (!stop) {
        for (int i = 0; i < 10; ++i) {
            car.carIndex = static_cast<int32_t>(random() % 65536);
            Datagram bytes = accCarUpdate(car);
            switch (random() % 6) {
            case 0:
                bytes.resize(random() % bytes.size());
                break;
            case 1:
                bytes.assign(random() % 9000, static_cast<uint8_t>(random()));
                break;
            case 2:
                bytes = accEntryList(1, std::vector<int>(random() % 200, 5));
                break;
            case 3:
                for (uint8_t& byte : bytes)
                    byte = static_cast<uint8_t>(random());
                break;
            case 4:
                bytes = accRealtimeUpdate({});
                break;
            default:
                break;
            }
            socket.send(port, bytes.data(), bytes.size());
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
}

TEST_F(AccClientAndServer, AFloodAtItsPortEndsWithTheFlood) {
    client_.start(config());
    ASSERT_TRUE(serveUntil([&] { return hasCars(); }));
    std::atomic<bool> stop{false};
    std::thread shouter([&] { shout(client_.localPort(), stop); });
    const auto overflows = [&] { return client_.latest().carCount > kAccMaxCars; };
    EXPECT_FALSE(serveUntil(overflows, 600));
    stop = true;
    shouter.join();
    // The next entry list, five seconds later at most, restores the field; another session at once.
    server_.world.realtime.eventIndex = 1;
    EXPECT_TRUE(serveUntil([&] { return hasCars(); }));
    EXPECT_EQ(client_.latest().cars[29].carIndex, 1029);
}

TEST_F(AccClientAndServer, ReadsItsPortFromTheUsersDocuments) {
    const std::string root = testing::TempDir() + "acc_documents_" + std::to_string(getpid());
    const std::string folder = root + "/Assetto Corsa Competizione/Config";
    ASSERT_EQ(std::system(("mkdir -p '" + folder + "'").c_str()), 0);
    std::ofstream(folder + "/broadcasting.json")
        << R"({"updListenerPort": )" << server_.port() << R"(, "connectionPassword": "pw"})";
    server_.password = "pw";
    client_.start(root);
    EXPECT_TRUE(serveUntil([&] { return client_.state() == kAccRegistered; }));
    EXPECT_EQ(std::system(("rm -r '" + root + "'").c_str()), 0);
}

} // namespace
} // namespace vt
