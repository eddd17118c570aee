// The desktop around the windows: monitors, pointer, keys, global shortcuts. Main thread only.
#pragma once
#include "base/geometry.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vt {

struct Monitor {
    RectI rect;
    RectI work; // without taskbars
    float dpi = 96;
    bool primary = false;
};

/// At least one; the primary first.
std::vector<Monitor> listMonitors();
int systemDpi(); // any thread
PointI primarySize();

/// The monitor that holds most of `rect`, else the nearest one. `touches` tells whether any does.
Monitor monitorFor(RectI rect, bool* touches = nullptr);
/// `rect` pushed into `work` without a change of size (its top left corner wins when it is larger).
RectI pushInside(RectI rect, RectI work);

PointI cursorPosition();
bool keyDown(uint32_t virtualKey); // asynchronous state

/// A system-wide shortcut without auto-repeat. `modifiers` are `Modifier` bits. False when somebody
/// else holds it.
bool registerHotkey(int id, uint32_t modifiers, uint32_t virtualKey);
void unregisterHotkey(int id);
/// Called on the main thread with the id.
void setHotkeyHandler(std::function<void(int)> handler);

/// Called after the monitors changed; windows get `displayChanged` as well.
void setDisplayHandler(std::function<void()> handler);

std::string clipboardText();
void setClipboardText(const std::string& text);

} // namespace vt
