#include "platform/text.h"

#include "base/utf8.h"
#include "platform/linux/drawing/glyphs.h"
#include "platform/linux/drawing/parts.h"
#include "platform/linux/drawing/shapes.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>

namespace vt {

struct TextLayout {
    TextFormat format;
    float letterSpacing = 0;
    float maxWidth = 0, maxHeight = 0;
    bool wrap = false, ellipsis = false;
    TextAlign horizontal = TextAlign::leading, vertical = TextAlign::leading;
    ShapeRef shape;
};

namespace {

uint64_t layoutsMade = 0;
uint64_t lastFormatId = 0;

float usableSize(float size) {
    return std::isfinite(size) ? std::clamp(size, 0.5f, 10000.0f) : 12.0f;
}

void shapeAnew(TextLayout& t, std::string_view text) {
    const ShapeRef before = t.shape; // `text` may lie in it
    t.shape =
        shapeFor({&t.format, t.format.size, t.letterSpacing, t.wrap, t.ellipsis, t.maxWidth}, text);
}

float alignedStart(TextAlign align, float room, float used) {
    if (align == TextAlign::trailing) return room - used;
    if (align == TextAlign::center) return (room - used) / 2;
    return 0;
}

/// The block of lines is as wide as its widest one; blanks at the ends of lines do not count.
float blockLeft(const TextLayout& t) {
    return alignedStart(t.horizontal, t.maxWidth, t.shape->metrics.width);
}

float blockTop(const TextLayout& t) {
    return alignedStart(t.vertical, t.maxHeight, t.shape->metrics.height);
}

float lineLeft(const Shape& shape, TextAlign align, const ShapedLine& line) {
    return alignedStart(align, shape.metrics.width, line.width);
}

} // namespace

TextFormatRef createTextFormat(std::string_view family, float size, int weight, bool italic,
                               std::string_view locale) {
    auto format = std::make_shared<TextFormat>();
    format->id = ++lastFormatId;
    format->family = family;
    format->size = usableSize(size);
    format->weight = std::clamp(weight, 100, 1000);
    format->italic = italic;
    format->locale = locale;
    return format;
}

TextLayoutRef createTextLayout(const TextFormat& format, std::string_view text, float maxWidth,
                               float maxHeight, float letterSpacing) {
    ++layoutsMade;
    auto t = std::make_shared<TextLayout>();
    t->format = format;
    t->letterSpacing = std::isfinite(letterSpacing) ? letterSpacing : 0;
    t->maxWidth = maxWidth;
    t->maxHeight = maxHeight;
    shapeAnew(*t, text);
    return t;
}

void layoutSetFontSize(TextLayout& layout, float size) {
    layout.format.size = usableSize(size);
    shapeAnew(layout, layout.shape->text());
}

void layoutSetBox(TextLayout& layout, float maxWidth, float maxHeight) {
    const bool widthCounts = (layout.wrap || layout.ellipsis) && layout.maxWidth != maxWidth;
    layout.maxWidth = maxWidth;
    layout.maxHeight = maxHeight;
    if (widthCounts) shapeAnew(layout, layout.shape->text());
}

void layoutSetWrap(TextLayout& layout, bool wrap) {
    if (layout.wrap == wrap) return;
    layout.wrap = wrap;
    shapeAnew(layout, layout.shape->text());
}

void layoutSetEllipsis(TextLayout& layout, bool on) {
    if (layout.ellipsis == on) return;
    layout.ellipsis = on;
    shapeAnew(layout, layout.shape->text());
}

void layoutSetAlign(TextLayout& layout, TextAlign horizontal, TextAlign vertical) {
    layout.horizontal = horizontal;
    layout.vertical = vertical;
}

TextMetrics layoutMetrics(const TextLayout& layout) {
    return layout.shape->metrics;
}

size_t layoutHitTest(const TextLayout& layout, float x, float y) {
    const Shape& shape = *layout.shape;
    if (shape.lines.empty()) return 0;
    const ShapedLine* line = &shape.lines.front();
    for (const ShapedLine& l : shape.lines)
        if (y >= blockTop(layout) + l.top) line = &l;
    const float start = blockLeft(layout) + lineLeft(shape, layout.horizontal, *line);
    const double at = std::clamp(static_cast<double>(x) - start, -1e6, 1e6) * PANGO_SCALE;
    int index = 0, trailing = 0;
    pango_layout_line_x_to_index(line->line, static_cast<int>(at), &index, &trailing);
    const std::string_view text = shape.text();
    size_t offset = std::min(static_cast<size_t>(std::max(index, 0)), text.size());
    while (trailing-- > 0 && offset < text.size())
        utf8Next(text, offset);
    return offset;
}

float layoutCaretX(const TextLayout& layout, size_t byteOffset) {
    const Shape& shape = *layout.shape;
    if (shape.lines.empty()) return 0;
    const ShapedLine* line = &shape.lines.front();
    for (const ShapedLine& l : shape.lines)
        if (byteOffset >= static_cast<size_t>(l.line->start_index)) line = &l;
    const size_t end = static_cast<size_t>(line->line->start_index + line->line->length);
    int x = 0;
    pango_layout_line_index_to_x(line->line, static_cast<int>(std::min(byteOffset, end)), FALSE,
                                 &x);
    return blockLeft(layout) + lineLeft(shape, layout.horizontal, *line) +
           static_cast<float>(x) / PANGO_SCALE;
}

uint64_t textLayoutsMade() {
    return layoutsMade;
}

// ---- drawing -----------------------------------------------------------------------------------

namespace {

constexpr double kPhases = kGlyphPhases;
constexpr double kMaxMaskPixels = 512 * 512;
constexpr double kFarAway = 1e6; // pixels; nothing there can be seen

/// Adds the outlines of all lines, the block's left end of the first baseline at the origin.
void appendOutlines(cairo_t* cr, const Shape& shape, TextAlign align) {
    for (const ShapedLine& line : shape.lines) {
        cairo_move_to(cr, lineLeft(shape, align, line), line.baseline - shape.metrics.baseline);
        pango_cairo_layout_line_path(cr, line.line);
    }
}

/// What the glyphs cover, from the block's top left corner.
RectF inkOf(const Shape& shape, TextAlign align) {
    RectF ink{INFINITY, shape.inkTop, -INFINITY, shape.inkBottom};
    for (const ShapedLine& line : shape.lines) {
        if (line.inkRight <= line.inkLeft) continue;
        const float left = lineLeft(shape, align, line);
        ink.left = std::min(ink.left, left + line.inkLeft);
        ink.right = std::max(ink.right, left + line.inkRight);
    }
    return ink;
}

bool fillOutlines(cairo_surface_t* surface, const Shape& shape, const Mask& wanted, double left,
                  double top) {
    cairo_t* cr = cairo_create(surface);
    cairo_translate(cr, -left + wanted.phase / kPhases, -top);
    cairo_scale(cr, wanted.scaleX, wanted.scaleY);
    appendOutlines(cr, shape, wanted.align);
    cairo_fill(cr);
    const bool good = cairo_status(cr) == CAIRO_STATUS_SUCCESS;
    cairo_destroy(cr);
    return good;
}

const Mask* makeMask(Shape& shape, const Mask& wanted) {
    const RectF ink = inkOf(shape, wanted.align);
    const float first = shape.metrics.baseline;
    const double left = std::floor(ink.left * wanted.scaleX) - 1;
    const double right = std::ceil(ink.right * wanted.scaleX) + 2;
    const double top = std::floor((ink.top - first) * wanted.scaleY) - 1;
    const double bottom = std::ceil((ink.bottom - first) * wanted.scaleY) + 1;
    const double width = right - left, height = bottom - top;
    if (!(width > 0 && height > 0 && width * height <= kMaxMaskPixels)) return nullptr;
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_A8, static_cast<int>(width),
                                                          static_cast<int>(height));
    const bool fromGlyphs = shape.lines.size() == 1 &&
                            cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS &&
                            addLineGlyphs(surface, shape.lines.front().line,
                                          static_cast<int>(-left) * kGlyphPhases + wanted.phase,
                                          static_cast<int>(-top), wanted.scaleX, wanted.scaleY);
    if (!fromGlyphs && !fillOutlines(surface, shape, wanted, left, top)) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    Mask& mask = shape.masks[shape.nextMask];
    shape.nextMask = (shape.nextMask + 1) % shape.masks.size();
    if (mask.surface) cairo_surface_destroy(mask.surface);
    mask = wanted;
    mask.surface = surface;
    mask.left = static_cast<int>(left);
    mask.top = static_cast<int>(top);
    return &mask;
}

const Mask* maskFor(Shape& shape, double scaleX, double scaleY, int phase, TextAlign align) {
    if (shape.lines.size() == 1) align = TextAlign::leading; // one line makes no difference
    for (const Mask& mask : shape.masks)
        if (mask.surface && mask.phase == phase && mask.scaleX == scaleX && mask.scaleY == scaleY &&
            mask.align == align)
            return &mask;
    Mask wanted;
    wanted.scaleX = scaleX;
    wanted.scaleY = scaleY;
    wanted.phase = phase;
    wanted.align = align;
    return makeMask(shape, wanted);
}

/// Text of a plain scale: the kept coverage goes onto whole pixels, the baseline snapped to one.
/// False when it must be drawn in another way.
bool drawMask(cairo_t* cr, const DirectTarget& direct, const cairo_matrix_t& m, const TextLayout& t,
              PointF baseline, const Brush& brush) {
    if (m.xy != 0 || m.yx != 0 || m.xx <= 0 || m.yy <= 0) return false;
    const double x = m.xx * baseline.x + m.x0;
    const double y = std::floor(m.yy * baseline.y + m.y0 + 0.5);
    if (std::abs(x) > kFarAway || std::abs(y) > kFarAway) return false;
    const double steps = std::floor(x * kPhases + 0.5);
    const double whole = std::floor(steps / kPhases);
    const int phase = static_cast<int>(steps - whole * kPhases);
    const Mask* mask = maskFor(*t.shape, m.xx, m.yy, phase, t.horizontal);
    if (!mask) return false;
    const int left = static_cast<int>(whole) + mask->left, top = static_cast<int>(y) + mask->top;
    if (blitMask(direct, mask->surface, left, top, brush)) return true;
    if (!useBrush(cr, &brush)) return true;
    cairo_identity_matrix(cr);
    cairo_mask_surface(cr, mask->surface, left, top);
    cairo_set_matrix(cr, &m);
    return true;
}

void drawColored(cairo_t* cr, const TextLayout& t, PointF baseline) {
    for (const ShapedLine& line : t.shape->lines) {
        cairo_move_to(cr, baseline.x + lineLeft(*t.shape, t.horizontal, line),
                      baseline.y + line.baseline - t.shape->metrics.baseline);
        pango_cairo_show_layout_line(cr, line.line);
    }
    cairo_new_path(cr);
}

void drawOutlines(cairo_t* cr, const cairo_matrix_t& m, const TextLayout& t, PointF baseline) {
    cairo_translate(cr, baseline.x, baseline.y);
    appendOutlines(cr, *t.shape, t.horizontal);
    cairo_set_matrix(cr, &m);
    cairo_fill(cr);
}

bool inkInsideBox(const TextLayout& t) {
    const RectF ink = inkOf(*t.shape, t.horizontal);
    const float x = blockLeft(t), y = blockTop(t);
    // The baseline may move by up to a pixel.
    return x + ink.left >= 0 && y + ink.top >= 1 && x + ink.right <= t.maxWidth &&
           y + ink.bottom <= t.maxHeight - 1;
}

} // namespace

void drawLayoutOn(cairo_t* cr, const DirectTarget& direct, const TextLayout& layout, PointF origin,
                  const Brush& brush, bool clip) {
    const Shape& shape = *layout.shape;
    if (shape.inkBottom <= shape.inkTop || (!brush.gradient && brush.a <= 0)) return;
    clip = clip && !inkInsideBox(layout);
    if (clip) {
        cairo_save(cr);
        cairo_rectangle(cr, origin.x, origin.y, layout.maxWidth, layout.maxHeight);
        cairo_clip(cr);
    }
    cairo_matrix_t m;
    cairo_get_matrix(cr, &m);
    const PointF baseline{origin.x + blockLeft(layout),
                          origin.y + blockTop(layout) + shape.metrics.baseline};
    if (shape.colored ||
        !drawMask(cr, clip ? DirectTarget{} : direct, m, layout, baseline, brush)) {
        useBrush(cr, &brush);
        if (shape.colored)
            drawColored(cr, layout, baseline);
        else
            drawOutlines(cr, m, layout, baseline);
    }
    if (clip) cairo_restore(cr);
}

} // namespace vt
