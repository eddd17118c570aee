// The brush hand of the two lists: text that never leaves its box, pills, bars, badges, and the
// layouts of every text that the last picture showed.
#pragma once
#include "overlay/overlays/list_view.h"
#include "overlay/window/overlay_window.h"

#include <string_view>
#include <unordered_map>
#include <vector>

namespace vt {

enum class Face : uint8_t {
    sans, // Inter Tight
    mono, // JetBrains Mono: figures stand below each other
    race, // Titillium Web
};

struct TextStyle {
    Face face = Face::sans;
    float size = 13; // design units
    int weight = 500;
};

/// Formats and layouts of one overlay. A full field shows several hundred texts, far more than the
/// caches for small overlays hold; each is laid out once and kept while it is on screen.
class TextShelf {
public:
    struct Line {
        TextLayoutRef layout;
        float width = 0, baseline = 0;
        uint32_t lastUse = 0;
    };
    const TextFormat* format(const TextStyle& style);
    /// Null for an empty text. `maxWidth` above 0 cuts with an ellipsis.
    const Line* line(const TextStyle& style, std::string_view text, float maxWidth = 0);
    /// After a picture: what has not been shown for a while goes once there is much of it.
    void endPicture();
    void clear();
    size_t size() const { return lines_.size(); }

private:
    struct Made {
        Face face;
        int weight, halfUnits;
        TextFormatRef format;
    };
    std::vector<Made> formats_;
    std::unordered_map<uint64_t, Line> lines_;
    uint32_t picture_ = 1;
};

enum class Stamp : uint8_t { roundedRect, ring, disc, diamond };

struct StampSpec {
    Stamp form = Stamp::roundedRect;
    float width = 0, height = 0; // design units
    float radius = 0;            // of the corners
    Color fill{}, edge{0, 0, 0, 0};
    float edgeWidth = 0;
};

/// Small shapes that a list shows in every row: rounding a corner costs more than copying it, so
/// each is drawn once and then put down as a picture.
class StampShelf {
public:
    /// Pixels per design unit of the target; 0 = unknown, nothing is kept.
    void begin(float scale);
    /// Null where the box does not fall on whole pixels.
    const Bitmap* stamp(const StampSpec& spec, PointF at);
    void clear() { made_.clear(); }

private:
    std::unordered_map<uint64_t, BitmapRef> made_;
    float scale_ = 0;
};
void drawStampShape(Canvas& canvas, BrushCache& brushes, const StampSpec& spec, PointF at);

struct ListPainter {
    Canvas& canvas;
    OverlayWindow& overlay;
    TextShelf& shelf;
    StampShelf& stamps;
    float content = 1, background = 1; // opacities

    const Brush* ink(Color colour) { return overlay.brush(colour, content); }
    const Brush* ground(Color colour) { return overlay.brush(colour, background); }

    float width(const TextStyle& style, std::string_view text);
    /// One line, its capitals centred in the height. Too wide a text takes a smaller size.
    void text(RectF box, std::string_view text, const TextStyle& style, Color colour,
              TextAlign align = TextAlign::leading);
    /// As `text`, but a text too wide ends in an ellipsis. Returns where it ends.
    float textCut(RectF box, std::string_view text, const TextStyle& style, Color colour,
                  TextAlign align = TextAlign::leading);
    void pill(RectF box, std::string_view text, const TextStyle& style, Color colour, Color fill,
              float radius);
    /// Square on its corner, filled, with text.
    void diamond(RectF box, std::string_view text, const TextStyle& style, Color colour,
                 Color fill);
    /// A shape in `box`; `opacity` multiplies its colours.
    void stamp(RectF box, StampSpec spec, float opacity);
    void roundedRect(RectF box, float radius, Color fill, float opacity);
    /// The sheet behind a whole list. Only its ends are rounded shapes: filling one of that size
    /// costs more than twice what a rectangle does.
    void sheet(RectF box, float radius, Color fill);
    void gapBar(RectF box, float length, Color colour, bool fromRight);
    /// Across the box where rows are left out.
    void dashedRule(RectF box, Color colour);

private:
    void line(const TextShelf::Line& line, RectF box, const TextStyle& style, Color colour,
              TextAlign align);
};

} // namespace vt
