#include "base/log.h"
#include "support/udp_desk.h"
#include "telemetry/readers/f1_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace vt {
namespace {

using test::Bytes;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// A datagram of `size` bytes with a header.
Bytes packetOf(uint8_t id, size_t size, uint16_t format = 2025, uint8_t player = 2) {
    F1Header header{};
    header.packetFormat = format;
    header.packetId = id;
    header.playerCarIndex = player;
    Bytes bytes(size);
    std::memcpy(bytes.data(), &header, std::min(size, sizeof header));
    return bytes;
}

template <class T>
void put(Bytes& packet, size_t offset, T value) {
    std::memcpy(packet.data() + offset, &value, sizeof value);
}

F1Applied feed(F1State& state, const Bytes& packet) {
    int stride = 0;
    return applyF1Packet(state, packet, stride);
}

size_t carAt(size_t car, size_t stride) {
    return kF1HeaderBytes + car * stride;
}

/// Offsets are written as numbers here, as an independent statement of the layouts.
Bytes telemetryPacket() {
    Bytes p = packetOf(6, 1352);
    const size_t at = carAt(2, 60);
    put<uint16_t>(p, at, 288);
    put<float>(p, at + 2, 0.9f);
    put<float>(p, at + 6, -0.5f);
    put<float>(p, at + 10, 0.1f);
    put<uint8_t>(p, at + 14, 50);
    put<int8_t>(p, at + 15, 7);
    put<uint16_t>(p, at + 16, 11500);
    put<uint8_t>(p, at + 18, 1);
    put<uint16_t>(p, at + 38, 105);
    return p;
}

Bytes statusPacket() {
    Bytes p = packetOf(7, 1239);
    const size_t at = carAt(2, 55);
    put<float>(p, at + 5, 34.5f);
    put<float>(p, at + 9, 110);
    put<uint16_t>(p, at + 17, 13000);
    put<uint8_t>(p, at + 22, 1);
    put<float>(p, at + 37, 3'000'000);
    put<uint8_t>(p, at + 41, 2);
    put<float>(p, at + 50, 5'000'000);
    return p;
}

Bytes sessionPacket(uint8_t laps, uint8_t type = 15, uint16_t format = 2025) {
    Bytes p = packetOf(1, 753, format);
    put<uint8_t>(p, 29, 4);
    put<int8_t>(p, 30, 31);
    put<int8_t>(p, 31, -2);
    put<uint8_t>(p, 32, laps);
    put<uint16_t>(p, 33, 5000);
    put<uint8_t>(p, 35, type);
    put<uint16_t>(p, 38, 1800);
    return p;
}

Bytes lapPacket(size_t size = 1285) {
    Bytes p = packetOf(2, size);
    for (size_t car = 0; car < 20; ++car) {
        const size_t at = carAt(car, 57);
        put<uint32_t>(p, at, 90000 + static_cast<uint32_t>(car));
        put<uint32_t>(p, at + 4, 12345);
        put<float>(p, at + 20, car == 3 ? -40.0f : 2500.0f);
        put<uint8_t>(p, at + 32, static_cast<uint8_t>(20 - car));
        put<uint8_t>(p, at + 33, 4);
        put<uint8_t>(p, at + 34, car == 5);
        put<uint8_t>(p, at + 45, car == 7 ? 0 : 2);
    }
    return p;
}

Bytes participantsPacket(size_t stride) {
    Bytes p = packetOf(4, 30 + 22 * stride);
    for (size_t car = 0; car < 22; ++car) {
        const size_t at = 30 + car * stride;
        put<uint8_t>(p, at + 5, static_cast<uint8_t>(car + 10));
        const std::string name = "DRIVER " + std::to_string(car);
        std::memcpy(p.data() + at + 7, name.data(), name.size());
    }
    return p;
}

SimFrame frameOf(const F1State& state, uint64_t silentMs = 0) {
    SimFrame frame;
    fillF1Frame(frame, state, silentMs);
    return frame;
}

TEST(F1Packet, WhatIsDropped) {
    struct Case {
        const char* what;
        Bytes packet;
        F1Applied result;
    };
    const Case cases[] = {
        {"empty", {}, F1Applied::dropped},
        {"28 bytes", packetOf(6, 28), F1Applied::dropped},
        {"a header alone", packetOf(6, 29), F1Applied::dropped},
        {"format 2021", packetOf(6, 1352, 2021), F1Applied::dropped},
        {"format 2022", packetOf(6, 1352, 2022), F1Applied::dropped},
        {"format 2023", packetOf(6, 1352, 2023), F1Applied::stored},
        {"format 2026", packetOf(6, 1352, 2026), F1Applied::stored},
        {"format 2027", packetOf(6, 1352, 2027), F1Applied::dropped},
        {"player 21", packetOf(6, 1352, 2025, 21), F1Applied::stored},
        {"player 22", packetOf(6, 1352, 2025, 22), F1Applied::dropped},
        {"a spectator", packetOf(6, 1352, 2025, 255), F1Applied::dropped},
        {"ends in the player's record", packetOf(6, 29 + 3 * 60 - 1), F1Applied::dropped},
        {"ends behind the player's record", packetOf(6, 29 + 3 * 60), F1Applied::stored},
        {"motion ends early", packetOf(0, 29 + 3 * 60 - 1), F1Applied::dropped},
        {"status ends early", packetOf(7, 29 + 3 * 55 - 1), F1Applied::dropped},
        {"session of 41 bytes", packetOf(1, 41), F1Applied::dropped},
        {"session of 42 bytes", packetOf(1, 42), F1Applied::stored},
        {"an event", packetOf(3, 45), F1Applied::dropped},
        {"laps of 2023", packetOf(2, 1131, 2023), F1Applied::wrongStride},
        {"laps", packetOf(2, 1285), F1Applied::stored},
        {"laps one byte short", packetOf(2, 1282), F1Applied::wrongStride},
        {"participants of 39 bytes", packetOf(4, 30 + 22 * 39), F1Applied::dropped},
        {"participants of 40 bytes", packetOf(4, 30 + 22 * 40), F1Applied::stored},
        {"participants of 129 bytes", packetOf(4, 30 + 22 * 129), F1Applied::dropped},
        {"participants without a count", packetOf(4, 29), F1Applied::dropped},
    };
    for (const Case& c : cases) {
        F1State state;
        EXPECT_EQ(static_cast<int>(feed(state, c.packet)), static_cast<int>(c.result)) << c.what;
    }
}

TEST(F1Frame, ThePlayersCar) {
    F1State state;
    EXPECT_EQ(frameOf(state).isOnTrack, 0);
    EXPECT_EQ(frameOf(state).ersMode, -1) << "nothing was told yet";
    EXPECT_FLOAT_EQ(frameOf(state).waterTemp, -1000);
    feed(state, telemetryPacket());
    feed(state, statusPacket());
    Bytes motion = packetOf(0, 1349);
    put<float>(motion, carAt(2, 60) + 36, 2.0f);
    put<float>(motion, carAt(2, 60) + 40, -1.0f);
    feed(state, motion);
    const SimFrame frame = frameOf(state);
    EXPECT_EQ(frame.simKind, kSimF1);
    EXPECT_EQ(frame.playerCarIdx, 2);
    EXPECT_EQ(frame.isOnTrack, 1);
    EXPECT_EQ(frameOf(state, 1000).isOnTrack, 0) << "a second without a packet";
    EXPECT_FLOAT_EQ(frame.speed, 80);
    EXPECT_FLOAT_EQ(frame.throttle, 0.9f);
    EXPECT_FLOAT_EQ(frame.brake, 0.1f);
    EXPECT_FLOAT_EQ(frame.clutch, 0.5f);
    EXPECT_FLOAT_EQ(frame.steerAngle, -1.5707964f);
    EXPECT_FLOAT_EQ(frame.steerLock, 3.1415927f);
    EXPECT_EQ(frame.steerAngleOk, 1);
    EXPECT_EQ(frame.gear, 7);
    EXPECT_FLOAT_EQ(frame.rpm, 11500);
    EXPECT_FLOAT_EQ(frame.maxRpm, 13000);
    EXPECT_FLOAT_EQ(frame.waterTemp, 105);
    EXPECT_EQ(frame.drsOpen, 1);
    EXPECT_EQ(frame.drsAllowed, 1);
    EXPECT_FLOAT_EQ(frame.latAccel, 2 * 9.80665f);
    EXPECT_FLOAT_EQ(frame.longAccel, -9.80665f);
    EXPECT_FLOAT_EQ(frame.fuelLevel, 34.5f);
    EXPECT_FLOAT_EQ(frame.fuelCapacity, 110);
    EXPECT_FLOAT_EQ(frame.ersStore, 0.75f);
    EXPECT_FLOAT_EQ(frame.ersDeployed, 1) << "clamped";
    EXPECT_EQ(frame.ersMode, 2);
    EXPECT_TRUE(frame.cars.empty());

    Bytes odd = telemetryPacket();
    put<float>(odd, carAt(2, 60) + 2, kNan);
    put<float>(odd, carAt(2, 60) + 6, std::numeric_limits<float>::infinity());
    feed(state, odd);
    EXPECT_FLOAT_EQ(frameOf(state).throttle, 0);
    EXPECT_FLOAT_EQ(frameOf(state).steerAngle, 0);
}

TEST(F1Frame, SessionByLapsOrByTime) {
    F1State state;
    feed(state, sessionPacket(0, 3));
    SimFrame frame = frameOf(state);
    EXPECT_FLOAT_EQ(frame.airTemp, -2);
    EXPECT_FLOAT_EQ(frame.trackTemp, 31);
    EXPECT_FLOAT_EQ(frame.precipitation, 0.7f);
    EXPECT_FLOAT_EQ(frame.trackLength, 5000);
    EXPECT_EQ(frame.timedSession, 1);
    EXPECT_DOUBLE_EQ(frame.timeRemain, 1800);
    EXPECT_EQ(frame.lapsRemain, -1);
    EXPECT_STREQ(frame.sessionName, "Practice");

    feed(state, sessionPacket(10));
    frame = frameOf(state);
    EXPECT_EQ(frame.timedSession, 0);
    EXPECT_EQ(frame.lapsRemain, 10) << "no lap of the player's yet";
    feed(state, lapPacket());
    frame = frameOf(state);
    EXPECT_EQ(frame.lapsRemain, 7);
    EXPECT_EQ(frame.lap, 4);
    EXPECT_FLOAT_EQ(frame.lastLapTime, 90.002f);
    EXPECT_FLOAT_EQ(frame.currentLapTime, 12.345f);
    feed(state, sessionPacket(2));
    EXPECT_EQ(frameOf(state).lapsRemain, 0);
}

TEST(F1Frame, SessionTypesMovedUpIn2024) {
    struct Case {
        uint16_t format;
        uint8_t type;
        const char* name;
    };
    const Case cases[] = {
        {2023, 0, ""},
        {2023, 4, "Practice"},
        {2023, 9, "Qualifying"},
        {2023, 10, "Race"},
        {2023, 12, "Race"},
        {2023, 13, "Time Trial"},
        {2023, 15, ""},
        {2024, 1, "Practice"},
        {2024, 10, "Qualifying"},
        {2025, 14, "Qualifying"},
        {2025, 15, "Race"},
        {2026, 17, "Race"},
        {2025, 18, "Time Trial"},
        {2025, 19, ""},
    };
    for (const Case& c : cases)
        EXPECT_STREQ(f1SessionName(c.format, c.type), c.name) << c.format << " " << int{c.type};
}

TEST(F1Frame, RowsOnceLapsAndNamesAreKnown) {
    F1State state;
    feed(state, lapPacket());
    EXPECT_TRUE(frameOf(state).cars.empty());
    feed(state, participantsPacket(57));
    ASSERT_EQ(frameOf(state).cars.size(), 19u) << "one result status is 0, two cars are not there";
    EXPECT_FLOAT_EQ(frameOf(state).cars[0].lapDistPct, 0) << "no track length yet";
    feed(state, sessionPacket(10));
    const SimFrame frame = frameOf(state);
    EXPECT_EQ(findCar(frame, 7), nullptr);
    const CarRow* car = findCar(frame, 5);
    ASSERT_NE(car, nullptr);
    EXPECT_STREQ(car->driverName, "DRIVER 5");
    EXPECT_EQ(car->carNumberValue, 15);
    EXPECT_EQ(car->position, 15);
    EXPECT_EQ(car->classPosition, 15);
    EXPECT_EQ(car->lap, 4);
    EXPECT_FLOAT_EQ(car->lapDistPct, 0.5f);
    EXPECT_FLOAT_EQ(car->lastLapTime, 90.005f);
    EXPECT_EQ(car->onPitRoad, 1);
    EXPECT_FLOAT_EQ(findCar(frame, 3)->lapDistPct, 0) << "before the line";
    EXPECT_FLOAT_EQ(frame.lapDistPct, 0) << "the place on the lap is in the row alone";
    EXPECT_EQ(playerRow(frame), findCar(frame, 2));

    // Names fill what there is, and never the next record's bytes.
    for (const size_t stride : {size_t{40}, size_t{57}, size_t{60}, size_t{128}}) {
        Bytes full = participantsPacket(stride);
        for (size_t i = 0; i < 22; ++i)
            std::memset(full.data() + 30 + i * stride + 7, 'n', stride - 7);
        feed(state, full);
        EXPECT_EQ(std::string(frameOf(state).cars[0].driverName).size(),
                  std::min<size_t>(48, stride - 7));
    }
    // Lap data that cannot be read leaves the rows.
    EXPECT_EQ(feed(state, packetOf(2, 1131)), F1Applied::wrongStride);
    EXPECT_EQ(frameOf(state).cars.size(), 19u);
}

TEST(F1Reader, StrideIsReportedOncePerValue) {
    test::UdpDesk desk;
    F1Reader reader(desk.context, desk.place);
    std::string log;
    setLogSink([](void* user, std::string_view line) { *static_cast<std::string*>(user) += line; },
               &log);
    ASSERT_TRUE(desk.openWith(reader, telemetryPacket()));
    for (int i = 0; i < 20; ++i) {
        desk.send(reader.port(), packetOf(2, 1131));
        desk.send(reader.port(), packetOf(2, 29 + 22 * 60));
    }
    SimFrame frame;
    EXPECT_TRUE(desk.poll(reader, frame));
    setLogSink(nullptr, nullptr);
    EXPECT_EQ(log, "[f1-overlay] LapData stride 50 != expected 57\n"
                   "[f1-overlay] LapData stride 60 != expected 57\n");
}

TEST(F1Reader, StaysForFiveSecondsWithoutAPacket) {
    test::UdpDesk desk;
    F1Reader reader(desk.context, desk.place);
    EXPECT_FALSE(desk.openWith(reader, packetOf(6, 1352, 2021), false)) << "an older game's";
    ASSERT_TRUE(desk.openWith(reader, telemetryPacket()));
    SimFrame frame;
    EXPECT_TRUE(desk.poll(reader, frame));
    EXPECT_EQ(frame.isOnTrack, 1);
    advance(desk.clock, 1.0);
    EXPECT_TRUE(desk.poll(reader, frame)) << "a frame with each poll";
    EXPECT_EQ(frame.isOnTrack, 0);
    EXPECT_FLOAT_EQ(frame.speed, 80);
    desk.send(reader.port(), packetOf(6, 1352, 2021));
    advance(desk.clock, 3.99);
    EXPECT_TRUE(desk.poll(reader, frame));
    advance(desk.clock, 0.011);
    EXPECT_FALSE(desk.poll(reader, frame)) << "what is dropped does not keep it";
    EXPECT_FALSE(reader.isConnected());
    EXPECT_EQ(reader.port(), 0);
}

TEST(F1Reader, TheSiblingTakesOverAndGivesBack) {
    test::UdpDesk desk;
    F1Reader reader(desk.context, desk.place);
    SimFrame frame;
    ASSERT_TRUE(desk.openWith(reader, telemetryPacket()));
    EXPECT_EQ(reader.port(), desk.place.port);

    desk.scan.siblingRunning = 1;
    EXPECT_FALSE(desk.poll(reader, frame)) << "a sibling whose record cannot be read may serve it";
    EXPECT_FALSE(reader.isConnected());
    EXPECT_FALSE(reader.open()) << "and the port is its own";

    desk.sibling.put(kSiblingAcc, 1);
    ASSERT_TRUE(desk.openWith(reader, telemetryPacket())) << "it serves another sim";
    EXPECT_FALSE(reader.forwarded());
    EXPECT_TRUE(desk.poll(reader, frame));

    desk.sibling.put(kSiblingF1, 0);
    EXPECT_FALSE(desk.poll(reader, frame));
    EXPECT_FALSE(reader.open()) << "it has the port but forwards nothing";

    desk.sibling.put(kSiblingF1, 1);
    ASSERT_TRUE(reader.open()) << "forwarded: without waiting for a packet";
    EXPECT_EQ(reader.port(), desk.place.forwardedPort);
    EXPECT_TRUE(desk.poll(reader, frame));
    EXPECT_EQ(frame.isOnTrack, 0);
    desk.send(reader.port(), telemetryPacket());
    EXPECT_TRUE(desk.poll(reader, frame));
    EXPECT_EQ(frame.isOnTrack, 1);

    // Six seconds without a packet are no end as long as the sibling lives; two without a word are.
    for (int i = 0; i < 6; ++i) {
        advance(desk.clock, 1.0);
        desk.sibling.put(kSiblingF1, 1);
        EXPECT_TRUE(desk.poll(reader, frame));
    }
    advance(desk.clock, 1.9);
    EXPECT_TRUE(desk.poll(reader, frame));
    advance(desk.clock, 0.1);
    EXPECT_FALSE(desk.poll(reader, frame));
    EXPECT_FALSE(reader.isConnected());

    desk.sibling.remove();
    desk.scan.siblingRunning = 0;
    ASSERT_TRUE(desk.openWith(reader, telemetryPacket()));
    EXPECT_EQ(reader.port(), desk.place.port);
}

} // namespace
} // namespace vt
