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

/// One step of a tick. `run` is null where nothing registered yet. `frame` is the newest one and
/// valid during this tick alone.
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
    std::vector<TickStep> steps{}; // see defaultTickSteps
    int overlayCursor = 0;
    double overlayBudgetMs = 8.0;
    bool running = false; // a tick that a modal loop dispatches inside a tick does nothing
    std::function<bool()> panelAnimating{};   // keeps the fast pace
    std::function<bool()> connectionToKeep{}; // keeps the middle pace
};

/// The fifteen steps in their order:
///
///   take frame       the newest frame is at hand already; whoever follows the tick itself
///   panel watchers   profile prompt, setup assistants, steering, background import
///   save settings    settings to disk
///   sharing          lap sharing and finished downloads
///   streaming        heart rate, chat, bot
///   choose pace      filled in: the interval until the next tick
///   performance log
///   recorder         the pump's samples, session watch, coach
///   pit strategy     pit stops, fuel saving
///   engineer         voice
///   drift runs       drift run tracker
///   overlay pass     filled in: pit laps, then every overlay's turn
///   breadcrumb       for the hang report
///   outputs          mirrors and headsets
///   recover device   filled in: rebuilds a lost drawing device
///
/// The others are null until somebody registers.
std::vector<TickStep> defaultTickSteps();
/// Sets what a named step runs, in place of what it ran before. False when there is no such step.
bool setTickStep(MainTick& tick, const char* name,
                 std::function<void(MainTick&, const SimFrame&)> run);

/// The handler of `kTickMessage`. Inside a running tick (a modal loop) it only takes the message.
void mainTick(MainTick& tick);
/// Gives every enabled or edited overlay its turn, beginning where the last pass ran out of time.
void overlayPass(MainTick& tick, const SimFrame& frame);
/// 16667, 100000 or 250000 microseconds.
uint32_t choosePace(const MainTick& tick, const SimFrame& frame);

/// Body of the pacer's thread; posts `kTickMessage` to `window` until `tickStop`. Waking `timer`
/// makes it look at its words at once: to end, or to take a new interval.
void tickPacer(TickWords& words, DeadlineTimer& timer, WindowId window);

} // namespace vt
