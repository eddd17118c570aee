// The six looks of the two lists, and the pieces that they draw with.
#pragma once
#include "overlay/overlays/list_layout.h"
#include "overlay/overlays/list_paint.h"

#include <initializer_list>
#include <string_view>

namespace vt {

/// One picture of a list.
struct ListPicture {
    const ListView& view;
    RectF rect;
    float naturalHeight = 0;
    float textScale = 1;
    Color ground{0.13f, 0.13f, 0.16f}; // of the program's overlays
};

/// In the look of `picture.view.style`.
void drawList(ListPainter& painter, const ListPicture& picture);

void drawClassicList(ListPainter& painter, const ListPicture& picture);
void drawGridList(ListPainter& painter, const ListPicture& picture);
void drawCompactList(ListPainter& painter, const ListPicture& picture);
void drawFocusList(ListPainter& painter, const ListPicture& picture);
void drawRowsList(ListPainter& painter, const ListPicture& picture);
void drawApexList(ListPainter& painter, const ListPicture& picture);

// ---- shared pieces ----

/// How a look writes its cells.
struct CellLook {
    TextStyle name{Face::sans, 13, 600};
    TextStyle figures{Face::mono, 12, 500};
    float pillRadius = 4;
    bool diamond = true;        // the player's position stands in one
    bool youTag = true;         // "YOU" in front of the player's name
    bool emphasisPlayer = true; // the player's texts are bold
    Color playerText{1, 1, 1};
    bool solidPlayer = false; // the player's row is filled with the accent: one ink for all of it
};

/// The largest text scale that a row of that height carries, at most the one asked for.
float rowTextScale(float asked, float rowHeight, const CellLook& look);

void drawCells(ListPainter& painter, const ListView& view, const ListRow& row, RectF rect,
               const ColumnFit& fit, const CellLook& look);
void drawColumnHeaders(ListPainter& painter, const ListView& view, RectF rect, const ColumnFit& fit,
                       const TextStyle& style, Color colour);

/// A piece of a head line; pieces without text are left out.
struct HeadPiece {
    std::string_view text;
    Color colour;
    bool bold = false;
    Color fill{0, 0, 0, 0}; // above 0: on a pill
};
/// `left` from the left with dots between, cut where it meets `right`; pieces of `right` that do
/// not fit are left out, the innermost first.
void drawHeadLine(ListPainter& painter, RectF rect, const TextStyle& style,
                  std::initializer_list<HeadPiece> left, std::initializer_list<HeadPiece> right,
                  Color dotColour);
/// The usual pieces: title, class and place on the left; strength, time and flag on the right.
void drawStandardHead(ListPainter& painter, const ListView& view, RectF rect,
                      const TextStyle& style);
/// Class name in its colour, number of cars, strength.
void drawClassLabel(ListPainter& painter, const ListView& view, const ListBlock& block, RectF rect,
                    const TextStyle& style);

/// Row of the view that a style draws as the player's: the player's, or the empty place for it.
bool isPlayerPlace(const ListView& view, const ListRow& row);

} // namespace vt
