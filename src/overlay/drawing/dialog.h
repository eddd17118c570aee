// Modal dialogs. They nest, up to 8 deep. Main thread.
#pragma once
#include "platform/canvas.h"
#include "platform/window.h"

#include <cstdint>

namespace vt {

struct DialogSpec {
    WindowId parent = 0;         // disabled while the dialog runs; 0 for a free dialog
    const char* title = nullptr; // null = the product's name
    int width = 0, height = 0;   // client size at 96 dpi
    void (*paint)(Canvas& canvas, RectF client, void* user) = nullptr;
    void (*pointer)(const WindowEvent& event, void* user) = nullptr; // mouse and wheel
    void (*key)(const WindowEvent& event, void* user) = nullptr;     // keys and characters
    void (*timer)(uint32_t id, void* user) = nullptr;
    bool resizable = false;
    int minWidth = 0, minHeight = 0; // at 96 dpi; 320 and 240 when not above 0
    const void* placeKey = nullptr;  // null = no remembered position
    void* user = nullptr;
};

/// Runs the dialog; the value given to `endDialog`, 0 when it was closed, -1 when it could not be
/// made.
int runDialog(const DialogSpec& spec);
/// Ends the innermost dialog.
void endDialog(int result);
/// The innermost dialog's window; 0 when none runs.
WindowId currentDialog();

/// Remembered positions: `load` may give a top left corner, `store` is told it at the end.
void registerDialogPlacement(bool (*load)(const void* placeKey, int& x, int& y),
                             void (*store)(const void* placeKey, int x, int y));

/// Posted to the outermost dialog's owner when it ends.
inline constexpr uint32_t kDialogEndedMessage = 0x800B;

} // namespace vt
