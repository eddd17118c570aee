#include "streaming/straight_alpha.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vt {

namespace {

/// Straight channel by [alpha][premultiplied channel].
using Table = std::array<std::array<uint8_t, 256>, 256>;

const Table& straightTable() {
    static const std::unique_ptr<const Table> table = [] {
        auto made = std::make_unique<Table>();
        for (unsigned a = 1; a < 256; ++a)
            for (unsigned c = 0; c < 256; ++c)
                (*made)[a][c] = static_cast<uint8_t>(std::min(255u, (c * 255 + a / 2) / a));
        return made;
    }();
    return *table;
}

// Pixels are handled as little-endian words: 0xAARRGGBB comes in, 0xAABBGGRR goes out.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

uint32_t load(const uint8_t* at) {
    uint32_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

uint32_t swapRedBlue(uint32_t pixel) {
    return (pixel & 0xFF00FF00u) | (pixel >> 16 & 0xFFu) | (pixel & 0xFFu) << 16;
}

uint32_t straightPixel(const Table& table, uint32_t pixel) {
    const auto& row = table[pixel >> 24];
    return (pixel & 0xFF000000u) | static_cast<uint32_t>(row[pixel & 0xFF]) << 16 |
           static_cast<uint32_t>(row[pixel >> 8 & 0xFF]) << 8 | row[pixel >> 16 & 0xFF];
}

constexpr int kBlock = 8; // pixels that are looked at together

#ifdef __SSE2__

/// What turns the channels of one alpha straight: c * scale + bias, cut to a whole number. The bias
/// lies half a step above a / 2, so that a quotient is never so near to a whole number that the
/// float's rounding could carry it across.
struct alignas(16) Straightening {
    float scale[4], bias[4]; // blue, green, red, alpha
};

constexpr std::array<Straightening, 256> straightenings() {
    std::array<Straightening, 256> all{};
    for (int a = 1; a < 256; ++a) {
        const float scale = 255.0f / static_cast<float>(a);
        const float bias = (static_cast<float>(a / 2) + 0.5f) / static_cast<float>(a);
        all[static_cast<size_t>(a)] = {{scale, scale, scale, 1}, {bias, bias, bias, 0}};
    }
    return all;
}
constexpr std::array<Straightening, 256> kStraight = straightenings();

__m128i straightChannels(__m128i channels, uint32_t pixel) {
    const Straightening& by = kStraight[pixel >> 24];
    return _mm_cvttps_epi32(_mm_add_ps(_mm_mul_ps(_mm_cvtepi32_ps(channels), _mm_load_ps(by.scale)),
                                       _mm_load_ps(by.bias)));
}

void straightMixed(const Table&, uint32_t (&block)[kBlock]) {
    const __m128i zero = _mm_setzero_si128();
    for (int i = 0; i < kBlock; i += 4) {
        auto* const at = reinterpret_cast<__m128i*>(block + i);
        const __m128i four = _mm_loadu_si128(at);
        const __m128i low = _mm_unpacklo_epi8(four, zero), high = _mm_unpackhi_epi8(four, zero);
        // Packing cuts at 255.
        const __m128i straight = _mm_packus_epi16(
            _mm_packs_epi32(straightChannels(_mm_unpacklo_epi16(low, zero), block[i]),
                            straightChannels(_mm_unpackhi_epi16(low, zero), block[i + 1])),
            _mm_packs_epi32(straightChannels(_mm_unpacklo_epi16(high, zero), block[i + 2]),
                            straightChannels(_mm_unpackhi_epi16(high, zero), block[i + 3])));
        const __m128i redBlue = _mm_and_si128(straight, _mm_set1_epi32(0x00FF00FF));
        _mm_storeu_si128(at, _mm_or_si128(_mm_andnot_si128(_mm_set1_epi32(0x00FF00FF), straight),
                                          _mm_or_si128(_mm_slli_epi32(redBlue, 16),
                                                       _mm_srli_epi32(redBlue, 16))));
    }
}

#else

void straightMixed(const Table& table, uint32_t (&block)[kBlock]) {
    for (uint32_t& pixel : block)
        pixel = straightPixel(table, pixel);
}

#endif

/// An overlay is mostly empty, opaque, or one tint: blocks of one kind need no table.
void straightRow(const Table& table, const uint8_t* in, int width, uint8_t* out) {
    int x = 0;
    uint32_t block[kBlock];
    for (; x + kBlock <= width; x += kBlock) {
        std::memcpy(block, in + x * 4, sizeof block);
        uint32_t all = block[0], any = block[0], differ = 0;
        for (int i = 1; i < kBlock; ++i) {
            all &= block[i];
            any |= block[i];
            differ |= block[i] ^ block[0];
        }
        if (any >> 24 == 0) {
            std::memset(block, 0, sizeof block);
        } else if (all >> 24 == 255) {
            for (uint32_t& pixel : block)
                pixel = swapRedBlue(pixel);
        } else if (differ == 0) {
            const uint32_t pixel = straightPixel(table, block[0]);
            for (uint32_t& each : block)
                each = pixel;
        } else {
            straightMixed(table, block);
        }
        std::memcpy(out + x * 4, block, sizeof block);
    }
    for (; x < width; ++x) {
        const uint32_t pixel = straightPixel(table, load(in + x * 4));
        std::memcpy(out + x * 4, &pixel, sizeof pixel);
    }
}

} // namespace

void straightRgba(const uint8_t* bgra, int width, int height, int stride, uint8_t* out,
                  int outStride) {
    const Table& table = straightTable(); // alpha 0's row stays zero, whatever the channels hold
    for (int y = 0; y < height; ++y)
        straightRow(table, bgra + static_cast<ptrdiff_t>(y) * stride, width,
                    out + static_cast<ptrdiff_t>(y) * outStride);
}

} // namespace vt
