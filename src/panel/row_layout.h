// A thin toolkit for the program's own windows: a column of texts and controls above a line of
// buttons, on a dialog. A window is a function from its state to a `RowPage`; it is told what was
// pressed by the number that it gave the control. All lengths are design units. Main thread.
#pragma once
#include "overlay/drawing/dialog.h"
#include "platform/canvas.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vt {

enum class RowKind {
    heading,
    text,    // wrapped; see text_lines.h for its form
    warning, // wrapped, in a box with a mark of its colour
    success,
    code,   // fixed width, in a box
    tagged, // `tag` in a box, a label in `text`, `value` wrapped below
    button,
    checkBox,
    numberBox,
    gauge, // `level` 0..1
    large, // a result
};

struct RowItem {
    RowKind kind = RowKind::text;
    std::string text;
    int id = 0; // of a control; 0 takes no mouse and no focus
    std::string tag, value;
    bool on = false;        // check box: ticked; tag: good; button: the one that is expected
    bool beside = false;    // stands to the right of the item before it
    bool repeating = false; // button: told when it goes down and up, for those who repeat
    float level = 0;
};

/// Rebuilt by its window whenever it is needed.
struct RowPage {
    std::vector<RowItem> body, footer;
};

/// Where everything stands when nothing is scrolled.
struct RowPlace {
    const RowItem* item = nullptr;
    RectF rect;
    bool fixed = false; // in the footer
};
struct RowPlan {
    std::vector<RowPlace> places;
    RectF view;      // what the body is seen through
    float above = 0; // height of the body
    float furthest() const { return above > view.height() ? above - view.height() : 0; }
};

/// The page must outlive the plan.
RowPlan planRows(const RowPage& page, float width, float height);
/// Height at which nothing needs to be scrolled.
float wantedHeight(const RowPage& page, float width);

/// What the mouse and the keyboard are at.
struct RowState {
    int hover = 0, pressed = 0, focus = 0; // ids
    bool focusShown = false;               // the focus was moved by the keyboard
    float scroll = 0;
};

void drawRows(Canvas& canvas, const RowPlan& plan, const RowState& state);

/// What an event came to.
struct RowAction {
    enum class Kind { none, press, down, up } kind = Kind::none;
    int id = 0;
};
/// `x`, `y` in design units. A press counts when the button comes up over the control that it went
/// down on; a repeating button tells `down` and `up` in its place.
RowAction rowPointer(RowState& state, const RowPlan& plan, const WindowEvent& event, float x,
                     float y);
/// Tab and Shift+Tab move the focus, Space presses what has it, Enter too once the keyboard has
/// moved it; the rest scrolls. `taken` tells whether the key meant something here.
RowAction rowKey(RowState& state, const RowPlan& plan, const WindowEvent& event, bool& taken);

// ---- a window of rows
// ---------------------------------------------------------------------------------

struct RowWindow {
    WindowId parent = 0;
    const char* title = nullptr;
    float width = 560;
    float minHeight = 0; // for windows whose pages differ; else as high as the first page needs
    std::function<RowPage()> page;
    std::function<void(int id)> press;
    std::function<void(int id, bool isDown)> hold; // of repeating buttons
    std::function<void(int id)> focusLeft;         // a control lost the focus to another
    std::function<bool(const WindowEvent&)> key;   // asked first; true = it was handled
    std::function<void(uint32_t id)> timer;        // started by `startTimer(currentDialog(), ...)`
    int firstFocus = 0;
};

/// Runs until `endDialog`; its value. Escape without a taker and the caption's button end with 0.
int runRowWindow(const RowWindow& window);
/// The page changed by itself (a timer, another thread's word): draw it again. `toTop` also scrolls
/// back.
void rowsChanged(bool toTop = false);
/// Gives the focus to another control; the one that had it is not told.
void rowsFocus(int id);

/// Virtual-key codes that windows handle.
enum RowKey : uint32_t {
    kKeyBack = 0x08,
    kKeyTab = 0x09,
    kKeyEnter = 0x0D,
    kKeyEscape = 0x1B,
    kKeySpace = 0x20,
    kKeyPageUp = 0x21,
    kKeyPageDown = 0x22,
    kKeyEnd = 0x23,
    kKeyHome = 0x24,
    kKeyUp = 0x26,
    kKeyDown = 0x28,
    kKeyDelete = 0x2E,
    kKeyS = 'S',
};

} // namespace vt
