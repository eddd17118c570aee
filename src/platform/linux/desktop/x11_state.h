// The X11 desktop's own state. Only the files of this folder include it. Main thread only, but for
// `dpi`.
#pragma once
#include "platform/shared/backend.h"

#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xcb_cursor.h>
#include <xcb/xcb_keysyms.h>
#include <xcb/xfixes.h>

#include <atomic>
#include <cstdlib>
#include <deque>
#include <memory>
#include <unordered_map>

namespace vt {

/// What xcb hands out is freed by `free`.
struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, FreeReply>;
using XEvent = Reply<xcb_generic_event_t>;

inline uint8_t eventType(const xcb_generic_event_t& event) {
    return event.response_type & 0x7f; // the top bit marks events that a client sent
}

struct Atoms {
    xcb_atom_t wmProtocols, wmDeleteWindow, wmState, utf8String, netWmName, netWmPid, netWmPing,
        netWmState, netWmStateAbove, netWmStateModal, netWmUserTime, netWmWindowType, typeNormal,
        typeDialog, typeNotification, netActiveWindow, netWorkarea, netCurrentDesktop,
        netSupportingWmCheck, netBypassCompositor, motifWmHints, clipboard, targets, text,
        textPlain, selectionData;
};

/// A segment that the display server reads, or plain memory when it cannot be shared.
struct ShmSegment;

struct X11Surface {
    WindowId window = 0;
    std::shared_ptr<ShmSegment> segment; // null: plain puts
    BitmapRef bitmap;
    int inFlight = 0; // puts whose completion has not come
    bool waitable = false;
    bool presented = false; // there is something to repaint
    bool fenced = false;    // plain puts: `fence` tells when they went through
    xcb_get_input_focus_cookie_t fence{};
};

struct X11Window {
    xcb_window_t handle = 0;
    uint8_t depth = 24;
    bool overrideRedirect = false;
    uint32_t lastConfigure = 0; // sequence of our last request that moved it
    std::weak_ptr<X11Surface> surface;
};

struct KeyRelease {
    xcb_keycode_t code = 0;
    xcb_timestamp_t time = 0;
};

struct X11 {
    xcb_connection_t* connection = nullptr;
    xcb_connection_t* asking = nullptr; // see `x11Asking`
    xcb_screen_t* screen = nullptr;
    uint32_t generation = 0; // of connections, so that leftovers know theirs is gone
    int screenNumber = 0;
    bool lost = false;
    Atoms atoms{};
    bool hasShm = false, hasRandr = false, hasXfixes = false;
    bool hasWindowManager = false;
    uint8_t shmEvent = 0, shmOpcode = 0, randrEvent = 0;
    xcb_visualid_t alphaVisual = 0;
    xcb_colormap_t alphaColormap = 0;
    xcb_gcontext_t plainGc = 0, alphaGc = 0;
    xcb_window_t helper = 0;      // never shown: owns the clipboard
    xcb_timestamp_t lastTime = 0; // of the last thing the user did

    std::deque<XEvent> events; // read, not yet handled
    std::unordered_map<xcb_window_t, WindowId> windows;
    std::vector<std::weak_ptr<X11Surface>> surfaces;

    xcb_key_symbols_t* keySymbols = nullptr;
    uint16_t numLockMask = 0, levelThreeMask = 0;
    std::vector<std::pair<uint32_t, uint32_t>> hotkeys; // modifiers, virtual key
    KeyRelease lastHotkeyRelease;

    xcb_cursor_context_t* cursorContext = nullptr;
    xcb_cursor_t cursors[7] = {};

    std::vector<Monitor> monitors;
    bool monitorsDirty = false;
    std::string clipboard;
};

extern X11 x11;
extern std::atomic<int> x11Dpi; // any thread

X11Window& x11Part(WindowRecord& window);
/// The window that has this handle; null for foreign ones.
WindowRef x11Find(xcb_window_t handle);

// ---- connection
bool x11Start();
void x11Stop();
/// Marks the connection as gone when it is. True while it can be used.
bool x11Alive();
/// A second connection for questions that come up at any time. On the first one an answer waits
/// behind all events before it, so that a flood of them would hold up the loop.
xcb_connection_t* x11Asking();
/// Property of a window as 32-bit words or bytes; empty when absent.
std::vector<uint32_t> x11Words(xcb_window_t window, xcb_atom_t property, xcb_atom_t type);
std::string x11Bytes(xcb_window_t window, xcb_atom_t property, uint32_t limit = 1u << 20);
void x11SetWords(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                 const std::vector<uint32_t>& words);
void x11SetBytes(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                 const std::string& text);
void x11TellRoot(xcb_window_t window, xcb_atom_t type, const std::vector<uint32_t>& data);
void x11CheckWindowManager();

// ---- events
bool x11EventsWaiting();
void x11TakeEvents();
/// Moves what has arrived into the queue; completions of puts are handled at once.
void x11ReadAhead();

// ---- windows
bool x11CreateWindow(WindowRecord& window);
void x11DestroyWindow(WindowRecord& window);
void x11ApplyVisible(WindowRecord& window);
void x11ApplyRect(WindowRecord& window);
void x11ApplyTitle(WindowRecord& window);
void x11ApplyTopmost(WindowRecord& window);
void x11ApplyRegion(WindowRecord& window);
void x11ApplyCursor(WindowRecord& window);
void x11Raise(WindowRecord& window);
void x11ApplyCapture(WindowRecord* holder);
xcb_cursor_t x11Cursor(CursorShape shape);
void x11FocusWithoutManager(const WindowRef& window);

// ---- stacking of the windows that stay above
void x11StackAdd(const WindowRecord& window);
void x11StackRemove(WindowId window);
void x11StackToTop(WindowId window);
/// Something on the screen moved: look, soon, whether a foreign window came to lie above.
void x11StackDisturbed();
void x11StackForget();

// ---- surfaces
bool x11CreateSurface(WindowRecord& window, Surface& surface);
bool x11ResizeSurface(Surface& surface, int width, int height);
bool x11BeginFrame(Surface& surface);
DrawResult x11Present(WindowRecord& window, Surface& surface);
void x11PutCompleted(uint32_t segment);
void x11PutsFailed();
/// Repaints a part from the picture. False when there is none yet.
bool x11Repaint(X11Window& window, RectI area);

// ---- keys
void x11LoadKeys();
uint32_t x11VirtualKey(xcb_keycode_t code, uint16_t state);
uint32_t x11Character(xcb_keycode_t code, uint16_t state);
uint32_t x11Modifiers(uint16_t state);
bool x11KeyDown(uint32_t virtualKey);
bool x11GrabHotkey(uint32_t modifiers, uint32_t virtualKey);
void x11UngrabHotkey(uint32_t modifiers, uint32_t virtualKey);
void x11HotkeyEvent(const xcb_key_press_event_t& event, bool press);

// ---- monitors and the clipboard
void x11LoadDpi();
/// True when something changed.
bool x11LoadMonitors();
std::vector<Monitor> x11Monitors();
int x11SystemDpi();
PointI x11CursorPosition();
std::string x11Clipboard();
void x11SetClipboard(const std::string& text);
void x11AnswerSelection(const xcb_selection_request_event_t& request);

} // namespace vt
