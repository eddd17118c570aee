// The program's fuel models: loaded at the start, stepped once a tick, written at the end. Main
// thread.
#pragma once
#include "overlay/window/overlay_window.h"
#include "race/fuel_save.h"

#include <string>

namespace vt {

inline constexpr int kHotkeyNextPlan = 3, kHotkeyCommitPlan = 4;

struct Planning {
    FuelModels models{};
    std::string path{};       // of `car_track.json`; empty: nothing is kept
    bool screenshots = false; // a fixed cost of a stop, nothing learned
};

/// Reads what was learned, and enters the models into `host` and the texts of fields.
void startPlanning(Planning& planning, OverlayHost& host, const std::string& appDataDir);
void planningTick(Planning& planning, const AppConfig& config, const SimFrame& frame,
                  uint64_t nowMs);
/// The two shortcuts. A plan goes to the sim as a broadcast, of which no answer comes.
void registerPlanningKeys(const AppConfig& config);
void unregisterPlanningKeys();
void planningHotkey(Planning& planning, const AppConfig& config, const SimFrame* frame, int id,
                    uint64_t nowMs);
/// After the overlays have put their laps into the store.
void finishPlanning(Planning& planning, OverlayHost& host);

} // namespace vt
