#include "overlay/overlays/columns.h"

#include "base/translate.h"
#include "overlay/frame/sim_support.h"
#include "race/relative_model.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace vt {

namespace {

struct ColumnInfo {
    const char* name;
    const char* hint;
    const char* header;
    TextAlign align;
    float gridRelative, gridStandings, apex, list, fixed;
};

constexpr TextAlign L = TextAlign::leading, C = TextAlign::center, R = TextAlign::trailing;

// A width of 0: the column has no place of its own in that look.
constexpr std::array<ColumnInfo, kColumnCount> kColumns = {{
    {"Position", "Running-order position (overall, or within class in multiclass).", "P", L, 32, 32,
     38, 30, 40},
    {"Class", "Colour bar or tint marking each car's class in multiclass races.", "", L, 0, 0, 0, 4,
     0},
    {"Car #", "The car's racing number.", "#", L, 30, 30, 30, 26, 34},
    {"Driver",
     "Driver name. Advanced options set the format (full, surname, abbreviation) and can tint the "
     "name when that car is in battle range.",
     "NAME", L, 150, 150, 140, 80, 140},
    {"License", "iRacing licence class and Safety Rating (e.g. A 3.50).", "LIC", C, 66, 66, 56, 40,
     64},
    {"iRating", "The driver's iRating skill number.", "iR", R, 46, 46, 46, 38, 46},
    {"Interval (INT)", "Relative time gap to you on track: red ahead, green behind.", "INT", R, 54,
     54, 50, 52, 58},
    {"Brand", "Car manufacturer, shown as text, logo, or both.", "CAR", L, 66, 74, 36, 52, 44},
    {"Gap to leader", "Time gap to the class leader.", "GAP", R, 54, 56, 52, 52, 62},
    {"Best lap", "The driver's fastest lap this session.", "BEST", R, 60, 60, 60, 56, 64},
    {"Last lap", "The driver's most recent completed lap time.", "LAST", R, 60, 60, 60, 56, 64},
    {"Lap delta", "Laps ahead of or behind you, shown as a badge by the name.", "", L, 0, 0, 0, 0,
     0},
    {"Pos gain", "Positions gained or lost since the race start.", "", R, 0, 0, 0, 0, 0},
    {"Pit status", "Amber badge shown while the car is on pit road.", "", L, 0, 0, 0, 0, 0},
    {"Compound", "Tyre compound each car is running.", "TY", C, 24, 24, 24, 26, 24},
    {"Tags", "Your custom notes or tags for a driver.", "", L, 0, 0, 0, 0, 0},
    {"iR +/-", "Projected iRating change for the current result.", "+/-", R, 44, 44, 38, 44, 44},
    {"Last lap delta",
     "Each car's last lap vs their own best, showing if they're speeding up or slowing.", "DELTA",
     R, 0, 0, 48, 52, 52},
    {"Pit time", "Duration of the car's last pit stop.", "PIT", R, 0, 0, 46, 48, 48},
    {"Tyre age",
     "Laps completed since that car left the pits, so you can see who is on fresher rubber. Shows "
     "the lap count, or coarse NEW/OK/OLD buckets.",
     "AGE", R, 0, 0, 38, 38, 38},
}};

const ColumnInfo& info(int column) {
    return kColumns[static_cast<size_t>(std::clamp(column, 0, kColumnCount - 1))];
}

constexpr uint32_t columns(std::initializer_list<int> ids) {
    uint32_t bits = 0;
    for (const int id : ids)
        bits |= 1u << id;
    return bits;
}

constexpr uint32_t kAllColumns = (1u << kColumnCount) - 1;
constexpr uint32_t kGridColumns = columns({0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 13, 14, 16});

constexpr std::array<uint32_t, kListStyleCount> kRelativeColumns = {
    kAllColumns,
    kGridColumns,
    columns({0, 3, 6, 7, 10, 13}),
    columns({0, 2, 3, 6, 7, 9, 10, 13}),
    columns({0, 3, 4, 6, 10, 13}),
    columns({0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 16, 17, 18, 19})};
constexpr std::array<uint32_t, kListStyleCount> kStandingsColumns = {
    kAllColumns,
    kGridColumns,
    columns({0, 3, 7, 8, 10, 13}),
    columns({0, 2, 3, 7, 8, 10, 13}),
    columns({0, 3, 7, 8, 13}),
    columns({0, 2, 3, 4, 5, 7, 8, 9, 10, 11, 13, 14, 16, 17, 18, 19})};

// Left to right where the style fixes it: who, what, how far, how fast.
constexpr std::array<int, 15> kFixedOrder = {0, 2, 3, 7, 4, 5, 16, 14, 19, 18, 8, 9, 10, 17, 6};

bool besideName(int column) {
    return column == kColumnLapDelta || column == kColumnPit;
}

bool freeOrder(int style) {
    return style == kListClassic || style == kListGrid;
}

float styleWidth(const ColumnList& list, const ColumnScene& scene, int column) {
    switch (scene.style) {
    case kListClassic:
        return columnWidthList(column, columnOptions(list, column));
    case kListGrid:
        return columnWidthGrid(column, scene.kind);
    case kListApex:
        return columnWidthApex(column);
    default:
        return columnWidthFixed(column);
    }
}

} // namespace

