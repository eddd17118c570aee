// The twenty columns of Relative and Standings: what they are called, how wide they are in each
// look, which look can show them, and how large the overlays become. Widths and heights are design
// units at scale 1.
#pragma once
#include "base/geometry.h"
#include "overlay/settings/overlay_config.h"
#include "platform/text.h"

#include <vector>

namespace vt {

enum ColumnId : int {
    kColumnPosition = 0,
    kColumnClass = 1,
    kColumnNumber = 2,
    kColumnDriver = 3,
    kColumnLicence = 4,
    kColumnRating = 5,
    kColumnInterval = 6,
    kColumnBrand = 7,
    kColumnLeaderGap = 8,
    kColumnBestLap = 9,
    kColumnLastLap = 10,
    kColumnLapDelta = 11, // drawn beside the name
    kColumnPosGain = 12,
    kColumnPit = 13, // drawn beside the name
    kColumnCompound = 14,
    kColumnTags = 15,
    kColumnRatingGain = 16,
    kColumnLastDelta = 17,
    kColumnPitTime = 18,
    kColumnTyreAge = 19
};

enum class ListKind { relative, standings };

/// As stored in `relStyle` and `stdStyle`.
enum ListStyle : int {
    kListClassic = 0,
    kListGrid = 1,
    kListCompact = 2,
    kListFocus = 3, // "Anchor" in Relative
    kListRows = 4,
    kListApex = 5
};
inline constexpr int kListStyleCount = 6;
int clampListStyle(int style);

const char* columnName(int column); // as the column editor calls it; translated
const char* columnHint(int column); // translated
/// The short word above the column; empty for columns that have none.
const char* columnHeaderText(int column, TextAlign& alignment);

float columnWidthGrid(int column, ListKind kind);
/// Classic. `options` are the column's own.
float columnWidthList(int column, const ColumnOptions& options);
float columnWidthApex(int column); // the name counts as 140
/// Compact, Anchor, Focus and Rows, whose windows do not follow their columns.
float columnWidthFixed(int column);

bool styleCanShow(ListKind kind, int style, int column);

/// The column's record, or null when the list has none.
const ColumnSpec* findColumn(const ColumnList& list, int column);
const ColumnOptions& columnOptions(const ColumnList& list, int column);

/// What decides over columns beside the settings.
struct ColumnScene {
    ListKind kind = ListKind::relative;
    int style = kListApex;
    int sim = 0;                  // SimKind
    int session = 0;              // SessionKind
    bool uniformCompound = false; // every car runs the same tyres
    bool operator==(const ColumnScene&) const = default;
};

bool columnVisible(const ColumnList& list, const ColumnScene& scene, int column);

/// The visible columns from left to right: in the list's order where the style leaves it free, else
/// in the style's own. Columns drawn beside the name are left out.
std::vector<int> columnOrder(const ColumnList& list, const ColumnScene& scene);

/// The interval column is there and has its bar in this style.
bool hasGapBar(const ColumnList& list, const ColumnScene& scene);
/// Width that the bar adds to the interval column.
float gapBarWidth(int style);

// ---- sizes of the windows ----

int listWidth(const ColumnList& list, const ColumnScene& scene);
/// `ahead` and `behind` are held within 0..5.
int relativeHeight(int style, int ahead, int behind);

/// What a standings list consists of.
struct StandingsExtent {
    int blocks = 1;    // classes
    int labels = 0;    // class labels
    int rows = 0;      // cars
    int gaps = 0;      // rules where rows are left out
    int extraRows = 0; // rows drawn taller: the player's
};
int standingsHeight(int style, const StandingsExtent& extent);
/// Class labels that a style draws for that many blocks.
int standingsLabels(int style, int blocks);

} // namespace vt
