#include "base/log.h"
#include "platform/linux/desktop/x11_state.h"

#include <csignal>
#include <cstring>

namespace vt {

X11 x11;
std::atomic<int> x11Dpi{96};

namespace {

struct AtomName {
    xcb_atom_t Atoms::*atom;
    const char* name;
};

constexpr AtomName kAtomNames[] = {
    {&Atoms::wmProtocols, "WM_PROTOCOLS"},
    {&Atoms::wmDeleteWindow, "WM_DELETE_WINDOW"},
    {&Atoms::wmState, "WM_STATE"},
    {&Atoms::utf8String, "UTF8_STRING"},
    {&Atoms::netWmName, "_NET_WM_NAME"},
    {&Atoms::netWmPid, "_NET_WM_PID"},
    {&Atoms::netWmPing, "_NET_WM_PING"},
    {&Atoms::netWmState, "_NET_WM_STATE"},
    {&Atoms::netWmStateAbove, "_NET_WM_STATE_ABOVE"},
    {&Atoms::netWmStateModal, "_NET_WM_STATE_MODAL"},
    {&Atoms::netWmUserTime, "_NET_WM_USER_TIME"},
    {&Atoms::netWmWindowType, "_NET_WM_WINDOW_TYPE"},
    {&Atoms::typeNormal, "_NET_WM_WINDOW_TYPE_NORMAL"},
    {&Atoms::typeDialog, "_NET_WM_WINDOW_TYPE_DIALOG"},
    {&Atoms::typeNotification, "_NET_WM_WINDOW_TYPE_NOTIFICATION"},
    {&Atoms::netActiveWindow, "_NET_ACTIVE_WINDOW"},
    {&Atoms::netWorkarea, "_NET_WORKAREA"},
    {&Atoms::netCurrentDesktop, "_NET_CURRENT_DESKTOP"},
    {&Atoms::netSupportingWmCheck, "_NET_SUPPORTING_WM_CHECK"},
    {&Atoms::netBypassCompositor, "_NET_WM_BYPASS_COMPOSITOR"},
    {&Atoms::motifWmHints, "_MOTIF_WM_HINTS"},
    {&Atoms::clipboard, "CLIPBOARD"},
    {&Atoms::targets, "TARGETS"},
    {&Atoms::text, "TEXT"},
    {&Atoms::textPlain, "text/plain;charset=utf-8"},
    {&Atoms::selectionData, "VT_SELECTION"},
};

void loadAtoms() {
    xcb_intern_atom_cookie_t cookies[std::size(kAtomNames)];
    for (size_t i = 0; i < std::size(kAtomNames); ++i)
        cookies[i] = xcb_intern_atom(x11.connection, 0,
                                     static_cast<uint16_t>(std::strlen(kAtomNames[i].name)),
                                     kAtomNames[i].name);
    for (size_t i = 0; i < std::size(kAtomNames); ++i) {
        const Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(x11.connection, cookies[i], nullptr));
        x11.atoms.*kAtomNames[i].atom = reply ? reply->atom : xcb_atom_t{XCB_NONE};
    }
}

void loadExtensions() {
    xcb_connection_t* c = x11.connection;
    if (const auto* shm = xcb_get_extension_data(c, &xcb_shm_id); shm && shm->present) {
        const Reply<xcb_shm_query_version_reply_t> version(
            xcb_shm_query_version_reply(c, xcb_shm_query_version(c), nullptr));
        x11.hasShm = version != nullptr;
        x11.shmEvent = static_cast<uint8_t>(shm->first_event + XCB_SHM_COMPLETION);
        x11.shmOpcode = shm->major_opcode;
    }
    if (const auto* randr = xcb_get_extension_data(c, &xcb_randr_id); randr && randr->present) {
        const Reply<xcb_randr_query_version_reply_t> version(
            xcb_randr_query_version_reply(c, xcb_randr_query_version(c, 1, 5), nullptr));
        x11.hasRandr = version && (version->major_version > 1 || version->minor_version >= 5);
        x11.randrEvent = randr->first_event;
    }
    if (const auto* fixes = xcb_get_extension_data(c, &xcb_xfixes_id); fixes && fixes->present) {
        const Reply<xcb_xfixes_query_version_reply_t> version(
            xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, 5, 0), nullptr));
        x11.hasXfixes = version && version->major_version >= 2; // regions since 2
    }
    if (!x11.hasXfixes) logStatus("[platform] no XFixes: overlays take the mouse\n");
}

