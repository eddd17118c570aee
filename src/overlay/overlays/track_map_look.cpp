#include "overlay/overlays/track_map_look.h"

#include "overlay/frame/theme.h"

#include <algorithm>

namespace vt {

MapColours mapColours(const AppConfig& config) {
    if (config.trackmap.tmStyle == 1) {
        const OverlayTheme& theme = themePalette();
        return {theme.text,    {0, 0, 0, 0.7f}, theme.text,
                theme.textDim, theme.accent,    theme.panelTop};
    }
    return {{0.93f, 0.94f, 0.95f, 1},
            {0, 0, 0, 0.6f},
            kTextColour,
            fade(kTextColour, 0.65f),
            accentColour(config.accentTheme),
            colourFromRgb(config.overlayBgColor)};
}

const StrokeStyle& mapStroke() {
    static const StrokeStyle style{LineCap::round, LineJoin::round, {}, 0};
    return style;
}

float mapUnit(const OverlayWindow& overlay, RectF rect) {
    return std::min(rect.width() / static_cast<float>(std::max(overlay.baseWidth, 1)),
                    rect.height() / static_cast<float>(std::max(overlay.baseHeight, 1)));
}
float mapDotUnit(float unit) {
    return std::clamp(unit, 0.4f, 1.6f);
}
float mapTextUnit(float unit) {
    return std::clamp(unit, 0.6f, 1.6f);
}

} // namespace vt
