#include "overlay/drawing/drawing.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

uint32_t channelByte(float channel) {
    if (!(channel > 0)) return 0; // NaN as well
    return static_cast<uint32_t>(std::floor(std::min(channel, 1.0f) * 255.0f + 0.5f));
}

} // namespace

const Brush* brushFor(BrushCache& cache, Color color) {
    const uint32_t alpha = channelByte(color.a);
    const uint32_t key =
        channelByte(color.r) << 24 | channelByte(color.g) << 16 | channelByte(color.b) << 8 | alpha;
    for (const BrushCache::Entry& entry : cache.entries)
        if (entry.key == key) return entry.brush.get();
    BrushRef brush = solidBrush({color.r, color.g, color.b, static_cast<float>(alpha) / 255.0f});
    if (!brush) return cache.fallback.get();
    if (!cache.fallback) cache.fallback = brush;
    cache.entries.push_back({key, std::move(brush)});
    return cache.entries.back().brush.get();
}

void flushBrushes(BrushCache& cache) {
    cache.entries.clear();
    cache.fallback.reset();
    cache.fade.reset();
    cache.fadeAlpha = -1;
}

const Brush* fadeGradient(BrushCache& cache, float alpha) {
    const int alphaByte = static_cast<int>(channelByte(alpha));
    if (!cache.fade || cache.fadeAlpha != alphaByte) {
        const float a = static_cast<float>(alphaByte) / 255.0f;
        BrushRef made = linearGradient({0, 0}, {1, 0}, {{0, {0, 0, 0, 0}}, {1, {0, 0, 0, a}}});
        if (!made) return cache.fallback.get();
        cache.fade = std::move(made);
        cache.fadeAlpha = alphaByte;
    }
    return cache.fade.get();
}

} // namespace vt
