#include "platform/linux/desktop/x11_state.h"

#include <algorithm>
#include <cstdlib>

namespace vt {

namespace {

constexpr size_t kMostReadAtOnce = 512; // so that a flood of events leaves room for messages

template <typename T>
const T& as(const xcb_generic_event_t& event) {
    return reinterpret_cast<const T&>(event);
}

// ---- pointer and keys
// ---------------------------------------------------------------------------

/// `PointerEvent` is any of the X events with the pointer's place in it; all have the same members.
template <typename PointerEvent>
WindowEvent inputEvent(EventKind kind, const WindowRef& target, const WindowRef& origin,
                       const PointerEvent& x) {
    WindowEvent event;
    event.kind = kind;
    event.screen = {x.root_x, x.root_y};
    event.position = target == origin ? PointI{x.event_x, x.event_y}
                                      : PointI{event.screen.x - target->rect.left,
                                               event.screen.y - target->rect.top};
    event.modifiers = x11Modifiers(x.state);
    x11.lastTime = x.time;
    return event;
}

/// The holder of the mouse gets what happens elsewhere, also where the grab was refused.
WindowRef mouseTarget(const WindowRef& origin) {
    const WindowRef holder = findWindow(mouseCapture());
    return holder ? holder : origin;
}

void handleButton(const xcb_button_press_event_t& x, bool press) {
    const WindowRef origin = x11Find(x.event);
    if (!origin) return;
    const WindowRef target = mouseTarget(origin);
    if (x.detail == 4 || x.detail == 5) { // the wheel is two buttons
        WindowEvent event = inputEvent(EventKind::mouseWheel, target, origin, x);
        event.wheel = x.detail == 4 ? 1.0f : -1.0f;
        if (press) deliverInput(target, event, x.time);
        return;
    }
    if (x.detail < 1 || x.detail > 3) return;
    WindowEvent event =
        inputEvent(press ? EventKind::mouseDown : EventKind::mouseUp, target, origin, x);
    event.button = x.detail == 1 ? 0 : x.detail == 3 ? 1 : 2;
    if (press && target->enabled) x11FocusWithoutManager(target);
    deliverInput(target, event, x.time);
}

void handleMotion(const xcb_motion_notify_event_t& x) {
    const WindowRef origin = x11Find(x.event);
    if (!origin) return;
    const WindowRef target = mouseTarget(origin);
    deliverInput(target, inputEvent(EventKind::mouseMove, target, origin, x), x.time);
}

void handleLeave(const xcb_leave_notify_event_t& x) {
    const WindowRef window = x11Find(x.event);
    // A grab takes the pointer only in name.
    if (!window || x.mode == XCB_NOTIFY_MODE_GRAB || x.detail == XCB_NOTIFY_DETAIL_INFERIOR) return;
    deliverInput(window, inputEvent(EventKind::mouseLeave, window, window, x), x.time);
}

/// A key that is held down comes as release and press at the same time; the release is no real one.
bool releaseOfRepeat(const xcb_key_release_event_t& release) {
    if (x11.events.empty()) x11ReadAhead();
    if (x11.events.empty()) return false;
    const xcb_generic_event_t& next = *x11.events.front();
    if (eventType(next) != XCB_KEY_PRESS) return false;
    const auto& press = as<xcb_key_press_event_t>(next);
    return press.detail == release.detail && press.time == release.time &&
           press.event == release.event;
}

void handleKey(const xcb_key_press_event_t& x, bool press) {
    if (x.event == x11.screen->root) {
        x11.lastTime = x.time;
        x11HotkeyEvent(x, press);
        return;
    }
    const WindowRef window = x11Find(x.event);
    if (!window || (!press && releaseOfRepeat(x))) return;
    WindowEvent event =
        inputEvent(press ? EventKind::keyDown : EventKind::keyUp, window, window, x);
    event.key = x11VirtualKey(x.detail, x.state);
    if (event.key) deliverInput(window, event, x.time);
    if (!press) return;
    event.kind = EventKind::character;
    event.key = x11Character(x.detail, x.state);
    if (event.key) deliverInput(window, event, x.time);
}

void handleFocus(const xcb_focus_in_event_t& x, bool gained) {
    const WindowRef window = x11Find(x.event);
    if (!window || x.mode == XCB_NOTIFY_MODE_GRAB || x.mode == XCB_NOTIFY_MODE_UNGRAB ||
        x.detail >= XCB_NOTIFY_DETAIL_POINTER || x.detail == XCB_NOTIFY_DETAIL_INFERIOR)
        return;
    WindowEvent event;
    event.kind = gained ? EventKind::focusGained : EventKind::focusLost;
    deliver(window, event);
}

// ---- windows
// ------------------------------------------------------------------------------------

void handleConfigure(const xcb_configure_notify_event_t& x, uint32_t sequence) {
    const WindowRef window = x11Find(x.window);
    if (x.event == x11.screen->root) {
        if (!window) x11StackDisturbed();
        return;
    }
    if (!window) return;
    const X11Window& part = x11Part(*window);
    // An answer to an older wish would move the window back under a drag.
    if (static_cast<int32_t>(sequence - part.lastConfigure) < 0) return;
    PointI corner{x.x, x.y};
    const bool fromServer = !(x.response_type & 0x80);
    if (fromServer && !part.overrideRedirect && x11.hasWindowManager) {
        // Inside a frame the server's figures count from the frame's corner.
        const Reply<xcb_translate_coordinates_reply_t> at(xcb_translate_coordinates_reply(
            x11.connection,
            xcb_translate_coordinates(x11.connection, x.window, x11.screen->root, 0, 0), nullptr));
        if (!at) return;
        corner = {at->dst_x, at->dst_y};
    }
    windowPlaced(window, {corner.x, corner.y, corner.x + x.width, corner.y + x.height});
}

void handleExpose(const xcb_expose_event_t& x) {
    const WindowRef window = x11Find(x.window);
    if (!window) return;
    if (!x11Repaint(x11Part(*window), {x.x, x.y, x.x + x.width, x.y + x.height}))
        window->invalid = true;
}

void handleClientMessage(const xcb_client_message_event_t& x) {
    const WindowRef window = x11Find(x.window);
    if (!window || x.type != x11.atoms.wmProtocols || x.format != 32) return;
    if (x.data.data32[0] == x11.atoms.wmDeleteWindow) {
        windowCloseWanted(window);
    } else if (x.data.data32[0] == x11.atoms.netWmPing) {
        xcb_client_message_event_t answer = x;
        answer.window = x11.screen->root;
        xcb_send_event(x11.connection, 0, x11.screen->root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                       reinterpret_cast<const char*>(&answer));
    }
}

void handleMapped(const xcb_map_notify_event_t& x) {
    const WindowRef window = x11Find(x.window);
    if (x.event == x11.screen->root && !window) x11StackDisturbed();
    if (window && x.event == x.window) x11FocusWithoutManager(window);
}

void handleUnmapped(const xcb_unmap_notify_event_t& x) {
    const WindowRef window = x11Find(x.window);
    if (window && mouseCapture() == window->id) captureTaken(); // the server ended the grab
}

// ---- the desktop around them
// --------------------------------------------------------------------

void dpiMayHaveChanged() {
    const int before = x11Dpi.load();
    x11LoadDpi();
    const int after = x11Dpi.load();
    if (after == before) return;
    x11.monitorsDirty = true;
    const float factor = static_cast<float>(after) / static_cast<float>(before);
    for (const WindowRef& window : allWindows()) {
        const RectI r = window->rect;
        const RectI suggested{
            r.left, r.top, r.left + static_cast<int>(static_cast<float>(r.width()) * factor + 0.5f),
            r.top + static_cast<int>(static_cast<float>(r.height()) * factor + 0.5f)};
        windowDpiChanged(window, static_cast<float>(after), suggested);
    }
}

void handleProperty(const xcb_property_notify_event_t& x) {
    if (x.window != x11.screen->root) return;
    if (x.atom == XCB_ATOM_RESOURCE_MANAGER) dpiMayHaveChanged();
    if (x.atom == x11.atoms.netWorkarea) x11.monitorsDirty = true;
    if (x.atom == x11.atoms.netSupportingWmCheck) x11CheckWindowManager();
}

void handleEvent(const xcb_generic_event_t& event) {
    switch (eventType(event)) {
    case XCB_BUTTON_PRESS:
        return handleButton(as<xcb_button_press_event_t>(event), true);
    case XCB_BUTTON_RELEASE:
        return handleButton(as<xcb_button_press_event_t>(event), false);
    case XCB_MOTION_NOTIFY:
        return handleMotion(as<xcb_motion_notify_event_t>(event));
    case XCB_LEAVE_NOTIFY:
        return handleLeave(as<xcb_leave_notify_event_t>(event));
    case XCB_KEY_PRESS:
        return handleKey(as<xcb_key_press_event_t>(event), true);
    case XCB_KEY_RELEASE:
        return handleKey(as<xcb_key_press_event_t>(event), false);
    case XCB_FOCUS_IN:
        return handleFocus(as<xcb_focus_in_event_t>(event), true);
    case XCB_FOCUS_OUT:
        return handleFocus(as<xcb_focus_in_event_t>(event), false);
    case XCB_EXPOSE:
        return handleExpose(as<xcb_expose_event_t>(event));
    case XCB_CONFIGURE_NOTIFY:
        return handleConfigure(as<xcb_configure_notify_event_t>(event), event.full_sequence);
    case XCB_MAP_NOTIFY:
        return handleMapped(as<xcb_map_notify_event_t>(event));
    case XCB_UNMAP_NOTIFY:
        return handleUnmapped(as<xcb_unmap_notify_event_t>(event));
    case XCB_CIRCULATE_NOTIFY:
    case XCB_VISIBILITY_NOTIFY:
        return x11StackDisturbed();
    case XCB_CLIENT_MESSAGE:
        return handleClientMessage(as<xcb_client_message_event_t>(event));
    case XCB_PROPERTY_NOTIFY:
        return handleProperty(as<xcb_property_notify_event_t>(event));
    case XCB_MAPPING_NOTIFY:
        return x11LoadKeys();
    case XCB_SELECTION_REQUEST:
        return x11AnswerSelection(as<xcb_selection_request_event_t>(event));
    case XCB_SELECTION_CLEAR:
        x11.clipboard.clear();
        return;
    default:
        break;
    }
    if (x11.hasRandr && (eventType(event) == x11.randrEvent ||
                         eventType(event) == x11.randrEvent + XCB_RANDR_NOTIFY))
        x11.monitorsDirty = true;
}

/// Of moves in a row only the last counts.
bool replacesLast(const xcb_generic_event_t& event) {
    if (eventType(event) != XCB_MOTION_NOTIFY || x11.events.empty()) return false;
    const xcb_generic_event_t& last = *x11.events.back();
    return eventType(last) == XCB_MOTION_NOTIFY &&
           as<xcb_motion_notify_event_t>(last).event == as<xcb_motion_notify_event_t>(event).event;
}

void sortIn(XEvent event) {
    if (event->response_type == 0) {
        if (as<xcb_generic_error_t>(*event).major_code == x11.shmOpcode) x11PutsFailed();
    } else if (x11.hasShm && eventType(*event) == x11.shmEvent) {
        x11PutCompleted(as<xcb_shm_completion_event_t>(*event).shmseg);
    } else if (replacesLast(*event)) {
        x11.events.back() = std::move(event);
    } else {
        x11.events.push_back(std::move(event));
    }
}

} // namespace

void x11ReadAhead() {
    if (!x11Alive()) return;
    for (size_t i = 0; i < kMostReadAtOnce; ++i) {
        XEvent event(xcb_poll_for_event(x11.connection));
        if (!event) break;
        sortIn(std::move(event));
    }
    x11Alive();
}

bool x11EventsWaiting() {
    if (!x11Alive()) return false;
    xcb_flush(x11.connection);
    x11ReadAhead();
    return !x11.events.empty() || (x11.monitorsDirty && !x11.lost);
}

void x11TakeEvents() {
    for (size_t left = x11.events.size(); left > 0 && !x11.events.empty(); --left) {
        const XEvent event = std::move(x11.events.front());
        x11.events.pop_front();
        handleEvent(*event);
        if (!backend()) return; // a handler stopped the platform
    }
    // One change of the set-up comes as many events.
    if (!x11.monitorsDirty || !x11Alive()) return;
    x11.monitorsDirty = false;
    if (x11LoadMonitors()) monitorsChanged();
}

} // namespace vt
