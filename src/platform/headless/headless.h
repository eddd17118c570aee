// A desktop without a screen: windows are pictures in memory, the pointer and the keys are moved by
// calls, time may be a manual clock. Most tests and the screenshot mode run on it. Only tests and
// the driver include this header.
#pragma once
#include "platform/clock.h"
#include "platform/desktop.h"
#include "platform/window.h"

#include <vector>

namespace vt {

/// 1920 x 1080 at 96 dpi until set. Windows get `displayChanged`, the display handler is called.
void headlessSetMonitors(const std::vector<Monitor>& monitors);
void headlessMouseMove(PointI screen);
void headlessMouseButton(int button, bool down);
void headlessKey(uint32_t virtualKey, bool down); // also fires registered shortcuts
/// A character typed into the window that has the focus.
void headlessCharacter(uint32_t codePoint);
void headlessWheel(float notches);
void headlessDpi(WindowId window, float dpi, RectI suggested);
/// The user closes the window, as by the button in its caption.
void headlessClose(WindowId window);
/// The window that has the focus; 0 = none.
WindowId headlessFocus();
CursorShape headlessCursor(WindowId window);
/// Timers follow this clock; null is the system's. A manual one must outlive its use, and the loop
/// does not sleep for it: turn it, then call `loopPump`.
void headlessUseClock(const Clock* clock);

/// The windows from bottom to top.
std::vector<WindowId> headlessWindows();
/// The window that the mouse at that point would reach; 0 = none.
WindowId headlessWindowAt(PointI screen);
/// What was presented last to a window; null before the first present.
BitmapRef headlessPicture(WindowId window);
/// The whole desktop over a plain background.
BitmapRef headlessScreen(Color background);
/// While set, no surface is ready for a new frame.
void headlessHoldFrames(bool hold);
/// Surfaces and windows cannot be made while set.
void headlessFailCreation(bool windows, bool surfaces);
/// Presents that went out to the window.
int headlessPresents(WindowId window);
std::string headlessTitle(WindowId window);

} // namespace vt