xcb_screen_t* findScreen(int number) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(x11.connection));
    for (; screens.rem > 1 && number > 0; --number)
        xcb_screen_next(&screens);
    return screens.data;
}

const xcb_visualtype_t* trueColorVisual(uint8_t depth) {
    auto depths = xcb_screen_allowed_depths_iterator(x11.screen);
    for (; depths.rem > 0; xcb_depth_next(&depths)) {
        if (depths.data->depth != depth) continue;
        auto visuals = xcb_depth_visuals_iterator(depths.data);
        for (; visuals.rem > 0; xcb_visualtype_next(&visuals))
            if (visuals.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR) return visuals.data;
    }
    return nullptr;
}

void findAlphaVisual() {
    const xcb_visualtype_t* visual = trueColorVisual(32);
    if (!visual) {
        logStatus("[platform] no 32-bit visual: overlays are opaque\n");
        return;
    }
    x11.alphaVisual = visual->visual_id;
    x11.alphaColormap = xcb_generate_id(x11.connection);
    xcb_create_colormap(x11.connection, XCB_COLORMAP_ALLOC_NONE, x11.alphaColormap,
                        x11.screen->root, x11.alphaVisual);
    // A context belongs to a depth, so it is made on a drawable of that depth.
    const xcb_pixmap_t pixmap = xcb_generate_id(x11.connection);
    xcb_create_pixmap(x11.connection, 32, pixmap, x11.screen->root, 1, 1);
    x11.alphaGc = xcb_generate_id(x11.connection);
    xcb_create_gc(x11.connection, x11.alphaGc, pixmap, 0, nullptr);
    xcb_free_pixmap(x11.connection, pixmap);
}

void makeHelpers() {
    xcb_connection_t* c = x11.connection;
    const xcb_window_t root = x11.screen->root;
    x11.plainGc = xcb_generate_id(c);
    xcb_create_gc(c, x11.plainGc, root, 0, nullptr);
    x11.helper = xcb_generate_id(c);
    const uint32_t helperMask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(c, 0, x11.helper, root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &helperMask);
    const uint32_t rootMask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &rootMask);
    if (x11.hasRandr)
        xcb_randr_select_input(c, root,
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
}

int descriptor() {
    return x11.connection && !x11.lost ? xcb_get_file_descriptor(x11.connection) : -1;
}

} // namespace

bool x11Start() {
    // A display server that goes away must not take the program with it.
    struct sigaction old {};
    if (sigaction(SIGPIPE, nullptr, &old) == 0 && old.sa_handler == SIG_DFL)
        std::signal(SIGPIPE, SIG_IGN);

    const uint32_t generation = x11.generation + 1;
    x11 = X11{};
    x11.generation = generation;
    x11.connection = xcb_connect(nullptr, &x11.screenNumber);
    if (xcb_connection_has_error(x11.connection)) {
        xcb_disconnect(x11.connection);
        x11.connection = nullptr;
        return false;
    }
    x11.asking = xcb_connect(nullptr, nullptr);
    x11.screen = findScreen(x11.screenNumber);
    loadAtoms();
    loadExtensions();
    findAlphaVisual();
    makeHelpers();
    xcb_cursor_context_new(x11.connection, x11.screen, &x11.cursorContext);
    x11LoadKeys();
    x11LoadDpi();
    x11LoadMonitors();
    x11CheckWindowManager();
    xcb_flush(x11.connection);
    return x11Alive();
}

void x11Stop() {
    x11StackForget();
    x11.events.clear();
    if (x11.cursorContext) xcb_cursor_context_free(x11.cursorContext);
    if (x11.keySymbols) xcb_key_symbols_free(x11.keySymbols);
    if (x11.asking) xcb_disconnect(x11.asking);
    if (x11.connection) xcb_disconnect(x11.connection);
    const uint32_t generation = x11.generation;
    x11 = X11{};
    x11.generation = generation;
}

