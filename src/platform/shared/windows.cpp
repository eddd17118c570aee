#include "platform/shared/backend.h"
#include "platform/window.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vt {

namespace {

struct LastClick {
    WindowId window = 0;
    int button = 0;
    PointI screen;
    uint32_t timeMs = 0;
};

struct Windows {
    std::vector<WindowRef> list; // in the order of their making
    WindowId lastId = 0;
    WindowId capture = 0;
    LastClick click;
};

Windows windows;

/// Message windows live in the loop alone.
bool onScreen(const WindowRecord& window) {
    return window.spec.kind != WindowKind::message;
}

bool isInput(EventKind kind) {
    return kind == EventKind::mouseDown || kind == EventKind::mouseUp ||
           kind == EventKind::mouseMove || kind == EventKind::mouseWheel ||
           kind == EventKind::keyDown || kind == EventKind::keyUp || kind == EventKind::character;
}

/// A second press of the same button, soon and close by. The third starts anew.
bool completesDoubleClick(const WindowRecord& window, const WindowEvent& event, uint32_t timeMs) {
    LastClick& last = windows.click;
    const bool second = last.window == window.id && last.button == event.button &&
                        timeMs - last.timeMs <= kDoubleClickMs &&
                        std::abs(event.screen.x - last.screen.x) <= kDoubleClickSlop &&
                        std::abs(event.screen.y - last.screen.y) <= kDoubleClickSlop;
    last = {};
    if (!second) last = {window.id, event.button, event.screen, timeMs};
    return second;
}

void loseCapture(WindowId only = 0) {
    const WindowId holder = windows.capture;
    if (!holder || (only && only != holder)) return;
    windows.capture = 0;
    if (backend()) backend()->applyCapture(nullptr);
    if (const WindowRef window = findWindow(holder)) {
        WindowEvent event;
        event.kind = EventKind::captureLost;
        deliver(window, event);
    }
}

void sendPlacement(const WindowRef& window, RectI before) {
    const RectI rect = window->rect;
    WindowEvent event;
    event.rect = rect;
    if (rect.left != before.left || rect.top != before.top) {
        event.kind = EventKind::moved;
        deliver(window, event);
    }
    if (rect.width() != before.width() || rect.height() != before.height()) {
        window->invalid = true;
        event.kind = EventKind::resized;
        deliver(window, event);
    }
}

} // namespace

WindowRef findWindow(WindowId window) {
    for (const WindowRef& w : windows.list)
        if (w->id == window) return w;
    return nullptr;
}

std::vector<WindowRef> allWindows() {
    return windows.list;
}

bool deliver(const WindowRef& window, const WindowEvent& event) {
    if (!window->alive || !window->handler) return false;
    runBeforeMessage();
    const WindowRef held = window; // the handler may destroy its window
    return held->handler(event);
}

bool deliverInput(const WindowRef& window, const WindowEvent& event, uint32_t timeMs) {
    if (isInput(event.kind) && !window->enabled) return false;
    // Overlays get every press as such: their clicks come in quick succession.
    if (event.kind == EventKind::mouseDown && window->spec.kind != WindowKind::overlay &&
        completesDoubleClick(*window, event, timeMs)) {
        WindowEvent twice = event;
        twice.kind = EventKind::mouseDouble;
        if (deliver(window, twice)) return true;
    }
    return deliver(window, event);
}

void windowPlaced(const WindowRef& window, RectI rect) {
    const RectI before = window->rect;
    window->rect = rect;
    sendPlacement(window, before);
}

void windowCloseWanted(const WindowRef& window) {
    if (!window->enabled) return;
    WindowEvent event;
    event.kind = EventKind::close;
    if (!deliver(window, event) && window->alive) destroyWindow(window->id);
}

void windowDpiChanged(const WindowRef& window, float dpi, RectI suggested) {
    window->dpi = dpi;
    WindowEvent event;
    event.kind = EventKind::dpiChanged;
    event.rect = suggested;
    event.value = std::lround(dpi);
    deliver(window, event);
}

void captureTaken() {
    loseCapture();
}

bool deliverPosted(WindowId id, uint32_t message, int64_t value) {
    const WindowRef window = findWindow(id);
    if (!window) return false;
    WindowEvent event;
    event.kind = EventKind::user;
    event.message = message;
    event.value = value;
    return deliver(window, event);
}

bool paintsWaiting() {
    return std::any_of(windows.list.begin(), windows.list.end(),
                       [](const WindowRef& w) { return w->invalid && w->visible; });
}

