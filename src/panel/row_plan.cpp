#include "overlay/drawing/drawing.h"
#include "panel/row_parts.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kParagraphGap = 9, kFooterMargin = 14;
RowFormats formats;

float textWidth(const TextFormat* format, const std::string& text) {
    return std::ceil(textWidthUnbounded(format, text, 7.0f * static_cast<float>(text.size())));
}

float wrapped(const TextFormat* format, const std::string& text, float width) {
    return std::ceil(textHeightAt(format, text, width, 16));
}

float itemWidth(const RowItem& item, float room) {
    switch (item.kind) {
    case RowKind::button:
        return std::min(room, textWidth(panelFormat(kFormatButton), item.text) + 32);
    case RowKind::numberBox:
        return kNumberWidth;
    default:
        return room;
    }
}

float itemHeight(const RowItem& item, float width) {
    const RowFormats& f = rowFormats();
    switch (item.kind) {
    case RowKind::heading:
        return wrapped(panelFormat(kFormatTitle), item.text, width);
    case RowKind::text:
        return linesHeight(item.text, width);
    case RowKind::warning:
    case RowKind::success:
        return linesHeight(item.text, width - 2 * kBoxPadding) + 2 * kBoxPadding - 4;
    case RowKind::code:
        return wrapped(f.fixed.get(), item.text, width - 2 * kBoxPadding) + 2 * kBoxPadding - 4;
    case RowKind::tagged:
        return kTagHeight + 6 + wrapped(f.reading.get(), item.value, width);
    case RowKind::button:
        return kButtonHeight;
    case RowKind::checkBox:
        return std::max(kTickSize, wrapped(f.reading.get(), item.text, width - kTickSize - 10));
    case RowKind::numberBox:
        return kNumberHeight;
    case RowKind::gauge:
        return kGaugeHeight + 6 + wrapped(f.strong.get(), item.text, width);
    case RowKind::large:
        return wrapped(f.large.get(), item.text, width);
    }
    return 0;
}

/// The number of items from `first` on that share its line.
size_t lineLength(const std::vector<RowItem>& items, size_t first) {
    size_t count = 1;
    while (first + count < items.size() && items[first + count].beside)
        ++count;
    return count;
}

/// Returns the bottom of what it placed. A line that is too long goes on below.
float placeItems(const std::vector<RowItem>& items, float top, float left, float right, bool fixed,
                 std::vector<RowPlace>& places) {
    float y = top;
    for (size_t i = 0; i < items.size();) {
        const size_t count = lineLength(items, i);
        float x = left, lineHeight = 0;
        if (i > 0) y += kRowGap;
        const size_t firstPlace = places.size();
        for (size_t k = 0; k < count; ++k) {
            const RowItem& item = items[i + k];
            const float width = itemWidth(item, right - left);
            if (x > left && x + width > right) {
                y += lineHeight + kRowBesideGap;
                x = left;
                lineHeight = 0;
            }
            const float height = itemHeight(item, width);
            places.push_back({&item, rectAt(x, y, width, height), fixed});
            lineHeight = std::max(lineHeight, height);
            x += width + kRowBesideGap;
        }
        // Buttons beside a higher box stand in its middle.
        for (size_t p = firstPlace; p < places.size(); ++p) {
            RectF& rect = places[p].rect;
            if (rect.top < y || rect.height() >= lineHeight) continue;
            rect = rectAt(rect.left, y + (lineHeight - rect.height()) / 2, rect.width(),
                          rect.height());
        }
        y += lineHeight;
        i += count;
    }
    return y;
}

float footerHeight(const RowPage& page, float width) {
    if (page.footer.empty()) return 0;
    std::vector<RowPlace> places;
    return placeItems(page.footer, 0, kRowMargin, width - kRowMargin, true, places) +
           2 * kFooterMargin;
}

} // namespace

const RowFormats& rowFormats() {
    if (!panelFormat(kFormatButton)) createPanelFormats(1);
    if (!panelBrush(kBrushText)) createPanelBrushes(0);
    if (!formats.reading) {
        formats.reading = makeTextFormat("Inter Tight", 13.5f, 400);
        formats.strong = makeTextFormat("Inter Tight", 13.5f, 600);
        formats.fixed = makeTextFormat("JetBrains Mono", 12, 400);
        formats.large = makeTextFormat("Inter Tight", 44, 700);
    }
    return formats;
}

void releaseRowFormats() {
    formats = {};
}

std::vector<LinePlace> placeLines(std::string_view text, float left, float top, float width) {
    const TextFormat* format = rowFormats().reading.get();
    std::vector<LinePlace> places;
    float column = 0;
    for (TextLine& line : textLines(text)) {
        if (!line.value.empty()) column = std::max(column, textWidth(format, line.text));
        places.push_back({std::move(line), {}, 0, 0});
    }
    float y = top;
    for (LinePlace& place : places) {
        const float indent = place.line.setIn ? kStepText : 0;
        place.markerX = left + kStepIndent;
        place.valueX = left + indent + column + kColumnGap;
        const bool columns = !place.line.value.empty();
        const float room = columns ? column + 1 : width - indent;
        const float height =
            place.line.empty()
                ? kParagraphGap
                : std::max(wrapped(format, place.line.text, room),
                           wrapped(format, place.line.value, left + width - place.valueX));
        place.rect = rectAt(left + indent, y, room, height);
        y += height + (place.line.empty() ? 0 : kLineGap);
    }
    return places;
}

float linesHeight(std::string_view text, float width) {
    const std::vector<LinePlace> places = placeLines(text, 0, 0, width);
    return places.empty() ? 0 : places.back().rect.bottom;
}

RowPlan planRows(const RowPage& page, float width, float height) {
    rowFormats();
    RowPlan plan;
    const float footer = footerHeight(page, width);
    plan.view = {0, 0, width, std::max(height - footer, 0.0f)};
    plan.above =
        placeItems(page.body, kRowMargin, kRowMargin, width - kRowMargin, false, plan.places) +
        kRowMargin;
    placeItems(page.footer, height - footer + kFooterMargin, kRowMargin, width - kRowMargin, true,
               plan.places);
    return plan;
}

float wantedHeight(const RowPage& page, float width) {
    return planRows(page, width, 0).above + footerHeight(page, width);
}

} // namespace vt
