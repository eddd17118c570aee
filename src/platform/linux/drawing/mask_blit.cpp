// Lays a plain colour through a text's coverage onto a target's memory. Cairo does the same at
// three times the cost, most of it before the first pixel; an overlay draws hundreds of cells.
#include "platform/linux/drawing/parts.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vt {

namespace {

// A pixel spread over 64 bits has room to multiply its four channels at once.
constexpr uint64_t kChannels = 0x00FF00FF00FF00FF;
constexpr uint64_t kHalves = 0x0080008000800080;

uint64_t spread(uint32_t pixel) {
    return (pixel & 0x00FF00FFu) | static_cast<uint64_t>(pixel & 0xFF00FF00u) << 24;
}

uint64_t over255(uint64_t products) { // each divided by 255 and rounded
    products += kHalves;
    return (products + (products >> 8 & kChannels)) >> 8 & kChannels;
}

uint32_t premultiplied(double channel, double alpha) {
    return static_cast<uint32_t>(std::lround(channel * alpha * 255.0));
}

struct Source {
    uint32_t pixel = 0; // premultiplied
    uint64_t spread = 0;
};

Source sourceOf(const Brush& brush) {
    Source s;
    s.pixel = premultiplied(1, brush.a) << 24 | premultiplied(brush.r, brush.a) << 16 |
              premultiplied(brush.g, brush.a) << 8 | premultiplied(brush.b, brush.a);
    s.spread = spread(s.pixel);
    return s;
}

void blendOne(uint8_t* to, uint8_t cover, const Source& source) {
    uint32_t pixel;
    std::memcpy(&pixel, to, 4);
    const uint64_t above = over255(source.spread * cover);
    const uint64_t sum = above + over255(spread(pixel) * (255 - (above >> 48)));
    pixel = static_cast<uint32_t>(sum | sum >> 24);
    std::memcpy(to, &pixel, 4);
}

#ifdef __SSE2__
__m128i over255(__m128i products) {
    products = _mm_add_epi16(products, _mm_set1_epi16(128));
    return _mm_srli_epi16(_mm_add_epi16(products, _mm_srli_epi16(products, 8)), 8);
}

/// Two pixels, as words, over two others.
__m128i blendTwo(__m128i below, __m128i cover, __m128i source) {
    const __m128i above = over255(_mm_mullo_epi16(source, cover));
    const __m128i alpha = _mm_shufflehi_epi16(_mm_shufflelo_epi16(above, 0xFF), 0xFF);
    const __m128i keep = _mm_sub_epi16(_mm_set1_epi16(255), alpha);
    return _mm_add_epi16(above, over255(_mm_mullo_epi16(below, keep)));
}

void blendFour(uint8_t* to, uint32_t covers, const Source& source) {
    const __m128i zero = _mm_setzero_si128();
    __m128i cover = _mm_cvtsi32_si128(static_cast<int>(covers));
    cover = _mm_unpacklo_epi8(cover, cover);
    cover = _mm_unpacklo_epi16(cover, cover); // each four times
    __m128i color = _mm_set1_epi32(static_cast<int>(source.pixel));
    color = _mm_unpacklo_epi8(color, zero);
    const __m128i old = _mm_loadu_si128(reinterpret_cast<const __m128i*>(to));
    const __m128i low =
        blendTwo(_mm_unpacklo_epi8(old, zero), _mm_unpacklo_epi8(cover, zero), color);
    const __m128i high =
        blendTwo(_mm_unpackhi_epi8(old, zero), _mm_unpackhi_epi8(cover, zero), color);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(low, high));
}
#else
void blendFour(uint8_t* to, uint32_t covers, const Source& source) {
    for (int i = 0; i < 4; ++i)
        blendOne(to + i * 4, reinterpret_cast<const uint8_t*>(&covers)[i], source);
}
#endif

void blitRow(uint8_t* to, const uint8_t* cover, int count, const Source& source) {
    int x = 0;
    for (; x + 4 <= count; x += 4) {
        uint32_t four;
        std::memcpy(&four, cover + x, 4);
        if (four == 0) continue; // most of a text's box is empty
        blendFour(to + x * 4, four, source);
    }
    for (; x < count; ++x)
        if (cover[x]) blendOne(to + x * 4, cover[x], source);
}

} // namespace

bool blitMask(const DirectTarget& target, cairo_surface_t* mask, int x, int y, const Brush& brush) {
    if (!target.surface || brush.gradient) return false;
    const RectI whole{x, y, x + cairo_image_surface_get_width(mask),
                      y + cairo_image_surface_get_height(mask)};
    const RectI part = intersect(whole, target.free);
    if (!target.exact && part != whole) return false;
    if (part.empty()) return true;
    const Source source = sourceOf(brush);
    const int maskStride = cairo_image_surface_get_stride(mask);
    const uint8_t* cover = cairo_image_surface_get_data(mask) +
                           static_cast<ptrdiff_t>(part.top - y) * maskStride + (part.left - x);
    const int stride = cairo_image_surface_get_stride(target.surface);
    uint8_t* to = cairo_image_surface_get_data(target.surface) +
                  static_cast<ptrdiff_t>(part.top) * stride + static_cast<ptrdiff_t>(part.left) * 4;
    for (int row = part.top; row < part.bottom; ++row) {
        blitRow(to, cover, part.width(), source);
        to += stride;
        cover += maskStride;
    }
    cairo_surface_mark_dirty(target.surface); // or Cairo takes a cleared surface for clear still
    return true;
}

} // namespace vt
