// Grid: a timing screen, with a header row and thin lines between the cells.
#include "overlay/overlays/list_styles.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kMargin = 14;

/// Between two columns, in the middle of their gap.
void drawSeparators(ListPainter& p, RectF rows, const ColumnFit& fit) {
    const Brush* line = p.ink({1, 1, 1, 0.07f});
    for (size_t i = 1; i < fit.places.size(); ++i) {
        const ColumnPlace& before = fit.places[i - 1];
        const float end = std::max(before.right, before.barRight);
        const float x = std::floor((end + fit.places[i].left) / 2);
        p.canvas.fillRect({x, rows.top, x + 1, rows.bottom}, line);
    }
}

void drawRow(ListPainter& p, const ListView& view, const ListRow& row, RectF rect) {
    const ListColours& c = view.colours;
    const RectF body{rect.left + 6, rect.top, rect.right - 6, rect.bottom};
    const bool player = isPlayerPlace(view, row);
    p.canvas.fillRect(body, p.ground(row.blank ? Color{1, 1, 1, 0.02f} : Color{1, 1, 1, 0.05f}));
    if (player) {
        p.canvas.fillRect(body, p.ink(fade(c.accent, row.blank ? 0.1f : 0.22f)));
        p.canvas.strokeRect(
            {body.left + 0.5f, body.top + 0.5f, body.right - 0.5f, body.bottom - 0.5f},
            p.ink(fade(c.accent, 0.75f)), 1);
    }
    if (view.classSpine && !row.blank)
        p.canvas.fillRect({body.left, body.top, body.left + 3, body.bottom},
                          p.ink(row.classColour));
}

} // namespace

void drawGridList(ListPainter& p, const ListPicture& picture) {
    const ListView& view = picture.view;
    const ListColours& c = view.colours;
    const RectF all = picture.rect;
    const RowFlow flow = flowRows(view, all, picture.naturalHeight);
    const float rowHeight = flowSpec(view.kind, view.style).row * flow.scale;
    CellLook look{.name = {Face::mono, 12.5f, 600}, .figures = {Face::mono, 12.5f, 500}};
    look.pillRadius = 2;
    const float scale = rowTextScale(picture.textScale, rowHeight, look);
    const float left = all.left + kMargin, right = all.right - kMargin;
    const ColumnFit fit = fitColumns(view, left, right, scale);

    p.sheet(all, 3, picture.ground);
    RectF title = flow.head, headers = flow.head;
    title.bottom = headers.top = flow.head.top + std::round(flow.head.height() * 0.52f);
    headers.bottom -= 3;
    title.left = left;
    title.right = right;
    drawStandardHead(p, view, title,
                     {Face::mono, std::min(12 * picture.textScale, title.height() * 0.5f), 500});
    p.canvas.fillRect({all.left + 6, headers.top, all.right - 6, headers.bottom},
                      p.ground({1, 1, 1, 0.09f}));
    const float size =
        std::min({10.5f * picture.textScale, headers.height() * 0.6f, 10.5f * fit.textScale});
    drawColumnHeaders(p, view, headers, fit, {Face::mono, size, 700}, c.dim);
    for (size_t b = 0; b < view.blocks.size(); ++b) {
        const ListBlock& block = view.blocks[b];
        if (block.label) {
            RectF label = flow.labels[b];
            label.left = left;
            label.right = right;
            drawClassLabel(
                p, view, block, label,
                {Face::mono, std::min(11 * picture.textScale, label.height() * 0.55f), 500});
        }
        const size_t end = block.firstRow + block.rowCount;
        for (size_t i = block.firstRow; i < end; ++i)
            drawRow(p, view, view.rows[i], flow.rows[i]);
        if (block.rowCount > 0)
            drawSeparators(
                p, {left, flow.rows[block.firstRow].top, right, flow.rows[end - 1].bottom}, fit);
        for (size_t i = block.firstRow; i < end; ++i) {
            drawCells(p, view, view.rows[i], flow.rows[i], fit, look);
        }
    }
    for (RectF rule : flow.rules)
        p.dashedRule({left, rule.top, right, rule.bottom}, fade(c.dim, 0.7f));
}

} // namespace vt
