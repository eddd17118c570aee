// The system-wide shortcuts of the overlays: arrange mode, one toggle per overlay, and the arrow
// keys while something is unlocked. Main thread.
#pragma once
#include "overlay/window/overlay_window.h"

#include <functional>

namespace vt {

struct OverlayHotkeys {
    OverlayHost* host = nullptr;
    std::function<void()> toggleDemo{}; // may be empty
    std::function<void(int)> other{};   // ids that are not the overlays'
    bool nudgeKeysHeld = false;
};

inline constexpr int kHotkeyArrange = 1, kHotkeyDemo = 2, kHotkeyNudge = 10, kHotkeySlot = 100;

/// Registers what the settings say and takes the platform's hotkey handler, with `hotkeys` in it;
/// call again after the settings changed. A shortcut that another program holds is left out.
void registerOverlayHotkeys(OverlayHotkeys& hotkeys);
void unregisterOverlayHotkeys(OverlayHotkeys& hotkeys);
/// Holds or gives back the eight arrow keys as the edit state wants; call it when `editModeChanged`
/// tells of a change.
void updateNudgeKeys(OverlayHotkeys& hotkeys);
void handleHotkey(OverlayHotkeys& hotkeys, int id);

} // namespace vt
