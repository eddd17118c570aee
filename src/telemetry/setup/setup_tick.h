// Which setup assistant to open by itself: that of a sim that has been running for a while without
// any telemetry reaching the program. Decisions only; the caller opens windows and writes files.
#pragma once
#include "telemetry/setup/setup_sims.h"

#include <functional>
#include <string>

namespace vt {

inline constexpr int kSetupTickMs = 2000; // how often `setupTick` is called
inline constexpr int kSetupTicks = 10;    // about 20 s

/// What the program knows at this tick.
struct SetupTickInput {
    bool connected = false;     // any sim gives telemetry
    bool f1WithoutFeed = false; // F1 runs and its port stays silent (the pump's word)
    bool dirtRally2Running = false;
    bool wrcRunning = false;
    bool beamNgRunning = false;
    bool windowOpen = false; // a dialog is open: what is due waits
};

/// Asked only when the answer counts: the files are read once per run of a sim.
struct SetupQuestions {
    std::function<bool()> dr2NeedsAttention;
    std::function<bool()> eaWrcNeedsAttention;
    std::function<std::string()> beamNgVersion; // empty = unknown
    std::function<std::string(SetupSim)> seen;
};

struct SetupTickState {
    struct Wait {
        int ticks = 0;
        bool checked = false; // once per run of the sim
    };
    Wait waits[3];         // F1, DiRT Rally 2.0, EA Sports WRC
    std::string beamNgNow; // noted in this run, should the file not take it
};

/// What to do now. Write first, then open: the window is modal and ticks go on beneath it.
struct SetupTickResult {
    bool open = false, write = false;
    SetupSim sim = SetupSim::f1;
    bool noTelemetry = false;
    std::string seen; // to write for `sim`
};

SetupTickResult setupTick(SetupTickState& state, const SetupTickInput& input,
                          const SetupQuestions& questions);

} // namespace vt