int clampListStyle(int style) {
    return style >= 0 && style < kListStyleCount ? style : kListApex;
}

const char* columnName(int column) {
    return Translate(info(column).name);
}

const char* columnHint(int column) {
    return Translate(info(column).hint);
}

const char* columnHeaderText(int column, TextAlign& alignment) {
    alignment = info(column).align;
    return info(column).header;
}

float columnWidthGrid(int column, ListKind kind) {
    return kind == ListKind::relative ? info(column).gridRelative : info(column).gridStandings;
}

float columnWidthList(int column, const ColumnOptions& options) {
    if (column == kColumnInterval && options.relBarClassic) return 126;
    if (column == kColumnBrand && options.brandStyle == 2) return 104;
    return column == kColumnDriver ? 0 : info(column).list;
}

float columnWidthApex(int column) {
    return info(column).apex;
}

float columnWidthFixed(int column) {
    return info(column).fixed;
}

bool styleCanShow(ListKind kind, int style, int column) {
    if (column < 0 || column >= kColumnCount) return false;
    const auto& shown = kind == ListKind::relative ? kRelativeColumns : kStandingsColumns;
    return (shown[static_cast<size_t>(clampListStyle(style))] >> column & 1u) != 0;
}

const ColumnSpec* findColumn(const ColumnList& list, int column) {
    const auto count = static_cast<size_t>(std::clamp(list.count, 0, kColumnCount));
    for (size_t i = 0; i < count; ++i)
        if (list.specs[i].fieldId == column) return &list.specs[i];
    return nullptr;
}

const ColumnOptions& columnOptions(const ColumnList& list, int column) {
    static const ColumnOptions defaults;
    const ColumnSpec* spec = findColumn(list, column);
    return spec ? spec->opts : defaults;
}

bool columnVisible(const ColumnList& list, const ColumnScene& scene, int column) {
    if (!styleCanShow(scene.kind, scene.style, column)) return false;
    if (!columnSupported(column, scene.sim)) return false;
    const ColumnSpec* spec = findColumn(list, column);
    if (!spec) return true;
    if (column == kColumnCompound && scene.uniformCompound && spec->opts.compHideUniform)
        return false;
    switch (scene.session) {
    case kSessionRace:
        return spec->enabled && spec->race;
    case kSessionQualify:
        return spec->enabled && spec->qualy;
    case kSessionPractice:
        return spec->enabled && spec->practice;
    default:
        return spec->enabled;
    }
}

std::vector<int> columnOrder(const ColumnList& list, const ColumnScene& scene) {
    std::vector<int> order;
    order.reserve(kColumnCount);
    const auto add = [&](int column) {
        if (besideName(column) || !columnVisible(list, scene, column)) return;
        if (std::find(order.begin(), order.end(), column) == order.end()) order.push_back(column);
    };
    if (freeOrder(scene.style))
        for (int i = 0; i < std::clamp(list.count, 0, kColumnCount); ++i)
            add(list.specs[static_cast<size_t>(i)].fieldId);
    for (const int column : kFixedOrder)
        add(column);
    if (scene.style == kListClassic) add(kColumnClass);
    return order;
}

bool hasGapBar(const ColumnList& list, const ColumnScene& scene) {
    if (!columnVisible(list, scene, kColumnInterval)) return false;
    const ColumnOptions& o = columnOptions(list, kColumnInterval);
    const std::array<bool, kListStyleCount> bars = {o.relBarClassic, o.relBarGrid, o.relBarCompact,
                                                    o.relBarAnchor,  o.relBarRows, o.relBarApex};
    return bars[static_cast<size_t>(clampListStyle(scene.style))];
}

