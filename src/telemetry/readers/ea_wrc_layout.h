// The datagram that EA Sports WRC sends when its packet file lists the channels below, in this
// order, without padding. Little-endian.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr uint16_t kEaWrcPort = 20791;

#pragma pack(push, 1)
/// Members carry the names of the game's channels. Wheels are front left, front right, back left,
/// back right. The game's axes of the car: x to the left, y up, z forward.
struct EaWrcPacket {
    uint64_t packet_uid;
    float vehicle_engine_rpm_current;
    float vehicle_engine_rpm_max;
    float vehicle_engine_rpm_idle;
    uint8_t vehicle_gear_index;
    uint8_t vehicle_gear_index_neutral;
    uint8_t vehicle_gear_index_reverse;
    uint8_t vehicle_gear_maximum;
    float vehicle_throttle; // 0..1, as the other pedals
    float vehicle_brake;
    float vehicle_clutch;
    float vehicle_handbrake;
    float vehicle_steering;       // -1..1, right positive
    float vehicle_speed;          // m/s
    float vehicle_acceleration_x; // m/s²
    float vehicle_acceleration_y;
    float vehicle_acceleration_z;
    float vehicle_hub_position[4];      // m
    float vehicle_hub_velocity[4];      // m/s
    float vehicle_cp_forward_speed[4];  // m/s at the tyre's contact patch
    float vehicle_brake_temperature[4]; // °C
    float shiftlights_fraction;
    float shiftlights_rpm_start;
    float shiftlights_rpm_end;
    uint8_t shiftlights_rpm_valid;
    float stage_current_time;      // s
    double stage_current_distance; // m
    double stage_length;           // m
    float stage_progress;          // 0..1
    float vehicle_position[3];     // m; x, y, z
    float vehicle_forward_direction[3];
    float vehicle_left_direction[3];
    uint16_t location_id;
    uint16_t route_id;
};
#pragma pack(pop)

inline constexpr size_t kEaWrcPacketBytes = 201;

/// The channel that is taken for the longitudinal acceleration.
inline constexpr size_t kEaWrcLongAccelOffset = offsetof(EaWrcPacket, vehicle_acceleration_y);
static_assert(kEaWrcLongAccelOffset == 52);

/// One channel of the packet as the game's packet file names it, with its place.
struct EaWrcChannel {
    const char* name;
    uint8_t bytes;
    uint16_t offset;
};

