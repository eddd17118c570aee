#include "overlay/overlays/list_layout.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vt {

namespace {

// In both kinds the sums of these are the heights in columns.cpp.
constexpr std::array<FlowSpec, kListStyleCount> kRelativeFlow = {{
    {.head = 42, .top = 5, .row = 28, .rowGap = 2},
    {.head = 56, .top = 0, .row = 30, .rowGap = 2},
    {.head = 0, .top = 5, .row = 30, .rowGap = 2},
    {.head = 0, .top = 6, .row = 32, .rowGap = 2},
    {.head = 0, .top = 0, .row = 34, .rowGap = 5},
    {.head = 20, .top = 0, .row = 38, .rowGap = 0, .playerExtra = 4},
}};
constexpr std::array<FlowSpec, kListStyleCount> kStandingsFlow = {{
    {.head = 42, .row = 26, .rowGap = 2, .label = 20, .rule = 6},
    {.head = 56, .row = 30, .rowGap = 2, .label = 24, .blockGap = 2},
    {.head = 30, .row = 30, .rowGap = 2, .label = 22},
    {.head = 38, .row = 32, .rowGap = 2},
    {.head = 32, .row = 34, .rowGap = 5, .label = 24, .blockGap = 5},
    {.head = 20, .row = 36, .rowGap = 0, .label = 22, .playerExtra = 4},
}};

// The first to go when the window is too narrow for all.
constexpr std::array<int, 14> kDropOrder = {
    kColumnTyreAge,   kColumnPitTime, kColumnLastDelta, kColumnRatingGain, kColumnCompound,
    kColumnRating,    kColumnBrand,   kColumnBestLap,   kColumnLicence,    kColumnLastLap,
    kColumnLeaderGap, kColumnNumber,  kColumnInterval,  kColumnPosition};
constexpr float kReadable = 0.62f; // of the design's text size

struct Want {
    size_t index;
    int column;
    float width, bar, gap; // `gap` is before the column
};

float columnWidth(const ListView& view, int column) {
    switch (view.style) {
    case kListClassic: {
        const ColumnOptions& options = columnOptions(view.list, column);
        const float bar = column == kColumnInterval && options.relBarClassic ? 74.0f : 0.0f;
        return columnWidthList(column, options) - bar;
    }
    case kListGrid:
        return columnWidthGrid(column, view.kind);
    case kListApex:
        return columnWidthApex(column);
    default:
        return columnWidthFixed(column);
    }
}

float gapBefore(int style, int column) {
    if (style == kListClassic)
        return column == kColumnPosition ? 2.0f : column == kColumnNumber ? 6.0f : 8.0f;
    return style == kListGrid ? 6.0f : style == kListApex ? 7.0f : 8.0f;
}

float smallestName(int style) {
    return style == kListClassic ? 80.0f : style == kListCompact ? 90.0f : 110.0f;
}

std::vector<Want> wantedColumns(const ListView& view) {
    std::vector<Want> wants;
    for (size_t i = 0; i < view.columns.size(); ++i) {
        const int column = view.columns[i];
        const bool bar = column == kColumnInterval && view.gapBar;
        wants.push_back(
            {i, column,
             column == kColumnDriver ? smallestName(view.style) : columnWidth(view, column),
             bar ? gapBarWidth(view.style) : 0.0f, gapBefore(view.style, column)});
    }
    if (!wants.empty()) wants.front().gap = 0;
    return wants;
}

float total(const std::vector<Want>& wants) {
    float sum = 0;
    for (const Want& want : wants)
        sum += want.width + want.bar + want.gap;
    return sum;
}

void dropForWidth(std::vector<Want>& wants, float available) {
    for (const int column : kDropOrder) {
        if (total(wants) * kReadable <= available) break;
        std::erase_if(wants, [&](const Want& want) { return want.column == column; });
        if (!wants.empty()) wants.front().gap = 0;
    }
}

} // namespace

FlowSpec flowSpec(ListKind kind, int style) {
    const auto& specs = kind == ListKind::relative ? kRelativeFlow : kStandingsFlow;
    return specs[static_cast<size_t>(clampListStyle(style))];
}

RowFlow flowRows(const ListView& view, RectF rect, float naturalHeight) {
    const FlowSpec spec = flowSpec(view.kind, view.style);
    RowFlow flow;
    flow.scale = naturalHeight > 0 ? rect.height() / naturalHeight : 1.0f;
    float y = 0; // at scale 1, from the top of `rect`
    const auto band = [&](float height) {
        const float top = std::round(rect.top + y * flow.scale);
        y += height;
        return RectF{rect.left, top, rect.right, std::round(rect.top + y * flow.scale)};
    };
    flow.head = band(spec.head);
    y += spec.top;
    bool first = true;
    for (const ListBlock& block : view.blocks) {
        if (!first) y += spec.blockGap;
        bool gapDone = first;
        if (block.label && !first) y += spec.rowGap, gapDone = true;
        flow.labels.push_back(block.label ? band(spec.label) : RectF{});
        for (size_t i = block.firstRow; i < block.firstRow + block.rowCount; ++i) {
            const ListRow& row = view.rows[i];
            if (!gapDone) y += spec.rowGap;
            gapDone = false;
            if (row.pinned) flow.rules.push_back(band(spec.rule));
            flow.rows.push_back(band(spec.row + (row.player ? spec.playerExtra : 0)));
        }
        first = false;
    }
    return flow;
}

ColumnFit fitColumns(const ListView& view, float left, float right, float textScale) {
    ColumnFit fit;
    const float available = std::max(right - left, 1.0f);
    std::vector<Want> wants = wantedColumns(view);
    dropForWidth(wants, available);
    if (wants.empty()) return fit;
    const float fits = available / total(wants);
    fit.textScale = std::min(textScale, fits);
    const float scale = std::max(fit.textScale, std::min(1.0f, fits)); // of the columns
    const float still = std::min(scale, 1.0f);                         // of gaps and bars

    float used = 0;
    const Want* name = nullptr;
    for (const Want& want : wants) {
        used += want.width * scale + (want.bar + want.gap) * still;
        if (want.column == kColumnDriver) name = &want;
    }
    const float spare = std::max(available - used, 0.0f);
    const float between =
        name || wants.size() < 2 ? 0.0f : spare / static_cast<float>(wants.size() - 1);
    float x = left;
    for (const Want& want : wants) {
        if (&want != &wants.front()) x += want.gap * still + between;
        ColumnPlace place{.index = want.index, .column = want.column, .left = x};
        x += want.width * scale + (&want == name ? spare : 0.0f);
        place.right = std::round(x);
        if (want.bar > 0) {
            place.barLeft = std::round(x + 8 * still);
            x += want.bar * still;
            place.barRight = std::round(x);
        }
        place.left = std::round(place.left);
        fit.places.push_back(place);
    }
    return fit;
}

} // namespace vt
