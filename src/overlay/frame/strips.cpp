#include "overlay/frame/strips.h"

#include "base/utf8.h"
#include "overlay/frame/sim_support.h"
#include "overlay/frame/theme.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

namespace vt {

namespace {

constexpr float kMargin = 10, kApexMargin = 12;
constexpr float kGap = 12; // between two texts
constexpr float kHairlineInset = 8;
constexpr float kTallestText = 0.85f; // of the strip's height
constexpr float kEmptyOpacity = 0.45f;
constexpr Color kGain{0.3f, 0.85f, 0.4f, 1};
constexpr Color kLoss{0.95f, 0.35f, 0.3f, 1};
constexpr int kFieldRatingGain = 18;
constexpr int kSmokedGlass = 3;
constexpr float kQuarterTurn = 1.57079633f;

enum Place { kLeft, kCenter, kRight, kPlaces };

std::array<int, kPlaces> fieldIds(const OverlayConfig& overlay, bool header) {
    if (header) return {overlay.headerLeft, overlay.headerCenter, overlay.headerRight};
    return {overlay.footerLeft, overlay.footerCenter, overlay.footerRight};
}

/// Texts that say by themselves what they are: the overlay's title, the sim, the session, the
/// track. What is missing always has its label.
bool needsLabel(int fieldId, int sim) {
    switch (fieldId) {
    case 1:
    case 2:
    case 4:
    case 5:
        return !fieldSupported(fieldId, sim);
    default:
        return true;
    }
}

// ---- where the texts stand ----

struct Span {
    float from = 0, to = 0;
    bool cut = false; // narrower than its text
    float width() const { return to - from; }
};

/// Left and right keep their edge, the centre its middle. Where they would touch, the centre moves
/// aside, then loses its end, then goes; after it left and right lose theirs, the shorter one last.
std::array<Span, kPlaces> placeTexts(float from, float to, std::array<float, kPlaces> width) {
    const float room = std::max(to - from, 0.0f);
    const float between = width[kLeft] > 0 && width[kRight] > 0 ? kGap : 0;
    float left = width[kLeft], right = width[kRight];
    if (left + between + right > room) {
        const float half = std::max((room - between) / 2, 0.0f);
        if (right <= half)
            left = std::max(room - between - right, 0.0f);
        else if (left <= half)
            right = std::max(room - between - left, 0.0f);
        else
            left = right = half;
    }
    std::array<Span, kPlaces> spans;
    spans[kLeft] = {from, from + left, left < width[kLeft]};
    spans[kRight] = {to - right, to, right < width[kRight]};

    const float low = left > 0 ? from + left + kGap : from;
    const float high = right > 0 ? to - right - kGap : to;
    const float center = std::clamp(width[kCenter], 0.0f, std::max(high - low, 0.0f));
    const float start = std::clamp((from + to - center) / 2, low, std::max(high - center, low));
    spans[kCenter] = {start, start + center, center < width[kCenter]};
    return spans;
}

// ---- colours ----

std::string_view withoutLabel(std::string_view text, int fieldId) {
    const std::string_view label = fieldLabel(fieldId);
    if (text.size() > label.size() && text.starts_with(label) && text[label.size()] == ' ')
        text.remove_prefix(label.size() + 1);
    return text;
}

Color textColour(std::string_view text, int fieldId, const StripStyle& style) {
    Color color = style.apex ? themePalette().text : kTextColour;
    const bool empty = isFieldEmpty(text);
    if (fieldId == kFieldRatingGain && !empty) {
        const bool loss = withoutLabel(text, fieldId).starts_with('-');
        if (style.apex)
            color = loss ? kApexNegative : kApexPositive;
        else
            color = loss ? kLoss : kGain;
    }
    return fade(color, style.contentOpacity * (empty ? kEmptyOpacity : 1));
}

// ---- drawing ----

/// The band's outer corners follow the theme's panels.
PathRef bandPath(RectF rect, bool header, float radius) {
    PathBuilder path;
    const float r = std::min(radius, rect.height());
    const float l = rect.left, t = rect.top, e = rect.right, b = rect.bottom;
    if (header) {
        path.moveTo(l, b).lineTo(l, t + r);
        path.arc({l + r, t + r}, r, 2 * kQuarterTurn, 3 * kQuarterTurn);
        path.lineTo(e - r, t).arc({e - r, t + r}, r, 3 * kQuarterTurn, 4 * kQuarterTurn);
        path.lineTo(e, b).close();
    } else {
        path.moveTo(e, t).lineTo(e, b - r);
        path.arc({e - r, b - r}, r, 0, kQuarterTurn);
        path.lineTo(l + r, b).arc({l + r, b - r}, r, kQuarterTurn, 2 * kQuarterTurn);
        path.lineTo(l, t).close();
    }
    return path.build();
}

void drawBand(Canvas& canvas, BrushCache& brushes, RectF rect, bool header, float opacity) {
    const OverlayTheme& theme = themePalette();
    const float fill = drawTheme() == kSmokedGlass ? opacity * 0.5f : opacity;
    const Brush* brush = brushFor(brushes, fade(theme.stripFill, fill));
    if (theme.cornerRadius > 0)
        canvas.fillPath(bandPath(rect, header, theme.cornerRadius).get(), brush);
    else
        canvas.fillRect(rect, brush);
    const float y = header ? rect.bottom - 1 : rect.top;
    canvas.fillRect({rect.left, y, rect.right, y + 1},
                    brushFor(brushes, fade(theme.panelLine, opacity)));
}

void drawHairline(Canvas& canvas, BrushCache& brushes, RectF rect, bool header, float opacity) {
    const float y = header ? rect.bottom - 1 : rect.top;
    canvas.fillRect({rect.left + kHairlineInset, y, rect.right - kHairlineInset, y + 1},
                    brushFor(brushes, {1, 1, 1, 0.08f * opacity}));
}

/// The longest beginning of `text` that fits with an ellipsis behind it.
std::string shortened(const TextFormat* format, std::string_view text, float width) {
    constexpr std::string_view ellipsis = "…";
    const TextLayoutRef whole = measureLayout(format, text, 1e5f, kStripHeight);
    if (!whole) return {};
    const float room = width - textWidthUnbounded(format, ellipsis);
    size_t end = 0;
    for (size_t next = 0; next < text.size();) {
        utf8Next(text, next);
        if (layoutCaretX(*whole, next) > room) break;
        end = next;
    }
    while (end > 0 && text[end - 1] == ' ')
        --end;
    return std::string(text.substr(0, end)).append(ellipsis);
}

void drawPlace(Canvas& canvas, const TextFormat* format, std::string_view text, RectF box, bool cut,
               TextAlign align, const Brush* brush) {
    if (!cut)
        drawText(canvas, format, text, box, brush, align);
    else if (box.width() >= format->size * 3) // a letter or two and an ellipsis tell nothing
        drawText(canvas, format, shortened(format, text, box.width()), box, brush, align);
}

} // namespace

StripTexts stripTexts(const OverlayConfig& overlay, bool header, const SimFrame& frame,
                      const FieldContext& context) {
    StripTexts texts;
    const std::array<int, kPlaces> ids = fieldIds(overlay, header);
    char* const outs[kPlaces] = {texts.left, texts.center, texts.right};
    for (size_t i = 0; i < kPlaces; ++i)
        formatStripField(outs[i], ids[i], frame, context, frame.simKind,
                         needsLabel(ids[i], frame.simKind));
    return texts;
}

void drawStrip(Canvas& canvas, BrushCache& brushes, RectF rect, bool header,
               const OverlayConfig& overlay, const StripTexts& texts, const StripStyle& style) {
    if (style.apex)
        drawBand(canvas, brushes, rect, header, style.contentOpacity);
    else
        drawHairline(canvas, brushes, rect, header, style.contentOpacity);
    if (!style.format || style.format->size <= 0) return;

    // Letters too tall for the strip are drawn smaller rather than over its edges.
    const float scale = std::min(1.0f, rect.height() * kTallestText / style.format->size);
    const Matrix outer = canvas.transform();
    canvas.setTransform(combine(scaleMatrix(scale), outer));
    rect = {rect.left / scale, rect.top / scale, rect.right / scale, rect.bottom / scale};

    const std::array<int, kPlaces> ids = fieldIds(overlay, header);
    const std::array<std::string_view, kPlaces> shown = {texts.left, texts.center, texts.right};
    std::array<float, kPlaces> widths{};
    for (size_t i = 0; i < kPlaces; ++i)
        widths[i] = std::ceil(textWidthUnbounded(style.format, shown[i]));
    const float margin = (style.apex ? kApexMargin : kMargin) / scale;
    const auto spans = placeTexts(rect.left + margin, rect.right - margin, widths);
    constexpr TextAlign aligns[kPlaces] = {TextAlign::leading, TextAlign::center,
                                           TextAlign::trailing};
    for (size_t i = 0; i < kPlaces; ++i) {
        if (shown[i].empty()) continue;
        const RectF box{spans[i].from, rect.top, spans[i].to, rect.bottom};
        drawPlace(canvas, style.format, shown[i], box, spans[i].cut, aligns[i],
                  brushFor(brushes, textColour(shown[i], ids[i], style)));
    }
    canvas.setTransform(outer);
}

} // namespace vt