void deliverPaints() {
    for (const WindowRef& window : allWindows()) {
        if (!window->alive || !window->invalid || !window->visible) continue;
        window->invalid = false;
        WindowEvent event;
        event.kind = EventKind::paint;
        deliver(window, event);
    }
}

WindowId createWindow(const WindowSpec& spec, WindowHandler handler) {
    if (!backend()) return 0;
    const auto window = std::make_shared<WindowRecord>();
    window->id = windows.lastId + 1;
    window->spec = spec;
    window->rect = spec.rect;
    window->topmost = spec.kind == WindowKind::overlay;
    window->region = spec.clickThrough ? InputRegion::none : InputRegion::all;
    window->dpi = static_cast<float>(systemDpi());
    if (onScreen(*window) && !backend()->createWindow(*window)) return 0;
    // The handler comes last, so that it sees no event of a window that it does not know yet.
    window->handler = std::move(handler);
    ++windows.lastId;
    windows.list.push_back(window);
    loopWindowMade(window->id);
    if (spec.visible) showWindow(window->id, true);
    return window->id;
}

void destroyWindow(WindowId id) {
    const WindowRef window = findWindow(id);
    if (!window) return;
    for (const WindowRef& other : allWindows())
        if (other->spec.owner == id) destroyWindow(other->id);
    window->alive = false;
    if (windows.capture == id) loseCapture();
    loopWindowGone(id);
    std::erase(windows.list, window);
    if (onScreen(*window)) backend()->destroyWindow(*window);
}

void destroyAllWindows() {
    while (!windows.list.empty())
        destroyWindow(windows.list.back()->id);
    const WindowId lastId = windows.lastId; // a number is never used twice
    windows = {};
    windows.lastId = lastId;
}

void showWindow(WindowId id, bool visible) {
    const WindowRef window = findWindow(id);
    if (!window || !onScreen(*window) || window->visible == visible) return;
    window->visible = visible;
    window->invalid = visible;
    backend()->applyVisible(*window);
    if (!visible) loseCapture(id);
}

bool windowVisible(WindowId id) {
    const WindowRef window = findWindow(id);
    return window && window->visible;
}

void setWindowRect(WindowId id, RectI rect) {
    const WindowRef window = findWindow(id);
    if (!window || window->rect == rect) return;
    const RectI before = window->rect;
    window->rect = rect;
    if (onScreen(*window)) backend()->applyRect(*window);
    sendPlacement(window, before);
}

RectI windowRect(WindowId id) {
    const WindowRef window = findWindow(id);
    return window ? window->rect : RectI{};
}

void setWindowTitle(WindowId id, const std::string& title) {
    const WindowRef window = findWindow(id);
    if (!window || window->spec.title == title) return;
    window->spec.title = title;
    if (onScreen(*window)) backend()->applyTitle(*window);
}

void setWindowTopmost(WindowId id, bool topmost) {
    const WindowRef window = findWindow(id);
    if (!window || window->topmost == topmost) return;
    window->topmost = topmost;
    if (onScreen(*window)) backend()->applyTopmost(*window);
}

void raiseWindow(WindowId id) {
    const WindowRef window = findWindow(id);
    if (window && onScreen(*window)) backend()->raise(*window);
}

void enableWindow(WindowId id, bool enabled) {
    const WindowRef window = findWindow(id);
    if (!window) return;
    window->enabled = enabled;
    if (!enabled) loseCapture(id);
}

void setInputRegion(WindowId id, InputRegion region, const std::vector<RectI>& rects) {
    const WindowRef window = findWindow(id);
    if (!window || !onScreen(*window)) return;
    const bool listed = region == InputRegion::rects;
    if (window->region == region && (!listed || window->regionRects == rects)) return;
    window->region = region;
    if (listed)
        window->regionRects = rects;
    else
        window->regionRects.clear();
    backend()->applyRegion(*window);
}

void captureMouse(WindowId id) {
    const WindowRef window = findWindow(id);
    if (!window || !onScreen(*window) || windows.capture == id) return;
    loseCapture();
    windows.capture = id;
    backend()->applyCapture(window.get());
}

void releaseMouse() {
    loseCapture();
}

WindowId mouseCapture() {
    return windows.capture;
}

void setCursor(WindowId id, CursorShape shape) {
    const WindowRef window = findWindow(id);
    if (!window || window->cursor == shape || !onScreen(*window)) return;
    window->cursor = shape;
    backend()->applyCursor(*window);
}

void invalidateWindow(WindowId id) {
    if (const WindowRef window = findWindow(id)) window->invalid = true;
}

float windowDpi(WindowId id) {
    const WindowRef window = findWindow(id);
    return window ? window->dpi : static_cast<float>(systemDpi());
}

} // namespace vt
