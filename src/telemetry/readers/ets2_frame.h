// From a copy of the truck plug-in's page to a frame.
#pragma once
#include "telemetry/readers/ets2_layout.h"
#include "telemetry/sim_frame.h"
#include "telemetry/steer_words.h"

namespace vt {

/// `page` is a private copy; nothing in it is believed. Whether it is active and of the right
/// version is not asked here.
void fillEts2Frame(SimFrame& out, const Ets2Page& page, SteerWords& steer);

} // namespace vt
