// EA Sports WRC: the driver model on a stage, in the packet that the game is asked for.
#include "datagram_player.h"
#include "telemetry/readers/ea_wrc_layout.h"

#include <algorithm>
#include <cstring>

namespace player {

namespace {

constexpr uint8_t kNeutral = 0, kReverse = 10; // as the game numbers gears

vt::EaWrcPacket packetOf(const model::Race& race) {
    const model::Car& car = model::player(race);
    const model::CarClass& type = model::classOf(race, car);
    const model::WorldAxes axes = model::worldAxes(car);
    vt::EaWrcPacket p{};
    p.packet_uid = 1;
    p.vehicle_engine_rpm_current = asFloat(car.rpm);
    p.vehicle_engine_rpm_max = asFloat(type.maxRpm);
    p.vehicle_engine_rpm_idle = asFloat(type.idleRpm);
    p.vehicle_gear_index = car.gear < 0 ? kReverse : static_cast<uint8_t>(car.gear);
    p.vehicle_gear_index_neutral = kNeutral;
    p.vehicle_gear_index_reverse = kReverse;
    p.vehicle_gear_maximum = static_cast<uint8_t>(type.gears);
    p.vehicle_throttle = asFloat(car.throttle);
    p.vehicle_brake = asFloat(car.brake);
    p.vehicle_clutch = asFloat(car.clutch);
    p.vehicle_steering = asFloat(car.steer);
    p.vehicle_speed = asFloat(car.speed);
    p.vehicle_acceleration_x = asFloat(-car.latAccel); // x points to the left
    const float longAccel = asFloat(car.longAccel);
    std::memcpy(reinterpret_cast<char*>(&p) + vt::kEaWrcLongAccelOffset, &longAccel, 4);
    for (int i = 0; i < 4; ++i) {
        p.vehicle_cp_forward_speed[i] = asFloat(car.speed);
        p.vehicle_brake_temperature[i] = asFloat(150 + 300 * car.brake);
    }
    const double first = type.maxRpm * 0.8, last = type.maxRpm * 0.95;
    p.shiftlights_rpm_start = asFloat(first);
    p.shiftlights_rpm_end = asFloat(last);
    p.shiftlights_fraction = asFloat(std::clamp((car.rpm - first) / (last - first), 0.0, 1.0));
    p.shiftlights_rpm_valid = 1;
    p.stage_current_time = asFloat(car.lapTime);
    p.stage_current_distance = car.total;
    p.stage_length = race.circuit.length;
    p.stage_progress = asFloat(std::clamp(car.pct, 0.0, 1.0));
    for (int i = 0; i < 3; ++i) {
        p.vehicle_position[i] = asFloat(axes.position[i]);
        p.vehicle_forward_direction[i] = asFloat(axes.forward[i]);
        p.vehicle_left_direction[i] = asFloat(-axes.right[i]);
    }
    p.location_id = 7;
    p.route_id = 12;
    return p;
}

} // namespace

int playEaWrc(const Options& options) {
    Sender sender(options, vt::kEaWrcPort);
    return playModel(onStage(options), "EA Sports WRC", [&](const model::Race& race) {
        const vt::EaWrcPacket packet = packetOf(race);
        sender.send(&packet, sizeof packet);
        return true;
    });
}

} // namespace player
