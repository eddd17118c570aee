// From a copy of RaceRoom's page to a frame.
#pragma once
#include "telemetry/readers/raceroom_layout.h"
#include "telemetry/sim_frame.h"

namespace vt {

/// The page is of the version and has the table that the layout describes.
bool raceRoomUsable(const RaceRoomPage& page);

/// `page` is a private copy; nothing in it is believed.
void fillRaceRoomFrame(SimFrame& out, const RaceRoomPage& page);

} // namespace vt
