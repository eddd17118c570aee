// From a copy of Automobilista 2's page to a frame.
#pragma once
#include "telemetry/readers/ams2_layout.h"
#include "telemetry/sim_frame.h"
#include "telemetry/steer_words.h"

namespace vt {

/// What the reader keeps between frames.
struct Ams2Memory {
    /// The participant last seen from while driving; -1 = none. Other cars that are looked at in
    /// menus and replays do not replace it.
    int32_t viewedIndex = -1;
};

/// `page` is a private copy; nothing in it is believed.
void fillAms2Frame(SimFrame& out, const Ams2Page& page, Ams2Memory& memory, SteerWords& steer);

} // namespace vt
