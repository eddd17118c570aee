#include "platform/desktop.h"

#include "platform/shared/backend.h"

#include <algorithm>
#include <cstdint>

namespace vt {

namespace {

struct Hotkey {
    int id = 0;
    uint32_t modifiers = 0;
    uint32_t key = 0;
};

struct DesktopState {
    std::vector<Hotkey> hotkeys;
    std::function<void(int)> hotkeyHandler;
    std::function<void()> displayHandler;
};

DesktopState desktop;

int64_t overlapArea(RectI a, RectI b) {
    const RectI common = intersect(a, b);
    return common.empty() ? 0 : int64_t{common.width()} * common.height();
}

int64_t distanceSquared(RectI a, RectI b) {
    const int64_t dx = std::max({0, a.left - b.right, b.left - a.right});
    const int64_t dy = std::max({0, a.top - b.bottom, b.top - a.bottom});
    return dx * dx + dy * dy;
}

auto hotkeyOf(int id) {
    return std::find_if(desktop.hotkeys.begin(), desktop.hotkeys.end(),
                        [id](const Hotkey& h) { return h.id == id; });
}

} // namespace

std::vector<Monitor> listMonitors() {
    std::vector<Monitor> list = backend() ? backend()->monitors() : std::vector<Monitor>{};
    if (list.empty()) list.push_back({{0, 0, 1920, 1080}, {0, 0, 1920, 1080}, 96, true});
    std::stable_partition(list.begin(), list.end(), [](const Monitor& m) { return m.primary; });
    list.front().primary = true;
    return list;
}

int systemDpi() {
    return backend() ? backend()->systemDpi() : 96;
}

PointI primarySize() {
    const RectI rect = listMonitors().front().rect;
    return {rect.width(), rect.height()};
}

Monitor monitorAmong(const std::vector<Monitor>& monitors, RectI rect, bool* touches) {
    const Monitor* best = &monitors.front();
    for (const Monitor& m : monitors) {
        const int64_t more = overlapArea(rect, m.rect) - overlapArea(rect, best->rect);
        const bool nearer = distanceSquared(rect, m.rect) < distanceSquared(rect, best->rect);
        if (more > 0 || (more == 0 && nearer)) best = &m;
    }
    if (touches) *touches = overlapArea(rect, best->rect) > 0;
    return *best;
}

Monitor monitorFor(RectI rect, bool* touches) {
    return monitorAmong(listMonitors(), rect, touches);
}

RectI pushInside(RectI rect, RectI work) {
    const int width = rect.width(), height = rect.height();
    const int left = std::max(std::min(rect.left, work.right - width), work.left);
    const int top = std::max(std::min(rect.top, work.bottom - height), work.top);
    return {left, top, left + width, top + height};
}

PointI cursorPosition() {
    return backend() ? backend()->cursor() : PointI{};
}

bool keyDown(uint32_t virtualKey) {
    return backend() && backend()->keyDown(virtualKey);
}

bool registerHotkey(int id, uint32_t modifiers, uint32_t virtualKey) {
    if (!backend() || virtualKey == 0) return false;
    const Hotkey wanted{id, modifiers & 15u, virtualKey};
    const auto same =
        std::find_if(desktop.hotkeys.begin(), desktop.hotkeys.end(), [&](const Hotkey& h) {
            return h.modifiers == wanted.modifiers && h.key == wanted.key;
        });
    if (same != desktop.hotkeys.end()) return same->id == id;
    // A shortcut that cannot be had leaves the id's present one in place.
    if (!backend()->grabHotkey(wanted.modifiers, wanted.key)) return false;
    unregisterHotkey(id);
    desktop.hotkeys.push_back(wanted);
    return true;
}

void unregisterHotkey(int id) {
    const auto found = hotkeyOf(id);
    if (found == desktop.hotkeys.end()) return;
    if (backend()) backend()->ungrabHotkey(found->modifiers, found->key);
    desktop.hotkeys.erase(found);
}

void forgetHotkeys() {
    while (!desktop.hotkeys.empty())
        unregisterHotkey(desktop.hotkeys.back().id);
    desktop = {};
}

void setHotkeyHandler(std::function<void(int)> handler) {
    desktop.hotkeyHandler = std::move(handler);
}

void fireHotkey(uint32_t modifiers, uint32_t virtualKey) {
    for (const Hotkey& h : desktop.hotkeys) {
        if (h.modifiers != modifiers || h.key != virtualKey) continue;
        const int id = h.id;
        const auto handler = desktop.hotkeyHandler; // may be replaced by its own call
        runBeforeMessage();
        if (handler) handler(id);
        return;
    }
}

void setDisplayHandler(std::function<void()> handler) {
    desktop.displayHandler = std::move(handler);
}

void monitorsChanged() {
    for (const WindowRef& window : allWindows()) {
        WindowEvent event;
        event.kind = EventKind::displayChanged;
        deliver(window, event);
    }
    const auto handler = desktop.displayHandler;
    if (handler) handler();
}

std::string clipboardText() {
    return backend() ? backend()->clipboard() : std::string{};
}

void setClipboardText(const std::string& text) {
    if (backend()) backend()->setClipboard(text);
}

} // namespace vt
