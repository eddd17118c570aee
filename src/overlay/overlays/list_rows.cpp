// Rows: no panel behind them; each car is a card of its own with rounded ends.
#include "overlay/overlays/list_styles.h"

#include <algorithm>

namespace vt {

namespace {

void drawCard(ListPainter& p, const ListPicture& picture, const ListRow& row, RectF rect) {
    const ListView& view = picture.view;
    const ListColours& c = view.colours;
    const float radius = std::min(rect.height() / 2, 9.0f);
    const bool player = isPlayerPlace(view, row);
    p.roundedRect(rect, radius, fade(picture.ground, row.blank ? 0.35f : 1), p.background);
    if (player || !row.blank) {
        StampSpec spec;
        spec.radius = radius;
        spec.fill = player ? fade(c.accent, row.blank ? 0.08f : 0.24f) : Color{0, 0, 0, 0};
        spec.edge = player ? fade(c.accent, row.blank ? 0.3f : 1) : Color{1, 1, 1, 0.08f};
        spec.edgeWidth = player ? 2 : 1;
        p.stamp(rect, spec, p.content);
    }
    if (view.classSpine && !row.blank)
        p.roundedRect({rect.left + 7, rect.top + 8, rect.left + 11, rect.bottom - 8}, 2,
                      row.classColour, p.content);
}

/// Head and labels stand on cards as well, for there is nothing behind them.
RectF bandCard(ListPainter& p, const ListPicture& picture, RectF band) {
    RectF card{band.left, band.top, band.right, band.bottom - 3};
    p.canvas.fillRoundedRect(card, std::min(card.height() / 2, 9.0f),
                             p.ground(fade(picture.ground, 0.92f)));
    return {card.left + 14, card.top, card.right - 14, card.bottom};
}

} // namespace

void drawRowsList(ListPainter& p, const ListPicture& picture) {
    const ListView& view = picture.view;
    const RectF all = picture.rect;
    const RowFlow flow = flowRows(view, all, picture.naturalHeight);
    const float rowHeight = flowSpec(view.kind, view.style).row * flow.scale;
    CellLook look{.name = {Face::sans, 15, 700}, .figures = {Face::mono, 13.5f, 600}};
    look.pillRadius = 7;
    const float scale = rowTextScale(picture.textScale, rowHeight, look);
    const ColumnFit fit = fitColumns(view, all.left + 19, all.right - 14, scale);

    if (flow.head.height() > 0) {
        const RectF head = bandCard(p, picture, flow.head);
        drawStandardHead(p, view, head,
                         {Face::sans, std::min(13 * picture.textScale, head.height() * 0.5f), 600});
    }
    for (size_t b = 0; b < view.blocks.size(); ++b) {
        const ListBlock& block = view.blocks[b];
        if (block.label) {
            const RectF label = bandCard(p, picture, flow.labels[b]);
            drawClassLabel(
                p, view, block, label,
                {Face::sans, std::min(12 * picture.textScale, label.height() * 0.58f), 600});
        }
        for (size_t i = block.firstRow; i < block.firstRow + block.rowCount; ++i) {
            drawCard(p, picture, view.rows[i], flow.rows[i]);
            drawCells(p, view, view.rows[i], flow.rows[i], fit, look);
        }
    }
    for (RectF rule : flow.rules)
        p.dashedRule({all.left + 14, rule.top, all.right - 14, rule.bottom},
                     fade(view.colours.text, 0.6f));
}

} // namespace vt
