// The second loop: a pacer thread posts one message at a time, and the tick hands the newest frame
// to every consumer in one fixed order on the main thread.
#pragma once
#include "app/sim_pump.h"
#include "overlay/window/overlay_window.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

namespace vt {

inline constexpr uint32_t kTickMessage = 0x8002;

/// Words between the tick, its pacer and the watchdog.
struct TickWords {
    std::atomic<uint32_t> tickIntervalUs{16667}; // tick -> pacer
    std::atomic<uint32_t> tickPosted{0};         // pacer sets, tick clears
    std::atomic<uint32_t> tickStop{0};
    std::atomic<uint32_t> uiHeartbeat{0}; // ms of the last message; tick -> watchdog
    std::atomic<const char*> tickOverlayKey{nullptr};
    std::atomic<uint32_t> tickOverlayStamp{0};
};

struct MainTick;

/// The pass order stands as this table: `run` may be null where nothing registered yet.
struct TickStep {
    const char* name = "";
    std::function<void(MainTick&, const SimFrame&)> run;
};

struct MainTick {
    TripleBuffer& buffer;
    PumpWords& pumpWords;
    TickWords& words;
    OverlayHost& host;
    const Clock& clock;
    std::vector<TickStep> steps; // see defaultTickSteps
    int overlayCursor = 0;
    double overlayBudgetMs = 8.0;
    bool running = false; // a tick that a modal loop dispatches inside a tick does nothing
    std::function<bool()> panelAnimating;   // keeps the fast pace
    std::function<bool()> connectionToKeep; // keeps the middle pace
};

/// The steps in their order, those of this program filled in, the others null.
std::vector<TickStep> defaultTickSteps();
/// Sets what a named step runs. False when there is no such step.
bool setTickStep(MainTick& tick, const char* name,
                 std::function<void(MainTick&, const SimFrame&)> run);

void mainTick(MainTick& tick);
void overlayPass(MainTick& tick, const SimFrame& frame);
/// 16667, 100000 or 250000 microseconds.
uint32_t choosePace(const MainTick& tick, const SimFrame& frame);

/// Body of the pacer's thread; posts `kTickMessage` to `window` until `tickStop`.
void tickPacer(TickWords& words, DeadlineTimer& timer, WindowId window);

} // namespace vt
