#include "overlay/drawing/drawing.h"
#include "panel/row_parts.h"
#include "platform/desktop.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vt {

namespace {

constexpr float kWheelStep = 48, kKeyStep = 32;
constexpr float kDesktopRoom = 96; // kept free above and below, for frames and bars

const RowPlace* placeOf(const RowPlan& plan, int id) {
    for (const RowPlace& place : plan.places)
        if (id != 0 && place.item->id == id) return &place;
    return nullptr;
}

const RowItem* itemAt(const RowPlan& plan, float scroll, float x, float y) {
    for (const RowPlace& place : plan.places) {
        const float inBody = place.fixed ? 0 : scroll;
        if (place.item->id == 0 || !place.rect.contains(x, y + inBody)) continue;
        if (place.fixed || plan.view.contains(x, y)) return place.item;
    }
    return nullptr;
}

void scrollBy(RowState& state, const RowPlan& plan, float by) {
    state.scroll = std::clamp(state.scroll + by, 0.0f, plan.furthest());
}

void scrollTo(RowState& state, const RowPlan& plan, const RowPlace& place) {
    if (place.fixed) return;
    if (place.rect.top - kRowMargin < state.scroll) state.scroll = place.rect.top - kRowMargin;
    if (place.rect.bottom + kRowMargin > state.scroll + plan.view.height())
        state.scroll = place.rect.bottom + kRowMargin - plan.view.height();
    scrollBy(state, plan, 0);
}

void moveFocus(RowState& state, const RowPlan& plan, bool back) {
    std::vector<const RowPlace*> stops;
    for (const RowPlace& place : plan.places)
        if (place.item->id != 0) stops.push_back(&place);
    if (stops.empty()) return;
    const auto now = std::find_if(stops.begin(), stops.end(),
                                  [&](const RowPlace* p) { return p->item->id == state.focus; });
    const size_t count = stops.size();
    size_t next = back ? count - 1 : 0;
    if (now != stops.end())
        next = (static_cast<size_t>(now - stops.begin()) + (back ? count - 1 : 1)) % count;
    state.focus = stops[next]->item->id;
    state.focusShown = true;
    scrollTo(state, plan, *stops[next]);
}

RowAction release(RowState& state, const RowPlan& plan, int over, bool counts) {
    const int id = std::exchange(state.pressed, 0);
    const RowPlace* place = placeOf(plan, id);
    if (!place) return {};
    if (place->item->repeating) return {RowAction::Kind::up, id};
    return counts && over == id ? RowAction{RowAction::Kind::press, id} : RowAction{};
}

} // namespace

RowAction rowPointer(RowState& state, const RowPlan& plan, const WindowEvent& event, float x,
                     float y) {
    const RowItem* item = itemAt(plan, state.scroll, x, y);
    const int over = item ? item->id : 0;
    switch (event.kind) {
    case EventKind::mouseMove:
        state.hover = over;
        return {};
    case EventKind::mouseLeave:
        state.hover = 0;
        return {};
    case EventKind::mouseWheel:
        scrollBy(state, plan, -event.wheel * kWheelStep);
        return {};
    case EventKind::mouseDown:
    case EventKind::mouseDouble:
        if (event.button != 0) return {};
        state.hover = state.pressed = state.focus = over;
        state.focusShown = false;
        return item && item->repeating ? RowAction{RowAction::Kind::down, over} : RowAction{};
    case EventKind::mouseUp:
        return event.button == 0 ? release(state, plan, over, true) : RowAction{};
    case EventKind::captureLost:
        return release(state, plan, over, false);
    default:
        return {};
    }
}

RowAction rowKey(RowState& state, const RowPlan& plan, const WindowEvent& event, bool& taken) {
    taken = event.kind == EventKind::keyDown;
    if (!taken) return {};
    const RowPlace* focused = placeOf(plan, state.focus);
    const bool presses = focused && focused->item->kind != RowKind::numberBox;
    switch (event.key) {
    case kKeyTab:
        moveFocus(state, plan, (event.modifiers & kModShift) != 0);
        return {};
    case kKeySpace:
        if (presses) return {RowAction::Kind::press, state.focus};
        break;
    case kKeyEnter:
        if (presses && state.focusShown) return {RowAction::Kind::press, state.focus};
        break;
    case kKeyUp:
        scrollBy(state, plan, -kKeyStep);
        return {};
    case kKeyDown:
        scrollBy(state, plan, kKeyStep);
        return {};
    case kKeyPageUp:
        scrollBy(state, plan, -plan.view.height() + kKeyStep);
        return {};
    case kKeyPageDown:
        scrollBy(state, plan, plan.view.height() - kKeyStep);
        return {};
    case kKeyHome:
        state.scroll = 0;
        return {};
    case kKeyEnd:
        state.scroll = plan.furthest();
        return {};
    default:
        break;
    }
    taken = false;
    return {};
}

