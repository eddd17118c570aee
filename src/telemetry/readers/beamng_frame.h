// From a datagram of the BeamNG mod to a frame. Pure functions.
#pragma once
#include "base/bytes.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/beamng_layout.h"
#include "telemetry/steer_words.h"

namespace vt {

/// False without the magic, for an unknown version, and for a length that is not the version's.
/// Fields beyond the length of an older version are 0.
bool parseBeamNg(ByteView bytes, BeamNgPacket& out);
bool validBeamNg(ByteView bytes);

/// `bytes` is a valid packet.
void fillBeamNgFrame(SimFrame& frame, ByteView bytes, SteerWords& steer);

} // namespace vt
