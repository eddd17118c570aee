#include "platform/text.h"

#include "base/utf8.h"
#include "platform/linux/drawing/fonts.h"
#include "platform/linux/drawing/parts.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-font.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace vt {

namespace {

constexpr float kMaxBox = 1e6f; // Pango counts in 1/1024 units of 32 bits
constexpr double kPhases = 4;   // steps between two pixels at which glyphs are drawn
constexpr int kMaxMaskPixels = 512 * 512;

/// The text's coverage, drawn once for a scale and a step between two pixels.
struct Mask {
    cairo_surface_t* surface = nullptr;
    double scaleX = 0, scaleY = 0;
    int phase = 0;
    int left = 0, top = 0; // from the origin's whole pixel and the first baseline
    RectF ink;             // in design units, from the layout's origin
};

struct Line {
    PangoLayoutLine* line = nullptr; // belongs to the layout
    float top = 0, height = 0, baseline = 0;
    float width = 0, widthWithTrailing = 0;
    float x = 0; // of its start, in the box
};

float units(int pango) {
    return static_cast<float>(pango) / PANGO_SCALE;
}

int pangoUnits(float value) {
    return static_cast<int>(std::lround(std::clamp(value, 0.0f, kMaxBox) * PANGO_SCALE));
}

} // namespace

struct TextLayout {
    PangoLayout* layout = nullptr;
    PangoFontDescription* font = nullptr;
    float maxWidth = 0, maxHeight = 0;
    bool wrap = false, ellipsis = false;
    TextAlign horizontal = TextAlign::leading, vertical = TextAlign::leading;

    // Worked out when first asked for, dropped by every change.
    bool resolved = false;
    std::vector<Line> lines;
    TextMetrics metrics;
    float top = 0;        // of the first line, in the box
    RectF ink;            // what the glyphs cover, in the box
    bool colored = false; // some glyphs carry their own colours
    std::array<Mask, 4> masks;
    size_t nextMask = 0;

    TextLayout() = default;
    TextLayout(const TextLayout&) = delete;
    TextLayout& operator=(const TextLayout&) = delete;
    ~TextLayout() {
        dropMasks();
        if (layout) g_object_unref(layout);
        if (font) pango_font_description_free(font);
    }
    void dropMasks() {
        for (Mask& mask : masks) {
            if (mask.surface) cairo_surface_destroy(mask.surface);
            mask = {};
        }
    }
    void changed() {
        resolved = false;
        dropMasks();
    }
};

