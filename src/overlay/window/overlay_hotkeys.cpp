#include "overlay/window/overlay_hotkeys.h"

#include "platform/desktop.h"

#include <iterator>

namespace vt {

namespace {

constexpr uint32_t kModifierBits = 0xF;
constexpr int kFineStep = 1, kCoarseStep = 10; // px; the coarse one with Shift

struct NudgeKey {
    uint32_t virtualKey;
    int dx, dy;
};
// In the order of their ids; the same four follow with Shift.
constexpr NudgeKey kNudgeKeys[] = {{0x25, -1, 0}, {0x26, 0, -1}, {0x27, 1, 0}, {0x28, 0, 1}};
constexpr int kNudgeKeyCount = static_cast<int>(std::size(kNudgeKeys));

void registerKey(int id, int virtualKey, int modifiers) {
    if (virtualKey <= 0) return;
    // One that another program holds is left to it.
    registerHotkey(id, static_cast<uint32_t>(modifiers) & kModifierBits,
                   static_cast<uint32_t>(virtualKey));
}

void unregisterFixedKeys(const OverlayHotkeys& hotkeys) {
    unregisterHotkey(kHotkeyArrange);
    unregisterHotkey(kHotkeyDemo);
    for (size_t slot = 0; slot < hotkeys.host->overlays.size(); ++slot)
        unregisterHotkey(kHotkeySlot + static_cast<int>(slot));
}

void setNudgeKeys(OverlayHotkeys& hotkeys, bool held) {
    if (hotkeys.nudgeKeysHeld == held) return;
    hotkeys.nudgeKeysHeld = held;
    for (int i = 0; i < 2 * kNudgeKeyCount; ++i) {
        const uint32_t modifiers = i < kNudgeKeyCount ? 0 : static_cast<uint32_t>(kModShift);
        if (held)
            registerHotkey(kHotkeyNudge + i, modifiers, kNudgeKeys[i % kNudgeKeyCount].virtualKey);
        else
            unregisterHotkey(kHotkeyNudge + i);
    }
}

void handleNudge(OverlayHost& host, int index) {
    OverlayWindow* overlay = nudgeTarget(host);
    if (!overlay) return;
    const NudgeKey& key = kNudgeKeys[index % kNudgeKeyCount];
    const int step = index < kNudgeKeyCount ? kFineStep : kCoarseStep;
    nudge(*overlay, key.dx * step, key.dy * step);
}

} // namespace

void registerOverlayHotkeys(OverlayHotkeys& hotkeys) {
    if (!hotkeys.host) return;
    unregisterFixedKeys(hotkeys);
    const AppConfig& config = hotkeys.host->config;
    registerKey(kHotkeyArrange, config.arrangeHotkeyVk, config.arrangeHotkeyMod);
    if (hotkeys.toggleDemo) registerKey(kHotkeyDemo, config.demoHotkeyVk, config.demoHotkeyMod);
    for (size_t slot = 0; slot < hotkeys.host->overlays.size(); ++slot) {
        OverlayWindow* overlay = hotkeys.host->overlays[slot];
        const OverlayConfig* common = overlay ? overlay->configBase() : nullptr;
        if (common)
            registerKey(kHotkeySlot + static_cast<int>(slot), common->toggleHotkeyVk,
                        common->toggleHotkeyMod);
    }
    setHotkeyHandler([&hotkeys](int id) { handleHotkey(hotkeys, id); });
    updateNudgeKeys(hotkeys);
}

void unregisterOverlayHotkeys(OverlayHotkeys& hotkeys) {
    if (!hotkeys.host) return;
    setNudgeKeys(hotkeys, false);
    unregisterFixedKeys(hotkeys);
    setHotkeyHandler(nullptr);
}

void updateNudgeKeys(OverlayHotkeys& hotkeys) {
    if (hotkeys.host) setNudgeKeys(hotkeys, anyInEditMode(*hotkeys.host));
}

void handleHotkey(OverlayHotkeys& hotkeys, int id) {
    if (!hotkeys.host) return;
    if (id == kHotkeyArrange) {
        toggleArrangeMode(*hotkeys.host);
        updateNudgeKeys(hotkeys);
    } else if (id == kHotkeyDemo && hotkeys.toggleDemo) {
        hotkeys.toggleDemo();
    } else if (id >= kHotkeyNudge && id < kHotkeyNudge + 2 * kNudgeKeyCount) {
        handleNudge(*hotkeys.host, id - kHotkeyNudge);
    } else if (id >= kHotkeySlot && id < kHotkeySlot + static_cast<int>(kSlotCount)) {
        toggleOverlayEnabled(*hotkeys.host, id - kHotkeySlot);
    } else if (hotkeys.other) {
        hotkeys.other(id);
    }
}

} // namespace vt
