#include "app/planning.h"

#include "base/log.h"
#include "overlay/frame/fields.h"
#include "overlay/overlays/fuel_view.h"
#include "platform/broadcast.h"
#include "platform/desktop.h"
#include "platform/paths.h"

#include <algorithm>
#include <cstring>

namespace vt {

namespace {

const FuelModels* shown = nullptr; // fields read through plain functions

size_t planTitle(char* out, size_t capacity) {
    if (!shown || shown->strategy.optionCount <= 0 || capacity == 0) return 0;
    const PitStrategyEngine& engine = shown->strategy;
    const int at = std::clamp(engine.selected, 0, engine.optionCount - 1);
    const char* title = engine.options[static_cast<size_t>(at)].title;
    const size_t length = std::min(std::strlen(title), capacity - 1);
    std::memcpy(out, title, length);
    out[length] = 0;
    return length;
}

bool saveTarget(float& litresPerLap) {
    if (!shown || !shown->save.active) return false;
    litresPerLap = shown->save.targetPerLap;
    return true;
}

PitSettings pitSettings(const AppConfig& config, bool screenshots) {
    return {.strategyEnabled = config.pitStrategyEnabled,
            .writeEnabled = config.pitWriteEnabled,
            .imperial = config.imperial == 1,
            .screenshots = screenshots};
}

void sendPitFuel(void*, uint32_t word, int litres) {
    sendBroadcast("IRSDK_BROADCASTMSG", {.wParam = word, .lParam = litres});
}

void registerKey(int id, int virtualKey, int modifiers) {
    if (virtualKey > 0)
        registerHotkey(id, static_cast<uint32_t>(modifiers) & 0xF,
                       static_cast<uint32_t>(virtualKey));
}

} // namespace

void startPlanning(Planning& planning, OverlayHost& host, const std::string& appDataDir) {
    if (!appDataDir.empty()) {
        planning.path = joinPath(appDataDir, "car_track.json");
        planning.models.store = loadCarTrack(planning.path);
    }
    host.fuel = &planning.models;
    shown = &planning.models;
    fieldProviders.strategyTitle = planTitle;
    fieldProviders.fuelSaveTarget = saveTarget;
}

void planningTick(Planning& planning, const AppConfig& config, const SimFrame& frame,
                  uint64_t nowMs) {
    FuelModels& models = planning.models;
    strategyTick(models.strategy, models.store, pitSettings(config, planning.screenshots), &frame,
                 nowMs);
    fuelSaveTick(models.save, models.strategy, models.published, fuelRules(config.fuel), &frame);
}

void registerPlanningKeys(const AppConfig& config) {
    unregisterPlanningKeys();
    registerKey(kHotkeyNextPlan, config.stratNextHotkeyVk, config.stratNextHotkeyMod);
    registerKey(kHotkeyCommitPlan, config.stratCommitHotkeyVk, config.stratCommitHotkeyMod);
}

void unregisterPlanningKeys() {
    unregisterHotkey(kHotkeyNextPlan);
    unregisterHotkey(kHotkeyCommitPlan);
}

void planningHotkey(Planning& planning, const AppConfig& config, const SimFrame* frame, int id,
                    uint64_t nowMs) {
    PitStrategyEngine& engine = planning.models.strategy;
    if (id == kHotkeyNextPlan) cycleStrategy(engine);
    if (id == kHotkeyCommitPlan && commitStrategy(engine, pitSettings(config, planning.screenshots),
                                                  frame, nowMs, sendPitFuel, nullptr))
        logStatus("[fuel] %d L sent to the sim's pit service\n", engine.lastWrittenFuel);
}

void finishPlanning(Planning& planning, OverlayHost& host) {
    if (!planning.path.empty() && !saveCarTrack(planning.models.store, planning.path))
        logStatus("[fuel] %s could not be written\n", planning.path.c_str());
    fieldProviders.strategyTitle = nullptr;
    fieldProviders.fuelSaveTarget = nullptr;
    shown = nullptr;
    host.fuel = nullptr;
}

} // namespace vt
