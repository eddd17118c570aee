// The windows that come by themselves: how to switch a game's telemetry on, and how far the wheel
// turns. Main thread.
#pragma once
#include "app/sim_pump.h"
#include "overlay/settings/app_config.h"
#include "panel/steer_settings.h"
#include "platform/window.h"
#include "telemetry/setup/beamng_version.h"
#include "telemetry/setup/setup_tick.h"

#include <functional>
#include <string>

namespace vt {

struct Assistants {
    AppConfig& config;
    SteerWords& steer;
    const PumpWords& pump;
    const ProcessScan& scan;
    std::string appDataDir;
    WindowId parent = 0; // of the windows

    SetupTickState setup{};
    BeamNgVersion beamNg{};
    SteerContext steerContext{};
    uint64_t nextSetupMs = 0;
    /// What is to be opened once the tick is over: a modal window must not run inside it.
    std::function<void()> pending{};
    WindowId messages = 0;
};

/// Without a screen to show them on, what is due is said in a line of the log instead.
bool startAssistants(Assistants& assistants);
void stopAssistants(Assistants& assistants);

/// Once a tick. `steeringShown`: a visible overlay shows the steering.
void assistantsTick(Assistants& assistants, const SimFrame& frame, bool steeringShown,
                    uint64_t nowMs);

} // namespace vt
