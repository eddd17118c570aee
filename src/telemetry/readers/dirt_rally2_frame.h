// From a datagram of DiRT Rally 2.0 to a frame. Pure functions.
#pragma once
#include "base/bytes.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/dirt_rally2_layout.h"
#include "telemetry/steer_words.h"

namespace vt {

/// What is learned from one packet to the next.
struct DirtRally2Memory {
    MapFrame mapFrame;
    float prevTotalTime = -1; // s
    bool restarted = false;   // the clock fell: the next start is another run
    int32_t stageId = 0;      // 0 = not at a stage's start yet
    char stageName[32] = "";
};

/// False for a packet that is not this game's: by its length, by its likeness to one of F1, whose
/// ports users mix up, or by values that no car reaches. A short packet leaves the rest of `out` 0.
bool parseDirtRally2(ByteView bytes, DirtRally2Packet& out);
bool validDirtRally2(ByteView bytes);

/// The game names no stage. The key is made of what its start looks like: length, place in cells of
/// 50 m, heading in eighths of a turn (from the map's forward vector). Never 0; 0 for values that
/// are not finite or beyond any map.
int32_t dirtStageId(float stageLength, float worldX, float worldY, float forwardX, float forwardY);

/// `bytes` is a valid packet.
void fillDirtRally2Frame(SimFrame& frame, ByteView bytes, DirtRally2Memory& memory,
                         SteerWords& steer);

} // namespace vt