namespace {

uint64_t layoutsMade = 0;
uint64_t lastFormatId = 0;

PangoContext* sharedContext() {
    static PangoContext* context = nullptr;
    static PangoFontMap* madeFor = nullptr;
    PangoFontMap* map = programFontMap();
    if (context && madeFor == map) return context;
    if (context) g_object_unref(context);
    context = pango_font_map_create_context(map); // keeps the map alive, so that no later one can
    madeFor = map;                                // come to lie at its address
    cairo_font_options_t* options = cairo_font_options_create();
    // Targets have alpha, so no colour fringes; unhinted widths, so that scaled text keeps its
    // proportions.
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    pango_cairo_context_set_font_options(context, options);
    cairo_font_options_destroy(options);
    pango_context_set_round_glyph_positions(context, FALSE);
    pango_context_set_base_dir(context, PANGO_DIRECTION_LTR);
    return context;
}

bool inJapaneseRange(uint32_t c) {
    return (c >= 0x3000 && c <= 0x30FF) || // punctuation, hiragana, katakana
           (c >= 0x31F0 && c <= 0x31FF) || (c >= 0x3400 && c <= 0x4DBF) ||
           (c >= 0x4E00 && c <= 0x9FFF) || (c >= 0xFF00 && c <= 0xFFEF);
}

void addAttribute(PangoAttrList* list, PangoAttribute* attribute, size_t from, size_t to) {
    attribute->start_index = static_cast<guint>(from);
    attribute->end_index = static_cast<guint>(to);
    pango_attr_list_insert(list, attribute);
}

void addJapaneseRuns(PangoAttrList* list, std::string_view text) {
    if (!japaneseFontShipped()) return;
    for (size_t pos = 0; pos < text.size();) {
        const size_t start = pos;
        if (!inJapaneseRange(utf8Next(text, pos))) continue;
        size_t end = pos;
        while (pos < text.size() && inJapaneseRange(utf8Next(text, pos)))
            end = pos;
        addAttribute(list, pango_attr_family_new("Noto Sans JP"), start, end);
    }
}

bool lineHasColor(PangoLayoutLine* line) {
    for (GSList* run = line->runs; run; run = run->next) {
        PangoFont* font = static_cast<PangoLayoutRun*>(run->data)->item->analysis.font;
        if (!PANGO_IS_FC_FONT(font)) continue;
        FcBool color = FcFalse;
        FcPattern* pattern = pango_fc_font_get_pattern(PANGO_FC_FONT(font));
        if (pattern && FcPatternGetBool(pattern, FC_COLOR, 0, &color) == FcResultMatch && color)
            return true;
    }
    return false;
}

/// x behind the last character that is no blank.
float widthWithoutTrailing(PangoLayoutLine* line, const char* text, float whole) {
    int end = line->start_index + line->length;
    while (end > line->start_index && (text[end - 1] == ' ' || text[end - 1] == '\t'))
        --end;
    if (end == line->start_index + line->length) return whole;
    int x = 0;
    pango_layout_line_index_to_x(line, end, FALSE, &x);
    return units(x);
}

float alignedStart(TextAlign align, float room, float used) {
    if (align == TextAlign::trailing) return room - used;
    if (align == TextAlign::center) return (room - used) / 2;
    return 0;
}

void addInk(RectF& ink, const PangoRectangle& r, float x, float baseline) {
    if (r.width <= 0 || r.height <= 0) return;
    const RectF line{x + units(r.x), baseline + units(r.y), x + units(r.x + r.width),
                     baseline + units(r.y + r.height)};
    if (ink.right <= ink.left) {
        ink = line;
        return;
    }
    ink = {std::min(ink.left, line.left), std::min(ink.top, line.top),
           std::max(ink.right, line.right), std::max(ink.bottom, line.bottom)};
}

void resolve(TextLayout& t) {
    if (t.resolved) return;
    t.resolved = true;
    t.lines.clear();
    t.metrics = {};
    t.ink = {};
    t.colored = false;
    const char* text = pango_layout_get_text(t.layout);
    float y = 0;
    for (GSList* l = pango_layout_get_lines_readonly(t.layout); l; l = l->next) {
        Line line;
        line.line = static_cast<PangoLayoutLine*>(l->data);
        PangoRectangle logical;
        pango_layout_line_get_extents(line.line, nullptr, &logical);
        line.top = y;
        line.height = units(logical.height);
        line.baseline = y - units(logical.y);
        line.widthWithTrailing = units(logical.width);
        line.width = widthWithoutTrailing(line.line, text, line.widthWithTrailing);
        y += line.height;
        t.colored = t.colored || lineHasColor(line.line);
        t.metrics.width = std::max(t.metrics.width, line.width);
        t.metrics.widthWithTrailing = std::max(t.metrics.widthWithTrailing, line.widthWithTrailing);
        t.lines.push_back(line);
    }
    t.metrics.height = y;
    t.metrics.lineCount = static_cast<int>(t.lines.size());
    if (!t.lines.empty()) t.metrics.baseline = t.lines.front().baseline;
    t.top = alignedStart(t.vertical, t.maxHeight, y);
    for (Line& line : t.lines) {
        line.x = alignedStart(t.horizontal, t.maxWidth, line.width);
        PangoRectangle ink;
        pango_layout_line_get_extents(line.line, &ink, nullptr);
        addInk(t.ink, ink, line.x, t.top + line.baseline);
    }
}

void applyBox(TextLayout& t) {
    pango_layout_set_width(t.layout, t.wrap || t.ellipsis ? pangoUnits(t.maxWidth) : -1);
    pango_layout_set_wrap(t.layout, PANGO_WRAP_WORD_CHAR);
    pango_layout_set_ellipsize(t.layout, t.ellipsis ? PANGO_ELLIPSIZE_END : PANGO_ELLIPSIZE_NONE);
    t.changed();
}

} // namespace

TextFormatRef createTextFormat(std::string_view family, float size, int weight, bool italic,
                               std::string_view locale) {
    auto format = std::make_shared<TextFormat>();
    format->id = ++lastFormatId;
    format->family = family;
    format->size = std::isfinite(size) ? std::clamp(size, 0.5f, 10000.0f) : 12.0f;
    format->weight = std::clamp(weight, 100, 1000);
    format->italic = italic;
    format->locale = locale;
    return format;
}

