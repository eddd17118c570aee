// The program's own window: whether a sim is there, which overlays are on, and the way into arrange
// mode, the demo race and out of the program. It owns the tick's message. Main thread.
#pragma once
#include "overlay/drawing/drawing.h"
#include "overlay/window/overlay_window.h"
#include "platform/window.h"

#include <functional>
#include <string>
#include <vector>

namespace vt {

/// What the window shows; compared to tell whether it must be drawn anew.
struct HostView {
    struct Row {
        int slot = -1;
        std::string name;
        bool on = false;
        bool operator==(const Row&) const = default;
    };
    std::string status; // "iRacing connected"
    bool live = false;  // a sim or the demo race
    bool demo = false;
    bool arranging = false;
    bool saveFailed = false; // the settings
    bool lapsFailed = false; // the newest stint
    std::string hint;        // the shortcuts
    std::vector<Row> rows;
    bool operator==(const HostView&) const = default;
};

struct HostActions {
    std::function<void(int slot)> toggleOverlay;
    std::function<void()> toggleDemo;
    std::function<void()> toggleArrange;
    std::function<void()> openImport;
    std::function<void()> quit;
    std::function<void()> tick; // a tick's message arrived
};

/// Where things are, in design units; a pure function of the number of rows.
struct HostPlan {
    float width = 0, height = 0;
    RectF title, status, demo, arrange, import, hint;
    std::vector<RectF> rows;
};
HostPlan hostPlan(size_t rowCount);
/// Index of the row under the point; -2 the demo button, -3 the arrange button, -4 the
/// import button, -1 nothing.
int hostHit(const HostPlan& plan, float x, float y);
void drawHost(Canvas& canvas, const HostPlan& plan, const HostView& view, int hover);

struct HostWindow {
    WindowId window = 0;
    HostActions actions;
    HostView view;
    HostPlan plan;
    SurfaceRef surface;
    int accent = 0; // of the settings
    int hover = -1;
    bool drawn = false;
};

inline constexpr const char* kHostClass = "VTOverlayControlPanel";
inline constexpr const char* kHostTitle = "VT Overlays";

/// In the middle of the primary monitor, or where none of `keepClear` (pixels) covers it. False
/// when no window can be made.
bool createHostWindow(HostWindow& host, size_t rowCount, bool visible,
                      const std::vector<RectI>& keepClear);
void destroyHostWindow(HostWindow& host);
/// Draws when `view` differs from what is shown.
void updateHostWindow(HostWindow& host, HostView view);
/// To the front, with the focus.
void showHostWindow(HostWindow& host);

} // namespace vt
