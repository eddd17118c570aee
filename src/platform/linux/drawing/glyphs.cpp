#include "platform/linux/drawing/glyphs.h"

#include "base/hash.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <unordered_map>
#include <vector>

namespace vt {

namespace {

constexpr double kLargest = 64; // pixels; larger texts are few
constexpr size_t kMaxGlyphs = 4096;

struct Glyph {
    int left = 0, top = 0; // from the pen's whole pixel on the baseline
    int width = 0, height = 0;
    std::vector<uint8_t> cover;
};

struct FontGlyphs {
    PangoFont* font = nullptr; // held, so that no other font comes to lie at its address
    std::unordered_map<uint64_t, Glyph> glyphs;
};

std::unordered_map<PangoFont*, FontGlyphs> fonts;
size_t glyphCount = 0;

FontGlyphs& glyphsOf(PangoFont* font) {
    FontGlyphs& entry = fonts[font];
    if (!entry.font) entry.font = PANGO_FONT(g_object_ref(font));
    return entry;
}

Glyph renderGlyph(PangoFont* font, PangoGlyph index, double scaleX, double scaleY, int phase) {
    // Measured first, on a picture of one pixel.
    cairo_scaled_font_t* scaled = pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(font));
    const cairo_glyph_t glyph{index, 0, 0};
    const auto outline = [&](cairo_t* cr) {
        cairo_scale(cr, scaleX, scaleY);
        cairo_set_scaled_font(cr, scaled);
        cairo_glyph_path(cr, &glyph, 1);
        cairo_identity_matrix(cr);
    };
    Glyph result;
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1);
    cairo_t* cr = cairo_create(surface);
    outline(cr);
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    cairo_path_extents(cr, &x1, &y1, &x2, &y2);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    if (x2 <= x1 || y2 <= y1) return result;
    const double shift = static_cast<double>(phase) / kGlyphPhases;
    result.left = static_cast<int>(std::floor(x1 + shift));
    result.top = static_cast<int>(std::floor(y1));
    result.width = static_cast<int>(std::ceil(x2 + shift)) - result.left;
    result.height = static_cast<int>(std::ceil(y2)) - result.top;
    surface = cairo_image_surface_create(CAIRO_FORMAT_A8, result.width, result.height);
    cr = cairo_create(surface);
    cairo_translate(cr, shift - result.left, -result.top);
    outline(cr);
    cairo_fill(cr);
    cairo_destroy(cr);
    const uint8_t* data = cairo_image_surface_get_data(surface);
    const int stride = cairo_image_surface_get_stride(surface);
    for (int y = 0; data && y < result.height; ++y)
        result.cover.insert(result.cover.end(), data + y * stride,
                            data + y * stride + result.width);
    cairo_surface_destroy(surface);
    if (result.cover.empty()) result.width = result.height = 0;
    return result;
}

const Glyph& glyphFor(PangoFont* font, PangoGlyph index, double scaleX, double scaleY, int phase) {
    Fnv64 key;
    key.word(index);
    key.number(phase);
    key.word(std::bit_cast<uint64_t>(scaleX));
    key.word(std::bit_cast<uint64_t>(scaleY));
    FontGlyphs& own = glyphsOf(font);
    const auto found = own.glyphs.find(key.value);
    if (found != own.glyphs.end()) return found->second;
    ++glyphCount;
    return own.glyphs.emplace(key.value, renderGlyph(font, index, scaleX, scaleY, phase))
        .first->second;
}

/// Neighbours share the pixels in which they touch.
void addGlyph(cairo_surface_t* mask, const Glyph& glyph, int x, int y) {
    const int width = cairo_image_surface_get_width(mask);
    const int height = cairo_image_surface_get_height(mask);
    const int stride = cairo_image_surface_get_stride(mask);
    uint8_t* data = cairo_image_surface_get_data(mask);
    const int left = x + glyph.left, top = y + glyph.top;
    const int first = std::max(0, -left), last = std::min(glyph.width, width - left);
    for (int row = std::max(0, -top); row < std::min(glyph.height, height - top); ++row) {
        uint8_t* to = data + (top + row) * stride + left;
        const uint8_t* from = glyph.cover.data() + row * glyph.width;
        for (int i = first; i < last; ++i)
            to[i] = static_cast<uint8_t>(std::min(255, to[i] + from[i]));
    }
}

bool keepable(PangoLayoutLine* line, double scale) {
    for (GSList* l = line->runs; l; l = l->next) {
        const PangoLayoutRun* run = static_cast<PangoLayoutRun*>(l->data);
        cairo_matrix_t matrix;
        PangoFont* font = run->item->analysis.font;
        if (!PANGO_IS_CAIRO_FONT(font) || run->y_offset != 0) return false;
        cairo_scaled_font_get_font_matrix(pango_cairo_font_get_scaled_font(PANGO_CAIRO_FONT(font)),
                                          &matrix);
        if (matrix.yy * scale > kLargest) return false;
        for (int i = 0; i < run->glyphs->num_glyphs; ++i)
            if (run->glyphs->glyphs[i].glyph & PANGO_GLYPH_UNKNOWN_FLAG) return false;
    }
    return true;
}

} // namespace

bool addLineGlyphs(cairo_surface_t* mask, PangoLayoutLine* line, int originX, int baseline,
                   double scaleX, double scaleY) {
    if (!keepable(line, std::max(scaleX, scaleY))) return false;
    if (glyphCount > kMaxGlyphs) dropGlyphs();
    cairo_surface_flush(mask);
    int pen = 0; // in Pango's units
    for (GSList* l = line->runs; l; l = l->next) {
        const PangoLayoutRun* run = static_cast<PangoLayoutRun*>(l->data);
        pen += run->start_x_offset;
        for (int i = 0; i < run->glyphs->num_glyphs; ++i) {
            const PangoGlyphInfo& info = run->glyphs->glyphs[i];
            if (info.glyph != PANGO_GLYPH_EMPTY) {
                const double x = (pen + info.geometry.x_offset) * scaleX / PANGO_SCALE;
                const double y = info.geometry.y_offset * scaleY / PANGO_SCALE;
                const int steps = originX + static_cast<int>(std::floor(x * kGlyphPhases + 0.5));
                const int whole = static_cast<int>(std::floor(steps / double{kGlyphPhases}));
                const Glyph& glyph = glyphFor(run->item->analysis.font, info.glyph, scaleX, scaleY,
                                              steps - whole * kGlyphPhases);
                addGlyph(mask, glyph, whole, baseline + static_cast<int>(std::lround(y)));
            }
            pen += info.geometry.width;
        }
        pen += run->end_x_offset;
    }
    cairo_surface_mark_dirty(mask);
    return true;
}

void dropGlyphs() {
    for (auto& [font, entry] : fonts)
        g_object_unref(entry.font);
    fonts.clear();
    glyphCount = 0;
}

} // namespace vt
