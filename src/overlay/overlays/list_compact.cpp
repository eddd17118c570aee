// Compact: dense lines without column names, everything on one dark sheet.
#include "overlay/overlays/list_styles.h"

#include <algorithm>

namespace vt {

void drawCompactList(ListPainter& p, const ListPicture& picture) {
    const ListView& view = picture.view;
    const ListColours& c = view.colours;
    const RectF all = picture.rect;
    const RowFlow flow = flowRows(view, all, picture.naturalHeight);
    const float rowHeight = flowSpec(view.kind, view.style).row * flow.scale;
    CellLook look{.name = {Face::sans, 15, 600}, .figures = {Face::mono, 14, 500}};
    look.youTag = false;
    look.pillRadius = 3;
    const float scale = rowTextScale(picture.textScale, rowHeight, look);
    const float left = all.left + 14, right = all.right - 12;
    const ColumnFit fit = fitColumns(view, left, right, scale);

    p.sheet(all, 6, picture.ground);
    if (flow.head.height() > 0) {
        RectF head{left, flow.head.top, right, flow.head.bottom};
        drawStandardHead(
            p, view, head,
            {Face::sans, std::min(12 * picture.textScale, head.height() * 0.46f), 600});
    }
    for (size_t b = 0; b < view.blocks.size(); ++b) {
        const ListBlock& block = view.blocks[b];
        if (block.label) {
            RectF label{left, flow.labels[b].top, right, flow.labels[b].bottom};
            drawClassLabel(
                p, view, block, label,
                {Face::sans, std::min(11.5f * picture.textScale, label.height() * 0.56f), 600});
        }
        for (size_t i = block.firstRow; i < block.firstRow + block.rowCount; ++i) {
            const ListRow& row = view.rows[i];
            const RectF rect = flow.rows[i];
            if (isPlayerPlace(view, row))
                p.canvas.fillRect(rect, p.ink(fade(c.accent, row.blank ? 0.1f : 0.26f)));
            if (i > block.firstRow && !row.pinned)
                p.canvas.fillRect({left, rect.top - 1, right, rect.top}, p.ink({1, 1, 1, 0.06f}));
            if (view.classSpine && !row.blank)
                p.canvas.fillRect({all.left + 4, rect.top + 5, all.left + 7, rect.bottom - 5},
                                  p.ink(row.classColour));
            drawCells(p, view, row, rect, fit, look);
        }
    }
    for (RectF rule : flow.rules)
        p.dashedRule({left, rule.top, right, rule.bottom}, fade(c.dim, 0.7f));
}

} // namespace vt
