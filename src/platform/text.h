// Text: fonts, formats, layouts. UTF-8 in; invalid bytes show as U+FFFD. Sizes are design units.
// Main thread only. Layouts belong to no device and survive its loss.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vt {

/// Loads the fonts of `folder` (walked recursively, .ttf and .otf, names that begin with "."
/// skipped) beside the system's. A missing, empty or damaged folder leaves the system's fonts and
/// one log line. Returns the number of font files taken.
int loadFonts(const std::string& folder);
void unloadFonts();
/// Was a family of that name found (shipped or the system's)?
bool fontFamilyKnown(std::string_view family);
/// File name of the font that a family and weight come out as, for tests. Empty when unknown.
std::string fontFileFor(std::string_view family, int weight);

struct TextFormat {
    uint64_t id = 0; // never reused: layout caches key by it
    std::string family;
    float size = 12;
    int weight = 400;
    bool italic = false;
    std::string locale = "en-US";
};
using TextFormatRef = std::shared_ptr<const TextFormat>;

TextFormatRef createTextFormat(std::string_view family, float size, int weight, bool italic = false,
                               std::string_view locale = "en-US");

enum class TextAlign : uint8_t { leading = 0, trailing = 1, center = 2 };

struct TextMetrics {
    float width = 0;             // without blanks at the end
    float widthWithTrailing = 0; // with them
    float height = 0;            // of all lines
    float baseline = 0;          // of the first line, from the top
    int lineCount = 0;
};

struct TextLayout;
using TextLayoutRef = std::shared_ptr<TextLayout>;

/// A box of maxWidth x maxHeight; word wrap is off until `layoutSetWrap`. Null only when memory is
/// short.
TextLayoutRef createTextLayout(const TextFormat& format, std::string_view text, float maxWidth,
                               float maxHeight, float letterSpacing = 0);
void layoutSetFontSize(TextLayout& layout, float size);
void layoutSetBox(TextLayout& layout, float maxWidth, float maxHeight);
void layoutSetWrap(TextLayout& layout, bool wrap);
/// Cuts a single line that is too wide with an ellipsis at its end.
void layoutSetEllipsis(TextLayout& layout, bool on);
void layoutSetAlign(TextLayout& layout, TextAlign horizontal, TextAlign vertical);
TextMetrics layoutMetrics(const TextLayout& layout);

/// Byte offset of the character nearest to a point of the box, and the x of the caret before a
/// byte.
size_t layoutHitTest(const TextLayout& layout, float x, float y);
float layoutCaretX(const TextLayout& layout, size_t byteOffset);

/// Layouts made since the start, for the benchmarks.
uint64_t textLayoutsMade();

} // namespace vt
