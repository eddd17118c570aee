#include "overlay/drawing/dialog.h"

#include "base/translate.h"
#include "overlay/drawing/drawing.h"
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/main_loop.h"

#include <algorithm>

namespace vt {

namespace {

constexpr uint32_t kTooltipTimer =
    0xD21DF00D; // the layer's own: one repaint ends a tooltip's delay
constexpr Color kBackground{0x10 / 255.0f, 0x12 / 255.0f, 0x16 / 255.0f, 1};
constexpr int kMinWidth = 320, kMinHeight = 240;

struct Dialog {
    DialogSpec spec;
    Dialog* outer = nullptr; // the one that it was opened over
    WindowId window = 0;
    SurfaceRef surface;
    bool done = false;
    int result = 0;
};

Dialog* innermost = nullptr;
bool (*loadPlacement)(const void* placeKey, int& x, int& y) = nullptr;
void (*storePlacement)(const void* placeKey, int x, int y) = nullptr;

int pixels(int at96) {
    return static_cast<int>(at96 * systemDpi() / 96.0 + 0.5);
}

RectI placeDialog(const DialogSpec& spec) {
    const int width = pixels(std::max(spec.width, 1)), height = pixels(std::max(spec.height, 1));
    const RectI over = spec.parent ? windowRect(spec.parent) : listMonitors().front().rect;
    int x = over.left + (over.width() - width) / 2;
    int y = over.top + (over.height() - height) / 2;
    int keptX = x, keptY = y;
    if (spec.placeKey && loadPlacement && loadPlacement(spec.placeKey, keptX, keptY)) {
        x = keptX;
        y = keptY;
    }
    const RectI rect{x, y, x + width, y + height};
    return pushInside(rect, monitorFor(rect).work);
}

DrawResult drawDialog(Dialog& dialog) {
    const BitmapRef target = surfaceBitmap(*dialog.surface);
    if (!target) return {DrawStatus::failed, kDrawFailed};
    setBitmapDpi(*target, 96); // dialogs draw in pixels and scale by the system's dpi themselves
    Canvas canvas;
    if (!canvas.begin(target)) return {DrawStatus::failed, kDrawFailed};
    canvas.clear(kBackground);
    if (dialog.spec.paint) dialog.spec.paint(canvas, canvas.bounds(), dialog.spec.user);
    const DrawResult drawn = canvas.end();
    return drawn.ok() ? presentSurface(*dialog.surface) : drawn;
}

void paintDialog(Dialog& dialog) {
    if (!dialog.surface || deviceLost() || !surfaceBeginFrame(*dialog.surface)) return;
    const DrawResult result = drawDialog(dialog);
    if (result.ok() || result.status == DrawStatus::busy) return;
    if (result.status == DrawStatus::lost || isDeviceLost(result.code)) {
        raiseDeviceLost();
        return;
    }
    static const Clock systemClock;
    reportDrawFailure("dialog", result.code, clockMs(systemClock));
}

void resizeDialog(Dialog& dialog) {
    const RectI rect = windowRect(dialog.window);
    if (dialog.surface && !rect.empty())
        resizeSurface(*dialog.surface, rect.width(), rect.height());
    invalidateWindow(dialog.window);
}

void onTimer(Dialog& dialog, uint32_t id) {
    if (id == kTooltipTimer) {
        stopTimer(dialog.window, id);
        invalidateWindow(dialog.window);
    } else if (dialog.spec.timer) {
        dialog.spec.timer(id, dialog.spec.user);
    }
}

bool onEvent(Dialog& dialog, const WindowEvent& event) {
    const DialogSpec& spec = dialog.spec;
    switch (event.kind) {
    case EventKind::paint:
        paintDialog(dialog);
        return true;
    case EventKind::resized:
        resizeDialog(dialog);
        return true;
    case EventKind::close:
        dialog.done = true; // the result stays 0; the window goes when the loop has ended
        return true;
    case EventKind::timer:
        onTimer(dialog, static_cast<uint32_t>(event.value));
        return true;
    case EventKind::mouseDown:
    case EventKind::mouseUp:
    case EventKind::mouseDouble:
    case EventKind::mouseMove:
    case EventKind::mouseLeave:
    case EventKind::mouseWheel:
    case EventKind::captureLost:
        if (spec.pointer) spec.pointer(event, spec.user);
        return true;
    case EventKind::keyDown:
    case EventKind::keyUp:
    case EventKind::character:
        if (spec.key) spec.key(event, spec.user);
        return true;
    default:
        return false;
    }
}

bool makeSurface(Dialog& dialog) {
    dialog.surface = createSurface(dialog.window, false, false);
    return dialog.surface != nullptr;
}

bool openDialog(Dialog& dialog) {
    const DialogSpec& spec = dialog.spec;
    WindowSpec window;
    window.kind = WindowKind::dialog;
    window.title = spec.title ? spec.title : Translate("Vantorel");
    window.className = "VTD2DDialog";
    window.rect = placeDialog(spec);
    window.resizable = spec.resizable;
    if (spec.resizable)
        window.minSize = {pixels(spec.minWidth > 0 ? spec.minWidth : kMinWidth),
                          pixels(spec.minHeight > 0 ? spec.minHeight : kMinHeight)};
    window.owner = spec.parent;
    dialog.window = createWindow(
        window, [&dialog](const WindowEvent& event) { return onEvent(dialog, event); });
    if (!dialog.window) return false;
    if (makeSurface(dialog)) return true;
    destroyWindow(dialog.window);
    return false;
}

void closeDialog(Dialog& dialog) {
    const DialogSpec& spec = dialog.spec;
    const RectI rect = windowRect(dialog.window);
    if (spec.placeKey && storePlacement) storePlacement(spec.placeKey, rect.left, rect.top);
    // The owner first: a desktop that loses its active window picks the next one that is enabled.
    if (spec.parent) enableWindow(spec.parent, true);
    dialog.surface.reset();
    destroyWindow(dialog.window);
    if (!spec.parent) return;
    raiseWindow(spec.parent);
    if (!dialog.outer) postToWindow(spec.parent, kDialogEndedMessage, 0);
}

} // namespace

int runDialog(const DialogSpec& spec) {
    Dialog dialog;
    dialog.spec = spec;
    dialog.outer = innermost;
    if (!openDialog(dialog)) return -1;
    innermost = &dialog;
    addDeviceClient({"dialog", &dialog, [](void* d) { static_cast<Dialog*>(d)->surface.reset(); },
                     [](void* d) {
                         invalidateWindow(static_cast<Dialog*>(d)->window);
                         return makeSurface(*static_cast<Dialog*>(d));
                     }});
    if (spec.parent) enableWindow(spec.parent, false);
    showWindow(dialog.window, true);
    raiseWindow(dialog.window);
    invalidateWindow(dialog.window);
    loopRunModal(&dialog.done);
    removeDeviceClient(&dialog);
    innermost = dialog.outer;
    closeDialog(dialog);
    return dialog.result;
}

void endDialog(int result) {
    if (!innermost) return;
    innermost->result = result;
    innermost->done = true;
}

WindowId currentDialog() {
    return innermost ? innermost->window : 0;
}

void registerDialogPlacement(bool (*load)(const void* placeKey, int& x, int& y),
                             void (*store)(const void* placeKey, int x, int y)) {
    loadPlacement = load;
    storePlacement = store;
}

} // namespace vt
