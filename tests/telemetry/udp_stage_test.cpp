// The rules that the readers of datagrams share: ports, silence, the sibling, trouble and floods.
#include "base/log.h"
#include "support/udp_desk.h"
#include "telemetry/readers/beamng_reader.h"
#include "telemetry/readers/dirt_rally2_reader.h"
#include "telemetry/readers/ea_wrc_reader.h"
#include "telemetry/readers/f1_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace vt {
namespace {

using test::Bytes;
using test::bytesOf;
using test::kPatienceMs;
using test::UdpDesk;

Bytes dirtPacket(float speed = 10) {
    DirtRally2Packet packet{};
    packet.speed = speed;
    return bytesOf(packet);
}

Bytes wrcPacket(float speed = 10) {
    EaWrcPacket packet{};
    packet.vehicle_speed = speed;
    return bytesOf(packet);
}

Bytes beamNgPacket(float speed = 10) {
    BeamNgPacket packet{};
    std::memcpy(packet.magic, "VTBN", 4);
    packet.version = 6;
    packet.speed = speed;
    return bytesOf(packet);
}

Bytes f1Packet(float speed = 10) {
    F1Header header{};
    header.packetFormat = 2025;
    header.gameYear = 25;
    header.packetId = kF1CarTelemetry;
    Bytes bytes(1352);
    std::memcpy(bytes.data(), &header, sizeof header);
    F1TelemetryCar car{};
    car.speed = static_cast<uint16_t>(speed * 3.6f + 0.5f);
    std::memcpy(bytes.data() + sizeof header, &car, sizeof car);
    return bytes;
}

struct Sim {
    const char* name;
    std::unique_ptr<SimReader> (*make)(ReaderContext&, const UdpPlace&);
    Bytes (*packet)(float speed);
    int32_t siblingGame;
    bool stage; // its rules are UdpStage's
};

template <class Reader>
std::unique_ptr<SimReader> makeIt(ReaderContext& context, const UdpPlace& place) {
    return std::make_unique<Reader>(context, place);
}

const Sim kSims[] = {
    {"F1", makeIt<F1Reader>, f1Packet, kSiblingF1, false},
    {"DiRT Rally 2.0", makeIt<DirtRally2Reader>, dirtPacket, kSiblingDirtRally2, true},
    {"EA Sports WRC", makeIt<EaWrcReader>, wrcPacket, kSiblingEaWrc, true},
    {"BeamNG", makeIt<BeamNgReader>, beamNgPacket, kSiblingBeamNg, true},
};

/// Collects status lines for as long as it lives.
struct LogCatcher {
    std::string text;
    LogCatcher() {
        setLogSink(
            [](void* user, std::string_view line) { *static_cast<std::string*>(user) += line; },
            &text);
    }
    ~LogCatcher() { setLogSink(nullptr, nullptr); }
};

TEST(UdpReaders, OneSimsPacketsAreNotAnothers) {
    for (const Sim& sim : kSims) {
        UdpDesk desk;
        desk.place.openWaitMs = 60;
        const auto reader = sim.make(desk.context, desk.place);
        for (const Sim& other : kSims)
            EXPECT_EQ(desk.openWith(*reader, other.packet(10), &sim == &other), &sim == &other)
                << sim.name << " with packets of " << other.name;
    }
}

TEST(UdpReaders, TheNewestValidPacketWins) {
    for (const Sim& sim : kSims) {
        UdpDesk desk;
        const auto reader = sim.make(desk.context, desk.place);
        ASSERT_TRUE(desk.openWith(*reader, sim.packet(10))) << sim.name;
        Bytes spoilt = sim.packet(50);
        spoilt.resize(28);
        desk.send(desk.place.port, sim.packet(20));
        desk.send(desk.place.port, sim.packet(30));
        desk.send(desk.place.port, spoilt);
        desk.send(desk.place.port, Bytes(4000));
        desk.send(desk.place.port, {});
        SimFrame frame;
        ASSERT_TRUE(desk.poll(*reader, frame)) << sim.name;
        EXPECT_NEAR(frame.speed, 30, 0.1) << sim.name;
        desk.send(desk.place.port, spoilt);
        EXPECT_EQ(desk.poll(*reader, frame), !sim.stage) << sim.name << ": nothing new";
        EXPECT_TRUE(reader->isConnected());
    }
}

TEST(UdpStage, EndsAfterTwoSecondsOfSilence) {
    for (const Sim& sim : kSims) {
        if (!sim.stage) continue;
        UdpDesk desk;
        const auto reader = sim.make(desk.context, desk.place);
        ASSERT_TRUE(desk.openWith(*reader, sim.packet(10))) << sim.name;
        SimFrame frame;
        desk.poll(*reader, frame);
        advance(desk.clock, 2.0);
        EXPECT_FALSE(desk.poll(*reader, frame));
        EXPECT_TRUE(reader->isConnected()) << sim.name;
        advance(desk.clock, 0.001);
        EXPECT_FALSE(desk.poll(*reader, frame));
        EXPECT_FALSE(reader->isConnected()) << sim.name;
        EXPECT_FALSE(desk.poll(*reader, frame)) << "and stays so";
        ASSERT_TRUE(desk.openWith(*reader, sim.packet(10))) << sim.name;
    }
}

TEST(UdpStage, FollowsTheSiblingWithinOnePoll) {
    for (const Sim& sim : kSims) {
        if (!sim.stage) continue;
        UdpDesk desk;
        const auto reader = sim.make(desk.context, desk.place);
        SimFrame frame;
        ASSERT_TRUE(desk.openWith(*reader, sim.packet(10)));
        desk.sibling.put(kSiblingAcc, 1);
        desk.scan.siblingRunning = 1;
        desk.send(desk.place.port, sim.packet(20));
        EXPECT_TRUE(desk.poll(*reader, frame)) << sim.name << ": the sibling serves another sim";

        desk.sibling.put(sim.siblingGame, 1);
        desk.poll(*reader, frame); // moves to the other port
        UdpSocket taker;
        EXPECT_TRUE(taker.open(desk.place.port)) << sim.name << ": the sim's port is free again";
        desk.send(desk.place.forwardedPort, sim.packet(30));
        ASSERT_TRUE(desk.poll(*reader, frame)) << sim.name;
        EXPECT_NEAR(frame.speed, 30, 0.1);

        // A new binding grants six seconds, whatever the silence.
        desk.sibling.put(kSiblingAcc, 1);
        taker.close();
        EXPECT_FALSE(desk.poll(*reader, frame));
        advance(desk.clock, 6.0);
        EXPECT_FALSE(desk.poll(*reader, frame));
        EXPECT_TRUE(reader->isConnected()) << sim.name;
        desk.send(desk.place.port, sim.packet(40));
        EXPECT_TRUE(desk.poll(*reader, frame)) << sim.name << ": back on the sim's port";

        // A sibling that cannot be read may serve any sim.
        desk.sibling.remove();
        EXPECT_FALSE(desk.poll(*reader, frame));
        EXPECT_TRUE(taker.open(desk.place.port)) << sim.name;
        advance(desk.clock, 6.002);
        EXPECT_FALSE(desk.poll(*reader, frame));
        EXPECT_FALSE(reader->isConnected()) << sim.name;
    }
}

TEST(UdpStage, ATakenPortIsSaidOnceAndEndsAConnection) {
    LogCatcher log;
    UdpDesk desk;
    desk.place.openWaitMs = 5;
    DirtRally2Reader reader(desk.context, desk.place);
    UdpSocket taker;
    ASSERT_TRUE(taker.open(desk.place.port));
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(reader.open());
    const std::string line = "[udp] DiRT Rally 2.0: port " + std::to_string(desk.place.port) +
                             " is in use by another program\n";
    EXPECT_EQ(log.text, line);
    taker.close();
    EXPECT_FALSE(reader.open()) << "free, but nobody sends";
    ASSERT_TRUE(taker.open(desk.place.port));
    EXPECT_FALSE(reader.open());
    EXPECT_EQ(log.text, line + line) << "a new run of trouble";
    taker.close();

    desk.place.openWaitMs = 300;
    DirtRally2Reader second(desk.context, desk.place);
    ASSERT_TRUE(desk.openWith(second, dirtPacket()));
    ASSERT_TRUE(taker.open(desk.place.forwardedPort));
    desk.sibling.put(kSiblingDirtRally2, 1);
    desk.scan.siblingRunning = 1;
    SimFrame frame;
    EXPECT_FALSE(desk.poll(second, frame));
    EXPECT_FALSE(second.isConnected()) << "nowhere to listen";
    EXPECT_EQ(second.stage().port(), 0);
}

TEST(UdpStage, TheLanSettingMovesTheSocket) {
    UdpDesk desk;
    DirtRally2Reader reader(desk.context, desk.place);
    ASSERT_TRUE(desk.openWith(reader, dirtPacket()));
    UdpSocket lan;
    EXPECT_FALSE(lan.open(desk.place.port, true));
    desk.context.dr2ListenLanOn = 1;
    SimFrame frame;
    desk.poll(reader, frame);
    EXPECT_TRUE(reader.isConnected());
    EXPECT_EQ(reader.stage().port(), desk.place.port);
    desk.send(desk.place.port, dirtPacket(15));
    EXPECT_TRUE(desk.poll(reader, frame)) << "all interfaces hear this machine too";
}

TEST(UdpReaders, WaitsEndWhenTheProgramDoes) {
    std::atomic<uint32_t> stop{0};
    for (const Sim& sim : kSims) {
        UdpDesk desk;
        stop = 0;
        desk.context.stop = &stop;
        desk.place.openWaitMs = 4 * kPatienceMs;
        const auto reader = sim.make(desk.context, desk.place);
        std::thread ender([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            stop = 1;
        });
        const auto start = std::chrono::steady_clock::now();
        EXPECT_FALSE(reader->open());
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(kPatienceMs))
            << sim.name;
        ender.join();
    }
}

