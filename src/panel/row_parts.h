// What planning and drawing of rows share: formats and measures. Main thread.
#pragma once
#include "overlay/drawing/panel_look.h"
#include "panel/row_layout.h"
#include "panel/text_lines.h"

namespace vt {

inline constexpr float kRowMargin = 22, kRowGap = 12, kRowBesideGap = 8;
inline constexpr float kButtonHeight = 34, kBoxPadding = 12, kLineGap = 3;
inline constexpr float kStepIndent = 10, kStepText = 34, kColumnGap = 28;
inline constexpr float kTickSize = 18, kNumberWidth = 104, kNumberHeight = 44;
inline constexpr float kGaugeHeight = 14, kTagWidth = 40, kTagHeight = 20;

struct RowFormats {
    TextFormatRef reading, strong, fixed, large;
};
/// Made at the first use.
const RowFormats& rowFormats();
void releaseRowFormats();

/// One line of a text with where it stands in its block.
struct LinePlace {
    TextLine line;
    RectF rect; // of `text`, wrapped
    float markerX = 0;
    float valueX = 0; // of the second column
};
std::vector<LinePlace> placeLines(std::string_view text, float left, float top, float width);
float linesHeight(std::string_view text, float width);

} // namespace vt
