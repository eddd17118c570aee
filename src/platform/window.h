// Windows. Rectangles are physical pixels of the virtual desktop. Main thread only, but for
// `postToWindow`.
#pragma once
#include "base/geometry.h"
#include "platform/canvas.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vt {

using WindowId = uint32_t; // 0 = none

enum class WindowKind {
    overlay, // above all others, no focus, no taskbar, per-pixel alpha
    panel,   // the main window
    dialog,  // with a caption, belongs to an owner
    mirror,  // plain, frameless, in the taskbar
    message, // never shown: owns posted messages and timers
};

enum class EventKind {
    paint,
    resized,
    moved,
    close,
    mouseDown,
    mouseUp,
    mouseDouble, // in place of the second mouseDown, which follows when this is not handled;
                 // overlays get every press as mouseDown
    mouseMove,
    mouseLeave,
    mouseWheel,
    captureLost,
    keyDown,
    keyUp,
    character, // `key` is the code point, never a control character
    focusGained,
    focusLost,
    dpiChanged,     // `rect` is the suggested rectangle, `value` the new dpi
    displayChanged, // monitors came, went or moved
    timer,          // `value` is the timer's id
    user,           // `message` and `value` as posted
};

enum Modifier : uint32_t { kModAlt = 1, kModControl = 2, kModShift = 4, kModWin = 8 };

struct WindowEvent {
    EventKind kind = EventKind::paint;
    PointI position; // in the client area
    PointI screen;
    int button = 0;   // 0 left, 1 right, 2 middle
    float wheel = 0;  // notches, up is positive
    uint32_t key = 0; // virtual-key code, as the settings store them
    uint32_t modifiers = 0;
    RectI rect;
    uint32_t message = 0;
    int64_t value = 0;
};

/// Returns true when the event was handled (a `close` that is not handled destroys the window).
using WindowHandler = std::function<bool(const WindowEvent&)>;

struct WindowSpec {
    WindowKind kind = WindowKind::overlay;
    std::string title;
    std::string className; // as window managers and capture tools see it
    RectI rect;            // client area
    bool visible = false;
    bool clickThrough = false; // the mouse reaches what is beneath
    bool resizable = false;
    PointI minSize;
    WindowId owner = 0;
};

WindowId createWindow(const WindowSpec& spec, WindowHandler handler);
void destroyWindow(WindowId window);

void showWindow(WindowId window, bool visible); // never takes the focus for overlays and mirrors
bool windowVisible(WindowId window);
void setWindowRect(WindowId window, RectI rect); // no change of order or focus
RectI windowRect(WindowId window);               // client area
void setWindowTitle(WindowId window, const std::string& title);
void setWindowTopmost(WindowId window, bool topmost);
void raiseWindow(WindowId window); // to the front, with the focus
void enableWindow(WindowId window, bool enabled);
/// Whole window, nothing, or only these client rectangles take the mouse.
enum class InputRegion { all, none, rects };
void setInputRegion(WindowId window, InputRegion region, const std::vector<RectI>& rects = {});
void captureMouse(WindowId window);
void releaseMouse(); // the holder gets captureLost
WindowId mouseCapture();
enum class CursorShape { arrow, sizeAll, sizeWE, sizeNS, sizeNWSE, hand, text };
void setCursor(WindowId window, CursorShape shape);
void invalidateWindow(WindowId window); // a paint event follows, once
void startTimer(WindowId window, uint32_t id, int milliseconds);
void stopTimer(WindowId window, uint32_t id);
/// Any thread. False when the window is gone.
bool postToWindow(WindowId window, uint32_t message, int64_t value);
float windowDpi(WindowId window);

// ---- surfaces: a picture and the way onto the window
// ------------------------------------------------

struct Surface;
using SurfaceRef = std::shared_ptr<Surface>;

/// A picture of the window's size. With `alpha` (overlays) what is beneath shines through. A
/// `waitable` surface never blocks: see `surfaceBeginFrame`. Null when it cannot be made.
SurfaceRef createSurface(WindowId window, bool alpha, bool waitable);
/// Sides below 1 count as 1. The content is lost.
bool resizeSurface(Surface& surface, int width, int height);
/// Drawn into between frames; the finished picture stands in it after `presentSurface`.
BitmapRef surfaceBitmap(const Surface& surface);
/// False: the last frame is still on its way out, try at the next tick. Once true it stays so until
/// a present that went out.
bool surfaceBeginFrame(Surface& surface);
DrawResult presentSurface(Surface& surface);

} // namespace vt