TextLayoutRef createTextLayout(const TextFormat& format, std::string_view given, float maxWidth,
                               float maxHeight, float letterSpacing) {
    ++layoutsMade;
    std::string repaired;
    std::string_view text = given;
    if (!utf8Valid(text) || text.find('\0') != std::string_view::npos) {
        repaired = utf8Repaired(text);
        for (size_t at; (at = repaired.find('\0')) != std::string::npos;)
            repaired.replace(at, 1, "\xEF\xBF\xBD");
        text = repaired;
    }
    auto t = std::make_shared<TextLayout>();
    t->layout = pango_layout_new(sharedContext());
    t->font = pango_font_description_new();
    pango_font_description_set_family(t->font, format.family.c_str());
    pango_font_description_set_weight(t->font, static_cast<PangoWeight>(format.weight));
    pango_font_description_set_style(t->font,
                                     format.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
    pango_font_description_set_absolute_size(t->font, format.size * PANGO_SCALE);
    pango_layout_set_font_description(t->layout, t->font);
    PangoAttrList* attributes = pango_attr_list_new();
    addAttribute(attributes,
                 pango_attr_language_new(pango_language_from_string(format.locale.c_str())), 0,
                 text.size());
    if (letterSpacing != 0 && std::isfinite(letterSpacing))
        addAttribute(attributes,
                     pango_attr_letter_spacing_new(
                         static_cast<int>(std::lround(letterSpacing * PANGO_SCALE))),
                     0, text.size());
    addJapaneseRuns(attributes, text);
    pango_layout_set_attributes(t->layout, attributes);
    pango_attr_list_unref(attributes);
    pango_layout_set_text(t->layout, text.data(), static_cast<int>(text.size()));
    t->maxWidth = maxWidth;
    t->maxHeight = maxHeight;
    applyBox(*t);
    return t;
}

void layoutSetFontSize(TextLayout& layout, float size) {
    if (!std::isfinite(size)) return;
    pango_font_description_set_absolute_size(layout.font,
                                             std::clamp(size, 0.5f, 10000.0f) * PANGO_SCALE);
    pango_layout_set_font_description(layout.layout, layout.font);
    layout.changed();
}

void layoutSetBox(TextLayout& layout, float maxWidth, float maxHeight) {
    if (layout.maxWidth == maxWidth && layout.maxHeight == maxHeight) return;
    layout.maxWidth = maxWidth;
    layout.maxHeight = maxHeight;
    applyBox(layout);
}

void layoutSetWrap(TextLayout& layout, bool wrap) {
    if (layout.wrap == wrap) return;
    layout.wrap = wrap;
    applyBox(layout);
}

void layoutSetEllipsis(TextLayout& layout, bool on) {
    if (layout.ellipsis == on) return;
    layout.ellipsis = on;
    applyBox(layout);
}

void layoutSetAlign(TextLayout& layout, TextAlign horizontal, TextAlign vertical) {
    if (layout.horizontal == horizontal && layout.vertical == vertical) return;
    layout.horizontal = horizontal;
    layout.vertical = vertical;
    layout.changed();
}

TextMetrics layoutMetrics(const TextLayout& layout) {
    // Working out is no change that anybody could see; everything here is one thread's.
    TextLayout& t = const_cast<TextLayout&>(layout);
    resolve(t);
    return t.metrics;
}

size_t layoutHitTest(const TextLayout& layout, float x, float y) {
    TextLayout& t = const_cast<TextLayout&>(layout);
    resolve(t);
    if (t.lines.empty()) return 0;
    const Line* line = &t.lines.front();
    for (const Line& l : t.lines)
        if (y >= t.top + l.top) line = &l;
    int index = 0, trailing = 0;
    const double at = std::clamp(static_cast<double>(x) - line->x, -1e6, 1e6) * PANGO_SCALE;
    pango_layout_line_x_to_index(line->line, static_cast<int>(at), &index, &trailing);
    const std::string_view text = pango_layout_get_text(t.layout);
    size_t offset = static_cast<size_t>(std::max(index, 0));
    while (trailing-- > 0 && offset < text.size())
        utf8Next(text, offset);
    return std::min(offset, text.size());
}

float layoutCaretX(const TextLayout& layout, size_t byteOffset) {
    TextLayout& t = const_cast<TextLayout&>(layout);
    resolve(t);
    if (t.lines.empty()) return 0;
    const Line* line = &t.lines.front();
    for (const Line& l : t.lines)
        if (byteOffset >= static_cast<size_t>(l.line->start_index)) line = &l;
    const size_t end = static_cast<size_t>(line->line->start_index + line->line->length);
    int x = 0;
    pango_layout_line_index_to_x(line->line, static_cast<int>(std::min(byteOffset, end)), FALSE,
                                 &x);
    return line->x + units(x);
}

uint64_t textLayoutsMade() {
    return layoutsMade;
}

// ---- drawing -----------------------------------------------------------------------------------

namespace {

/// Adds the outlines of all lines, the first baseline at the present origin.
void appendOutlines(cairo_t* cr, const TextLayout& t) {
    const float first = t.lines.front().baseline;
    for (const Line& line : t.lines) {
        cairo_move_to(cr, line.x, line.baseline - first);
        pango_cairo_layout_line_path(cr, line.line);
    }
}

Mask* makeMask(TextLayout& t, double scaleX, double scaleY, int phase) {
    const float first = t.top + t.lines.front().baseline;
    const double left = std::floor(t.ink.left * scaleX) - 1;
    const double right = std::ceil(t.ink.right * scaleX) + 2;
    const double top = std::floor((t.ink.top - first) * scaleY) - 1;
    const double bottom = std::ceil((t.ink.bottom - first) * scaleY) + 1;
    const double width = right - left, height = bottom - top;
    if (!(width > 0 && height > 0 && width * height <= kMaxMaskPixels) || std::abs(left) > 1e6 ||
        std::abs(top) > 1e6)
        return nullptr;
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_A8, static_cast<int>(width),
                                                          static_cast<int>(height));
    cairo_t* cr = cairo_create(surface);
    cairo_translate(cr, -left + phase / kPhases, -top);
    cairo_scale(cr, scaleX, scaleY);
    appendOutlines(cr, t);
    cairo_fill(cr);
    const bool good = cairo_status(cr) == CAIRO_STATUS_SUCCESS;
    cairo_destroy(cr);
    if (!good) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    Mask& mask = t.masks[t.nextMask];
    t.nextMask = (t.nextMask + 1) % t.masks.size();
    if (mask.surface) cairo_surface_destroy(mask.surface);
    mask = {surface, scaleX, scaleY, phase, static_cast<int>(left), static_cast<int>(top), t.ink};
    return &mask;
}

Mask* maskFor(TextLayout& t, double scaleX, double scaleY, int phase) {
    for (Mask& mask : t.masks)
        if (mask.surface && mask.phase == phase && mask.scaleX == scaleX && mask.scaleY == scaleY)
            return &mask;
    return makeMask(t, scaleX, scaleY, phase);
}

/// Text of a plain scale: the kept coverage goes onto whole pixels, its baseline snapped to one.
bool drawMask(cairo_t* cr, const cairo_matrix_t& m, TextLayout& t, PointF origin) {
    if (m.xy != 0 || m.yx != 0 || m.xx <= 0 || m.yy <= 0) return false;
    const double x = m.xx * origin.x + m.x0;
    const double y = std::floor(m.yy * (origin.y + t.top + t.lines.front().baseline) + m.y0 + 0.5);
    if (std::abs(x) > 1e6 || std::abs(y) > 1e6) return false;
    const double steps = std::floor(x * kPhases + 0.5);
    const double whole = std::floor(steps / kPhases);
    const Mask* mask = maskFor(t, m.xx, m.yy, static_cast<int>(steps - whole * kPhases));
    if (!mask) return false;
    cairo_identity_matrix(cr);
    cairo_mask_surface(cr, mask->surface, whole + mask->left, y + mask->top);
    cairo_set_matrix(cr, &m);
    return true;
}

void drawColored(cairo_t* cr, const TextLayout& t, PointF origin) {
    for (const Line& line : t.lines) {
        cairo_move_to(cr, origin.x + line.x, origin.y + t.top + line.baseline);
        pango_cairo_show_layout_line(cr, line.line);
    }
    cairo_new_path(cr);
}

void drawOutlines(cairo_t* cr, const cairo_matrix_t& m, const TextLayout& t, PointF origin) {
    cairo_translate(cr, origin.x, origin.y + t.top + t.lines.front().baseline);
    appendOutlines(cr, t);
    cairo_set_matrix(cr, &m);
    cairo_fill(cr);
}

bool inkInsideBox(const TextLayout& t) {
    return t.ink.left >= 0 && t.ink.top >= 0 && t.ink.right <= t.maxWidth &&
           t.ink.bottom <= t.maxHeight;
}

} // namespace

void drawLayoutOn(cairo_t* cr, const TextLayout& layout, PointF origin, const Brush& brush,
                  bool clip) {
    TextLayout& t = const_cast<TextLayout&>(layout);
    resolve(t);
    if (t.lines.empty() || t.ink.right <= t.ink.left) return;
    clip = clip && !inkInsideBox(t);
    if (clip) {
        cairo_save(cr);
        cairo_rectangle(cr, origin.x, origin.y, t.maxWidth, t.maxHeight);
        cairo_clip(cr);
    }
    if (useBrush(cr, &brush)) {
        cairo_matrix_t m;
        cairo_get_matrix(cr, &m);
        if (t.colored)
            drawColored(cr, t, origin);
        else if (!drawMask(cr, m, t, origin))
            drawOutlines(cr, m, t, origin);
    }
    if (clip) cairo_restore(cr);
}

} // namespace vt
