#include "telemetry/readers/ea_wrc_frame.h"

#include "base/utf8.h"
#include "telemetry/sim_registry.h"

#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr float kMaxStageTime = 36000;      // s
constexpr double kMaxStageLength = 1000000; // m

bool within(float value, float low, float high) {
    return value >= low && value <= high; // false for NaN
}

/// The values of a packet that decide whether it can be the game's.
struct Range {
    uint16_t offset;
    uint8_t count;
    float low, high;
};
constexpr float kAnyFinite = 3.4e38f;
constexpr Range kRanges[] = {
    {offsetof(EaWrcPacket, vehicle_engine_rpm_current), 2, -1, 30000}, // and the maximum
    {offsetof(EaWrcPacket, vehicle_throttle), 3, -0.1f, 1.1f},         // brake, clutch
    {offsetof(EaWrcPacket, vehicle_steering), 1, -1.5f, 1.5f},
    {offsetof(EaWrcPacket, vehicle_speed), 1, -200, 200},
    {offsetof(EaWrcPacket, vehicle_acceleration_x), 2, -500, 500},
    {offsetof(EaWrcPacket, shiftlights_rpm_start), 2, -kAnyFinite, kAnyFinite},
    {offsetof(EaWrcPacket, stage_current_time), 1, -kAnyFinite, kAnyFinite},
    {offsetof(EaWrcPacket, stage_progress), 1, -0.1f, 1.1f},
    {offsetof(EaWrcPacket, vehicle_position), 3, -1e7f, 1e7f},
    {offsetof(EaWrcPacket, vehicle_forward_direction), 6, -1.01f, 1.01f}, // and left
};

int gearOf(const EaWrcPacket& p) {
    const int index = p.vehicle_gear_index, neutral = p.vehicle_gear_index_neutral;
    if (index == p.vehicle_gear_index_reverse && p.vehicle_gear_index_reverse != neutral) return -1;
    const int gear = index - neutral;
    return gear < -1 ? 0 : gear;
}

void fillShiftLights(SimFrame& frame, const EaWrcPacket& p) {
    const float first = p.shiftlights_rpm_start, last = p.shiftlights_rpm_end;
    if (!p.shiftlights_rpm_valid || !(first > 0) || !(last > first)) return;
    frame.shiftFirstRpm = first;
    frame.shiftRpm = first + 0.66f * (last - first);
    frame.shiftBlinkRpm = last;
}

void fillPlace(SimFrame& frame, const EaWrcPacket& p, MapFrame& mapFrame) {
    float position[3], forward[3], right[3];
    for (int i = 0; i < 3; ++i) {
        position[i] = p.vehicle_position[i];
        forward[i] = p.vehicle_forward_direction[i];
        right[i] = -p.vehicle_left_direction[i];
    }
    fillWorld(frame, mapFrame, position, forward, right);
}

std::string_view nameOf(const std::unordered_map<uint16_t, std::string>& names, uint16_t id) {
    const auto found = names.find(id);
    return found == names.end() ? std::string_view() : std::string_view(found->second);
}

void fillStage(SimFrame& frame, const EaWrcPacket& p, const EaWrcIds& ids) {
    frame.lapDistPct = clamp01(p.stage_progress);
    const double length = p.stage_length;
    if (length > 1 && length < kMaxStageLength) frame.trackLength = static_cast<float>(length);
    const float time = p.stage_current_time;
    if (time > 0 && time < kMaxStageTime) frame.currentLapTime = time;
    const uint16_t locationId = p.location_id, routeId = p.route_id;
    frame.trackId = static_cast<int32_t>(locationId * 65536u + routeId);
    const std::string_view place = nameOf(ids.locations, locationId);
    const std::string_view name = nameOf(ids.routes, routeId);
    constexpr size_t room = sizeof frame.trackName - 1;
    char text[2 * room + 8];
    std::snprintf(text, sizeof text, "%.*s%s%.*s", static_cast<int>(utf8CutLength(place, room)),
                  place.data(), place.empty() || name.empty() ? "" : " - ",
                  static_cast<int>(utf8CutLength(name, room)), name.data());
    copyText(frame.trackName, text);
}

} // namespace

bool parseEaWrc(ByteView bytes, EaWrcPacket& out) {
    if (bytes.size() != sizeof out) return false;
    for (const Range& range : kRanges)
        for (size_t i = 0; i < range.count; ++i)
            if (!within(readAt<float>(bytes, range.offset + 4 * i), range.low, range.high))
                return false;
    std::memcpy(&out, bytes.data(), sizeof out);
    return true;
}

bool validEaWrc(ByteView bytes) {
    EaWrcPacket packet;
    return parseEaWrc(bytes, packet);
}

void fillEaWrcFrame(SimFrame& frame, ByteView bytes, MapFrame& mapFrame, const EaWrcIds& ids,
                    SteerWords& steer) {
    EaWrcPacket p;
    if (!parseEaWrc(bytes, p)) return;
    frame.simKind = kSimEaWrc;
    frame.connected = 1;
    frame.isOnTrack = 1;
    frame.throttle = p.vehicle_throttle;
    frame.brake = p.vehicle_brake;
    frame.clutch = p.vehicle_clutch;
    steerApply(steer, frame, p.vehicle_steering);
    frame.rpm = p.vehicle_engine_rpm_current;
    frame.maxRpm = p.vehicle_engine_rpm_max;
    frame.speed = std::abs(p.vehicle_speed);
    frame.gear = gearOf(p);
    fillShiftLights(frame, p);
    frame.latAccel = p.vehicle_acceleration_x;
    frame.longAccel = readAt<float>(bytes, kEaWrcLongAccelOffset);
    copyText(frame.carModel, "eawrc");
    fillPlace(frame, p, mapFrame);
    fillStage(frame, p, ids);
}

} // namespace vt
