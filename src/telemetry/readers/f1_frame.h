// The F1 games' datagrams, gathered into one state, and the frame made of it. Pure functions.
#pragma once
#include "base/bytes.h"
#include "telemetry/readers/f1_layout.h"
#include "telemetry/sim_frame.h"

#include <array>

namespace vt {

/// A packet of one of the accepted formats, of any id.
bool f1Recognised(ByteView packet);

/// What was last told by each kind of packet.
struct F1State {
    uint16_t format = 0;
    int32_t playerCarIndex = -1;
    bool telemetrySeen = false, statusSeen = false, sessionSeen = false;
    bool lapDataSeen = false, participantsSeen = false;
    F1TelemetryCar telemetry{}; // the player's, as the next two
    F1StatusCar status{};
    float gForceLateral = 0, gForceLongitudinal = 0;
    F1SessionHead session{};
    struct Car {
        F1LapCar lap{};
        uint8_t raceNumber = 0;
        char name[64] = "";
    };
    std::array<Car, kF1Cars> cars{};
};

enum class F1Applied {
    stored,
    dropped,     // another format, an id that is not read, too short
    wrongStride, // lap data of another layout
};

/// Takes over one datagram. `stride` is the record size of lap data.
F1Applied applyF1Packet(F1State& state, ByteView packet, int& stride);

/// "Practice", "Qualifying", "Race", "Time Trial" or "".
const char* f1SessionName(uint16_t format, uint8_t sessionType);

/// `silentMs` is the time since the last stored packet.
void fillF1Frame(SimFrame& frame, const F1State& state, uint64_t silentMs);

} // namespace vt
