// The datagram of DiRT Rally 2.0: 32-bit floats, little-endian. The game sends all 66 with
// `extradata` 3 and the first 38 with a lower level.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr uint16_t kDirtRally2Port = 20787;
inline constexpr size_t kDirtRally2LongBytes = 264;
inline constexpr size_t kDirtRally2ShortBytes = 152;

/// The world is x, y, z with y up. Wheels are rear left, rear right, front left, front right.
struct DirtRally2Packet {
    float totalTime;   // s; not reset at a restart of the clock only
    float lapTime;     // s
    float stageMetres; // driven
    float progress;    // 0..1
    float position[3]; // m
    float speed;       // m/s
    float velocity[3]; // m/s
    float right[3];    // unit vectors of the car
    float forward[3];
    float suspension[4];                     // mm
    float suspensionVelocity[4];             // mm/s
    float wheelSpeed[4];                     // m/s
    float throttle, steering, brake, clutch; // steering -1..1, right positive
    float gear;                              // 0 neutral, 10 or -1 reverse
    float lateralG, longitudinalG;
    float lap;
    float rpmTenth; // rev/min / 10
    // From here on in long packets only.
    float unused38[13];
    float brakeTemperature[4]; // °C
    float tyrePressure[4];
    float lapsDone, lapsTotal;
    float stageLength; // m
    float lastLapTime; // s
    float maxRpmTenth; // rev/min / 10, as the next
    float idleRpmTenth;
    float gears;
};

static_assert(sizeof(DirtRally2Packet) == kDirtRally2LongBytes);
static_assert(offsetof(DirtRally2Packet, progress) == 3 * 4);
static_assert(offsetof(DirtRally2Packet, speed) == 7 * 4);
static_assert(offsetof(DirtRally2Packet, right) == 11 * 4);
static_assert(offsetof(DirtRally2Packet, forward) == 14 * 4);
static_assert(offsetof(DirtRally2Packet, suspension) == 17 * 4);
static_assert(offsetof(DirtRally2Packet, suspensionVelocity) == 21 * 4);
static_assert(offsetof(DirtRally2Packet, wheelSpeed) == 25 * 4);
static_assert(offsetof(DirtRally2Packet, throttle) == 29 * 4);
static_assert(offsetof(DirtRally2Packet, gear) == 33 * 4);
static_assert(offsetof(DirtRally2Packet, lateralG) == 34 * 4);
static_assert(offsetof(DirtRally2Packet, rpmTenth) == 37 * 4);
static_assert(offsetof(DirtRally2Packet, unused38) == kDirtRally2ShortBytes);
static_assert(offsetof(DirtRally2Packet, stageLength) == 61 * 4);
static_assert(offsetof(DirtRally2Packet, maxRpmTenth) == 63 * 4);

} // namespace vt
