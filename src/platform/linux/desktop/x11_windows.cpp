#include "platform/linux/desktop/x11_state.h"

#include <xcb/xcb_icccm.h>

#include <algorithm>
#include <unistd.h>

namespace vt {

namespace {

bool managed(const X11Window& window) {
    return !window.overrideRedirect;
}

bool takesFocus(const WindowRecord& window) {
    return window.spec.kind == WindowKind::panel || window.spec.kind == WindowKind::dialog;
}

uint32_t side(int length) {
    return static_cast<uint32_t>(std::clamp(length, 1, 32767));
}

void setSizeHints(const WindowRecord& window, xcb_window_t handle) {
    const RectI rect = window.rect;
    xcb_size_hints_t hints{};
    // Without a stated position the window manager would choose one.
    xcb_icccm_size_hints_set_position(&hints, 1, rect.left, rect.top);
    xcb_icccm_size_hints_set_size(&hints, 1, rect.width(), rect.height());
    // Our rectangles are client areas: a frame grows around them.
    xcb_icccm_size_hints_set_win_gravity(&hints, XCB_GRAVITY_STATIC);
    if (window.spec.resizable) {
        xcb_icccm_size_hints_set_min_size(&hints, window.spec.minSize.x, window.spec.minSize.y);
    } else {
        xcb_icccm_size_hints_set_min_size(&hints, rect.width(), rect.height());
        xcb_icccm_size_hints_set_max_size(&hints, rect.width(), rect.height());
    }
    xcb_icccm_set_wm_normal_hints(x11.connection, handle, &hints);
}

void setTitles(const WindowRecord& window, xcb_window_t handle) {
    const std::string& title = window.spec.title;
    const bool ascii = std::all_of(title.begin(), title.end(), [](char c) { return c >= 0; });
    // The type STRING is Latin-1.
    x11SetBytes(handle, XCB_ATOM_WM_NAME,
                ascii ? xcb_atom_t{XCB_ATOM_STRING} : x11.atoms.utf8String, title);
    x11SetBytes(handle, x11.atoms.netWmName, x11.atoms.utf8String, title);
}

void setState(const WindowRecord& window, xcb_window_t handle) {
    std::vector<uint32_t> states;
    if (window.topmost) states.push_back(x11.atoms.netWmStateAbove);
    if (window.spec.kind == WindowKind::dialog && window.spec.owner)
        states.push_back(x11.atoms.netWmStateModal);
    x11SetWords(handle, x11.atoms.netWmState, XCB_ATOM_ATOM, states);
}

void setManagedProperties(const WindowRecord& window, xcb_window_t handle) {
    xcb_connection_t* c = x11.connection;
    setSizeHints(window, handle);
    setState(window, handle);
    x11SetWords(handle, x11.atoms.wmProtocols, XCB_ATOM_ATOM,
                {x11.atoms.wmDeleteWindow, x11.atoms.netWmPing});
    xcb_icccm_wm_hints_t hints{};
    xcb_icccm_wm_hints_set_input(&hints, 1);
    xcb_icccm_set_wm_hints(c, handle, &hints);
    if (window.spec.kind != WindowKind::dialog)
        // flags: only the decorations count; decorations: none.
        x11SetWords(handle, x11.atoms.motifWmHints, x11.atoms.motifWmHints, {2, 0, 0, 0, 0});
    // User time 0 asks for no focus when the window appears.
    if (!takesFocus(window)) x11SetWords(handle, x11.atoms.netWmUserTime, XCB_ATOM_CARDINAL, {0});
    if (const WindowRef owner = findWindow(window.spec.owner); owner && owner->native)
        xcb_icccm_set_wm_transient_for(c, handle, x11Part(*owner).handle);
}

void setProperties(const WindowRecord& window, xcb_window_t handle) {
    const std::string& name = window.spec.className;
    std::string both = name + '\0' + name + '\0';
    both.assign(name).push_back('\0'); // instance, then class, each ended by a zero
    both.append(name).push_back('\0');
    x11SetBytes(handle, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, both);
    setTitles(window, handle);
    x11SetWords(handle, x11.atoms.netWmPid, XCB_ATOM_CARDINAL, {static_cast<uint32_t>(getpid())});
    char host[256] = {};
    if (gethostname(host, sizeof host - 1) == 0)
        x11SetBytes(handle, XCB_ATOM_WM_CLIENT_MACHINE, XCB_ATOM_STRING, host);
    xcb_atom_t type = x11.atoms.typeNormal;
    if (window.spec.kind == WindowKind::dialog) type = x11.atoms.typeDialog;
    if (window.spec.kind == WindowKind::overlay) {
        type = x11.atoms.typeNotification; // compositors draw no shadow under these
        // A full-screen game must not switch the compositor off while an overlay shows: 2 = never.
        x11SetWords(handle, x11.atoms.netBypassCompositor, XCB_ATOM_CARDINAL, {2});
    }
    x11SetWords(handle, x11.atoms.netWmWindowType, XCB_ATOM_ATOM, {type});
}

void grabPointerFor(WindowRecord& window) {
    const auto cookie = xcb_grab_pointer(
        x11.connection, 0, x11Part(window).handle,
        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION,
        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, x11Cursor(window.cursor),
        XCB_CURRENT_TIME);
    // A refusal changes nothing: while a button is down the server sends us the pointer anyway.
    xcb_discard_reply(x11.connection, cookie.sequence);
}

void activate(WindowRecord& window) {
    X11Window& part = x11Part(window);
    if (x11.hasWindowManager) {
        // Source 2: on behalf of the user, so that it is not held back as stealing the focus.
        x11TellRoot(part.handle, x11.atoms.netActiveWindow, {2, x11.lastTime, 0});
        return;
    }
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(x11.connection, part.handle, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    x11StackDisturbed();
    xcb_set_input_focus(x11.connection, XCB_INPUT_FOCUS_PARENT, part.handle, XCB_CURRENT_TIME);
}

} // namespace

bool x11CreateWindow(WindowRecord& window) {
    if (!x11Alive()) return false;
    xcb_connection_t* c = x11.connection;
    auto part = std::make_shared<X11Window>();
    part->handle = xcb_generate_id(c);
    part->overrideRedirect = window.spec.kind == WindowKind::overlay;
    const bool alpha = part->overrideRedirect && x11.alphaVisual;
    part->depth = alpha ? 32 : x11.screen->root_depth;

    uint32_t events = XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                      XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                      XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_LEAVE_WINDOW |
                      XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                      XCB_EVENT_MASK_FOCUS_CHANGE;
    if (part->overrideRedirect) events |= XCB_EVENT_MASK_VISIBILITY_CHANGE;
    xcb_create_window_value_list_t values{};
    values.background_pixel = alpha ? 0 : x11.screen->black_pixel;
    values.border_pixel = 0; // must be given when the depth is not the root's
    values.bit_gravity = XCB_GRAVITY_NORTH_WEST;
    values.override_redirect = part->overrideRedirect;
    values.event_mask = events;
    values.colormap = alpha ? x11.alphaColormap : x11.screen->default_colormap;
    const uint32_t mask = XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_BIT_GRAVITY |
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK | XCB_CW_COLORMAP;
    const RectI rect = window.rect;
    const auto cookie = xcb_create_window_aux_checked(
        c, part->depth, part->handle, x11.screen->root, static_cast<int16_t>(rect.left),
        static_cast<int16_t>(rect.top), static_cast<uint16_t>(side(rect.width())),
        static_cast<uint16_t>(side(rect.height())), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
        alpha ? x11.alphaVisual : x11.screen->root_visual, mask, &values);
    if (const Reply<xcb_generic_error_t> error(xcb_request_check(c, cookie)); error || !x11Alive())
        return false;

    window.native = part;
    x11.windows[part->handle] = window.id;
    setProperties(window, part->handle);
    if (managed(*part))
        setManagedProperties(window, part->handle);
    else
        x11StackAdd(window);
    x11ApplyRegion(window);
    return true;
}

void x11DestroyWindow(WindowRecord& window) {
    const X11Window& part = x11Part(window);
    x11.windows.erase(part.handle);
    x11StackRemove(window.id);
    if (x11Alive()) xcb_destroy_window(x11.connection, part.handle);
}

void x11ApplyVisible(WindowRecord& window) {
    if (!x11Alive()) return;
    const X11Window& part = x11Part(window);
    if (window.visible) {
        if (managed(part)) setState(window, part.handle);
        xcb_map_window(x11.connection, part.handle);
        x11StackDisturbed();
        return;
    }
    xcb_unmap_window(x11.connection, part.handle);
    if (!managed(part)) return;
    // The window manager forgets a window only when told, for it may have iconified it already.
    xcb_unmap_notify_event_t event{};
    event.response_type = XCB_UNMAP_NOTIFY;
    event.event = x11.screen->root;
    event.window = part.handle;
    xcb_send_event(x11.connection, 0, x11.screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
}

void x11ApplyRect(WindowRecord& window) {
    if (!x11Alive()) return;
    X11Window& part = x11Part(window);
    if (managed(part)) setSizeHints(window, part.handle);
    const RectI rect = window.rect;
    const uint32_t values[] = {static_cast<uint32_t>(rect.left), static_cast<uint32_t>(rect.top),
                               side(rect.width()), side(rect.height())};
    part.lastConfigure =
        xcb_configure_window(x11.connection, part.handle,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             values)
            .sequence;
}

void x11ApplyTitle(WindowRecord& window) {
    if (x11Alive()) setTitles(window, x11Part(window).handle);
}

void x11ApplyTopmost(WindowRecord& window) {
    if (!x11Alive()) return;
    const X11Window& part = x11Part(window);
    if (!managed(part)) {
        if (window.topmost)
            x11StackAdd(window);
        else
            x11StackRemove(window.id);
        return;
    }
    setState(window, part.handle);
    // A mapped window asks the manager: 1 adds, 0 removes; the last word says "an application".
    x11TellRoot(part.handle, x11.atoms.netWmState,
                {window.topmost ? 1u : 0u, x11.atoms.netWmStateAbove, 0, 1});
}

void x11ApplyRegion(WindowRecord& window) {
    if (!x11Alive() || !x11.hasXfixes) return;
    const xcb_window_t handle = x11Part(window).handle;
    constexpr uint8_t kInputShape = 2; // XCB_SHAPE_SK_INPUT
    if (window.region == InputRegion::all) {
        xcb_xfixes_set_window_shape_region(x11.connection, handle, kInputShape, 0, 0, XCB_NONE);
        return;
    }
    std::vector<xcb_rectangle_t> rects;
    for (const RectI& r : window.regionRects)
        if (!r.empty())
            rects.push_back({static_cast<int16_t>(r.left), static_cast<int16_t>(r.top),
                             static_cast<uint16_t>(side(r.width())),
                             static_cast<uint16_t>(side(r.height()))});
    const xcb_xfixes_region_t region = xcb_generate_id(x11.connection);
    xcb_xfixes_create_region(x11.connection, region, static_cast<uint32_t>(rects.size()),
                             rects.data());
    xcb_xfixes_set_window_shape_region(x11.connection, handle, kInputShape, 0, 0, region);
    xcb_xfixes_destroy_region(x11.connection, region);
}

void x11ApplyCursor(WindowRecord& window) {
    if (!x11Alive()) return;
    const uint32_t cursor = x11Cursor(window.cursor);
    xcb_change_window_attributes(x11.connection, x11Part(window).handle, XCB_CW_CURSOR, &cursor);
    if (mouseCapture() == window.id)
        xcb_change_active_pointer_grab(x11.connection, cursor, XCB_CURRENT_TIME,
                                       XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                           XCB_EVENT_MASK_POINTER_MOTION);
}

void x11Raise(WindowRecord& window) {
    if (!x11Alive()) return;
    if (managed(x11Part(window)))
        activate(window);
    else
        x11StackToTop(window.id);
}

void x11ApplyCapture(WindowRecord* holder) {
    if (!x11Alive()) return;
    if (holder)
        grabPointerFor(*holder);
    else
        xcb_ungrab_pointer(x11.connection, XCB_CURRENT_TIME);
}

xcb_cursor_t x11Cursor(CursorShape shape) {
    static constexpr const char* kNames[] = {
        "left_ptr", "fleur", "sb_h_double_arrow", "sb_v_double_arrow", "bottom_right_corner",
        "hand2",    "xterm"};
    static_assert(std::size(kNames) == static_cast<size_t>(CursorShape::text) + 1);
    const auto index = static_cast<size_t>(shape);
    if (!x11.cursors[index] && x11.cursorContext)
        x11.cursors[index] = xcb_cursor_load_cursor(x11.cursorContext, kNames[index]);
    return x11.cursors[index];
}

/// Without a window manager nobody else gives windows the focus.
void x11FocusWithoutManager(const WindowRef& window) {
    if (x11.hasWindowManager || !window->visible || !takesFocus(*window)) return;
    activate(*window);
}

} // namespace vt
