// The one thread that talks to sims: it finds a running one, polls its reader, adds what only the
// program can know, and publishes the frame.
#pragma once
#include "base/triple_buffer.h"
#include "platform/clock.h"
#include "telemetry/process_scan.h"
#include "telemetry/sim_frame.h"
#include "telemetry/sim_reader.h"

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace vt {

using TripleBuffer = TripleBufferOf<SimFrame>;

/// Main thread only. The pointer stays valid until the next call.
const SimFrame* frameRead(TripleBuffer& buffer);
/// Pump's thread: a default frame with that kind, not connected.
void publishEmpty(TripleBuffer& buffer, int32_t kind);

/// Words between the pump and the rest. Each is written on one side and read on the other.
struct PumpWords {
    std::atomic<uint32_t> pumpStop{0};      // main -> pump
    std::atomic<uint32_t> demoOn{0};        // main -> pump
    std::atomic<uint32_t> updateCheckOn{0}; // main -> pump
    std::atomic<uint32_t> f1WithoutFeed{0}; // pump -> main
    std::atomic<int32_t> connectedSim{-1};  // pump -> main: kind of the attached reader
};

/// What later parts of the program hang on the pump; all may be empty. Pump's thread.
struct PumpHooks {
    /// Before the ranking: fills the frame's survey figures; true asks for a reset of the recorder.
    std::function<bool(SimFrame&, bool gpsTick)> survey;
    /// Each frame before it is published.
    std::function<void(const SimFrame&, bool reset)> pushSample;
    std::function<void(int32_t kind)> simConnected;
    std::function<void(int32_t kind)> simDisconnected;
    std::function<void(const SimFrame&, double seconds)> usage;
    /// The sibling program's game id, -1 when it does not run.
    std::function<int()> siblingGameId;
    std::function<void()> checkForUpdate;
    std::function<void()> demoEnded;
};

struct SimPump {
    TripleBuffer& buffer;
    PumpWords& words;
    ProcessScan& scan;
    const Clock& clock;
    ProcessLister lister = nullptr;
    PumpHooks hooks{};
    std::vector<std::unique_ptr<SimReader>> readers{}; // in SimKind order; missing kinds are absent
    DeadlineTimer timer{};
};

/// ACC, AC and AC Rally publish the same mappings: only the program that runs may open, else the
/// one that the sibling names. Every other kind may always open.
bool familyMayOpen(int32_t kind, int32_t familyKind, int gameId);

/// Another program of that family runs now: its pages have the same names, and a reader that stays
/// would take them for its own sim's.
bool familyStolen(int32_t kind, int32_t familyKind);

/// The thread's body; returns when `pumpStop` is set. `wakePump` makes it look at its words at
/// once.
void simPumpMain(SimPump& pump);
void wakePump(SimPump& pump);

} // namespace vt
