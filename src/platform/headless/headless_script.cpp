// What a test does to the memory desktop: pointer, keys, monitors; and what it sees of it.
#include "platform/headless/headless_state.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr uint32_t kVkShift = 0x10, kVkControl = 0x11, kVkAlt = 0x12, kVkWinLeft = 0x5B,
                   kVkWinRight = 0x5C;

uint32_t heldModifiers() {
    const auto& keys = headlessDesktop.keys;
    uint32_t held = 0;
    if (keys.contains(kVkAlt)) held |= kModAlt;
    if (keys.contains(kVkControl)) held |= kModControl;
    if (keys.contains(kVkShift)) held |= kModShift;
    if (keys.contains(kVkWinLeft) || keys.contains(kVkWinRight)) held |= kModWin;
    return held;
}

WindowEvent pointerEvent(EventKind kind, const WindowRecord& window) {
    WindowEvent event;
    event.kind = kind;
    event.screen = headlessDesktop.pointer;
    event.position = {event.screen.x - window.rect.left, event.screen.y - window.rect.top};
    event.modifiers = heldModifiers();
    return event;
}

bool takesMouseAt(const WindowRecord& window, PointI screen) {
    if (!window.visible || !window.rect.contains(screen)) return false;
    const PointI inside{screen.x - window.rect.left, screen.y - window.rect.top};
    switch (window.region) {
    case InputRegion::all:
        return true;
    case InputRegion::none:
        return false;
    case InputRegion::rects:
        break;
    }
    return std::any_of(window.regionRects.begin(), window.regionRects.end(),
                       [inside](const RectI& r) { return r.contains(inside); });
}

WindowRef mouseTarget() {
    const WindowId holder = mouseCapture();
    return findWindow(holder ? holder : headlessWindowAt(headlessDesktop.pointer));
}

/// `top` laid over `under`, both opaque in the end: premultiplied source over.
uint8_t blendChannel(uint8_t under, uint8_t top, uint8_t topAlpha) {
    const int rest = under * (255 - topAlpha);
    return static_cast<uint8_t>(std::min(255, top + (rest + 127) / 255));
}

void composeWindow(uint8_t* screen, int stride, RectI area, const WindowRecord& window,
                   const PixelView& picture) {
    const RectI covered =
        intersect(area, {window.rect.left, window.rect.top, window.rect.left + picture.width,
                         window.rect.top + picture.height});
    const RectI seen = intersect(covered, window.rect);
    for (int y = seen.top; y < seen.bottom; ++y) {
        const uint8_t* from = picture.data + ptrdiff_t{y - window.rect.top} * picture.stride +
                              ptrdiff_t{seen.left - window.rect.left} * 4;
        uint8_t* to =
            screen + ptrdiff_t{y - area.top} * stride + ptrdiff_t{seen.left - area.left} * 4;
        for (int x = seen.left; x < seen.right; ++x, from += 4, to += 4)
            for (int c = 0; c < 3; ++c)
                to[c] = blendChannel(to[c], from[c], from[3]);
    }
}

uint8_t toByte(float v) {
    return static_cast<uint8_t>(std::lround(std::clamp(v, 0.0f, 1.0f) * 255));
}

} // namespace

void headlessSetMonitors(const std::vector<Monitor>& monitors) {
    if (monitors.empty()) return;
    headlessDesktop.monitors = monitors;
    headlessDpiOfSystem = static_cast<int>(listMonitors().front().dpi);
    monitorsChanged();
}

void headlessMouseMove(PointI screen) {
    headlessDesktop.pointer = screen;
    const WindowRef target = mouseTarget();
    const WindowId hover = target ? target->id : 0;
    if (hover != headlessDesktop.hover) {
        const WindowRef left = findWindow(headlessDesktop.hover);
        headlessDesktop.hover = hover;
        if (left) deliver(left, pointerEvent(EventKind::mouseLeave, *left));
    }
    if (target && target->alive)
        deliverInput(target, pointerEvent(EventKind::mouseMove, *target), loopTimeMs());
}

void headlessMouseButton(int button, bool down) {
    if (button < 0 || button > 2) return;
    headlessDesktop.buttons[button] = down;
    const WindowRef target = mouseTarget();
    if (!target) return;
    const bool managed = target->spec.kind != WindowKind::overlay;
    if (down && managed && target->enabled && !mouseCapture()) {
        headlessToTop(*target);
        headlessGiveFocus(target->id);
    }
    WindowEvent event = pointerEvent(down ? EventKind::mouseDown : EventKind::mouseUp, *target);
    event.button = button;
    if (target->alive) deliverInput(target, event, loopTimeMs());
}

