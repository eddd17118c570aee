// The 43 overlay slots: the identity of an overlay in settings, windows, URLs and logs.
#pragma once
#include <array>

namespace vt {

inline constexpr int kSlotCount = 43;

enum Slot : int {
    kSlotSession = 0,
    kSlotRelative = 1,
    kSlotFuel = 2,
    kSlotSpotter = 3,
    kSlotHaptics = 4,
    kSlotStandings = 5,
    kSlotBattleBar = 6,
    kSlotShiftLight = 7,
    kSlotDash = 8,
    kSlotWidget0 = 9, // to 20
    kSlotPitHelper = 21,
    kSlotTrackMap = 22,
    kSlotDeltaTrace = 23,
    kSlotPerformance = 24,
    kSlotRaceInfo = 25,
    kSlotChat = 26,
    kSlotFeatured = 27,
    kSlotCover = 28,
    kSlotRecap = 29,
    kSlotLmuEnergy = 30,
    kSlotLmuStint = 31,
    kSlotCoach = 32,
    kSlotAlerts = 33,
    kSlotCustom0 = 34, // to 39
    kSlotTrackStrip = 40,
    kSlotTraining = 41,
    kSlotDrift = 42,
    kSlotPanel = 43,   // timing statistics only
    kSlotPreview = 44, // timing statistics only
};

struct OverlaySlot {
    const char* key;
    const char* windowTitle;
    const char* listName; // empty: listed elsewhere
    char refreshChoices;  // 'A'..'D', see refreshChoices()
};

/// Null outside 0..42.
const OverlaySlot* overlaySlot(int slot);

/// "unknown" for a number without a slot.
const char* overlayKey(int slot);

/// Slot with that key, or -1.
int slotFromKey(const char* key);

/// Redraw rates that the slot offers, in Hz, ascending; null and 0 for no slot.
const int* refreshChoices(int slot, int& count);

/// The choice nearest to `value`; of two equally near ones the higher. `value` itself for no slot.
int snapRefreshHz(int slot, int value);

/// The 25 slots in the order in which lists show them.
const std::array<int, 25>& overlayDirectory();

} // namespace vt
