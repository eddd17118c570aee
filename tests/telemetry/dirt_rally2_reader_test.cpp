#include "platform/file.h"
#include "support/udp_desk.h"
#include "telemetry/readers/dirt_rally2_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <set>
#include <string>

namespace vt {
namespace {

using test::Bytes;
using test::bytesOf;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// At the start of a stage, standing, heading along the first map axis.
DirtRally2Packet startPacket() {
    DirtRally2Packet p{};
    p.totalTime = 12;
    p.position[0] = -3735.7f;
    p.position[1] = 150;
    p.position[2] = -564.7f;
    p.forward[0] = 0.5385f;
    p.forward[2] = -0.8424f;
    p.right[0] = 0.8424f;
    p.right[2] = 0.5385f;
    p.gear = 1;
    p.rpmTenth = 400;
    p.stageLength = 5236.9f;
    p.maxRpmTenth = 800;
    return p;
}

SimFrame frameOf(const DirtRally2Packet& packet, DirtRally2Memory& memory,
                 size_t length = kDirtRally2LongBytes) {
    SimFrame frame;
    SteerWords steer;
    Bytes bytes = bytesOf(packet);
    bytes.resize(length);
    fillDirtRally2Frame(frame, bytes, memory, steer);
    return frame;
}

SimFrame frameOf(const DirtRally2Packet& packet) {
    DirtRally2Memory memory;
    return frameOf(packet, memory);
}

TEST(DirtRally2Packet, LengthsThatCount) {
    for (size_t length = 0; length <= 400; ++length) {
        Bytes bytes = bytesOf(startPacket());
        bytes.resize(length);
        EXPECT_EQ(validDirtRally2(bytes), length % 4 == 0 && (length == 152 || length >= 264))
            << length;
    }
}

TEST(DirtRally2Packet, OnlyWhatACarCanDo) {
    struct Case {
        const char* what;
        bool valid;
        std::function<void(DirtRally2Packet&)> change;
    };
    const Case cases[] = {
        {"as it is", true, [](auto&) {}},
        {"too fast", false, [](auto& p) { p.speed = 201; }},
        {"speed is no number", false, [](auto& p) { p.speed = kNan; }},
        {"a wheel too fast", false, [](auto& p) { p.wheelSpeed[3] = -201; }},
        {"a wheel is no number", false, [](auto& p) { p.wheelSpeed[0] = kNan; }},
        {"gear -2.9", true, [](auto& p) { p.gear = -2.9f; }},
        {"gear -3", false, [](auto& p) { p.gear = -3; }},
        {"gear 12.9", true, [](auto& p) { p.gear = 12.9f; }},
        {"gear 13", false, [](auto& p) { p.gear = 13; }},
        {"gear is no number", false, [](auto& p) { p.gear = kNan; }},
        {"engine backwards", false, [](auto& p) { p.rpmTenth = -1; }},
        {"engine at its limit", false, [](auto& p) { p.rpmTenth = 4000; }},
        {"engine is no number", false, [](auto& p) { p.rpmTenth = kNan; }},
        {"suspension at 4.9 m", true, [](auto& p) { p.suspension[2] = 4900; }},
        {"suspension at 5.1 m", false, [](auto& p) { p.suspension[2] = 5100; }},
        {"suspension at 101 m/s", false, [](auto& p) { p.suspensionVelocity[1] = -101000; }},
        {"pedals may be anything", true, [](auto& p) { p.throttle = kNan; }},
    };
    for (const Case& c : cases) {
        DirtRally2Packet packet = startPacket();
        c.change(packet);
        EXPECT_EQ(validDirtRally2(bytesOf(packet)), c.valid) << c.what;
    }
    Bytes f1 = bytesOf(DirtRally2Packet{});
    ASSERT_TRUE(validDirtRally2(f1));
    f1[0] = 0xE9; // 2025
    f1[1] = 0x07;
    f1[2] = 25;
    f1[6] = 6;
    EXPECT_FALSE(validDirtRally2(f1)) << "the beginning of a packet of F1";
    f1[6] = 16;
    EXPECT_TRUE(validDirtRally2(f1));
}

TEST(DirtRally2Frame, ValuesInTheProgramsUnits) {
    DirtRally2Packet p = startPacket();
    p.lapTime = 80;
    p.progress = 0.25f;
    p.speed = -3; // rolling back
    p.throttle = 0.5f;
    p.brake = 0.25f;
    p.clutch = 1;
    p.lateralG = 1;
    p.longitudinalG = -0.5f;
    p.gear = 10;
    const SimFrame frame = frameOf(p);
    EXPECT_EQ(frame.simKind, kSimDirtRally2);
    EXPECT_EQ(frame.connected, 1);
    EXPECT_EQ(frame.isOnTrack, 1);
    EXPECT_EQ(frame.gear, -1);
    EXPECT_FLOAT_EQ(frame.speed, 3);
    EXPECT_FLOAT_EQ(frame.rpm, 4000);
    EXPECT_FLOAT_EQ(frame.maxRpm, 8000);
    EXPECT_FLOAT_EQ(frame.shiftFirstRpm, 6400);
    EXPECT_FLOAT_EQ(frame.shiftRpm, 7200);
    EXPECT_FLOAT_EQ(frame.shiftBlinkRpm, 7600);
    EXPECT_FLOAT_EQ(frame.latAccel, 9.80665f);
    EXPECT_FLOAT_EQ(frame.longAccel, -4.903325f);
    EXPECT_FLOAT_EQ(frame.currentLapTime, 80);
    EXPECT_FLOAT_EQ(frame.lapDistPct, 0.25f);
    EXPECT_EQ(frame.worldOk, 1);
    EXPECT_FLOAT_EQ(frame.worldX, -3735.7f);
    EXPECT_FLOAT_EQ(frame.worldY, -564.7f);
    EXPECT_FLOAT_EQ(frame.rightY, 0.5385f);
    EXPECT_EQ(frame.steerAngleOk, 0) << "without the wheel's rotation";
    EXPECT_TRUE(frame.cars.empty());

    p.lapTime = 0;
    EXPECT_FLOAT_EQ(frameOf(p).currentLapTime, 12) << "the total time stands in";
    p.totalTime = 36000;
    EXPECT_FLOAT_EQ(frameOf(p).currentLapTime, 0);
    p.throttle = p.progress = p.lateralG = p.stageLength = kNan;
    const SimFrame odd = frameOf(p);
    EXPECT_FLOAT_EQ(odd.throttle, 0);
    EXPECT_FLOAT_EQ(odd.lapDistPct, 0);
    EXPECT_FLOAT_EQ(odd.latAccel, 0);
    EXPECT_FLOAT_EQ(odd.trackLength, 0);
}

TEST(DirtRally2Frame, AShortPacketSaysNothingOfStageAndRedline) {
    DirtRally2Memory memory;
    const SimFrame frame = frameOf(startPacket(), memory, kDirtRally2ShortBytes);
    EXPECT_FLOAT_EQ(frame.rpm, 4000);
    EXPECT_FLOAT_EQ(frame.maxRpm, 0);
    EXPECT_FLOAT_EQ(frame.shiftRpm, 0);
    EXPECT_FLOAT_EQ(frame.trackLength, 0);
    EXPECT_EQ(frame.trackId, 0);
}

TEST(DirtRally2Stage, KeyComesFromCellAndHeading) {
    // Values from an independent FNV-1a over (5237, -75, -12, 2) and (8000, -1, 0, 4).
    EXPECT_EQ(dirtStageId(5236.9f, -3735.7f, -564.7f, 0.5385f, -0.8424f), 1799922951);
    EXPECT_EQ(dirtStageId(8000.2f, -0.5f, 49.9f, 0.7f, 0.6f), 1108501144);
    EXPECT_EQ(dirtStageId(8000.2f, -49, 0.1f, 0.99f, 0.01f), 1108501144)
        << "the same cell and eighth";
    EXPECT_NE(dirtStageId(8000.2f, 0.5f, 49.9f, 0.7f, 0.6f), 1108501144) << "floor, not truncation";
    EXPECT_NE(dirtStageId(8000.2f, -0.5f, 49.9f, 0.7f, -0.6f), 1108501144);
    EXPECT_NE(dirtStageId(8000.2f, 1, 1, -1, 0.0f), 0) << "heading pi is the last eighth";
    EXPECT_EQ(dirtStageId(8000, kNan, 0, 1, 0), 0);
    EXPECT_EQ(dirtStageId(8000, 3e38f, 0, 1, 0), 0);
}

TEST(DirtRally2Stage, NamedAtTheStartAndAgainAfterARestart) {
    DirtRally2Memory memory;
    DirtRally2Packet p = startPacket();
    p.progress = 0.5f;
    EXPECT_EQ(frameOf(p, memory).trackId, 0) << "met in the middle of a stage";
    p.progress = 0.01f;
    const SimFrame first = frameOf(p, memory);
    EXPECT_GT(first.trackId, 0);
    EXPECT_STREQ(first.trackName, "Stage 5.2 km");

    // Another stage's start, without the clock having fallen: still the old stage.
    DirtRally2Packet other = p;
    other.position[0] += 500;
    other.stageLength = 9000;
    other.totalTime = 80;
    EXPECT_EQ(frameOf(other, memory).trackId, first.trackId);
    other.totalTime = 79.5f;
    EXPECT_EQ(frameOf(other, memory).trackId, first.trackId) << "half a second is no restart";
    other.totalTime = 0;
    other.progress = 0.5f;
    EXPECT_EQ(frameOf(other, memory).trackId, first.trackId) << "not at the start yet";
    other.progress = 0;
    const SimFrame second = frameOf(other, memory);
    EXPECT_NE(second.trackId, first.trackId);
    EXPECT_STREQ(second.trackName, "Stage 9.0 km");
    EXPECT_FALSE(memory.restarted);

    p.totalTime = -20; // before the clock runs; then it is no clock to compare with
    EXPECT_EQ(frameOf(p, memory).trackId, first.trackId) << "the same start, the same key";
}

TEST(DirtRally2Capture, AWholeStage) {
    std::string bytes;
    if (!readFile(VT_SOURCE_DIR "/../shared/realdata/dirtrally2/noorinbee_ridge_descent.udp264",
                  bytes))
        GTEST_SKIP() << "no recording of a stage beside the tree";
    ASSERT_EQ(bytes.size() % kDirtRally2LongBytes, 0u);
    DirtRally2Memory memory;
    SteerWords steer;
    std::set<int32_t> stages;
    double travelled = 0, lastTime = 0, lastDistance = 0;
    float lastSpeed = 0;
    size_t frames = 0;
    int maxGear = 0;
    for (size_t at = 0; at < bytes.size(); at += kDirtRally2LongBytes, ++frames) {
        const ByteView packet{reinterpret_cast<const uint8_t*>(bytes.data()) + at,
                              kDirtRally2LongBytes};
        ASSERT_TRUE(validDirtRally2(packet)) << frames;
        SimFrame frame;
        fillDirtRally2Frame(frame, packet, memory, steer);
        EXPECT_NEAR(frame.trackLength, 5237, 1);
        EXPECT_GE(frame.gear, -1);
        EXPECT_LE(frame.gear, 6);
        maxGear = std::max(maxGear, frame.gear);
        EXPECT_EQ(frame.worldOk, 1);
        stages.insert(frame.trackId);
        const double distance = static_cast<double>(frame.lapDistPct) * frame.trackLength;
        EXPECT_GE(distance, lastDistance);
        const double time = frame.currentLapTime;
        if (frames > 0) travelled += (time - lastTime) * (frame.speed + lastSpeed) / 2;
        lastDistance = distance;
        lastTime = time;
        lastSpeed = frame.speed;
    }
    EXPECT_EQ(frames, 12151u);
    EXPECT_EQ(stages.size(), 1u);
    EXPECT_NE(*stages.begin(), 0);
    EXPECT_NEAR(lastDistance, 5237, 1);
    EXPECT_NEAR(travelled, lastDistance, 0.02 * lastDistance);
    EXPECT_GE(maxGear, 4);
}

} // namespace
} // namespace vt
