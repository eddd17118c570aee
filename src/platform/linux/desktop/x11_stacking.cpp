// Keeps overlays above other windows. X11 has no such layer for windows that no window manager
// looks after, so we look when something moved, and raise ours when a foreign window came to lie
// above. Two programs that both want the top would go on for ever; so each restacking in a row
// doubles the time to the next one.
#include "platform/clock.h"
#include "platform/linux/desktop/x11_state.h"

#include <algorithm>

namespace vt {

namespace {

constexpr int kFirstLookMs = 10; // lets a burst of changes pass
constexpr int kPauseMs = 500;
constexpr int kLongestPauseMs = 32'000;
constexpr uint64_t kCalmMs = 10'000; // without a rival for this long, we are quick again

struct Stack {
    std::vector<WindowId> order;        // bottom to top
    std::vector<xcb_window_t> unbeaten; // foreign windows that cannot be covered
    WindowId timerWindow = 0;
    bool waiting = false;
    uint64_t lastLook = 0, lastRestack = 0;
    int pauseMs = kPauseMs;
};

Stack stack;

uint64_t nowMs() {
    static const Clock clock;
    return clockMs(clock);
}

struct Foreign {
    xcb_window_t window = 0;
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    std::vector<RectI> beneath; // our windows below it
};

WindowRef ownTopmost(xcb_window_t handle) {
    const WindowRef window = x11Find(handle);
    return window && window->topmost && x11Part(*window).overrideRedirect ? window : nullptr;
}

/// Foreign windows that cover a part of ours.
std::vector<xcb_window_t> windowsAbove() {
    xcb_connection_t* c = x11Asking();
    const Reply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(c, xcb_query_tree(c, x11.screen->root), nullptr));
    if (!tree) return {};
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    std::erase_if(stack.unbeaten, [&](xcb_window_t window) {
        return std::find(children, children + count, window) == children + count;
    });

    std::vector<RectI> ours;
    std::vector<Foreign> foreign;
    for (int i = 0; i < count; ++i) {
        if (const WindowRef own = ownTopmost(children[i])) {
            if (own->visible) ours.push_back(own->rect);
        } else if (!ours.empty() && children[i] != x11.helper) {
            foreign.push_back({children[i], xcb_get_window_attributes(c, children[i]),
                               xcb_get_geometry(c, children[i]), ours});
        }
    }
    std::vector<xcb_window_t> above;
    for (const Foreign& f : foreign) {
        const Reply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(c, f.attributes, nullptr));
        const Reply<xcb_get_geometry_reply_t> g(xcb_get_geometry_reply(c, f.geometry, nullptr));
        if (!attributes || !g || attributes->map_state != XCB_MAP_STATE_VIEWABLE ||
            attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)
            continue;
        const int border = 2 * g->border_width;
        const RectI rect{g->x, g->y, g->x + g->width + border, g->y + g->height + border};
        const bool covers = std::any_of(f.beneath.begin(), f.beneath.end(), [&](const RectI& own) {
            return !intersect(own, rect).empty();
        });
        if (covers) above.push_back(f.window);
    }
    return above;
}

void restack() {
    xcb_connection_t* c = x11Asking(); // so that the next question sees the new order
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    for (const WindowId id : stack.order)
        if (const WindowRef window = findWindow(id))
            xcb_configure_window(c, x11Part(*window).handle, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_flush(c);
}

void look() {
    stack.waiting = false;
    stopTimer(stack.timerWindow, 1);
    if (!x11Alive()) return;
    stack.lastLook = nowMs();
    std::vector<xcb_window_t> above = windowsAbove();
    std::erase_if(above, [](xcb_window_t window) {
        return std::find(stack.unbeaten.begin(), stack.unbeaten.end(), window) !=
               stack.unbeaten.end();
    });
    const bool calm = stack.lastLook - stack.lastRestack > kCalmMs;
    if (above.empty()) return;
    if (calm) stack.pauseMs = kPauseMs;
    restack();
    // What is still above is there for good: the compositor's own window, for one.
    for (const xcb_window_t window : windowsAbove())
        if (std::find(stack.unbeaten.begin(), stack.unbeaten.end(), window) == stack.unbeaten.end())
            stack.unbeaten.push_back(window);
    if (!calm) stack.pauseMs = std::min(stack.pauseMs * 2, kLongestPauseMs);
    stack.lastRestack = stack.lastLook;
}

} // namespace

void x11StackDisturbed() {
    if (stack.waiting || stack.order.empty() || !x11Alive()) return;
    const bool anyVisible = std::any_of(stack.order.begin(), stack.order.end(),
                                        [](WindowId id) { return windowVisible(id); });
    if (!anyVisible) return;
    if (!findWindow(stack.timerWindow)) {
        WindowSpec spec;
        spec.kind = WindowKind::message;
        stack.timerWindow = createWindow(spec, [](const WindowEvent& event) {
            if (event.kind == EventKind::timer) look();
            return true;
        });
    }
    const uint64_t since = nowMs() - stack.lastLook;
    const auto pause = static_cast<uint64_t>(stack.pauseMs);
    const int wait =
        since >= pause ? kFirstLookMs : std::max(kFirstLookMs, static_cast<int>(pause - since));
    stack.waiting = true;
    startTimer(stack.timerWindow, 1, wait);
}

void x11StackAdd(const WindowRecord& window) {
    x11StackRemove(window.id);
    stack.order.push_back(window.id);
    x11StackDisturbed();
}

void x11StackRemove(WindowId window) {
    std::erase(stack.order, window);
}

void x11StackToTop(WindowId window) {
    const auto found = std::find(stack.order.begin(), stack.order.end(), window);
    if (found == stack.order.end()) return;
    std::rotate(found, found + 1, stack.order.end());
    restack();
}

void x11StackForget() {
    stack = {};
}

} // namespace vt
