// Which setup assistants the user has seen: section `seen` of `overlay_onboard.ini` in the
// program's data folder. Main thread.
#pragma once
#include "telemetry/setup/setup_sims.h"

#include <string>
#include <string_view>

namespace vt {

/// Empty when it was never shown. For BeamNG the game's version, or "shown" when none was known;
/// for the others any text.
std::string seenGet(const std::string& appDataDir, SetupSim sim);

/// Makes the folder when it is missing; everything else in the file stays. False when it could not
/// be written.
bool seenSet(const std::string& appDataDir, SetupSim sim, std::string_view text);

} // namespace vt
