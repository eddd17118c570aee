// Where an overlay is and how large: scale, monitors, nudges.
#include "overlay/frame/strips.h"
#include "overlay/window/window_parts.h"
#include "platform/desktop.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr uint64_t kNudgeSaveMs = 500;

int scaled(int base, float multiplier) {
    return std::max(1, static_cast<int>(static_cast<float>(base) * multiplier + 0.5f));
}

int toPixels(float designUnits, float dpiScale) {
    return std::max(1, static_cast<int>(std::lround(designUnits * dpiScale)));
}

int monitorIndex(RectI rect) {
    const RectI held = monitorFor(rect).rect;
    const std::vector<Monitor> monitors = listMonitors();
    for (size_t i = 0; i < monitors.size(); ++i)
        if (monitors[i].rect == held) return static_cast<int>(i);
    return 0;
}

void place(OverlayWindow& overlay, RectI rect) {
    overlay.inResize = true;
    setWindowRect(overlay.window, rect);
    overlay.inResize = false;
}

RectI savedRect(OverlayWindow& overlay, const OverlayConfig& common) {
    const PointI size = overlayPixelSize(overlay, common);
    return {common.x, common.y, common.x + size.x, common.y + size.y};
}

} // namespace

// ---- size ----

void applyScale(OverlayWindow& overlay, const OverlayConfig& common) {
    const float width = clampMultiplier(common.widthMul);
    const float height = clampMultiplier(common.heightMul);
    if (overlay.uniformScale) {
        overlay.scaledWidth = scaled(overlay.baseWidth, width);
        overlay.scaledHeight = scaled(overlay.baseHeight, width);
        return;
    }
    overlay.scaledWidth = overlay.widthFixed
                              ? overlay.baseWidth
                              : scaled(overlay.baseWidth, std::max(overlay.minWidthMul, width));
    overlay.scaledHeight = overlay.heightResizable
                               ? scaled(overlay.baseHeight, std::max(overlay.minHeightMul, height))
                               : overlay.baseHeight;
}

void applyScale(OverlayWindow& overlay) {
    CommonSnapshot common;
    overlay.getCommon(common);
    applyScale(overlay, common);
}

float stripsHeight(const OverlayWindow& overlay, const OverlayConfig& common) {
    if (!overlay.hasChrome()) return 0;
    return (common.showHeader ? kStripHeight : 0) + (common.showFooter ? kStripHeight : 0);
}

PointI overlayPixelSize(const OverlayWindow& overlay, const OverlayConfig& common) {
    const auto width = static_cast<float>(overlay.scaledWidth);
    const auto height = static_cast<float>(overlay.scaledHeight);
    return {toPixels(width, overlay.dpiScale),
            toPixels(height + stripsHeight(overlay, common), overlay.dpiScale)};
}

PointI overlayPixelSize(OverlayWindow& overlay) {
    CommonSnapshot common;
    overlay.getCommon(common);
    return overlayPixelSize(overlay, common);
}

bool syncWindowSize(OverlayWindow& overlay, const OverlayConfig& common) {
    if (!overlay.window) return false;
    const PointI size = overlayPixelSize(overlay, common);
    const RectI r = windowRect(overlay.window);
    if (r.width() == size.x && r.height() == size.y) return false;
    place(overlay, {r.left, r.top, r.left + size.x, r.top + size.y});
    return true;
}

void relayout(OverlayWindow& overlay) {
    overlay.layoutForStyle();
    overlay.layoutDirty = overlay.fontsDirty = true;
    overlay.contentValid = false;
    overlay.nextFrameDue = 0;
    resizeToSettings(overlay);
    frameTick(overlay);
}

void resizeToSettings(OverlayWindow& overlay) {
    CommonSnapshot common;
    overlay.getCommon(common);
    applyScale(overlay, common);
    if (syncWindowSize(overlay, common)) overlay.contentValid = false;
}

// ---- place ----

void storePlacement(OverlayWindow& overlay) {
    CommonSnapshot common;
    overlay.getCommon(common);
    const RectI r = overlay.window ? windowRect(overlay.window) : savedRect(overlay, common);
    overlay.setPlacement(r.left, r.top, !overlay.editMode, common.widthMul, common.heightMul);
    if (OverlayConfig* block = overlay.configBase()) block->monitor = monitorIndex(r);
    overlay.config.settingsDirty = true;
}

void bringOnScreen(OverlayWindow& overlay) {
    if (!overlay.window) return;
    const RectI r = windowRect(overlay.window);
    bool touches = false;
    const Monitor monitor = monitorFor(r, &touches);
    if (touches) return;
    place(overlay, pushInside(r, monitor.work));
    overlay.contentValid = false;
    storePlacement(overlay);
}

void restorePosition(OverlayWindow& overlay) {
    if (!overlay.window) return;
    CommonSnapshot common;
    overlay.getCommon(common);
    place(overlay, savedRect(overlay, common));
    bringOnScreen(overlay);
}

void saveNow(OverlayHost& host) {
    host.config.settingsDirty = true;
    if (host.saveSettings) host.saveSettings();
}

void moveTo(OverlayWindow& overlay, int x, int y, bool save) {
    CommonSnapshot common;
    overlay.getCommon(common);
    if (overlay.window) {
        const RectI r = windowRect(overlay.window);
        place(overlay, {x, y, x + r.width(), y + r.height()});
    } else {
        overlay.setPlacement(x, y, common.locked, common.widthMul, common.heightMul);
    }
    storePlacement(overlay);
    if (save) saveNow(overlay.host);
}

void centerOnPrimary(OverlayWindow& overlay) {
    const RectI work = listMonitors().front().work;
    const PointI size = overlayPixelSize(overlay);
    const int x = work.left + (work.width() - size.x) / 2;
    const int y = work.top + (work.height() - size.y) / 2;
    const RectI inside = pushInside({x, y, x + size.x, y + size.y}, work);
    moveTo(overlay, inside.left, inside.top, false);
}

// ---- nudges ----

void nudge(OverlayWindow& overlay, int dx, int dy) {
    if (!overlay.window) return;
    // The main tick writes whatever is marked as changed; a held-back nudge must not mark it yet.
    const bool dirtyBefore = overlay.config.settingsDirty;
    const RectI r = windowRect(overlay.window);
    place(overlay, {r.left + dx, r.top + dy, r.right + dx, r.bottom + dy});
    storePlacement(overlay);
    overlay.config.settingsDirty = dirtyBefore;
    overlay.nudgeSavePending = true;
    savePendingNudge(overlay);
}

void savePendingNudge(OverlayWindow& overlay) {
    if (!overlay.nudgeSavePending) return;
    const uint64_t now = clockMs(overlay.host.clock);
    if (overlay.lastSaveMs != 0 && now - overlay.lastSaveMs < kNudgeSaveMs) return;
    overlay.nudgeSavePending = false;
    overlay.lastSaveMs = now;
    saveNow(overlay.host);
}

} // namespace vt
