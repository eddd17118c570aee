#include "telemetry/setup/ea_wrc_setup.h"

namespace vt {

const char* const kEaWrcPacketText = R"({
  "versions": { "schema": 1, "data": 2 },
  "id": "vantorel2",
  "header": {
    "channels": [
      "packet_uid"
    ]
  },
  "packets": [
    {
      "id": "session_update",
      "channels": [
        "vehicle_engine_rpm_current",
        "vehicle_engine_rpm_max",
        "vehicle_engine_rpm_idle",
        "vehicle_gear_index",
        "vehicle_gear_index_neutral",
        "vehicle_gear_index_reverse",
        "vehicle_gear_maximum",
        "vehicle_throttle",
        "vehicle_brake",
        "vehicle_clutch",
        "vehicle_handbrake",
        "vehicle_steering",
        "vehicle_speed",
        "vehicle_acceleration_x",
        "vehicle_acceleration_y",
        "vehicle_acceleration_z",
        "vehicle_hub_position_fl",
        "vehicle_hub_position_fr",
        "vehicle_hub_position_bl",
        "vehicle_hub_position_br",
        "vehicle_hub_velocity_fl",
        "vehicle_hub_velocity_fr",
        "vehicle_hub_velocity_bl",
        "vehicle_hub_velocity_br",
        "vehicle_cp_forward_speed_fl",
        "vehicle_cp_forward_speed_fr",
        "vehicle_cp_forward_speed_bl",
        "vehicle_cp_forward_speed_br",
        "vehicle_brake_temperature_fl",
        "vehicle_brake_temperature_fr",
        "vehicle_brake_temperature_bl",
        "vehicle_brake_temperature_br",
        "shiftlights_fraction",
        "shiftlights_rpm_start",
        "shiftlights_rpm_end",
        "shiftlights_rpm_valid",
        "stage_current_time",
        "stage_current_distance",
        "stage_length",
        "stage_progress",
        "vehicle_position_x",
        "vehicle_position_y",
        "vehicle_position_z",
        "vehicle_forward_direction_x",
        "vehicle_forward_direction_y",
        "vehicle_forward_direction_z",
        "vehicle_left_direction_x",
        "vehicle_left_direction_y",
        "vehicle_left_direction_z",
        "location_id",
        "route_id"
      ]
    }
  ]
}
)";

} // namespace vt
