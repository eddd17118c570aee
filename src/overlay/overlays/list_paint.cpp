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

// ---- stamps ----

namespace {

constexpr size_t kStampLimit = 160;
constexpr float kOnPixel = 0.01f;

bool onPixel(float x) {
    return std::abs(x - std::round(x)) < kOnPixel;
}

uint32_t colourBytes(Color c) {
    const auto byte = [](float x) {
        return static_cast<uint32_t>(std::lround(std::clamp(x, 0.0f, 1.0f) * 255));
    };
    return byte(c.r) << 24 | byte(c.g) << 16 | byte(c.b) << 8 | byte(c.a);
}

uint64_t stampKey(const StampSpec& spec) {
    Fnv64 key;
    key.word(static_cast<uint64_t>(spec.form));
    key.scaled(static_cast<double>(spec.width), 16);
    key.scaled(static_cast<double>(spec.height), 16);
    key.scaled(static_cast<double>(spec.radius), 16);
    key.scaled(static_cast<double>(spec.edgeWidth), 16);
    key.word(colourBytes(spec.fill));
    key.word(colourBytes(spec.edge));
    return key.value;
}

} // namespace

void StampShelf::begin(float scale) {
    if (scale != scale_ || made_.size() > kStampLimit) made_.clear();
    scale_ = scale;
}

const Bitmap* StampShelf::stamp(const StampSpec& spec, PointF at) {
    const float w = spec.width * scale_, h = spec.height * scale_;
    if (scale_ <= 0 || !onPixel(w) || !onPixel(h) || !onPixel(at.x * scale_) ||
        !onPixel(at.y * scale_))
        return nullptr;
    BitmapRef& made = made_[stampKey(spec)];
    if (made) return made.get();
    made = createBitmap(static_cast<int>(std::lround(w)), static_cast<int>(std::lround(h)),
                        96 * scale_);
    Canvas canvas;
    if (!made || !canvas.begin(made)) return nullptr;
    BrushCache brushes;
    drawStampShape(canvas, brushes, spec, {0, 0});
    canvas.end();
    return made.get();
}

void drawStampShape(Canvas& canvas, BrushCache& brushes, const StampSpec& spec, PointF at) {
    const RectF box = rectAt(at.x, at.y, spec.width, spec.height);
    const float radius = std::min({spec.radius, spec.width / 2, spec.height / 2});
    const Brush* fill = brushFor(brushes, spec.fill);
    const PointF center{box.centerX(), box.centerY()};
    const float reach = std::min(spec.width, spec.height) / 2;
    switch (spec.form) {
    case Stamp::roundedRect:
        if (spec.fill.a > 0) canvas.fillRoundedRect(box, radius, fill);
        if (spec.edgeWidth > 0 && spec.edge.a > 0)
            canvas.strokeRoundedRect(inset(box, spec.edgeWidth / 2), radius - spec.edgeWidth / 2,
                                     brushFor(brushes, spec.edge), spec.edgeWidth);
        break;
    case Stamp::ring:
        canvas.strokeEllipse(center, reach - spec.edgeWidth / 2, reach - spec.edgeWidth / 2, fill,
                             spec.edgeWidth);
        break;
    case Stamp::disc:
        canvas.fillEllipse(center, reach, reach, fill);
        break;
    case Stamp::diamond:
        canvas.fillPath(PathBuilder()
                            .moveTo(center.x, center.y - reach)
                            .lineTo(center.x + reach, center.y)
                            .lineTo(center.x, center.y + reach)
                            .lineTo(center.x - reach, center.y)
                            .close()
                            .build()
                            .get(),
                        fill);
        break;
    }
}

void ListPainter::stamp(RectF box, StampSpec spec, float opacity) {
    spec.width = box.width();
    spec.height = box.height();
    spec.fill = fade(spec.fill, opacity);
    spec.edge = fade(spec.edge, opacity);
    if (!(spec.width > 0) || !(spec.height > 0)) return;
    if (spec.form == Stamp::roundedRect && spec.radius < 0.5f && spec.edgeWidth <= 0) {
        canvas.fillRect(box, overlay.brush(spec.fill));
        return;
    }
    if (const Bitmap* bitmap = stamps.stamp(spec, {box.left, box.top}))
        canvas.drawBitmap(bitmap, box, nullptr, 1, Sampling::nearest);
    else
        drawStampShape(canvas, overlay.brushes, spec, {box.left, box.top});
}

void ListPainter::roundedRect(RectF box, float radius, Color fill, float opacity) {
    StampSpec spec;
    spec.radius = radius;
    spec.fill = fill;
    stamp(box, spec, opacity);
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
    box = {std::round(box.left), std::round(box.top), std::round(box.right),
           std::round(box.bottom)};
    roundedRect(box, radius, fill, content);
    const float margin = std::min(3.0f, box.width() * 0.1f);
    text({box.left + margin, box.top, box.right - margin, box.bottom}, shown, style, colour,
         TextAlign::center);
}

void ListPainter::diamond(RectF box, std::string_view shown, const TextStyle& style, Color colour,
                          Color fill) {
    const float reach = std::floor(std::min(box.height() / 2 - 1, box.width() / 2 + 2));
    if (reach < 4) return;
    const float x = std::round(box.centerX()), y = std::round(box.centerY());
    StampSpec spec{.form = Stamp::diamond};
    spec.fill = fill;
    stamp({x - reach, y - reach, x + reach, y + reach}, spec, content);
    text({x - reach * 0.66f, box.top, x + reach * 0.66f, box.bottom}, shown, style, colour,
         TextAlign::center);
}

void ListPainter::sheet(RectF box, float radius, Color fill) {
    constexpr float kQuarter = 1.5707963f;
    const float r = std::ceil(radius), top = std::ceil(box.top + r),
                bottom = std::floor(box.bottom - r);
    const Brush* brush = ground(fill);
    if (bottom <= top) {
        canvas.fillRoundedRect(box, radius, brush);
        return;
    }
    canvas.fillRect({box.left, top, box.right, bottom}, brush);
    const PathRef head = PathBuilder()
                             .moveTo(box.left, top)
                             .arc({box.left + r, box.top + r}, r, 2 * kQuarter, 3 * kQuarter)
                             .arc({box.right - r, box.top + r}, r, 3 * kQuarter, 4 * kQuarter)
                             .lineTo(box.right, top)
                             .close()
                             .build();
    const PathRef foot = PathBuilder()
                             .moveTo(box.right, bottom)
                             .arc({box.right - r, box.bottom - r}, r, 0, kQuarter)
                             .arc({box.left + r, box.bottom - r}, r, kQuarter, 2 * kQuarter)
                             .lineTo(box.left, bottom)
                             .close()
                             .build();
    canvas.fillPath(head.get(), brush);
    canvas.fillPath(foot.get(), brush);
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