bool x11Alive() {
    if (x11.lost || !x11.connection) return false;
    if (!xcb_connection_has_error(x11.connection)) return true;
    x11.lost = true;
    x11.events.clear();
    logStatus("[platform] the display server went away\n");
    raiseDeviceLost();
    return false;
}

xcb_connection_t* x11Asking() {
    xcb_flush(x11.connection);
    // It selects no events, but some come to everybody.
    while (const XEvent event{xcb_poll_for_event(x11.asking)})
        ;
    return xcb_connection_has_error(x11.asking) ? x11.connection : x11.asking;
}

std::vector<uint32_t> x11Words(xcb_window_t window, xcb_atom_t property, xcb_atom_t type) {
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        x11.connection, xcb_get_property(x11.connection, 0, window, property, type, 0, 1024),
        nullptr));
    if (!reply || reply->format != 32) return {};
    const auto* words = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {words, words + xcb_get_property_value_length(reply.get()) / 4};
}

std::string x11Bytes(xcb_window_t window, xcb_atom_t property, uint32_t limit) {
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(x11.connection,
                               xcb_get_property(x11.connection, 0, window, property,
                                                XCB_GET_PROPERTY_TYPE_ANY, 0, limit / 4),
                               nullptr));
    if (!reply || reply->format != 8) return {};
    return {static_cast<const char*>(xcb_get_property_value(reply.get())),
            static_cast<size_t>(xcb_get_property_value_length(reply.get()))};
}

void x11SetWords(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                 const std::vector<uint32_t>& words) {
    xcb_change_property(x11.connection, XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<uint32_t>(words.size()), words.data());
}

void x11SetBytes(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                 const std::string& text) {
    xcb_change_property(x11.connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<uint32_t>(text.size()), text.data());
}

void x11TellRoot(xcb_window_t window, xcb_atom_t type, const std::vector<uint32_t>& data) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    for (size_t i = 0; i < data.size() && i < 5; ++i)
        event.data.data32[i] = data[i];
    xcb_send_event(x11.connection, 0, x11.screen->root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
}

void x11CheckWindowManager() {
    const auto check = x11Words(x11.screen->root, x11.atoms.netSupportingWmCheck, XCB_ATOM_WINDOW);
    // The property outlives a manager that crashed; the window it names does not.
    x11.hasWindowManager = !check.empty() && x11Words(check[0], x11.atoms.netSupportingWmCheck,
                                                      XCB_ATOM_WINDOW) == check;
}

X11Window& x11Part(WindowRecord& window) {
    return *static_cast<X11Window*>(window.native.get());
}

WindowRef x11Find(xcb_window_t handle) {
    const auto found = x11.windows.find(handle);
    return found == x11.windows.end() ? nullptr : findWindow(found->second);
}

const Backend x11Backend{
    .kind = PlatformKind::x11,
    .start = x11Start,
    .stop = x11Stop,
    .descriptor = descriptor,
    .eventsWaiting = x11EventsWaiting,
    .takeEvents = x11TakeEvents,
    .createWindow = x11CreateWindow,
    .destroyWindow = x11DestroyWindow,
    .applyVisible = x11ApplyVisible,
    .applyRect = x11ApplyRect,
    .applyTitle = x11ApplyTitle,
    .applyTopmost = x11ApplyTopmost,
    .applyRegion = x11ApplyRegion,
    .applyCursor = x11ApplyCursor,
    .raise = x11Raise,
    .applyCapture = x11ApplyCapture,
    .createSurface = x11CreateSurface,
    .resizeSurface = x11ResizeSurface,
    .beginFrame = x11BeginFrame,
    .present = x11Present,
    .monitors = x11Monitors,
    .systemDpi = x11SystemDpi,
    .cursor = x11CursorPosition,
    .keyDown = x11KeyDown,
    .grabHotkey = x11GrabHotkey,
    .ungrabHotkey = x11UngrabHotkey,
    .clipboard = x11Clipboard,
    .setClipboard = x11SetClipboard,
};

} // namespace vt
