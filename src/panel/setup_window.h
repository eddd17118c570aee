// The windows that tell how a sim's telemetry is switched on, and do it where that is a matter of
// files. Main thread.
#pragma once
#include "panel/row_layout.h"
#include "telemetry/process_scan.h"
#include "telemetry/setup/dr2_setup.h"
#include "telemetry/setup/setup_sims.h"

#include <string>
#include <vector>

namespace vt {

/// Where the windows look, and whom they ask.
struct SetupPlaces {
    std::string documents;      // of the sim's game; empty = not known
    std::string packetTemplate; // the packet file that ships with the program; empty = it does not
    ProcessLister lister = nullptr;
};
/// Those of this machine.
SetupPlaces setupPlaces(SetupSim sim);

/// What a window is in.
struct SetupView {
    SetupSim sim = SetupSim::f1;
    bool noTelemetry = false; // opened because the sim runs and nothing arrives
    SetupPlaces places;
    bool steps = false;              // EA Sports WRC: the way by hand
    std::vector<std::string> report; // EA Sports WRC: of its button
    bool done = false;               // the last button did what it says
    Dr2View files;                   // DiRT Rally 2.0
    std::string message;             // DiRT Rally 2.0: of its button
};

SetupView setupView(SetupSim sim, bool noTelemetry, SetupPlaces places);
RowPage setupPage(const SetupView& view);

enum SetupButton : int {
    kSetupGotIt = 1,
    kSetupRun,
    kSetupSteps,
    kSetupFixNormal,
    kSetupFixVr,
};
/// True when the window is to be closed.
bool setupPress(SetupView& view, int button);

/// Runs the window until the user closes it.
void showSetupWindow(SetupSim sim, WindowId parent, bool noTelemetry);
void showSetupWindow(SetupSim sim, WindowId parent, bool noTelemetry, const SetupPlaces& places);

} // namespace vt
