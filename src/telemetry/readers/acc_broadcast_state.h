// What the client of ACC's broadcasting port knows and when it speaks, without socket and clock:
// one thread owns it.
#pragma once
#include "telemetry/readers/acc_broadcast_messages.h"
#include "telemetry/readers/acc_snapshot.h"

#include <functional>
#include <string>

namespace vt {

struct AccBroadcastConfig {
    int32_t port = 9000;
    std::string connectionPassword; // at most 63 bytes
    std::string commandPassword;    // at most 63 bytes
};

/// Reads the text of `broadcasting.json`, UTF-16 or UTF-8; what is missing or bad stays at its
/// default.
AccBroadcastConfig accParseBroadcastConfig(std::string_view bytes);
/// The same from the user's documents folder.
AccBroadcastConfig accLoadBroadcastConfig(const std::string& documentsDir);

struct AccBroadcastState {
    AccBroadcastConfig config;
    AccSnapshot working;
    bool wantEntryList = false;
    bool wantTrackData = false;
    int32_t unanswered =
        0; // registration messages: a result that nobody asked for is not the sim's
    uint64_t lastPacketMs = 0;
    // Ticks of the last message of each kind and of the last line in the log; 0 = none yet.
    uint64_t registerMs = 0, entryListMs = 0, trackDataMs = 0, logMs = 0;
};

/// Where the client's words go.
struct AccBroadcastOut {
    std::function<void(const AccMessage&)> send;
    std::function<void(const AccSnapshot&)> publish;
};

/// Sends what is due at `nowMs`, which is above 0, and gives up a sim that has been silent.
void accBroadcastDue(AccBroadcastState& state, uint64_t nowMs, const AccBroadcastOut& out);

/// Takes one datagram.
void accBroadcastReceive(AccBroadcastState& state, ByteView bytes, uint64_t nowMs,
                         const AccBroadcastOut& out);

} // namespace vt
