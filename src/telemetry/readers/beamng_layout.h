// The datagram of the program's own BeamNG mod, little-endian. Newer versions of the mod send more
// fields behind those of the older ones.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr uint16_t kBeamNgPort = 56789;

#pragma pack(push, 1)
struct BeamNgPacket {
    char magic[4]; // "VTBN"
    uint32_t version;
    uint8_t unused8[4];
    float rpm;
    float maxRpm;
    int32_t gear;                  // -1 reverse, 0 neutral
    float throttle, brake, clutch; // 0..1
    float speed;                   // m/s
    uint8_t unused40[4];
    float longAccel; // m/s²
    float latAccel;  // m/s², positive to the right
    uint8_t unused52[108];
    char vehicle[32]; // may lack its terminator
    uint8_t unused192[4];
    float steering; // -1..1, right positive; from version 4 on
    uint8_t unused200[8];
    float wheelDegrees; // steering wheel, right positive; from version 6 on
};
#pragma pack(pop)

static_assert(sizeof(BeamNgPacket) == 212);
static_assert(offsetof(BeamNgPacket, rpm) == 12);
static_assert(offsetof(BeamNgPacket, gear) == 20);
static_assert(offsetof(BeamNgPacket, throttle) == 24);
static_assert(offsetof(BeamNgPacket, speed) == 36);
static_assert(offsetof(BeamNgPacket, longAccel) == 44);
static_assert(offsetof(BeamNgPacket, latAccel) == 48);
static_assert(offsetof(BeamNgPacket, vehicle) == 160);
static_assert(offsetof(BeamNgPacket, steering) == 196);
static_assert(offsetof(BeamNgPacket, wheelDegrees) == 208);

/// Bytes of a packet of that version; 0 for a version that is not known.
constexpr size_t beamNgPacketBytes(uint32_t version) {
    switch (version) {
    case 3:
        return 196;
    case 4:
        return 200;
    case 5:
        return 208;
    case 6:
        return 212;
    default:
        return 0;
    }
}

} // namespace vt
