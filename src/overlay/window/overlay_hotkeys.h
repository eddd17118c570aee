// The system-wide shortcuts of the overlays: arrange mode, one toggle per overlay, and the arrow
// keys while something is unlocked. Main thread.
#pragma once
#include "overlay/window/overlay_window.h"

#include <functional>

namespace vt {

struct OverlayHotkeys {
    OverlayHost* host = nullptr;
    std::function<void()> toggleDemo; // may be empty
    std::function<void(int)> other;   // ids that are not the overlays'
    bool nudgeKeysHeld = false;
};

inline constexpr int kHotkeyArrange = 1, kHotkeyDemo = 2, kHotkeyNudge = 10, kHotkeySlot = 100;

/// Registers what the settings say; call again after they changed.
void registerOverlayHotkeys(OverlayHotkeys& hotkeys);
void unregisterOverlayHotkeys(OverlayHotkeys& hotkeys);
/// Holds or gives back the eight arrow keys as the edit state wants.
void updateNudgeKeys(OverlayHotkeys& hotkeys);
void handleHotkey(OverlayHotkeys& hotkeys, int id);

} // namespace vt
