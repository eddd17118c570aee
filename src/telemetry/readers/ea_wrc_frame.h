// From a datagram of EA Sports WRC to a frame, and the names of its stages.
#pragma once
#include "base/bytes.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/ea_wrc_layout.h"
#include "telemetry/steer_words.h"

#include <string>
#include <string_view>
#include <unordered_map>

namespace vt {

/// Names of places and stages, from the file that the game writes for readers of its telemetry.
struct EaWrcIds {
    std::unordered_map<uint16_t, std::string> locations, routes;
};

/// The game's file below the user's documents folder.
inline constexpr const char* kEaWrcIdsFile = "My Games/WRC/telemetry/readme/ids.json";

/// UTF-16 (either order with its mark, little-endian without one) JSON with the arrays `locations`
/// and `routes` of objects with `id` and `name`. What cannot be read leaves the maps empty.
EaWrcIds parseEaWrcIds(std::string_view file);
/// Reads it below `documentsDir`, 3 bytes to 8 MiB.
EaWrcIds loadEaWrcIds(const std::string& documentsDir);

/// False for a packet of another size or with values that no car reaches.
bool parseEaWrc(ByteView bytes, EaWrcPacket& out);
bool validEaWrc(ByteView bytes);

/// `bytes` is a valid packet.
void fillEaWrcFrame(SimFrame& frame, ByteView bytes, MapFrame& mapFrame, const EaWrcIds& ids,
                    SteerWords& steer);

} // namespace vt
