#include "base/hash.h"
#include "base/log.h"
#include "overlay/drawing/drawing.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vt {

uint64_t frameStamp = 0;

namespace {

constexpr float kUnbounded = 100000;
constexpr size_t kSlots = 512;
constexpr size_t kProbes = 8;
constexpr size_t kOverlayLayouts = 128;
constexpr int kJapanese = 6;

int drawingLanguage = 0;

struct Slot {
    uint64_t key = 0; // 0 = empty
    TextLayoutRef layout;
    uint64_t stamp = 0;
};
std::array<Slot, kSlots> slots;

/// What was done with the text beyond a plain layout; part of the key.
enum class LayoutUse : uint64_t { plain, spaced, fit, width, height, cell, cellWithEllipsis };

struct KeyParts {
    const TextFormat* format;
    std::string_view text;
    float width, height;
    TextAlign horizontal, vertical;
    LayoutUse use;
    float detail = 0; // letter spacing, or the largest scale
};

uint64_t layoutKey(const KeyParts& parts) {
    Fnv64 h;
    h.text(parts.text);
    h.word(parts.format->id);
    h.word(std::bit_cast<uint32_t>(parts.format->size));
    h.scaled(parts.width, 10);
    h.scaled(parts.height, 10);
    h.word(static_cast<uint64_t>(parts.horizontal));
    h.word(static_cast<uint64_t>(parts.vertical));
    h.word(static_cast<uint64_t>(parts.use));
    h.word(std::bit_cast<uint32_t>(parts.detail));
    return h.value == 0 ? 1 : h.value;
}

Slot* findSlot(uint64_t key) {
    for (size_t i = 0; i < kProbes; ++i) {
        Slot& slot = slots[(key + i) % kSlots];
        if (slot.key != key) continue;
        slot.stamp = frameStamp;
        return &slot;
    }
    return nullptr;
}

TextLayout* keep(uint64_t key, TextLayoutRef layout) {
    if (!layout) return nullptr;
    Slot* best = &slots[key % kSlots];
    for (size_t i = 0; i < kProbes && best->key != 0; ++i) {
        Slot& slot = slots[(key + i) % kSlots];
        if (slot.key == 0 || slot.stamp < best->stamp) best = &slot;
    }
    *best = {key, std::move(layout), frameStamp};
    return best->layout.get();
}

TextLayout* cachedLayout(const KeyParts& parts) {
    const uint64_t key = layoutKey(parts);
    TextLayout* layout = nullptr;
    if (Slot* slot = findSlot(key)) {
        layout = slot->layout.get();
    } else {
        const float spacing = parts.use == LayoutUse::spaced ? parts.detail : 0;
        layout =
            keep(key, measureLayout(parts.format, parts.text, parts.width, parts.height, spacing));
        if (!layout) return nullptr;
        if (parts.use == LayoutUse::height) layoutSetWrap(*layout, true);
    }
    layoutSetAlign(*layout, parts.horizontal, parts.vertical);
    return layout;
}

/// Null when the text has no size.
TextLayoutRef fittedLayout(const TextFormat& format, std::string_view text, RectF rect,
                           float maxScale) {
    TextLayoutRef layout = measureLayout(&format, text, kUnbounded, kUnbounded);
    if (!layout) return nullptr;
    const TextMetrics metrics = layoutMetrics(*layout);
    if (!(metrics.width > 0 && metrics.height > 0)) return nullptr;
    float scale =
        std::min(rect.width() / metrics.width * 0.97f, rect.height() / metrics.height * 0.94f);
    if (maxScale > 1) scale = std::min(scale, maxScale);
    layoutSetFontSize(*layout, format.size * scale);
    layoutSetBox(*layout, rect.width(), rect.height());
    layoutSetAlign(*layout, TextAlign::center, TextAlign::center);
    return layout;
}

/// Drops the entries that were used less recently than the middle one.
void dropOlderHalf(OverlayLayoutCache& cache) {
    std::array<uint32_t, kOverlayLayouts> uses;
    const size_t count = std::min(cache.entries.size(), uses.size());
    for (size_t i = 0; i < count; ++i)
        uses[i] = cache.entries[i].lastUse;
    const auto middle = uses.begin() + count / 2;
    std::nth_element(uses.begin(), middle, uses.begin() + count);
    std::erase_if(cache.entries, [median = *middle](const OverlayLayoutCache::Entry& entry) {
        return entry.lastUse < median;
    });
}

bool nothingToDraw(const TextFormat* format, std::string_view text, const Brush* brush) {
    return !format || !brush || text.empty();
}

} // namespace

void setDrawingLanguage(int languageIndex) {
    if (languageIndex == drawingLanguage) return;
    drawingLanguage = languageIndex;
    clearTextLayoutCache();
}

