#include "overlay/window/overlay_window.h"

#include "base/log.h"
#include "base/utf8.h"
#include "overlay/frame/strips.h"
#include "overlay/frame/styles.h"
#include "overlay/settings/settings_store.h"
#include "overlay/settings/slots.h"
#include "overlay/window/window_parts.h"
#include "platform/desktop.h"

#include <cstring>

namespace vt {

// ---- the class and its defaults ----

OverlayWindow::OverlayWindow(OverlayHost& h, int slotNumber)
    : host(h), config(h.config), slot(slotNumber) {
    if (const OverlayConfig* common = overlayConfig(config, slot)) editMode = !common->locked;
}

OverlayWindow::~OverlayWindow() {
    destroyOverlay(*this);
    for (OverlayWindow*& entry : host.overlays)
        if (entry == this) entry = nullptr;
}

OverlayConfig* OverlayWindow::configBase() {
    return overlayConfig(config, slot);
}

void OverlayWindow::getCommon(CommonSnapshot& out) {
    if (const OverlayConfig* common = configBase()) static_cast<OverlayConfig&>(out) = *common;
}

void OverlayWindow::setPlacement(int x, int y, bool locked, float widthMul, float heightMul) {
    OverlayConfig* common = configBase();
    if (!common) return;
    common->x = x;
    common->y = y;
    common->locked = locked;
    common->widthMul = widthMul;
    common->heightMul = heightMul;
}

void OverlayWindow::resetConfig() {
    OverlayConfig* common = configBase();
    if (!common) return;
    const bool enabled = common->enabled;
    const int x = common->x, y = common->y, monitor = common->monitor;
    const PointI screen = primarySize();
    resetToDefaults(config, slot, screen.x, screen.y);
    common->enabled = enabled;
    common->x = x;
    common->y = y;
    common->monitor = monitor;
    config.settingsDirty = true;
}

float* OverlayWindow::gapField() {
    return nullptr;
}

ColumnList* OverlayWindow::columnList() {
    return nullptr;
}

int* OverlayWindow::styleField() {
    int count = 0, firstValue = 0;
    const char* const* names = nullptr;
    return styleOf(config, slot, count, names, firstValue);
}

bool OverlayWindow::supportsStrips() const {
    return false;
}

bool OverlayWindow::supportsFieldOptions() const {
    return false;
}

bool OverlayWindow::showsWithoutSim() const {
    return false;
}

void OverlayWindow::discardDeviceResources() {
    flushBrushes(brushes);
    layouts.entries.clear();
    textFormat.reset();
    captionFormat.reset();
    cornerMask.reset();
    surface.reset();
    picture.reset();
    contentValid = false;
}

bool OverlayWindow::rebuildDeviceResources() {
    flushBrushes(brushes);
    fontsDirty = true;
    contentValid = false;
    nextFrameDue = 0;
    return true;
}

bool OverlayWindow::hasChrome() const {
    return usesChrome;
}

void OverlayWindow::drawChrome(Canvas& target, RectF client) {
    static const SimFrame noFrame;
    CommonSnapshot common;
    getCommon(common);
    const SimFrame& shown = frame ? *frame : noFrame;
    const FieldContext context{config, slot, host.clock};
    const StripStyle style{overlayUsesApexStyle(config, slot), contentOpacity(), textFormat.get()};
    if (common.showHeader)
        drawStrip(target, brushes,
                  {client.left, client.top, client.right, client.top + kStripHeight}, true, common,
                  stripTexts(common, true, shown, context), style);
    if (common.showFooter)
        drawStrip(target, brushes,
                  {client.left, client.bottom - kStripHeight, client.right, client.bottom}, false,
                  common, stripTexts(common, false, shown, context), style);
}

bool OverlayWindow::visibilityGate() {
    return true;
}

bool OverlayWindow::extraShowWhen(bool, bool, bool) {
    return false;
}

bool OverlayWindow::hasClickArea() const {
    return false;
}

void OverlayWindow::onClick(PointI) {}

bool OverlayWindow::hitAt(int, int) const {
    return true;
}

uint64_t OverlayWindow::contentHash() {
    return 0;
}

void OverlayWindow::prepareFrame(const SimFrame*) {}

float OverlayWindow::contentOpacity() {
    const OverlayConfig* common = configBase();
    return common ? effectiveContentOpacity(config, *common) : 1;
}

float OverlayWindow::bgOpacity() {
    const OverlayConfig* common = configBase();
    return common ? effectiveBgOpacity(config, *common) : 1;
}

// ---- the window ----

namespace {

bool openWindow(OverlayWindow& overlay, const CommonSnapshot& common, const char* title) {
    const PointI size = overlayPixelSize(overlay, common);
    WindowSpec spec;
    spec.kind = WindowKind::overlay;
    spec.title = title;
    spec.className = "VTOverlayWindow";
    spec.rect = {common.x, common.y, common.x + size.x, common.y + size.y};
    spec.clickThrough = !overlay.editMode;
    overlay.window = createWindow(
        spec, [&overlay](const WindowEvent& event) { return handleWindowEvent(overlay, event); });
    if (!overlay.window) {
        logStatus("[overlay] CreateWindowExW failed\n");
        return false;
    }
    overlay.dpiScale = windowDpi(overlay.window) / 96.0f;
    syncWindowSize(overlay, common);
    if (!common.enabled) return true;
    overlay.surface = createSurface(overlay.window, true, true);
    if (overlay.surface) return true;
    logStatus("[overlay] composition window creation failed\n");
    destroyOverlay(overlay);
    return false;
}

} // namespace

bool createOverlay(OverlayWindow& overlay, const char* title, int& failures) {
    CommonSnapshot common;
    overlay.getCommon(common);
    copyText(overlay.name, std::strlen(title) > 3 ? title + 3 : "");
    overlay.editMode = !common.locked;
    overlay.dpiScale = static_cast<float>(systemDpi()) / 96.0f;
    overlay.layoutForStyle();
    applyScale(overlay, common);
    if (!openWindow(overlay, common, title)) {
        logStatus("[overlay] create FAILED: %s (slot %d)\n", overlayKey(overlay.slot),
                  overlay.slot);
        ++failures;
        return false;
    }
    bringOnScreen(overlay);
    updateInputRegion(overlay);
    return true;
}

void destroyOverlay(OverlayWindow& overlay) {
    cancelDrag(overlay);
    if (overlay.nudgeSavePending) overlay.config.settingsDirty = true;
    overlay.nudgeSavePending = false;
    overlay.surface.reset();
    overlay.picture.reset();
    overlay.contentValid = false;
    if (!overlay.window) return;
    const WindowId window = overlay.window;
    overlay.window = 0;
    destroyWindow(window);
}

void showOverlay(OverlayWindow& overlay, bool visible) {
    if (overlay.window && windowVisible(overlay.window) != visible)
        showWindow(overlay.window, visible);
    if (visible) return;
    cancelDrag(overlay);
    overlay.surface.reset();
    overlay.picture.reset();
    overlay.contentValid = false;
}

// ---- edit mode ----

void applyEditMode(OverlayWindow& overlay, bool on) {
    cancelDrag(overlay);
    overlay.editMode = on;
    overlay.contentValid = false;
    overlay.nextFrameDue = 0; // the change shows now, not at the next turn of the rate
    updateInputRegion(overlay);
    storePlacement(overlay);
    const SimFrame* outer = overlay.frame;
    if (!overlay.frame) overlay.frame = overlay.host.tickFrame;
    frameTick(overlay);
    overlay.frame = outer;
}

void setEditMode(OverlayWindow& overlay, bool on) {
    applyEditMode(overlay, on);
    saveNow(overlay.host);
    if (overlay.host.editModeChanged) overlay.host.editModeChanged();
}

} // namespace vt
