#include "platform/linux/drawing/shapes.h"

#include "base/hash.h"
#include "base/utf8.h"
#include "platform/linux/drawing/fonts.h"
#include "platform/linux/drawing/glyphs.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>
#include <pango/pangofc-font.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <unordered_map>

namespace vt {

namespace {

constexpr float kMaxWidth = 1e6f; // Pango counts in 1/1024 units of 32 bits
constexpr size_t kMaxShapes = 2048;

std::unordered_map<uint64_t, ShapeRef> shapes;
uint64_t useCounter = 0;

float units(int pango) {
    return static_cast<float>(pango) / PANGO_SCALE;
}

PangoContext* context = nullptr; // over the present fonts

PangoContext* sharedContext() {
    if (context) return context;
    context = pango_font_map_create_context(programFontMap());
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

/// `spacing` stands behind every letter; Pango leaves it out behind a line's last.
void measure(Shape& shape, float spacing) {
    const char* text = pango_layout_get_text(shape.layout);
    float y = 0, inkTop = INFINITY, inkBottom = -INFINITY;
    for (GSList* l = pango_layout_get_lines_readonly(shape.layout); l; l = l->next) {
        ShapedLine line;
        line.line = static_cast<PangoLayoutLine*>(l->data);
        PangoRectangle ink, logical;
        pango_layout_line_get_extents(line.line, &ink, &logical);
        line.top = y;
        line.height = units(logical.height);
        line.baseline = y - units(logical.y);
        line.widthWithTrailing = units(logical.width) + (line.line->length > 0 ? spacing : 0);
        line.width = widthWithoutTrailing(line.line, text, line.widthWithTrailing);
        y += line.height;
        if (ink.width > 0 && ink.height > 0) {
            line.inkLeft = units(ink.x);
            line.inkRight = units(ink.x + ink.width);
            inkTop = std::min(inkTop, line.baseline + units(ink.y));
            inkBottom = std::max(inkBottom, line.baseline + units(ink.y + ink.height));
        }
        shape.colored = shape.colored || lineHasColor(line.line);
        shape.metrics.width = std::max(shape.metrics.width, line.width);
        shape.metrics.widthWithTrailing =
            std::max(shape.metrics.widthWithTrailing, line.widthWithTrailing);
        shape.lines.push_back(line);
    }
    shape.metrics.height = y;
    shape.metrics.lineCount = static_cast<int>(shape.lines.size());
    if (!shape.lines.empty()) shape.metrics.baseline = shape.lines.front().baseline;
    if (inkBottom > inkTop) {
        shape.inkTop = inkTop;
        shape.inkBottom = inkBottom;
    }
}

void setFont(PangoLayout* layout, const ShapeSpec& spec) {
    PangoFontDescription* font = pango_font_description_new();
    pango_font_description_set_family_static(font, presentFamily(spec.format->family).c_str());
    pango_font_description_set_weight(font, static_cast<PangoWeight>(spec.format->weight));
    pango_font_description_set_style(font,
                                     spec.format->italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
    pango_font_description_set_absolute_size(font, spec.size * PANGO_SCALE);
    pango_layout_set_font_description(layout, font);
    pango_font_description_free(font);
}

void setAttributes(PangoLayout* layout, const ShapeSpec& spec, std::string_view text) {
    PangoAttrList* list = pango_attr_list_new();
    addAttribute(list,
                 pango_attr_language_new(pango_language_from_string(spec.format->locale.c_str())),
                 0, text.size());
    if (spec.letterSpacing != 0)
        addAttribute(list,
                     pango_attr_letter_spacing_new(
                         static_cast<int>(std::lround(spec.letterSpacing * PANGO_SCALE))),
                     0, text.size());
    // Programmers' ligatures would join the dashes and signs of lap times, and looking for them
    // takes most of the shaping.
    if (spec.format->family == "JetBrains Mono")
        addAttribute(list, pango_attr_font_features_new("calt=0"), 0, text.size());
    addJapaneseRuns(list, text);
    pango_layout_set_attributes(layout, list);
    pango_attr_list_unref(list);
}

ShapeRef makeShape(const ShapeSpec& spec, std::string_view given) {
    std::string repaired;
    std::string_view text = given;
    if (!utf8Valid(text) || text.find('\0') != std::string_view::npos) {
        repaired = utf8Repaired(text);
        for (size_t at; (at = repaired.find('\0')) != std::string::npos;)
            repaired.replace(at, 1, "\xEF\xBF\xBD");
        text = repaired;
    }
    auto shape = std::make_shared<Shape>();
    shape->layout = pango_layout_new(sharedContext());
    setFont(shape->layout, spec);
    setAttributes(shape->layout, spec, text);
    pango_layout_set_text(shape->layout, text.data(), static_cast<int>(text.size()));
    if (spec.wrap || spec.ellipsis) {
        const float width = std::isfinite(spec.width) ? spec.width : kMaxWidth;
        pango_layout_set_width(
            shape->layout,
            static_cast<int>(std::lround(std::clamp(width, 0.0f, kMaxWidth) * PANGO_SCALE)));
        pango_layout_set_wrap(shape->layout, PANGO_WRAP_WORD_CHAR);
        if (spec.ellipsis) pango_layout_set_ellipsize(shape->layout, PANGO_ELLIPSIZE_END);
    }
    measure(*shape, spec.letterSpacing);
    return shape;
}

/// By the format's properties, so that a format made anew finds the texts of the one before.
uint64_t shapeKey(const ShapeSpec& spec, std::string_view text) {
    Fnv64 h;
    h.text(text);
    h.text(spec.format->family);
    h.text(spec.format->locale);
    h.number(spec.format->weight * 2 + (spec.format->italic ? 1 : 0));
    h.word(std::bit_cast<uint32_t>(spec.size));
    h.word(std::bit_cast<uint32_t>(spec.letterSpacing));
    if (spec.wrap || spec.ellipsis) {
        h.number((spec.wrap ? 1 : 0) + (spec.ellipsis ? 2 : 0));
        h.word(std::bit_cast<uint32_t>(spec.width));
    }
    return h.value;
}

/// Drops the half that was used less recently.
void dropOlderHalf() {
    std::vector<uint64_t> uses;
    for (const auto& [key, shape] : shapes)
        uses.push_back(shape->lastUse);
    const auto middle = uses.begin() + static_cast<ptrdiff_t>(uses.size() / 2);
    std::nth_element(uses.begin(), middle, uses.end());
    std::erase_if(shapes, [median = *middle](const auto& e) { return e.second->lastUse < median; });
}

} // namespace

Shape::~Shape() {
    for (Mask& mask : masks)
        if (mask.surface) cairo_surface_destroy(mask.surface);
    if (layout) g_object_unref(layout);
}

ShapeRef shapeFor(const ShapeSpec& spec, std::string_view text) {
    const uint64_t key = shapeKey(spec, text);
    if (const auto found = shapes.find(key); found != shapes.end()) {
        found->second->lastUse = ++useCounter;
        return found->second;
    }
    if (shapes.size() >= kMaxShapes) dropOlderHalf();
    ShapeRef shape = makeShape(spec, text);
    shape->lastUse = ++useCounter;
    shapes.emplace(key, shape);
    return shape;
}

void dropShapes() {
    shapes.clear();
    dropGlyphs();
    if (context) g_object_unref(context);
    context = nullptr;
}

} // namespace vt
