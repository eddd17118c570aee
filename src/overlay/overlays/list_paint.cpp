#include "overlay/overlays/list_paint.h"

#include "base/hash.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kSmallestText = 4; // below this nothing can be read, and nothing is drawn
constexpr size_t kShelfLimit = 1500;
constexpr uint32_t kKeepPictures = 20;
constexpr float kNoLimit = 100000;

const char* familyOf(Face face) {
    switch (face) {
    case Face::mono:
        return "JetBrains Mono";
    case Face::race:
        return "Titillium Web";
    default:
        return "Inter Tight";
    }
}

/// Height of a capital as a part of the size.
float capHeight(Face face) {
    return face == Face::race ? 0.692f : 0.729f;
}

} // namespace

// ---- formats and layouts ----

const TextFormat* TextShelf::format(const TextStyle& style) {
    const int halves = static_cast<int>(std::lround(std::max(style.size, 1.0f) * 2));
    for (const Made& made : formats_)
        if (made.face == style.face && made.weight == style.weight && made.halfUnits == halves)
            return made.format.get();
    formats_.push_back(
        {style.face, style.weight, halves,
         makeTextFormat(familyOf(style.face), static_cast<float>(halves) / 2, style.weight)});
    return formats_.back().format.get();
}

const TextShelf::Line* TextShelf::line(const TextStyle& style, std::string_view text,
                                       float maxWidth) {
    const TextFormat* made = format(style);
    if (text.empty() || !made) return nullptr;
    Fnv64 key;
    key.word(made->id);
    key.scaled(static_cast<double>(maxWidth), 1);
    key.text(text);
    Line& line = lines_[key.value];
    line.lastUse = picture_;
    if (line.layout) return &line;
    line.layout = createTextLayout(*made, text, maxWidth > 0 ? maxWidth : kNoLimit, made->size * 2);
    if (!line.layout) return nullptr;
    layoutSetAlign(*line.layout, TextAlign::leading, TextAlign::leading);
    if (maxWidth > 0) layoutSetEllipsis(*line.layout, true);
    const TextMetrics metrics = layoutMetrics(*line.layout);
    line.width = metrics.width;
    line.baseline = metrics.baseline;
    return &line;
}

void TextShelf::endPicture() {
    if (lines_.size() > kShelfLimit)
        std::erase_if(lines_, [&](const auto& entry) {
            return picture_ - entry.second.lastUse > kKeepPictures;
        });
    if (lines_.size() > 2 * kShelfLimit)
        std::erase_if(lines_, [&](const auto& entry) { return entry.second.lastUse != picture_; });
    ++picture_;
}

void TextShelf::clear() {
    formats_.clear();
    lines_.clear();
}

// ---- text ----

float ListPainter::width(const TextStyle& style, std::string_view text) {
    const TextShelf::Line* found = shelf.line(style, text);
    return found ? found->width : 0;
}

void ListPainter::line(const TextShelf::Line& shown, RectF box, const TextStyle& style,
                       Color colour, TextAlign align) {
    float x = box.left;
    if (align == TextAlign::trailing) x = box.right - shown.width;
    if (align == TextAlign::center) x = box.centerX() - shown.width / 2;
    const float y = box.centerY() + capHeight(style.face) * style.size / 2 - shown.baseline;
    canvas.drawLayout(*shown.layout, {std::round(x), std::round(y)}, ink(colour));
}

void ListPainter::text(RectF box, std::string_view shown, const TextStyle& style, Color colour,
                       TextAlign align) {
    const TextShelf::Line* found = shelf.line(style, shown);
    if (!found) return;
    if (found->width <= box.width() + 0.5f) {
        line(*found, box, style, colour, align);
        return;
    }
    TextStyle smaller = style;
    smaller.size = std::floor(style.size * box.width() / found->width * 2) / 2;
    if (smaller.size < kSmallestText) return;
    found = shelf.line(smaller, shown);
    if (found) line(*found, box, smaller, colour, align);
}

float ListPainter::textCut(RectF box, std::string_view shown, const TextStyle& style, Color colour,
                           TextAlign align) {
    const TextShelf::Line* found = shelf.line(style, shown);
    if (!found || box.width() < style.size) return box.left;
    if (found->width > box.width()) found = shelf.line(style, shown, std::floor(box.width()));
    if (!found) return box.left;
    line(*found, box, style, colour, align);
    return box.left + found->width;
}

// ---- shapes ----

void ListPainter::pill(RectF box, std::string_view shown, const TextStyle& style, Color colour,
                       Color fill, float radius) {
    if (box.width() < 3 || box.height() < 3) return;
    canvas.fillRoundedRect(box, std::min(radius, box.height() / 2), ink(fill));
    const float margin = std::min(3.0f, box.width() * 0.1f);
    text({box.left + margin, box.top, box.right - margin, box.bottom}, shown, style, colour,
         TextAlign::center);
}

void ListPainter::diamond(RectF box, std::string_view shown, const TextStyle& style, Color colour,
                          Color fill) {
    const float reach = std::floor(std::min(box.height() / 2 - 1, box.width() / 2 + 2));
    if (reach < 4) return;
    const float x = std::round(box.centerX()), y = std::round(box.centerY());
    const PathRef path = PathBuilder()
                             .moveTo(x, y - reach)
                             .lineTo(x + reach, y)
                             .lineTo(x, y + reach)
                             .lineTo(x - reach, y)
                             .close()
                             .build();
    canvas.fillPath(path.get(), ink(fill));
    text({x - reach * 0.66f, box.top, x + reach * 0.66f, box.bottom}, shown, style, colour,
         TextAlign::center);
}

void ListPainter::gapBar(RectF box, float length, Color colour, bool fromRight) {
    if (box.width() < 4 || !(length >= 0)) return;
    const float height = std::clamp(std::round(box.height() * 0.2f), 3.0f, 10.0f);
    const float top = std::round(box.centerY() - height / 2);
    const RectF track{box.left, top, box.right, top + height};
    canvas.fillRoundedRect(track, height / 2, ink({1, 1, 1, 0.09f}));
    const float run = std::max(box.width() * std::min(length, 1.0f), height);
    const RectF bar = fromRight ? RectF{box.right - run, top, box.right, top + height}
                                : RectF{box.left, top, box.left + run, top + height};
    canvas.fillRoundedRect(bar, height / 2, ink(colour));
}

void ListPainter::dashedRule(RectF box, Color colour) {
    const float y = std::floor(box.centerY());
    const Brush* brush = ink(colour);
    for (float x = box.left; x < box.right; x += 12)
        canvas.fillRect({x, y, std::min(x + 6, box.right), y + 1}, brush);
}

} // namespace vt
