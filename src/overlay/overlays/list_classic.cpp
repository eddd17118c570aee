// Classic: a calm list in the overlay's own chrome, with a heading, column names and a fine spine
// of class colour.
#include "overlay/overlays/list_styles.h"

#include <algorithm>

namespace vt {

namespace {

constexpr float kMargin = 10;

void drawRow(ListPainter& p, const ListView& view, const ListRow& row, RectF rect, bool odd) {
    const RectF body{rect.left + 4, rect.top, rect.right - 4, rect.bottom};
    const ListColours& c = view.colours;
    if (isPlayerPlace(view, row)) {
        p.roundedRect(body, 4, fade(c.accent, row.blank ? 0.08f : 0.2f), p.content);
    } else if (view.classTint && !row.blank) {
        p.roundedRect(body, 4, fade(row.classColour, 0.16f), p.content);
    } else if (odd) {
        p.canvas.fillRect(body, p.ink({1, 1, 1, 0.035f})); // too faint for corners to show
    }
    if (view.classSpine && !row.blank)
        p.canvas.fillRect({body.left, rect.top + 3, body.left + 3, rect.bottom - 3},
                          p.ink(row.classColour));
}

} // namespace

void drawClassicList(ListPainter& p, const ListPicture& picture) {
    const ListView& view = picture.view;
    const ListColours& c = view.colours;
    const RowFlow flow = flowRows(view, picture.rect, picture.naturalHeight);
    const float rowHeight = flowSpec(view.kind, view.style).row * flow.scale;
    CellLook look{.name = {Face::sans, 13.5f, 600}, .figures = {Face::mono, 12.5f, 500}};
    look.diamond = true;
    const float scale = rowTextScale(picture.textScale, rowHeight, look);
    const float left = picture.rect.left + kMargin + 1, right = picture.rect.right - kMargin;
    const ColumnFit fit = fitColumns(view, left, right, scale);

    RectF title = flow.head, headers = flow.head;
    title.bottom = headers.top = flow.head.top + flow.head.height() * 0.56f;
    title.left = left;
    title.right = right;
    const float headSize = std::min(12.5f * picture.textScale, title.height() * 0.56f);
    drawStandardHead(p, view, title, {Face::sans, headSize, 600});
    if (!view.rows.empty()) {
        const float size = std::min(10 * picture.textScale, headers.height() * 0.6f);
        drawColumnHeaders(p, view, headers, fit,
                          {Face::sans, std::min(size, 10 * fit.textScale), 600},
                          fade(c.dim, 0.85f));
        p.canvas.fillRect({left, headers.bottom - 1, right, headers.bottom},
                          p.ink({1, 1, 1, 0.1f}));
    }
    for (size_t b = 0; b < view.blocks.size(); ++b) {
        const ListBlock& block = view.blocks[b];
        if (block.label) {
            RectF label = flow.labels[b];
            label.left = left;
            label.right = right;
            const float size = std::min(11 * picture.textScale, label.height() * 0.62f);
            drawClassLabel(p, view, block, label, {Face::sans, size, 600});
        }
        for (size_t i = block.firstRow; i < block.firstRow + block.rowCount; ++i) {
            drawRow(p, view, view.rows[i], flow.rows[i], (i - block.firstRow) % 2 == 1);
            drawCells(p, view, view.rows[i], flow.rows[i], fit, look);
        }
    }
    for (RectF rule : flow.rules)
        p.dashedRule({left, rule.top, right, rule.bottom}, fade(c.dim, 0.7f));
}

} // namespace vt
