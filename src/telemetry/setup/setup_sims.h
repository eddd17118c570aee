// The sims that send nothing until the user has switched their telemetry on.
#pragma once

namespace vt {

/// In the order of `overlay_onboard.ini`.
enum class SetupSim { f1, dirtRally2, eaWrc, beamNg };
inline constexpr int kSetupSimCount = 4;

} // namespace vt
