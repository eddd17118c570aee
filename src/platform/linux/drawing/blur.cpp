// Gaussian blur of premultiplied pixels; what lies outside the picture counts as transparent.
#include "platform/linux/drawing/parts.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

/// Above this, three box passes are within a percent of the real curve and cost the same at any
/// width.
constexpr float kBoxFrom = 2.0f;

struct Line {
    const uint8_t* from;
    uint8_t* to;
    int count; // pixels
    int step;  // bytes between them
};

void boxLine(const Line& line, int width, int shift) {
    uint32_t sum[4] = {};
    const int left = width / 2 + shift;
    const auto add = [&](int i) {
        if (i < 0 || i >= line.count) return;
        const uint8_t* p = line.from + static_cast<ptrdiff_t>(i) * line.step;
        for (int c = 0; c < 4; ++c)
            sum[c] += p[c];
    };
    const auto drop = [&](int i) {
        if (i < 0 || i >= line.count) return;
        const uint8_t* p = line.from + static_cast<ptrdiff_t>(i) * line.step;
        for (int c = 0; c < 4; ++c)
            sum[c] -= p[c];
    };
    for (int i = -left; i < -left + width - 1; ++i)
        add(i);
    const uint32_t w = static_cast<uint32_t>(width);
    for (int i = 0; i < line.count; ++i) {
        add(i - left + width - 1);
        uint8_t* out = line.to + static_cast<ptrdiff_t>(i) * line.step;
        for (int c = 0; c < 4; ++c)
            out[c] = static_cast<uint8_t>((sum[c] + w / 2) / w);
        drop(i - left);
    }
}

void kernelLine(const Line& line, const std::vector<float>& kernel) {
    const int reach = static_cast<int>(kernel.size()) / 2;
    for (int i = 0; i < line.count; ++i) {
        float sum[4] = {};
        const int first = std::max(0, i - reach), last = std::min(line.count - 1, i + reach);
        for (int k = first; k <= last; ++k) {
            const uint8_t* p = line.from + static_cast<ptrdiff_t>(k) * line.step;
            const float weight = kernel[static_cast<size_t>(k - i + reach)];
            for (int c = 0; c < 4; ++c)
                sum[c] += weight * p[c];
        }
        uint8_t* out = line.to + static_cast<ptrdiff_t>(i) * line.step;
        for (int c = 0; c < 4; ++c)
            out[c] = static_cast<uint8_t>(std::min(255.0f, sum[c] + 0.5f));
    }
}

/// Runs `pass` over every row (or column) from `from` into `to`.
template <typename Pass>
void overLines(const uint8_t* from, uint8_t* to, const Bitmap& shape, bool columns, Pass pass) {
    const int lines = columns ? shape.width : shape.height;
    const int count = columns ? shape.height : shape.width;
    const int step = columns ? shape.stride : 4;
    for (int i = 0; i < lines; ++i) {
        const size_t start = columns ? static_cast<size_t>(i) * 4
                                     : static_cast<size_t>(i) * static_cast<size_t>(shape.stride);
        pass(Line{from + start, to + start, count, step});
    }
}

} // namespace

BitmapRef blurBitmap(const Bitmap& source, float sigma) {
    BitmapRef result = copyBitmap(source);
    if (!result || !(sigma > 0.05f)) return result;
    sigma = std::min(sigma, 500.0f);
    BitmapRef spare = createBitmap(source.width, source.height, source.dpi);
    if (!spare) return nullptr;
    uint8_t* a = bitmapWritablePixels(*result);
    uint8_t* b = bitmapWritablePixels(*spare);
    if (sigma < kBoxFrom) {
        const int reach = std::max(1, static_cast<int>(std::ceil(sigma * 3)));
        std::vector<float> kernel;
        float sum = 0;
        for (int i = -reach; i <= reach; ++i) {
            kernel.push_back(std::exp(-static_cast<float>(i * i) / (2 * sigma * sigma)));
            sum += kernel.back();
        }
        for (float& k : kernel)
            k /= sum;
        overLines(a, b, *result, false, [&](const Line& line) { kernelLine(line, kernel); });
        overLines(b, a, *result, true, [&](const Line& line) { kernelLine(line, kernel); });
    } else {
        // Three boxes of this width have the variance of the curve; of an even width two of them
        // lean half a pixel to either side and the third is one wider.
        const int d = static_cast<int>(std::floor(sigma * 1.8799712f + 0.5f));
        const bool even = d % 2 == 0;
        const int widths[3] = {d, d, even ? d + 1 : d};
        const int shifts[3] = {0, even ? -1 : 0, 0};
        for (const bool columns : {false, true}) {
            for (int pass = 0; pass < 3; ++pass) {
                overLines(a, b, *result, columns,
                          [&](const Line& line) { boxLine(line, widths[pass], shifts[pass]); });
                std::swap(a, b);
            }
        }
    }
    // Six passes, or two, end where they began.
    bitmapChanged(*result);
    return result;
}

} // namespace vt
