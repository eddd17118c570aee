// Shaped text: what Pango makes of a text in a font, without a box around it. Equal texts share one
// shape, wherever they stand, so that a table whose cells move about is shaped only once.
#pragma once
#include "platform/text.h"

#include <cairo.h>
#include <pango/pango.h>

#include <array>
#include <string>
#include <vector>

namespace vt {

struct ShapeSpec {
    const TextFormat* format = nullptr;
    float size = 12;
    float letterSpacing = 0;
    bool wrap = false, ellipsis = false;
    float width = 0; // for these two only
};

/// The text's coverage, drawn once for a scale and a step between two pixels.
struct Mask {
    cairo_surface_t* surface = nullptr;
    double scaleX = 0, scaleY = 0;
    int phase = 0;
    TextAlign align = TextAlign::leading;
    int left = 0, top = 0; // from the block's left edge and the first baseline, in whole pixels
};

struct ShapedLine {
    PangoLayoutLine* line = nullptr; // belongs to the layout
    float top = 0, height = 0, baseline = 0;
    float width = 0, widthWithTrailing = 0;
    float inkLeft = 0, inkRight = 0; // from the line's start
};

struct Shape {
    PangoLayout* layout = nullptr;
    std::vector<ShapedLine> lines;
    TextMetrics metrics;
    float inkTop = 0, inkBottom = 0; // from the first line's top; equal when nothing shows
    bool colored = false;            // some glyphs carry their own colours
    uint64_t lastUse = 0;
    std::array<Mask, 4> masks;
    size_t nextMask = 0;

    Shape() = default;
    Shape(const Shape&) = delete;
    Shape& operator=(const Shape&) = delete;
    ~Shape();
    std::string_view text() const { return pango_layout_get_text(layout); }
};
using ShapeRef = std::shared_ptr<Shape>;

/// `text` may be broken UTF-8.
ShapeRef shapeFor(const ShapeSpec& spec, std::string_view text);
/// After a change of the fonts.
void dropShapes();

} // namespace vt
