// What a desktop backend must give, and what the shared part keeps for it. The functions of
// main_loop.h, window.h and desktop.h are written once, in this folder, and reach the backend
// through one table. Main thread only, where nothing else is said.
#pragma once
#include "platform/desktop.h"
#include "platform/main_loop.h"
#include "platform/window.h"

#include <memory>
#include <string>
#include <vector>

namespace vt {

struct WindowRecord {
    WindowId id = 0;
    WindowSpec spec;
    WindowHandler handler;
    RectI rect; // client area on the virtual desktop
    bool visible = false;
    bool enabled = true;
    bool topmost = false;
    bool invalid = false; // a paint event is due
    bool alive = true;    // false from `destroyWindow` on, while a handler may still run
    float dpi = 96;
    InputRegion region = InputRegion::all;
    std::vector<RectI> regionRects;
    CursorShape cursor = CursorShape::arrow;
    std::shared_ptr<void> native; // the backend's part
};
using WindowRef = std::shared_ptr<WindowRecord>;

struct Surface {
    WindowId window = 0;
    bool alpha = false;
    bool waitable = false;
    BitmapRef bitmap;
    std::shared_ptr<void> native;
};

struct Backend {
    PlatformKind kind = PlatformKind::headless;
    bool (*start)() = nullptr;
    void (*stop)() = nullptr;

    // The loop. `takeEvents` handles a bounded batch; `eventsWaiting` reads ahead without blocking
    // and sends out what is still in the output buffer.
    int (*descriptor)() = nullptr; // -1: nothing to wait for
    bool (*eventsWaiting)() = nullptr;
    void (*takeEvents)() = nullptr;

    // Windows. The record holds the wanted state already.
    bool (*createWindow)(WindowRecord&) = nullptr;
    void (*destroyWindow)(WindowRecord&) = nullptr;
    void (*applyVisible)(WindowRecord&) = nullptr;
    void (*applyRect)(WindowRecord&) = nullptr;
    void (*applyTitle)(WindowRecord&) = nullptr;
    void (*applyTopmost)(WindowRecord&) = nullptr;
    void (*applyRegion)(WindowRecord&) = nullptr;
    void (*applyCursor)(WindowRecord&) = nullptr;
    void (*raise)(WindowRecord&) = nullptr;
    void (*applyCapture)(WindowRecord* holder) = nullptr; // null: nobody

    // Surfaces.
    bool (*createSurface)(WindowRecord&, Surface&) = nullptr;
    bool (*resizeSurface)(Surface&, int width, int height) = nullptr;
    bool (*beginFrame)(Surface&) = nullptr;
    DrawResult (*present)(WindowRecord&, Surface&) = nullptr;

    // The desktop.
    std::vector<Monitor> (*monitors)() = nullptr;
    int (*systemDpi)() = nullptr; // any thread
    PointI (*cursor)() = nullptr;
    bool (*keyDown)(uint32_t virtualKey) = nullptr;
    bool (*grabHotkey)(uint32_t modifiers, uint32_t virtualKey) = nullptr;
    void (*ungrabHotkey)(uint32_t modifiers, uint32_t virtualKey) = nullptr;
    std::string (*clipboard)() = nullptr;
    void (*setClipboard)(const std::string&) = nullptr;
};

extern const Backend headlessBackend;
extern const Backend x11Backend;

/// The chosen table; null before `platformStart`.
const Backend* backend();

// ---- what backends call -------------------------------------------------------------------------

WindowRef findWindow(WindowId window);
/// In the order of their making.
std::vector<WindowRef> allWindows();

/// Hands one event to a window, after the hook of `loopSetBeforeMessage`.
bool deliver(const WindowRef& window, const WindowEvent& event);
/// The same for the pointer and the keys: a disabled window gets none, a second click at the same
/// place within `kDoubleClickMs` comes as `mouseDouble`. `timeMs` is any clock that runs on.
bool deliverInput(const WindowRef& window, const WindowEvent& event, uint32_t timeMs);
/// The system moved or resized a window. Sends what changed.
void windowPlaced(const WindowRef& window, RectI rect);
/// The user or the window manager wants it closed.
void windowCloseWanted(const WindowRef& window);
void windowDpiChanged(const WindowRef& window, float dpi, RectI suggested);
/// The system took the mouse away from its holder.
void captureTaken();
void monitorsChanged();
void fireHotkey(uint32_t modifiers, uint32_t virtualKey);

inline constexpr uint32_t kDoubleClickMs = 500;
inline constexpr int kDoubleClickSlop = 2; // pixels to each side

// ---- what the shared files call in each other
// -----------------------------------------------------

void runBeforeMessage();
void loopReset();                     // forgets messages, timers, watches and a quit
void loopWindowMade(WindowId window); // from now on it can be posted to
void loopWindowGone(WindowId window); // drops its messages and timers
bool deliverPosted(WindowId window, uint32_t message, int64_t value);
bool paintsWaiting();
void deliverPaints();
void destroyAllWindows();
void forgetHotkeys();
/// Time of timers; null is the system's clock.
void loopUseClock(const struct Clock* clock);
uint32_t loopTimeMs();

Monitor monitorAmong(const std::vector<Monitor>& monitors, RectI rect, bool* touches);

} // namespace vt
