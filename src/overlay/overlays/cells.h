// What a cell of Relative or Standings shows, as a plain record: decided here once for both
// overlays and all looks, drawn elsewhere.
#pragma once
#include "overlay/overlays/columns.h"
#include "platform/canvas.h"
#include "race/relative_model.h"

#include <cstdint>

namespace vt {

/// The colours that a look decides with.
struct ListColours {
    Color text, dim;                   // normal and secondary text
    Color accent, onAccent;            // the player
    Color positive, negative;          // gains and losses
    Color ahead, battle, calm, behind; // of the interval
    Color classBest, ownBest;          // of lap times
    Color amber;                       // the pits
};
ListColours classicColours(Color accent);
ListColours apexColours(); // of the theme being drawn

enum class CellForm : uint8_t {
    empty,
    text,
    pill, // text on `fill`, rounded
    chip, // text on a faint `fill`
    dot,  // a filled circle in `colour`
    logo, // the brand's picture, `text` where there is room for both
    mark, // the player's own place in the interval column
};

struct CellContent {
    CellForm form = CellForm::empty;
    TextAlign align = TextAlign::leading;
    bool bold = false;
    char text[24] = "";
    Color colour;
    Color fill{0, 0, 0, 0};
    float bar = -1;               // length of the gap bar, 0..1; below 0 there is none
    bool talking = false;         // a dot for the car on the radio
    const Bitmap* logo = nullptr; // the shelf of logos owns it
};

/// What cells are decided from. Pointers are into the frame being drawn.
struct CellScene {
    const SimFrame* frame = nullptr;
    const CarRow* player = nullptr; // may be null
    const ColumnList* list = nullptr;
    ColumnScene columns;
    ListColours colours;
    ClassPalette palette;
    ClassBests bests;
    const PitLapTable* pits = nullptr;
    bool multiclass = false;
    bool gapBar = false;
};

/// `classLeader` is the first row of the car's class in Standings, null in Relative.
CellContent cellContent(const CellScene& scene, int column, const CarRow& row,
                        const CarRow* classLeader);

// ---- pieces, by themselves for tests and for the name cell ----

/// Seconds with a sign and `decimals` (0..2); never "-0.0"; empty when not finite.
size_t signedSeconds(double seconds, int decimals, char* out, size_t capacity);
/// "%.1fk" from 1000 on; empty below 1.
size_t ratingText(int rating, char* out, size_t capacity);
Color licenceColour(std::string_view licence);
/// Dark or light, whichever reads better on `fill`.
Color textOn(Color fill);
bool multiclassFrame(const SimFrame& frame);
/// Every car whose compound is known runs the same one, and there is such a car.
bool uniformCompound(const SimFrame& frame);
/// Position shown: within the class where there are several.
int shownPosition(const CarRow& row, bool multiclass);

/// Is row `i` within `seconds` of the row above or below? Rows are in running order of one class;
/// a car on pit road battles with nobody.
bool nearbyBattle(const std::vector<const CarRow*>& rows, size_t i, float seconds);

} // namespace vt
