#include "app/main_tick.h"

#include "base/pacing.h"
#include "overlay/settings/slots.h"
#include "race/relative_model.h"

#include <cstring>
#include <utility>

namespace vt {

namespace {

constexpr uint32_t kFastUs = 16667;
constexpr uint32_t kMiddleUs = 100000;
constexpr uint32_t kIdleUs = 250000;

void paceStep(MainTick& tick, const SimFrame& frame) {
    tick.words.tickIntervalUs = choosePace(tick, frame);
}

void overlayStep(MainTick& tick, const SimFrame& frame) {
    updatePitLaps(pitLaps, &frame);
    overlayPass(tick, frame);
}

void recoverStep(MainTick& tick, const SimFrame&) {
    recoverDevice(clockMs(tick.clock));
}

bool enabled(OverlayWindow& overlay) {
    const OverlayConfig* config = overlay.configBase();
    return config && config->enabled;
}

bool wantsFastPace(const OverlayHost& host) {
    for (OverlayWindow* overlay : host.overlays)
        if (overlay && (overlay->editMode || (enabled(*overlay) && overlay->showsWithoutSim())))
            return true;
    return false;
}

/// The words of the hang report, then the overlay's turn.
void tickOverlay(MainTick& tick, OverlayWindow& overlay, const SimFrame& frame) {
    tick.words.tickOverlayKey = overlayKey(overlay.slot);
    tick.words.tickOverlayStamp.exchange(clockMs32(tick.clock));
    overlayTick(overlay, &frame);
}

} // namespace

std::vector<TickStep> defaultTickSteps() {
    return {
        {"take frame", nullptr},      {"panel watchers", nullptr}, {"save settings", nullptr},
        {"sharing", nullptr},         {"streaming", nullptr},      {"choose pace", paceStep},
        {"performance log", nullptr}, {"recorder", nullptr},       {"pit strategy", nullptr},
        {"engineer", nullptr},        {"drift runs", nullptr},     {"overlay pass", overlayStep},
        {"breadcrumb", nullptr},      {"outputs", nullptr},        {"recover device", recoverStep},
    };
}

bool setTickStep(MainTick& tick, const char* name,
                 std::function<void(MainTick&, const SimFrame&)> run) {
    for (TickStep& step : tick.steps)
        if (std::strcmp(step.name, name) == 0) {
            step.run = std::move(run);
            return true;
        }
    return false;
}

void mainTick(MainTick& tick) {
    tick.words.tickPosted = 0; // first, and also inside another tick: else nothing is posted again
    tick.words.uiHeartbeat = clockMs32(tick.clock);
    // A second `frameRead` would hand the frame of the tick around this one back to the writer.
    if (tick.running) return;
    tick.running = true;
    frameStamp += 1;
    const SimFrame& frame = *frameRead(tick.buffer);
    tick.host.tickFrame = &frame;
    for (const TickStep& step : tick.steps)
        if (step.run) step.run(tick, frame);
    tick.host.tickFrame = nullptr;
    tick.running = false;
}

void overlayPass(MainTick& tick, const SimFrame& frame) {
    const auto& overlays = tick.host.overlays;
    const auto count = static_cast<int>(overlays.size());
    const int start = tick.overlayCursor < count ? tick.overlayCursor : 0;
    tick.overlayCursor = 0;
    const int64_t began = clockTicks(tick.clock);
    for (int i = 0; i < count; ++i) {
        const int place = (start + i) % count;
        OverlayWindow* overlay = overlays[static_cast<size_t>(place)];
        if (!overlay) continue;
        if (enabled(*overlay) || overlay->editMode)
            tickOverlay(tick, *overlay, frame);
        else
            overlay->whileDisabled();
        const double ms = static_cast<double>(clockTicks(tick.clock) - began) / 1e6;
        if (i + 1 < count && ms > tick.overlayBudgetMs) {
            tick.overlayCursor = (place + 1) % count;
            return;
        }
    }
}

uint32_t choosePace(const MainTick& tick, const SimFrame& frame) {
    if (frame.connected || tick.pumpWords.demoOn || wantsFastPace(tick.host) ||
        (tick.panelAnimating && tick.panelAnimating()))
        return kFastUs;
    return tick.connectionToKeep && tick.connectionToKeep() ? kMiddleUs : kIdleUs;
}

void tickPacer(TickWords& words, DeadlineTimer& timer, WindowId window) {
    const Clock system;
    int64_t last = clockTicks(system);
    while (!words.tickStop) {
        const int64_t interval = int64_t{words.tickIntervalUs} * 1000;
        const int64_t deadline = nextDeadline(last, interval, clockTicks(system));
        if (!timer.waitUntil(deadline)) continue; // woken: look at the words again
        last = deadline;
        if (words.tickStop) break;
        if (words.tickPosted.exchange(1) == 0 && !postToWindow(window, kTickMessage, 0))
            words.tickPosted = 0;
    }
}

} // namespace vt
