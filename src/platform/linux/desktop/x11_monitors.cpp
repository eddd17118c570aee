#include "platform/linux/desktop/x11_state.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace vt {

namespace {

constexpr int kDefaultDpi = 96;

/// The lines of the resource database read "name:<blank>value".
int dpiFromResources(std::string_view text) {
    constexpr std::string_view kName = "Xft.dpi:";
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(text.size(), line.size() + 1));
        if (!line.starts_with(kName)) continue;
        std::string_view value = line.substr(kName.size());
        value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
        int dpi = 0;
        std::from_chars(value.data(), value.data() + value.size(), dpi);
        if (dpi >= 48 && dpi <= 768) return dpi;
    }
    return kDefaultDpi;
}

/// The window manager tells one area for each of its desktops, over all monitors.
RectI workArea() {
    const auto areas = x11Words(x11.screen->root, x11.atoms.netWorkarea, XCB_ATOM_CARDINAL);
    const auto current = x11Words(x11.screen->root, x11.atoms.netCurrentDesktop, XCB_ATOM_CARDINAL);
    const size_t at = (current.empty() ? 0 : current[0]) * size_t{4};
    if (areas.size() < at + 4) return {};
    const auto word = [&](size_t i) { return static_cast<int>(areas[at + i]); };
    return {word(0), word(1), word(0) + word(2), word(1) + word(3)};
}

RectI rootRect() {
    const Reply<xcb_get_geometry_reply_t> g(xcb_get_geometry_reply(
        x11.connection, xcb_get_geometry(x11.connection, x11.screen->root), nullptr));
    return g ? RectI{0, 0, g->width, g->height} : RectI{};
}

bool sameMonitors(const std::vector<Monitor>& a, const std::vector<Monitor>& b) {
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [](const Monitor& x, const Monitor& y) {
            return x.rect == y.rect && x.work == y.work && x.dpi == y.dpi && x.primary == y.primary;
        });
}

} // namespace

void x11LoadDpi() {
    x11Dpi.store(dpiFromResources(x11Bytes(x11.screen->root, XCB_ATOM_RESOURCE_MANAGER)));
}

bool x11LoadMonitors() {
    std::vector<Monitor> list;
    if (x11.hasRandr) {
        const Reply<xcb_randr_get_monitors_reply_t> reply(xcb_randr_get_monitors_reply(
            x11.connection, xcb_randr_get_monitors(x11.connection, x11.screen->root, 1), nullptr));
        if (reply) {
            auto each = xcb_randr_get_monitors_monitors_iterator(reply.get());
            for (; each.rem > 0; xcb_randr_monitor_info_next(&each)) {
                const xcb_randr_monitor_info_t& m = *each.data;
                Monitor monitor;
                monitor.rect = {m.x, m.y, m.x + m.width, m.y + m.height};
                monitor.primary = m.primary;
                if (!monitor.rect.empty()) list.push_back(monitor);
            }
        }
    }
    if (list.empty()) list.push_back({rootRect(), {}, kDefaultDpi, true});
    const RectI work = workArea();
    for (Monitor& m : list) {
        m.dpi = static_cast<float>(x11Dpi.load());
        const RectI part = intersect(m.rect, work);
        m.work = part.empty() ? m.rect : part;
    }
    if (sameMonitors(list, x11.monitors)) return false;
    x11.monitors = std::move(list);
    return true;
}

std::vector<Monitor> x11Monitors() {
    return x11.monitors;
}

int x11SystemDpi() {
    return x11Dpi.load();
}

PointI x11CursorPosition() {
    if (!x11Alive()) return {};
    xcb_connection_t* c = x11Asking();
    const Reply<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, x11.screen->root), nullptr));
    return pointer ? PointI{pointer->root_x, pointer->root_y} : PointI{};
}

} // namespace vt
