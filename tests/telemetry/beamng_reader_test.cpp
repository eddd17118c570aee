#include "support/udp_desk.h"
#include "telemetry/readers/beamng_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vt {
namespace {

using test::Bytes;
using test::bytesOf;

BeamNgPacket drivingPacket() {
    BeamNgPacket p{};
    std::memcpy(p.magic, "VTBN", 4);
    p.version = 6;
    p.rpm = 3000;
    p.maxRpm = 7000;
    p.gear = -1;
    p.throttle = 0.75f;
    p.speed = 12;
    p.longAccel = 1.5f;
    p.latAccel = 2.5f;
    std::memset(p.vehicle, 'v', sizeof p.vehicle); // without a terminator
    p.steering = 0.5f;
    p.wheelDegrees = 90;
    return p;
}

SimFrame frameOf(BeamNgPacket packet, uint32_t version, int32_t rotation = 0) {
    SimFrame frame;
    SteerWords steer;
    steer.steerRotationDeg = rotation;
    packet.version = version;
    Bytes bytes = bytesOf(packet);
    bytes.resize(beamNgPacketBytes(version));
    fillBeamNgFrame(frame, bytes, steer);
    return frame;
}

TEST(BeamNgPacket, LengthGoesWithVersion) {
    constexpr size_t lengths[] = {0, 0, 0, 196, 200, 208, 212, 0};
    for (uint32_t version = 0; version < 8; ++version)
        for (size_t length = 0; length < 230; ++length) {
            BeamNgPacket packet = drivingPacket();
            packet.version = version;
            Bytes bytes = bytesOf(packet);
            bytes.resize(length);
            EXPECT_EQ(validBeamNg(bytes), length > 0 && lengths[version] == length)
                << version << " " << length;
        }
    BeamNgPacket packet = drivingPacket();
    packet.magic[3] = 'n';
    EXPECT_FALSE(validBeamNg(bytesOf(packet)));
}

TEST(BeamNgFrame, ValuesInTheProgramsUnits) {
    const SimFrame frame = frameOf(drivingPacket(), 6);
    EXPECT_EQ(frame.simKind, kSimBeamNg);
    EXPECT_EQ(frame.gear, -1);
    EXPECT_FLOAT_EQ(frame.rpm, 3000);
    EXPECT_FLOAT_EQ(frame.shiftFirstRpm, 5600);
    EXPECT_FLOAT_EQ(frame.shiftBlinkRpm, 6650);
    EXPECT_FLOAT_EQ(frame.latAccel, -2.5f);
    EXPECT_FLOAT_EQ(frame.longAccel, 1.5f);
    EXPECT_EQ(std::string(frame.carModel), std::string(32, 'v'));

    BeamNgPacket odd = drivingPacket();
    std::memset(odd.vehicle, 0, sizeof odd.vehicle);
    odd.speed = odd.throttle = odd.wheelDegrees = std::numeric_limits<float>::quiet_NaN();
    odd.maxRpm = -std::numeric_limits<float>::infinity();
    const SimFrame hostile = frameOf(odd, 6);
    EXPECT_STREQ(hostile.carModel, "beamng");
    EXPECT_FLOAT_EQ(hostile.speed, 0);
    EXPECT_FLOAT_EQ(hostile.throttle, 0);
    EXPECT_FLOAT_EQ(hostile.steerAngle, 0);
    EXPECT_FLOAT_EQ(hostile.shiftRpm, 0);
}

TEST(BeamNgFrame, SteeringByVersion) {
    constexpr float quarter = 1.5707964f; // 90 degrees
    struct Case {
        uint32_t version;
        int32_t rotation;
        int ok;
        float angle, lock;
    };
    const Case cases[] = {
        {3, 720, 0, 0, 0},
        {4, 0, 0, 0, 0},
        {4, 720, 1, 2 * quarter, 4 * quarter},
        {5, 720, 1, 2 * quarter, 4 * quarter},
        {6, 0, 1, quarter, 0}, // knows the angle itself
        {6, 179, 1, quarter, 0},
        {6, 720, 1, quarter, 4 * quarter},
    };
    for (const Case& c : cases) {
        const SimFrame frame = frameOf(drivingPacket(), c.version, c.rotation);
        EXPECT_EQ(frame.steerAngleOk, c.ok) << c.version << " " << c.rotation;
        EXPECT_NEAR(frame.steerAngle, c.angle, 1e-5) << c.version << " " << c.rotation;
        EXPECT_NEAR(frame.steerLock, c.lock, 1e-5) << c.version << " " << c.rotation;
    }
}

} // namespace
} // namespace vt