// ---- the window
// ----------------------------------------------------------------------------------------------

namespace {

struct Running {
    const RowWindow* window = nullptr;
    RowState state;
    Running* outer = nullptr;
};
Running* running = nullptr;

float pixelScale() {
    return static_cast<float>(systemDpi()) / 96;
}

/// The page with its plan, for one event or one picture.
struct Shown {
    RowPage page;
    RowPlan plan;
    explicit Shown(const Running& r) : page(r.window->page()) {
        const RectI rect = windowRect(currentDialog());
        plan = planRows(page, static_cast<float>(rect.width()) / pixelScale(),
                        static_cast<float>(rect.height()) / pixelScale());
    }
};

void act(Running& r, const RowAction& action, int focusBefore) {
    const RowWindow& w = *r.window;
    if (focusBefore != 0 && focusBefore != r.state.focus && w.focusLeft) w.focusLeft(focusBefore);
    if (action.kind == RowAction::Kind::press && w.press) w.press(action.id);
    if (action.kind == RowAction::Kind::down && w.hold) w.hold(action.id, true);
    if (action.kind == RowAction::Kind::up && w.hold) w.hold(action.id, false);
}

void onPaint(Canvas& canvas, RectF, void* user) {
    Running& r = *static_cast<Running*>(user);
    Shown shown(r);
    r.state.scroll = std::clamp(r.state.scroll, 0.0f, shown.plan.furthest());
    canvas.setTransform(scaleMatrix(pixelScale()));
    drawRows(canvas, shown.plan, r.state);
}

void onPointer(const WindowEvent& event, void* user) {
    Running& r = *static_cast<Running*>(user);
    const Shown shown(r);
    const WindowId window = currentDialog();
    const float x = static_cast<float>(event.position.x) / pixelScale();
    const float y = static_cast<float>(event.position.y) / pixelScale();
    const int focus = r.state.focus;
    const RowAction action = rowPointer(r.state, shown.plan, event, x, y);
    // What goes down inside and comes up outside must still be seen coming up.
    if (event.kind == EventKind::mouseDown && r.state.pressed != 0) captureMouse(window);
    if (event.kind == EventKind::mouseUp && mouseCapture() == window) releaseMouse();
    if (event.kind == EventKind::mouseMove)
        setCursor(window, r.state.hover ? CursorShape::hand : CursorShape::arrow);
    act(r, action, focus);
    rowsChanged();
}

void onKey(const WindowEvent& event, void* user) {
    Running& r = *static_cast<Running*>(user);
    const int focus = r.state.focus;
    const Shown shown(r);
    const RowPlace* focused = placeOf(shown.plan, focus);
    // A button that the keyboard went to is pressed by Enter, whatever Enter means elsewhere; but
    // not one that only changes a number.
    const bool onButton = event.kind == EventKind::keyDown && event.key == kKeyEnter &&
                          r.state.focusShown && focused && focused->item->kind == RowKind::button &&
                          !focused->item->repeating;
    if (!onButton && r.window->key && r.window->key(event)) {
        rowsChanged();
        return;
    }
    bool taken = false;
    const RowAction action = rowKey(r.state, shown.plan, event, taken);
    act(r, action, focus);
    if (!taken && event.kind == EventKind::keyDown && event.key == kKeyEscape) endDialog(0);
    rowsChanged();
}

void onTimer(uint32_t id, void* user) {
    Running& r = *static_cast<Running*>(user);
    if (r.window->timer) r.window->timer(id);
}

} // namespace

int runRowWindow(const RowWindow& window) {
    Running self;
    self.window = &window;
    self.outer = running;
    self.state.focus = window.firstFocus;
    const Monitor monitor =
        monitorFor(window.parent ? windowRect(window.parent) : listMonitors().front().rect);
    const float room = static_cast<float>(monitor.work.height()) / pixelScale() - kDesktopRoom;
    const float wanted = std::max(wantedHeight(window.page(), window.width), window.minHeight);
    DialogSpec spec;
    spec.parent = window.parent;
    spec.title = window.title;
    spec.width = static_cast<int>(window.width);
    spec.height = static_cast<int>(std::ceil(std::min(wanted, std::max(room, 240.0f))));
    spec.resizable = true;
    spec.minWidth = 380;
    spec.paint = onPaint;
    spec.pointer = onPointer;
    spec.key = onKey;
    spec.timer = onTimer;
    spec.user = &self;
    running = &self;
    const int result = runDialog(spec);
    running = self.outer;
    return result;
}

void rowsFocus(int id) {
    if (running) running->state.focus = id;
}

void rowsChanged(bool toTop) {
    if (!running) return;
    if (toTop) running->state.scroll = 0;
    invalidateWindow(currentDialog());
}

} // namespace vt
