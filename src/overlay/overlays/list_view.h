// Relative and Standings as records: every row, text and colour of the picture, built from a frame
// and the settings. The looks draw from these alone.
#pragma once
#include "overlay/overlays/cells.h"
#include "overlay/settings/app_config.h"

#include <string>
#include <vector>

namespace vt {

struct ListRow {
    bool blank = true; // a place without a car
    bool player = false;
    bool pinned = false; // below a rule, because rows are left out above it
    bool onPitRoad = false;
    bool showPitBadge = false;
    int kind = 1; // 0 ahead of the player, 1 neither, 2 behind
    Color classColour;
    char name[96] = "";
    Color nameColour;
    char lapBadge[8] = ""; // laps behind or ahead of the player
    int laps = 0;          // its number
    size_t firstCell = 0;  // into ListView::cells, one per column of the view
};

/// The rows of one class.
struct ListBlock {
    size_t firstRow = 0, rowCount = 0;
    bool label = false;
    Color colour;
    char name[40] = "";     // "GT3", or "FIELD" where there are no classes
    char detail[24] = "";   // "15 CARS"
    char strength[24] = ""; // "SOF 3.3k"
    bool players = false;
};

/// What the line above the list says. Empty texts are left out.
struct ListHead {
    char title[16] = "";
    char place[16] = "";    // "P5"
    char overall[24] = "";  // "P19 OVERALL", behind a class position
    char group[48] = "";    // class and number of cars
    char strength[24] = ""; // "SOF 3.3k"
    char time[24] = "";     // "TIME 30:34"
    char best[24] = "", last[24] = "";
    Color bestColour, lastColour;
    char leader[112] = "", leaderGap[16] = "";
    char ahead[112] = "", aheadGap[16] = "";
    char flag[16] = "";
    Color flagColour;
};

struct ListView {
    ListKind kind = ListKind::relative;
    int style = kListApex;
    bool multiclass = false;
    bool classSpine = false; // each row carries its class's colour
    bool classTint = false;  // and the whole row is tinted with it
    bool gapBar = false;
    bool hasName = true;
    ListColours colours;
    std::vector<int> columns; // left to right; the name is one of them
    ColumnList list;          // widths and headers follow its options
    ListHead head;
    std::vector<ListRow> rows;
    std::vector<ListBlock> blocks;
    std::vector<CellContent> cells;

    const CellContent& cell(const ListRow& row, size_t column) const {
        return cells[row.firstCell + column];
    }
};

/// What both lists are built from, beside their own settings.
struct ListSource {
    const SimFrame* frame = nullptr; // null or not connected: an empty list
    const PitLapTable* pits = nullptr;
    int sim = 0; // where the frame has none
    int accentTheme = 0;
};

ColumnScene columnScene(ListKind kind, int style, const ListSource& source);

/// Rows, neighbours and the head of the Relative. `view` keeps its capacity.
void buildRelativeView(ListView& view, const RelativeConfig& config, const ListSource& source);

/// The classes that are shown, their extent and, for `Fixed` sizes, the room that is kept for them.
struct StandingsPlan {
    const CarRow* player = nullptr;
    std::vector<StandingsClass> classes;            // of the frame
    std::vector<size_t> shown;                      // of those
    std::vector<std::vector<StandingsRow>> windows; // of the shown ones
    StandingsExtent extent;                         // as drawn now
    StandingsExtent sizeExtent;                     // as the window is sized
};
/// `rotation` is the class whose turn it is.
StandingsPlan planStandings(const StandingsConfig& config, int style, const SimFrame* frame,
                            int rotation);
void buildStandingsView(ListView& view, const StandingsConfig& config, const ListSource& source,
                        const StandingsPlan& plan);

} // namespace vt
