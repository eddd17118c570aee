// Where rows, labels and columns of a list go, in the window that it has. Pure arithmetic.
#pragma once
#include "overlay/overlays/list_view.h"

#include <vector>

namespace vt {

/// Heights of a look at scale 1, as its window's height adds them up.
struct FlowSpec {
    float head = 0, top = 0;
    float row = 30, rowGap = 2;
    float label = 0, blockGap = 0, rule = 8;
    float playerExtra = 0;
};
FlowSpec flowSpec(ListKind kind, int style);

struct RowFlow {
    float scale = 1; // of the window's height against its natural one
    RectF head;
    std::vector<RectF> rows;   // one per row of the view
    std::vector<RectF> labels; // one per block; empty rectangles where there is none
    std::vector<RectF> rules;  // where rows are left out
};
/// `naturalHeight` is the overlay's height at scale 1.
RowFlow flowRows(const ListView& view, RectF rect, float naturalHeight);

struct ColumnPlace {
    size_t index = 0; // into the view's columns
    int column = 0;
    float left = 0, right = 0;
    float barLeft = 0, barRight = 0; // of the interval column's bar; equal without one
};
struct ColumnFit {
    std::vector<ColumnPlace> places;
    float textScale = 1; // that fits the columns, at most the one asked for
};
/// Distributes the width between `left` and `right`. Text that is too large for its columns gets
/// smaller; where it would become unreadable, the least important columns give way.
ColumnFit fitColumns(const ListView& view, float left, float right, float textScale);

} // namespace vt
