// The first set of overlays that the demo race shows on a fresh profile: on for that run, laid out
// without overlap, and not stored unless the user changes it.
#pragma once
#include "overlay/window/overlay_window.h"

#include <array>

namespace vt {

struct DemoLayout {
    struct Place {
        bool placed = false;
        bool enabled = false;
        int x = 0, y = 0;
        float widthMul = 1, textScale = 1;
    };
    std::array<Place, kSlotCount> places{}; // what the layout set; empty where it set nothing
};

/// A place for one rectangle inside `area`, `gap` away from those taken: a corner, or beside one of
/// them. Empty when there is none.
RectI freePlace(PointI size, RectI area, const std::vector<RectI>& taken, int gap);

/// Places rectangles of these sizes (pixels) inside `area`: corner by corner, `gap` apart. An entry
/// that does not fit any more keeps an empty rectangle.
std::vector<RectI> packRectangles(const std::vector<PointI>& sizes, RectI area, int gap);

/// Switches the set on and places it in the primary monitor's work area.
DemoLayout applyDemoLayout(OverlayHost& host);

/// The settings to store: what the layout set and nobody changed goes back to `stored`.
AppConfig withoutDemoLayout(const AppConfig& config, const DemoLayout& layout,
                            const AppConfig& stored);

} // namespace vt
