#include "platform/headless/headless_state.h"

#include <algorithm>
#include <cstring>

namespace vt {

HeadlessDesktop headlessDesktop;
std::atomic<int> headlessDpiOfSystem{96};

HeadlessWindow& headlessPart(WindowRecord& window) {
    return *static_cast<HeadlessWindow*>(window.native.get());
}

void headlessToTop(const WindowRecord& window) {
    auto& order = headlessDesktop.order;
    std::erase(order, window.id);
    auto place = order.end();
    if (!window.topmost)
        place = std::find_if(order.begin(), order.end(), [](WindowId id) {
            const WindowRef other = findWindow(id);
            return other && other->topmost;
        });
    order.insert(place, window.id);
}

void headlessGiveFocus(WindowId id) {
    const WindowId before = headlessDesktop.focus;
    if (before == id) return;
    headlessDesktop.focus = id;
    WindowEvent event;
    if (const WindowRef window = findWindow(before)) {
        event.kind = EventKind::focusLost;
        deliver(window, event);
    }
    if (const WindowRef window = findWindow(id); window && headlessDesktop.focus == id) {
        event.kind = EventKind::focusGained;
        deliver(window, event);
    }
}

namespace {

bool takesFocus(const WindowRecord& window) {
    return window.spec.kind == WindowKind::panel || window.spec.kind == WindowKind::dialog;
}

bool start() {
    headlessDesktop = {};
    headlessDpiOfSystem = 96;
    return true;
}

void stop() {
    headlessDesktop = {};
}

int noDescriptor() {
    return -1;
}

bool nothingWaiting() {
    return false;
}

void nothingToTake() {}

float dpiOf(RectI rect) {
    return monitorAmong(headlessDesktop.monitors, rect, nullptr).dpi;
}

bool makeWindow(WindowRecord& window) {
    if (headlessDesktop.failWindows) return false;
    window.native = std::make_shared<HeadlessWindow>();
    window.dpi = dpiOf(window.rect);
    headlessToTop(window);
    return true;
}

void dropWindow(WindowRecord& window) {
    std::erase(headlessDesktop.order, window.id);
    if (headlessDesktop.focus == window.id) headlessDesktop.focus = 0;
    if (headlessDesktop.hover == window.id) headlessDesktop.hover = 0;
}

void applyVisible(WindowRecord& window) {
    if (window.visible && takesFocus(window)) {
        headlessToTop(window);
        headlessGiveFocus(window.id);
    } else if (!window.visible && headlessDesktop.focus == window.id) {
        headlessGiveFocus(0);
    }
}

void nothingMore(WindowRecord&) {}

void applyTopmost(WindowRecord& window) {
    headlessToTop(window);
}

void raise(WindowRecord& window) {
    headlessToTop(window);
    if (window.spec.kind != WindowKind::overlay && window.visible) headlessGiveFocus(window.id);
}

void applyCapture(WindowRecord*) {}

bool makeSurface(WindowRecord&, Surface&) {
    return !headlessDesktop.failSurfaces;
}

bool resize(Surface& surface, int width, int height) {
    if (headlessDesktop.failSurfaces) return false;
    BitmapRef bitmap = createBitmap(width, height);
    if (!bitmap) return false;
    surface.bitmap = std::move(bitmap);
    return true;
}

bool beginFrame(Surface&) {
    return !headlessDesktop.holdFrames;
}

/// Copies the picture to the "screen", as a display server does.
DrawResult present(WindowRecord& window, Surface& surface) {
    if (headlessDesktop.holdFrames) return {DrawStatus::busy, kDrawStillBusy};
    HeadlessWindow& part = headlessPart(window);
    const PixelView from = bitmapPixels(*surface.bitmap);
    if (!part.front || bitmapWidth(*part.front) != from.width ||
        bitmapHeight(*part.front) != from.height)
        part.front = createBitmap(from.width, from.height, bitmapDpi(*surface.bitmap));
    if (!part.front) return {DrawStatus::failed, kDrawOutOfMemory};
    const int stride = bitmapPixels(*part.front).stride;
    uint8_t* to = bitmapWritablePixels(*part.front);
    for (int y = 0; y < from.height; ++y)
        std::memcpy(to + ptrdiff_t{y} * stride, from.data + ptrdiff_t{y} * from.stride,
                    static_cast<size_t>(from.width) * 4);
    bitmapChanged(*part.front);
    ++part.presents;
    return {};
}

std::vector<Monitor> monitors() {
    return headlessDesktop.monitors;
}

int dpi() {
    return headlessDpiOfSystem;
}

PointI pointer() {
    return headlessDesktop.pointer;
}

bool keyIsDown(uint32_t key) {
    // 1, 2 and 4 are the mouse buttons in the numbering of virtual keys.
    if (key == 1 || key == 2) return headlessDesktop.buttons[key - 1];
    if (key == 4) return headlessDesktop.buttons[2];
    return headlessDesktop.keys.contains(key);
}

bool grabHotkey(uint32_t modifiers, uint32_t key) {
    return headlessDesktop.hotkeys.insert({modifiers, key}).second;
}

void ungrabHotkey(uint32_t modifiers, uint32_t key) {
    headlessDesktop.hotkeys.erase({modifiers, key});
}

std::string clipboard() {
    return headlessDesktop.clipboard;
}

void setClipboard(const std::string& text) {
    headlessDesktop.clipboard = text;
}

} // namespace

const Backend headlessBackend{
    .kind = PlatformKind::headless,
    .start = start,
    .stop = stop,
    .descriptor = noDescriptor,
    .eventsWaiting = nothingWaiting,
    .takeEvents = nothingToTake,
    .createWindow = makeWindow,
    .destroyWindow = dropWindow,
    .applyVisible = applyVisible,
    .applyRect = nothingMore,
    .applyTitle = nothingMore,
    .applyTopmost = applyTopmost,
    .applyRegion = nothingMore,
    .applyCursor = nothingMore,
    .raise = raise,
    .applyCapture = applyCapture,
    .createSurface = makeSurface,
    .resizeSurface = resize,
    .beginFrame = beginFrame,
    .present = present,
    .monitors = monitors,
    .systemDpi = dpi,
    .cursor = pointer,
    .keyDown = keyIsDown,
    .grabHotkey = grabHotkey,
    .ungrabHotkey = ungrabHotkey,
    .clipboard = clipboard,
    .setClipboard = setClipboard,
};

} // namespace vt
