// The memory desktop's own state. Only the files of this folder include it.
#pragma once
#include "platform/headless/headless.h"
#include "platform/shared/backend.h"

#include <atomic>
#include <set>
#include <utility>

namespace vt {

struct HeadlessWindow {
    BitmapRef front; // what was presented last
    int presents = 0;
};

struct HeadlessDesktop {
    std::vector<WindowId> order; // bottom to top
    std::vector<Monitor> monitors{{{0, 0, 1920, 1080}, {0, 0, 1920, 1080}, 96, true}};
    PointI pointer;
    bool buttons[3] = {};
    std::set<uint32_t> keys; // that are down
    WindowId focus = 0;
    WindowId hover = 0;                              // the pointer was there last
    std::set<std::pair<uint32_t, uint32_t>> hotkeys; // modifiers, key
    std::string clipboard;
    bool holdFrames = false;
    bool failWindows = false, failSurfaces = false;
};

extern HeadlessDesktop headlessDesktop;
extern std::atomic<int> headlessDpiOfSystem; // of the primary monitor; any thread reads it

HeadlessWindow& headlessPart(WindowRecord& window);
/// Puts the window on top of its band: those that stay above others, and the rest.
void headlessToTop(const WindowRecord& window);
void headlessGiveFocus(WindowId window);

} // namespace vt