TextFormatRef makeTextFormat(std::string_view family, float size, int weight, bool italic) {
    return createTextFormat(family, size, weight, italic,
                            drawingLanguage == kJapanese ? "ja-JP" : "en-US");
}

TextLayoutRef measureLayout(const TextFormat* format, std::string_view text, float maxWidth,
                            float maxHeight, float letterSpacing) {
    if (!format || text.empty()) return nullptr;
    return createTextLayout(*format, text, maxWidth, maxHeight, letterSpacing);
}

float textWidthUnbounded(const TextFormat* format, std::string_view text, float fallback) {
    if (text.empty()) return 0;
    if (!format) return fallback;
    const TextLayout* layout =
        cachedLayout({format, text, kUnbounded, kUnbounded, TextAlign::leading, TextAlign::leading,
                      LayoutUse::width});
    return layout ? layoutMetrics(*layout).widthWithTrailing : fallback;
}

float textHeightAt(const TextFormat* format, std::string_view text, float width, float fallback) {
    if (text.empty()) return 0;
    if (!format) return fallback;
    const TextLayout* layout = cachedLayout({format, text, width, kUnbounded, TextAlign::leading,
                                             TextAlign::leading, LayoutUse::height});
    return layout ? layoutMetrics(*layout).height : fallback;
}

void drawText(Canvas& canvas, const TextFormat* format, std::string_view text, RectF rect,
              const Brush* brush, TextAlign horizontal, TextAlign vertical) {
    if (nothingToDraw(format, text, brush)) return;
    if (const TextLayout* layout = cachedLayout(
            {format, text, rect.width(), rect.height(), horizontal, vertical, LayoutUse::plain}))
        canvas.drawLayout(*layout, {rect.left, rect.top}, brush);
}

void drawTextSpaced(Canvas& canvas, const TextFormat* format, std::string_view text, RectF rect,
                    const Brush* brush, float letterSpacing, TextAlign horizontal,
                    TextAlign vertical) {
    if (nothingToDraw(format, text, brush)) return;
    if (const TextLayout* layout =
            cachedLayout({format, text, rect.width(), rect.height(), horizontal, vertical,
                          LayoutUse::spaced, letterSpacing}))
        canvas.drawLayout(*layout, {rect.left, rect.top}, brush);
}

void drawTextFit(Canvas& canvas, const TextFormat* format, std::string_view text, RectF rect,
                 const Brush* brush, float maxScale) {
    if (nothingToDraw(format, text, brush) || !(rect.width() > 0 && rect.height() > 0)) return;
    const uint64_t key =
        layoutKey({format, text, rect.width(), rect.height(), TextAlign::center, TextAlign::center,
                   LayoutUse::fit, maxScale > 1 ? maxScale : 0});
    const Slot* slot = findSlot(key);
    const TextLayout* layout =
        slot ? slot->layout.get() : keep(key, fittedLayout(*format, text, rect, maxScale));
    if (layout)
        canvas.drawLayout(*layout, {rect.left, rect.top}, brush, true);
    else
        drawText(canvas, format, text, rect, brush, TextAlign::center, TextAlign::center);
}

void drawTextCached(Canvas& canvas, OverlayLayoutCache& cache, const TextFormat* format,
                    std::string_view text, RectF rect, const Brush* brush, TextAlign horizontal,
                    bool ellipsis) {
    if (nothingToDraw(format, text, brush)) return;
    const uint64_t key =
        layoutKey({format, text, rect.width(), rect.height(), horizontal, TextAlign::center,
                   ellipsis ? LayoutUse::cellWithEllipsis : LayoutUse::cell});
    ++cache.useCounter;
    for (OverlayLayoutCache::Entry& entry : cache.entries) {
        if (entry.key != key) continue;
        entry.lastUse = cache.useCounter;
        canvas.drawLayout(*entry.layout, {rect.left, rect.top}, brush);
        return;
    }
    TextLayoutRef layout = measureLayout(format, text, rect.width(), rect.height());
    if (!layout) return;
    layoutSetEllipsis(*layout, ellipsis);
    layoutSetAlign(*layout, horizontal, TextAlign::center);
    canvas.drawLayout(*layout, {rect.left, rect.top}, brush);
    if (cache.entries.size() >= kOverlayLayouts) dropOlderHalf(cache);
    cache.entries.push_back({key, std::move(layout), cache.useCounter});
}

void clearTextLayoutCache() {
    for (Slot& slot : slots)
        slot = {};
}

void drawingInit(const std::string& fontsFolder) {
    const int taken = loadFonts(fontsFolder);
    logStatus("[drawing] %d font files\n", taken);
}

void drawingShutdown() {
    clearTextLayoutCache();
    unloadFonts();
}

} // namespace vt