TEST(UdpReaders, AFloodOfAnythingIsSurvived) {
    std::mt19937 random(7);
    for (const Sim& sim : kSims) {
        UdpDesk desk;
        const auto reader = sim.make(desk.context, desk.place);
        ASSERT_TRUE(desk.openWith(*reader, sim.packet(10)));
        SimFrame frame;
        for (int round = 0; round < 20; ++round) {
            for (int i = 0; i < 60; ++i) {
                Bytes bytes = sim.packet(static_cast<float>(i % 50));
                // The head stays now and then, so that what is behind it is looked at.
                const size_t from = i % 3 == 0 ? 0 : std::min<size_t>(bytes.size(), 29);
                for (size_t at = from; at < bytes.size(); at += 1 + random() % 8)
                    bytes[at] = static_cast<uint8_t>(random());
                if (i % 4 == 0) bytes.resize(random() % 2000);
                desk.send(desk.place.port, bytes);
            }
            desk.poll(*reader, frame);
            EXPECT_LE(frame.cars.size(), 22u);
            EXPECT_TRUE(std::isfinite(frame.speed) && std::isfinite(frame.rpm) &&
                        std::isfinite(frame.throttle) && std::isfinite(frame.steerAngle) &&
                        std::isfinite(frame.latAccel) && std::isfinite(frame.lapDistPct))
                << sim.name;
            EXPECT_GE(frame.speed, 0);
            EXPECT_TRUE(frame.lapDistPct >= 0 && frame.lapDistPct <= 1);
        }
        // More than the queue holds: what is lost is lost, and the next packet counts again.
        for (int i = 0; i < 3000; ++i)
            desk.send(desk.place.port, Bytes(64));
        desk.poll(*reader, frame);
        desk.send(desk.place.port, sim.packet(33));
        EXPECT_TRUE(desk.poll(*reader, frame)) << sim.name;
        EXPECT_NEAR(frame.speed, 33, 0.2) << sim.name;
    }
}

} // namespace
} // namespace vt