void headlessWheel(float notches) {
    const WindowRef target = mouseTarget();
    if (!target) return;
    WindowEvent event = pointerEvent(EventKind::mouseWheel, *target);
    event.wheel = notches;
    deliverInput(target, event, loopTimeMs());
}

void headlessKey(uint32_t virtualKey, bool down) {
    const bool repeated = down && headlessDesktop.keys.contains(virtualKey);
    if (down)
        headlessDesktop.keys.insert(virtualKey);
    else
        headlessDesktop.keys.erase(virtualKey);
    const uint32_t modifiers = heldModifiers();
    // Who holds a shortcut takes the press from everybody.
    if (down && headlessDesktop.hotkeys.contains({modifiers, virtualKey})) {
        if (!repeated) fireHotkey(modifiers, virtualKey);
        return;
    }
    const WindowRef window = findWindow(headlessDesktop.focus);
    if (!window) return;
    WindowEvent event = pointerEvent(down ? EventKind::keyDown : EventKind::keyUp, *window);
    event.key = virtualKey;
    deliverInput(window, event, loopTimeMs());
}

void headlessCharacter(uint32_t codePoint) {
    const WindowRef window = findWindow(headlessDesktop.focus);
    if (!window) return;
    WindowEvent event = pointerEvent(EventKind::character, *window);
    event.key = codePoint;
    deliverInput(window, event, loopTimeMs());
}

void headlessDpi(WindowId id, float dpi, RectI suggested) {
    if (const WindowRef window = findWindow(id)) windowDpiChanged(window, dpi, suggested);
}

void headlessClose(WindowId id) {
    if (const WindowRef window = findWindow(id)) windowCloseWanted(window);
}

void headlessUseClock(const Clock* clock) {
    loopUseClock(clock);
}

std::vector<WindowId> headlessWindows() {
    return headlessDesktop.order;
}

WindowId headlessWindowAt(PointI screen) {
    const auto& order = headlessDesktop.order;
    for (auto i = order.rbegin(); i != order.rend(); ++i) {
        const WindowRef window = findWindow(*i);
        if (window && takesMouseAt(*window, screen)) return *i;
    }
    return 0;
}

WindowId headlessFocus() {
    return headlessDesktop.focus;
}

CursorShape headlessCursor(WindowId id) {
    const WindowRef window = findWindow(id);
    return window ? window->cursor : CursorShape::arrow;
}

BitmapRef headlessPicture(WindowId id) {
    const WindowRef window = findWindow(id);
    return window && window->native ? headlessPart(*window).front : nullptr;
}

int headlessPresents(WindowId id) {
    const WindowRef window = findWindow(id);
    return window && window->native ? headlessPart(*window).presents : 0;
}

std::string headlessTitle(WindowId id) {
    const WindowRef window = findWindow(id);
    return window ? window->spec.title : std::string{};
}

BitmapRef headlessScreen(Color background) {
    RectI area = headlessDesktop.monitors.front().rect;
    for (const Monitor& m : headlessDesktop.monitors)
        area = {std::min(area.left, m.rect.left), std::min(area.top, m.rect.top),
                std::max(area.right, m.rect.right), std::max(area.bottom, m.rect.bottom)};
    BitmapRef screen = createBitmap(area.width(), area.height());
    if (!screen) return nullptr;
    const int stride = bitmapPixels(*screen).stride;
    uint8_t* pixels = bitmapWritablePixels(*screen);
    const uint8_t plain[4] = {toByte(background.b), toByte(background.g), toByte(background.r),
                              255};
    for (int y = 0; y < area.height(); ++y)
        for (int x = 0; x < area.width(); ++x)
            std::copy(plain, plain + 4, pixels + ptrdiff_t{y} * stride + ptrdiff_t{x} * 4);
    for (const WindowId id : headlessDesktop.order) {
        const WindowRef window = findWindow(id);
        if (!window || !window->visible || !headlessPart(*window).front) continue;
        composeWindow(pixels, stride, area, *window, bitmapPixels(*headlessPart(*window).front));
    }
    bitmapChanged(*screen);
    return screen;
}

void headlessHoldFrames(bool hold) {
    headlessDesktop.holdFrames = hold;
}

void headlessFailCreation(bool windows, bool surfaces) {
    headlessDesktop.failWindows = windows;
    headlessDesktop.failSurfaces = surfaces;
}

} // namespace vt
