#include "app/assistants.h"

#include "base/log.h"
#include "overlay/drawing/dialog.h"
#include "panel/row_parts.h"
#include "panel/setup_window.h"
#include "panel/steer_window.h"
#include "platform/main_loop.h"
#include "platform/paths.h"
#include "telemetry/setup/dr2_setup.h"
#include "telemetry/setup/ea_wrc_setup.h"
#include "telemetry/setup/game_documents.h"
#include "telemetry/setup/seen_file.h"

#include <utility>

namespace vt {

namespace {

constexpr uint32_t kOpenMessage = 1;

const char* setupSimName(SetupSim sim) {
    constexpr const char* names[kSetupSimCount] = {"F1", "DiRT Rally 2.0", "EA Sports WRC",
                                                   "BeamNG.drive"};
    return names[static_cast<int>(sim)];
}

bool dr2Asks() {
    return dr2NeedsAttention(
        documentsOfGame(gameDocumentsFolders(kDirtRally2AppId), kDirtRally2GameFolder));
}

bool eaWrcAsks() {
    EaWrcStatus status;
    const std::string documents =
        documentsOfGame(gameDocumentsFolders(kEaWrcAppId), kEaWrcGameFolder);
    return !eaWrcCheck(documents, status) || !eaWrcReady(status);
}

void openLater(Assistants& a, std::function<void()> open) {
    if (!a.messages || a.pending) return;
    a.pending = std::move(open);
    if (!postToWindow(a.messages, kOpenMessage, 0)) a.pending = nullptr;
}

void offerSetup(Assistants& a, uint64_t nowMs) {
    const SetupTickInput input{.connected = a.pump.connectedSim >= 0,
                               .f1WithoutFeed = a.pump.f1WithoutFeed != 0,
                               .dirtRally2Running = a.scan.dirtRally2Running != 0,
                               .wrcRunning = a.scan.wrcRunning != 0,
                               .beamNgRunning = a.scan.beamNgRunning != 0,
                               .windowOpen = currentDialog() != 0 || a.pending != nullptr};
    const SetupQuestions questions{dr2Asks, eaWrcAsks, [&a, nowMs] { return a.beamNg.get(nowMs); },
                                   [&a](SetupSim sim) { return seenGet(a.appDataDir, sim); }};
    const SetupTickResult result = setupTick(a.setup, input, questions);
    if (result.write) seenSet(a.appDataDir, result.sim, result.seen);
    if (!result.open) return;
    if (result.noTelemetry)
        logStatus("[setup] %s is running, but no telemetry has reached this program\n",
                  setupSimName(result.sim));
    openLater(a, [parent = a.parent, result] {
        showSetupWindow(result.sim, parent, result.noTelemetry);
    });
}

} // namespace

bool startAssistants(Assistants& a) {
    if (platformKind() == PlatformKind::headless) return true;
    WindowSpec spec;
    spec.kind = WindowKind::message;
    a.messages = createWindow(spec, [&a](const WindowEvent& event) {
        if (event.kind != EventKind::user || !a.pending) return true;
        const std::function<void()> open = std::exchange(a.pending, nullptr);
        open();
        return true;
    });
    return a.messages != 0;
}

void stopAssistants(Assistants& a) {
    if (a.messages) destroyWindow(a.messages);
    a.messages = 0;
    a.pending = nullptr;
    releaseRowFormats();
}

void assistantsTick(Assistants& a, const SimFrame& frame, bool steeringShown, uint64_t nowMs) {
    if (nowMs >= a.nextSetupMs) {
        a.nextSetupMs = nowMs + kSetupTickMs;
        offerSetup(a, nowMs);
    }
    const bool live = frame.connected != 0;
    steerContextUpdate(a.steerContext, a.steer, a.config, live ? frame.simKind : -1, frame.carModel,
                       frame.carName,
                       {steeringShown, live && frame.isOnTrack != 0,
                        currentDialog() != 0 || a.pending != nullptr});
    if (!a.steerContext.steerPromptDue) return;
    openLater(a, [&a, sim = a.steerContext.sim, car = a.steerContext.car,
                  name = a.steerContext.displayName] {
        steerWindow(a.parent, a.config, a.steer, sim, car, name);
    });
}

} // namespace vt