/// All channels in the packet's order. The first is the header's, the rest are the packet's own.
inline constexpr EaWrcChannel kEaWrcChannels[] = {
    {"packet_uid", 8, offsetof(EaWrcPacket, packet_uid)},
    {"vehicle_engine_rpm_current", 4, offsetof(EaWrcPacket, vehicle_engine_rpm_current)},
    {"vehicle_engine_rpm_max", 4, offsetof(EaWrcPacket, vehicle_engine_rpm_max)},
    {"vehicle_engine_rpm_idle", 4, offsetof(EaWrcPacket, vehicle_engine_rpm_idle)},
    {"vehicle_gear_index", 1, offsetof(EaWrcPacket, vehicle_gear_index)},
    {"vehicle_gear_index_neutral", 1, offsetof(EaWrcPacket, vehicle_gear_index_neutral)},
    {"vehicle_gear_index_reverse", 1, offsetof(EaWrcPacket, vehicle_gear_index_reverse)},
    {"vehicle_gear_maximum", 1, offsetof(EaWrcPacket, vehicle_gear_maximum)},
    {"vehicle_throttle", 4, offsetof(EaWrcPacket, vehicle_throttle)},
    {"vehicle_brake", 4, offsetof(EaWrcPacket, vehicle_brake)},
    {"vehicle_clutch", 4, offsetof(EaWrcPacket, vehicle_clutch)},
    {"vehicle_handbrake", 4, offsetof(EaWrcPacket, vehicle_handbrake)},
    {"vehicle_steering", 4, offsetof(EaWrcPacket, vehicle_steering)},
    {"vehicle_speed", 4, offsetof(EaWrcPacket, vehicle_speed)},
    {"vehicle_acceleration_x", 4, offsetof(EaWrcPacket, vehicle_acceleration_x)},
    {"vehicle_acceleration_y", 4, offsetof(EaWrcPacket, vehicle_acceleration_y)},
    {"vehicle_acceleration_z", 4, offsetof(EaWrcPacket, vehicle_acceleration_z)},
    {"vehicle_hub_position_fl", 4, offsetof(EaWrcPacket, vehicle_hub_position)},
    {"vehicle_hub_position_fr", 4, offsetof(EaWrcPacket, vehicle_hub_position) + 4},
    {"vehicle_hub_position_bl", 4, offsetof(EaWrcPacket, vehicle_hub_position) + 8},
    {"vehicle_hub_position_br", 4, offsetof(EaWrcPacket, vehicle_hub_position) + 12},
    {"vehicle_hub_velocity_fl", 4, offsetof(EaWrcPacket, vehicle_hub_velocity)},
    {"vehicle_hub_velocity_fr", 4, offsetof(EaWrcPacket, vehicle_hub_velocity) + 4},
    {"vehicle_hub_velocity_bl", 4, offsetof(EaWrcPacket, vehicle_hub_velocity) + 8},
    {"vehicle_hub_velocity_br", 4, offsetof(EaWrcPacket, vehicle_hub_velocity) + 12},
    {"vehicle_cp_forward_speed_fl", 4, offsetof(EaWrcPacket, vehicle_cp_forward_speed)},
    {"vehicle_cp_forward_speed_fr", 4, offsetof(EaWrcPacket, vehicle_cp_forward_speed) + 4},
    {"vehicle_cp_forward_speed_bl", 4, offsetof(EaWrcPacket, vehicle_cp_forward_speed) + 8},
    {"vehicle_cp_forward_speed_br", 4, offsetof(EaWrcPacket, vehicle_cp_forward_speed) + 12},
    {"vehicle_brake_temperature_fl", 4, offsetof(EaWrcPacket, vehicle_brake_temperature)},
    {"vehicle_brake_temperature_fr", 4, offsetof(EaWrcPacket, vehicle_brake_temperature) + 4},
    {"vehicle_brake_temperature_bl", 4, offsetof(EaWrcPacket, vehicle_brake_temperature) + 8},
    {"vehicle_brake_temperature_br", 4, offsetof(EaWrcPacket, vehicle_brake_temperature) + 12},
    {"shiftlights_fraction", 4, offsetof(EaWrcPacket, shiftlights_fraction)},
    {"shiftlights_rpm_start", 4, offsetof(EaWrcPacket, shiftlights_rpm_start)},
    {"shiftlights_rpm_end", 4, offsetof(EaWrcPacket, shiftlights_rpm_end)},
    {"shiftlights_rpm_valid", 1, offsetof(EaWrcPacket, shiftlights_rpm_valid)},
    {"stage_current_time", 4, offsetof(EaWrcPacket, stage_current_time)},
    {"stage_current_distance", 8, offsetof(EaWrcPacket, stage_current_distance)},
    {"stage_length", 8, offsetof(EaWrcPacket, stage_length)},
    {"stage_progress", 4, offsetof(EaWrcPacket, stage_progress)},
    {"vehicle_position_x", 4, offsetof(EaWrcPacket, vehicle_position)},
    {"vehicle_position_y", 4, offsetof(EaWrcPacket, vehicle_position) + 4},
    {"vehicle_position_z", 4, offsetof(EaWrcPacket, vehicle_position) + 8},
    {"vehicle_forward_direction_x", 4, offsetof(EaWrcPacket, vehicle_forward_direction)},
    {"vehicle_forward_direction_y", 4, offsetof(EaWrcPacket, vehicle_forward_direction) + 4},
    {"vehicle_forward_direction_z", 4, offsetof(EaWrcPacket, vehicle_forward_direction) + 8},
    {"vehicle_left_direction_x", 4, offsetof(EaWrcPacket, vehicle_left_direction)},
    {"vehicle_left_direction_y", 4, offsetof(EaWrcPacket, vehicle_left_direction) + 4},
    {"vehicle_left_direction_z", 4, offsetof(EaWrcPacket, vehicle_left_direction) + 8},
    {"location_id", 2, offsetof(EaWrcPacket, location_id)},
    {"route_id", 2, offsetof(EaWrcPacket, route_id)},
};

/// The channels follow each other without a gap and fill the packet.
constexpr bool eaWrcChannelsFit() {
    size_t end = 0;
    for (const EaWrcChannel& channel : kEaWrcChannels) {
        if (channel.offset != end) return false;
        end += channel.bytes;
    }
    return end == kEaWrcPacketBytes;
}

static_assert(sizeof(EaWrcPacket) == kEaWrcPacketBytes);
static_assert(eaWrcChannelsFit());
static_assert(offsetof(EaWrcPacket, vehicle_gear_index) == 20);
static_assert(offsetof(EaWrcPacket, vehicle_throttle) == 24);
static_assert(offsetof(EaWrcPacket, vehicle_steering) == 40);
static_assert(offsetof(EaWrcPacket, vehicle_acceleration_x) == 48);
static_assert(offsetof(EaWrcPacket, shiftlights_rpm_start) == 128);
static_assert(offsetof(EaWrcPacket, shiftlights_rpm_valid) == 136);
static_assert(offsetof(EaWrcPacket, stage_current_time) == 137);
static_assert(offsetof(EaWrcPacket, stage_length) == 149);
static_assert(offsetof(EaWrcPacket, stage_progress) == 157);
static_assert(offsetof(EaWrcPacket, vehicle_position) == 161);
static_assert(offsetof(EaWrcPacket, vehicle_forward_direction) == 173);
static_assert(offsetof(EaWrcPacket, vehicle_left_direction) == 185);
static_assert(offsetof(EaWrcPacket, location_id) == 197);
static_assert(offsetof(EaWrcPacket, route_id) == 199);

} // namespace vt
