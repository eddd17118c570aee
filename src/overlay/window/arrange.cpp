// All overlays at once: arrange mode, switching on and off, the nudged one, the device's recovery.
#include "overlay/window/window_parts.h"
#include "platform/desktop.h"

#include <algorithm>

namespace vt {

namespace {

OverlayWindow* overlayOf(OverlayHost& host, int slot) {
    if (slot < 0 || slot >= static_cast<int>(host.overlays.size())) return nullptr;
    return host.overlays[static_cast<size_t>(slot)];
}

void releaseOverlays(void* user) {
    for (OverlayWindow* overlay : static_cast<OverlayHost*>(user)->overlays)
        if (overlay) overlay->discardDeviceResources();
}

bool remakeOverlays(void* user) {
    auto& host = *static_cast<OverlayHost*>(user);
    bool good = true;
    for (OverlayWindow* overlay : host.overlays) {
        if (!overlay) continue;
        good = overlay->rebuildDeviceResources() && good;
    }
    for (OverlayWindow* overlay : host.overlays) {
        if (!overlay) continue;
        const OverlayConfig* common = overlay->configBase();
        if ((common && common->enabled) || overlay->editMode) overlayTick(*overlay, host.tickFrame);
    }
    return good;
}

} // namespace

bool anyInEditMode(const OverlayHost& host) {
    return std::any_of(host.overlays.begin(), host.overlays.end(),
                       [](const OverlayWindow* o) { return o && o->editMode; });
}

void toggleArrangeMode(OverlayHost& host) {
    const bool on = !anyInEditMode(host);
    for (OverlayWindow* overlay : host.overlays)
        if (overlay) applyEditMode(*overlay, on);
    saveNow(host);
    if (host.editModeChanged) host.editModeChanged();
}

void toggleOverlayEnabled(OverlayHost& host, int slot) {
    OverlayWindow* overlay = overlayOf(host, slot);
    OverlayConfig* common = overlay ? overlay->configBase() : overlayConfig(host.config, slot);
    if (!common) return;
    common->enabled = !common->enabled;
    if (overlay) {
        overlay->nextFrameDue = 0;
        overlay->contentValid = false;
        // The tick passes over disabled overlays, so nobody else would hide the window.
        if (!common->enabled) showOverlay(*overlay, false);
    }
    saveNow(host);
}

OverlayWindow* nudgeTarget(OverlayHost& host) {
    const PointI cursor = cursorPosition();
    OverlayWindow* underCursor = nullptr;
    OverlayWindow* unlocked = nullptr;
    int count = 0;
    for (OverlayWindow* overlay : host.overlays) {
        if (!overlay || !overlay->editMode || !overlay->window || !windowVisible(overlay->window))
            continue;
        unlocked = overlay;
        ++count;
        // Windows made later lie above.
        if (windowRect(overlay->window).contains(cursor)) underCursor = overlay;
    }
    if (underCursor) return underCursor;
    return count == 1 ? unlocked : nullptr;
}

void registerOverlayRecovery(OverlayHost& host) {
    addDeviceClient({"overlays", &host, releaseOverlays, remakeOverlays});
}

} // namespace vt
