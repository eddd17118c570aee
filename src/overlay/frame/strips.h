// The strips above and below an overlay's content.
#pragma once
#include "overlay/drawing/drawing.h"
#include "overlay/frame/fields.h"

namespace vt {

inline constexpr float kStripHeight = 26;

struct StripTexts {
    char left[kFieldTextSize] = "", center[kFieldTextSize] = "", right[kFieldTextSize] = "";
};

/// The three texts of the header or the footer.
StripTexts stripTexts(const OverlayConfig& overlay, bool header, const SimFrame& frame,
                      const FieldContext& context);

struct StripStyle {
    bool apex = false; // filled band in the theme's colour, margin 12
    float contentOpacity = 1;
    const TextFormat* format = nullptr;
};

/// Draws one strip into `rect` (26 high). `header` puts the hairline below, else above.
void drawStrip(Canvas& canvas, BrushCache& brushes, RectF rect, bool header,
               const OverlayConfig& overlay, const StripTexts& texts, const StripStyle& style);

} // namespace vt
