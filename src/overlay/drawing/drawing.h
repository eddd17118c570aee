// The one layer that every pixel of the program passes through: brushes and text with their caches
// over the platform's canvas, the recovery from a lost device, and the report of failed draws. Main
// thread.
#pragma once
#include "platform/canvas.h"
#include "platform/clock.h"
#include "platform/text.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

// ---- start and end
// --------------------------------------------------------------------------------

/// Loads the shipped fonts from `fontsFolder`. Without them, or without a device, the program runs
/// on.
void drawingInit(const std::string& fontsFolder);
void drawingShutdown();

/// Interface language 0..6; 6 is Japanese and changes the locale of text formats. A change drops
/// the layout cache; owners of formats make theirs anew.
void setDrawingLanguage(int languageIndex);

/// Rises once per main tick; the layout cache ages its entries by it.
extern uint64_t frameStamp;

// ---- brushes
// ----------------------------------------------------------------------------------------

/// One per overlay. Emptied only as a whole, by `flushBrushes`.
struct BrushCache {
    struct Entry {
        uint32_t key = 0; // the colour as RGBA bytes
        BrushRef brush;
    };
    std::vector<Entry> entries;
    BrushRef fallback; // the first brush ever made, returned when a creation fails
    BrushRef fade;     // the one fade gradient, with its alpha byte
    int fadeAlpha = -1;
};
inline constexpr size_t kBrushCacheLimit = 128;

/// Channels 0..1. Colours that round to the same four bytes share a brush. Null only when not one
/// brush could be made.
const Brush* brushFor(BrushCache& cache, Color color);
void flushBrushes(BrushCache& cache);
/// Horizontal gradient from transparent to the given alpha in black, over 0..1; remade only when
/// the alpha byte changes.
const Brush* fadeGradient(BrushCache& cache, float alpha);

// ---- text
// -------------------------------------------------------------------------------------------

/// A format in the interface language's locale.
TextFormatRef makeTextFormat(std::string_view family, float size, int weight, bool italic = false);

/// A new layout of the whole text, not cached. Null for an empty text.
TextLayoutRef measureLayout(const TextFormat* format, std::string_view text, float maxWidth,
                            float maxHeight, float letterSpacing = 0);
/// Width with trailing blanks; `fallback` when no layout can be made, 0 for an empty text. Cached.
float textWidthUnbounded(const TextFormat* format, std::string_view text, float fallback = 0);
/// Height at that width with word wrapping.
float textHeightAt(const TextFormat* format, std::string_view text, float width,
                   float fallback = 0);

/// The standard call; layouts come from the program's one cache of 512. Null arguments and empty
/// texts draw nothing. Text may overflow the rectangle; nothing is clipped.
void drawText(Canvas& canvas, const TextFormat* format, std::string_view text, RectF rect,
              const Brush* brush, TextAlign horizontal = TextAlign::leading,
              TextAlign vertical = TextAlign::center);
void drawTextSpaced(Canvas& canvas, const TextFormat* format, std::string_view text, RectF rect,
                    const Brush* brush, float letterSpacing,
                    TextAlign horizontal = TextAlign::leading,
                    TextAlign vertical = TextAlign::center);
/// Scaled to fill 0.97 of the width or 0.94 of the height, centred and clipped to the box. Enlarges
/// as well, unless `maxScale` is above 1: then at most that.
void drawTextFit(Canvas& canvas, const TextFormat* format, std::string_view text, RectF rect,
                 const Brush* brush, float maxScale = 0);

/// One per overlay, for cells that change little. At 128 entries the rarely used half goes.
struct OverlayLayoutCache {
    struct Entry {
        uint64_t key = 0;
        TextLayoutRef layout;
        uint32_t lastUse = 0;
    };
    std::vector<Entry> entries;
    uint32_t useCounter = 0;
};
/// Like `drawText`, centred vertically. With `ellipsis` a text too wide for the rectangle ends in
/// one.
void drawTextCached(Canvas& canvas, OverlayLayoutCache& cache, const TextFormat* format,
                    std::string_view text, RectF rect, const Brush* brush,
                    TextAlign horizontal = TextAlign::leading, bool ellipsis = false);

/// Empties the program's layout cache.
void clearTextLayoutCache();

// ---- failures and recovery
// -----------------------------------------------------------------------------

/// One log line per place and code in 5 s; the rest is counted. `where` is a literal: places are
/// told apart by its address.
void reportDrawFailure(const char* where, uint32_t code, uint64_t nowMs);

/// Whoever holds things made on the device enters itself; `release` drops them, `remake` makes them
/// again after the device is back. Called in the order of entry.
struct DeviceClient {
    const char* name = "";
    void* user = nullptr;
    void (*release)(void* user) = nullptr;
    bool (*remake)(void* user) = nullptr;
};
void addDeviceClient(const DeviceClient& client);
void removeDeviceClient(void* user);

/// Rebuilds when the device is lost; at most 5 times in 10 s, then it holds for 10 s with the loss
/// still raised.
void recoverDevice(uint64_t nowMs);

} // namespace vt