float gapBarWidth(int style) {
    constexpr std::array<float, kListStyleCount> widths = {74, 116, 118, 160, 120, 71};
    return widths[static_cast<size_t>(clampListStyle(style))];
}

// ---- sizes of the windows ----

namespace {

float sumOfWidths(const ColumnList& list, const ColumnScene& scene, float gap) {
    const std::vector<int> order = columnOrder(list, scene);
    float sum = 0;
    for (const int column : order)
        sum += styleWidth(list, scene, column);
    if (!order.empty()) sum += gap * static_cast<float>(order.size() - 1);
    if (hasGapBar(list, scene)) sum += gapBarWidth(scene.style);
    return sum;
}

float classicWidth(const ColumnList& list, const ColumnScene& scene) {
    float width = 10 + 10;
    bool first = true;
    for (const int column : columnOrder(list, scene)) {
        width += styleWidth(list, scene, column);
        if (!first) width += column == kColumnPosition ? 2.0f : column == kColumnNumber ? 6 : 8;
        first = false;
        if (column == kColumnDriver) width += 80;
    }
    return width;
}

float apexRelativeWidth(const ColumnList& list, const ColumnScene& scene) {
    const float nameWidth = columnWidthApex(kColumnDriver);
    float width = 24 + sumOfWidths(list, scene, 7);
    if (!columnVisible(list, scene, kColumnDriver)) width += nameWidth + 7;
    return std::max(360.0f, width);
}

int rounded(float size) {
    return static_cast<int>(size + 0.5f);
}

} // namespace

int listWidth(const ColumnList& list, const ColumnScene& scene) {
    const bool relative = scene.kind == ListKind::relative;
    const bool bar = hasGapBar(list, scene);
    switch (scene.style) {
    case kListClassic:
        return rounded(std::max(relative ? 440.0f : 420.0f, classicWidth(list, scene)));
    case kListGrid:
        return rounded(std::max(300.0f, 28 + sumOfWidths(list, scene, 6)));
    case kListCompact:
        return relative && bar ? 548 : 430;
    case kListFocus:
        return relative && !bar ? 480 : 640;
    case kListRows:
        return relative && bar ? 680 : 560;
    default:
        return relative ? rounded(apexRelativeWidth(list, scene)) : 860;
    }
}

int relativeHeight(int style, int ahead, int behind) {
    const int a = std::clamp(ahead, 0, 5), b = std::clamp(behind, 0, 5), n = a + b;
    switch (style) {
    case kListClassic:
        return (n + 1) * 28 + 2 * n + 10 + 42 + 6;
    case kListGrid:
        return 2 * n + (n + 1) * 30 + 56 + 6;
    case kListCompact:
        return 2 * n + (n + 1) * 30 + 5 + 5;
    case kListFocus:
        return 2 * n + (n + 1) * 32 + 6 + 6;
    case kListRows:
        return 5 * n + (n + 1) * 34;
    default:
        return 38 * a + 20 + 42 + 38 * b;
    }
}

int standingsLabels(int style, int blocks) {
    if (style == kListFocus) return 0;
    return std::max(style == kListRows || style == kListApex ? blocks : blocks - 1, 0);
}

int standingsHeight(int style, const StandingsExtent& e) {
    const int r = std::max(e.rows, 1), k = std::max(e.blocks, 1), g = 8 * e.gaps, h = e.labels;
    switch (style) {
    case kListGrid:
        return 24 * h + 56 + 30 * r + 2 * (r - 1) + 2 * (k - 1) + g + 6;
    case kListCompact:
        return 22 * h + 30 + 30 * r + 2 * (r - 1) + g + 5;
    case kListFocus:
        return 32 * r + 38 + 2 * (r - 1) + g + 6;
    case kListRows:
        return 24 * h + 32 + 34 * r + 5 * (r - 1) + 5 * (k - 1) + g;
    case kListApex:
        return 22 * h + 20 + 36 * r + 4 * e.extraRows + g;
    default:
        return 20 * h + 42 + 26 * r + 2 * (r - 1) + 6 * e.gaps + 6;
    }
}

} // namespace vt
