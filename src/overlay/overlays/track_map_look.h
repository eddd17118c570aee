// What the two pictures of Track Map share: colours, strokes and sizes.
#pragma once
#include "overlay/overlays/track_map_overlay.h"

namespace vt {

struct MapColours {
    Color road, edge, text, dim, accent, sheet;
};
MapColours mapColours(const AppConfig& config);

const StrokeStyle& mapStroke(); // round ends and corners

/// Sizes of what stands on the map follow the window, within what can still be read: the window's
/// scale, and what dots and texts make of it.
float mapUnit(const OverlayWindow& overlay, RectF rect);
float mapDotUnit(float unit);
float mapTextUnit(float unit);

} // namespace vt
