// Anchor (Relative) and Focus (Standings): the player's row is the fixed point, solid in the accent
// colour, and the others recede from it.
#include "overlay/overlays/list_styles.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vt {

namespace {

size_t playerPlace(const ListView& view) {
    for (size_t i = 0; i < view.rows.size(); ++i)
        if (isPlayerPlace(view, view.rows[i])) return i;
    return view.rows.size();
}

/// Rows fade with their distance from the player, to two thirds.
float nearness(const ListView& view, size_t row, size_t player) {
    if (view.kind == ListKind::standings || player >= view.rows.size()) return 1;
    const auto steps =
        static_cast<float>(std::abs(static_cast<int>(row) - static_cast<int>(player)));
    return std::max(1.0f - 0.07f * steps, 0.66f);
}

void drawAnchor(ListPainter& p, const ListView& view, const ListRow& row, RectF rect) {
    const ListColours& c = view.colours;
    const RectF body{rect.left + 2, rect.top - 1, rect.right - 2, rect.bottom + 1};
    p.canvas.fillRoundedRect(body, 5, p.ink(fade(c.accent, row.blank ? 0.25f : 1.0f)));
    // A notch on either side holds the eye on the row.
    const float y = std::round(body.centerY()), size = std::min(6.0f, body.height() / 5);
    const Brush* notch = p.ink(fade(c.onAccent, 0.85f));
    const PathRef marks = PathBuilder()
                              .moveTo(body.left, y - size)
                              .lineTo(body.left + size, y)
                              .lineTo(body.left, y + size)
                              .close()
                              .moveTo(body.right, y - size)
                              .lineTo(body.right - size, y)
                              .lineTo(body.right, y + size)
                              .close()
                              .build();
    p.canvas.fillPath(marks.get(), notch);
}

} // namespace

void drawFocusList(ListPainter& p, const ListPicture& picture) {
    const ListView& view = picture.view;
    const ListColours& c = view.colours;
    const RectF all = picture.rect;
    const RowFlow flow = flowRows(view, all, picture.naturalHeight);
    const float rowHeight = flowSpec(view.kind, view.style).row * flow.scale;
    CellLook look{.name = {Face::race, 16, 600}, .figures = {Face::mono, 13.5f, 500}};
    look.youTag = false;
    look.playerText = c.onAccent;
    look.solidPlayer = true;
    const float scale = rowTextScale(picture.textScale, rowHeight, look);
    const float left = all.left + 16, right = all.right - 16;
    const ColumnFit fit = fitColumns(view, left, right, scale);

    p.sheet(all, 10, picture.ground);
    if (flow.head.height() > 0) {
        RectF head{left, flow.head.top, right, flow.head.bottom};
        drawStandardHead(
            p, view, head,
            {Face::race, std::min(15 * picture.textScale, head.height() * 0.46f), 600});
        p.canvas.fillRect({left, head.bottom - 2, right, head.bottom - 1}, p.ink({1, 1, 1, 0.08f}));
    }
    const size_t player = playerPlace(view);
    const float full = p.content;
    for (size_t i = 0; i < view.rows.size(); ++i) {
        const ListRow& row = view.rows[i];
        const RectF rect = flow.rows[i];
        p.content = full * nearness(view, i, player);
        if (isPlayerPlace(view, row))
            drawAnchor(p, view, row, rect);
        else
            p.canvas.fillRect({rect.left + 6, rect.top, rect.right - 6, rect.bottom},
                              p.ink({1, 1, 1, row.blank ? 0.02f : 0.045f}));
        if (view.classSpine && !row.blank && !row.player)
            p.roundedRect({all.left + 8, rect.top + 6, all.left + 11, rect.bottom - 6}, 1.5f,
                          row.classColour, p.content);
        drawCells(p, view, row, rect, fit, look);
    }
    p.content = full;
    for (RectF rule : flow.rules)
        p.dashedRule({left, rule.top, right, rule.bottom}, fade(c.dim, 0.7f));
}

} // namespace vt
