#include "overlay/settings/slots.h"

#include <cstdlib>
#include <cstring>
#include <iterator>

namespace vt {

namespace {

constexpr OverlaySlot kSlots[kSlotCount] = {
    {"session", "VT Session", "Session", 'B'},
    {"relative", "VT Relative", "Relative", 'A'},
    {"fuel", "VT Fuel", "Fuel", 'B'},
    {"spotter", "VT Spotter", "Radar/Spotter", 'C'},
    {"haptics", "VT Haptics", "Haptics HUD", 'D'},
    {"standings", "VT Standings", "Standings", 'A'},
    {"battlebar", "VT Battle Bar", "Battle Bar", 'D'},
    {"shiftlight", "VT Shift Light", "Shift Light", 'C'},
    {"dash", "VT Dash", "Dashboard", 'C'},
    {"widget0", "VT Widget 1", "", 'D'},
    {"widget1", "VT Widget 2", "", 'D'},
    {"widget2", "VT Widget 3", "", 'D'},
    {"widget3", "VT Widget 4", "", 'D'},
    {"widget4", "VT Widget 5", "", 'D'},
    {"widget5", "VT Widget 6", "", 'D'},
    {"widget6", "VT Widget 7", "", 'D'},
    {"widget7", "VT Widget 8", "", 'D'},
    {"widget8", "VT Widget 9", "", 'D'},
    {"widget9", "VT Widget 10", "", 'D'},
    {"widget10", "VT Widget 11", "", 'D'},
    {"widget11", "VT Widget 12", "", 'D'},
    {"pithelper", "VT Pit Helper", "Pit Helper", 'D'},
    {"trackmap", "VT Track Map", "Track Map", 'C'},
    {"deltatrace", "VT Delta Trace", "Delta Trace", 'D'},
    {"performance", "VT Performance", "Performance Data", 'A'},
    {"raceinfo", "VT Race Info", "Race Info", 'B'},
    {"chat", "VT Chat", "Chat", 'A'},
    {"featured", "VT Featured", "Featured", 'A'},
    {"cover", "VT Privacy Cover", "Privacy Cover", 'B'},
    {"recap", "VT Race Recap", "Race Recap", 'A'},
    {"lmuEnergy", "VT LMU Energy", "LMU Energy", 'A'},
    {"lmuStint", "VT LMU Stint", "LMU Stint", 'A'},
    {"coach", "VT Live Coach", "Live Coach", 'C'},
    {"alerts", "VT Alerts", "Alerts", 'A'},
    {"custom0", "VT Custom Panel 1", "", 'C'},
    {"custom1", "VT Custom Panel 2", "", 'C'},
    {"custom2", "VT Custom Panel 3", "", 'C'},
    {"custom3", "VT Custom Panel 4", "", 'C'},
    {"custom4", "VT Custom Panel 5", "", 'C'},
    {"custom5", "VT Custom Panel 6", "", 'C'},
    {"trackstrip", "VT Track Strip", "Track Strip", 'D'},
    {"training", "VT Training", "Training", 'A'},
    {"drift", "VT Drift Meter", "Drift Meter", 'D'},
};

struct RefreshChoices {
    int count;
    int hz[5];
};
constexpr RefreshChoices kRefreshChoices[] = {
    {5, {5, 10, 15, 20, 30}},  // 'A'
    {5, {2, 4, 5, 6, 10}},     // 'B'
    {4, {15, 20, 30, 60}},     // 'C'
    {5, {10, 15, 20, 30, 60}}, // 'D'
};

constexpr std::array<int, 25> kDirectory = {
    kSlotSession,    kSlotRelative,   kSlotFuel,        kSlotDash,      kSlotTrackMap,
    kSlotTrackStrip, kSlotSpotter,    kSlotStandings,   kSlotBattleBar, kSlotShiftLight,
    kSlotPitHelper,  kSlotDeltaTrace, kSlotPerformance, kSlotRaceInfo,  kSlotChat,
    kSlotFeatured,   kSlotCover,      kSlotRecap,       kSlotLmuEnergy, kSlotLmuStint,
    kSlotCoach,      kSlotTraining,   kSlotAlerts,      kSlotDrift,     kSlotHaptics,
};

} // namespace

const OverlaySlot* overlaySlot(int slot) {
    return slot >= 0 && slot < kSlotCount ? &kSlots[slot] : nullptr;
}

const char* overlayKey(int slot) {
    const OverlaySlot* row = overlaySlot(slot);
    return row ? row->key : "unknown";
}

int slotFromKey(const char* key) {
    for (int slot = 0; key && slot < kSlotCount; ++slot)
        if (std::strcmp(kSlots[slot].key, key) == 0) return slot;
    return -1;
}

const int* refreshChoices(int slot, int& count) {
    const OverlaySlot* row = overlaySlot(slot);
    count = 0;
    if (!row) return nullptr;
    const RefreshChoices& choices = kRefreshChoices[row->refreshChoices - 'A'];
    count = choices.count;
    return choices.hz;
}

int snapRefreshHz(int slot, int value) {
    int count = 0;
    const int* choices = refreshChoices(slot, count);
    int best = value;
    long long bestDistance = -1;
    for (int i = 0; i < count; ++i) {
        const long long distance = std::llabs(static_cast<long long>(choices[i]) - value);
        if (bestDistance >= 0 && distance > bestDistance) continue;
        best = choices[i];
        bestDistance = distance;
    }
    return best;
}

const std::array<int, 25>& overlayDirectory() {
    return kDirectory;
}

} // namespace vt
