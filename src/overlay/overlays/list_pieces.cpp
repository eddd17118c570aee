#include "base/format.h"
#include "overlay/overlays/list_styles.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vt {

namespace {

constexpr float kTextInRow = 0.6f; // of a row's height

TextStyle scaled(TextStyle style, float scale) {
    style.size = std::max(style.size * scale, 1.0f);
    return style;
}

/// A band of the given height in the middle of `r`.
RectF middle(RectF r, float height) {
    const float h = std::min(std::round(height), r.height());
    const float top = std::round(r.centerY() - h / 2);
    return {r.left, top, r.right, top + h};
}

Color mix(Color a, Color b, float part) {
    return {a.r + (b.r - a.r) * part, a.g + (b.g - a.g) * part, a.b + (b.b - a.b) * part, a.a};
}

/// One colour that looks like `top` laid over `bottom`.
Color over(Color top, Color bottom) {
    const float rest = bottom.a * (1 - top.a), a = top.a + rest;
    const auto channel = [&](float t, float b) { return (t * top.a + b * rest) / a; };
    return {channel(top.r, bottom.r), channel(top.g, bottom.g), channel(top.b, bottom.b), a};
}

struct CellBrush {
    ListPainter& painter;
    const ListView& view;
    const ListRow& row;
    const CellLook& look;
    TextStyle figures;
    RectF place; // of the column

    TextStyle styleOf(const CellContent& cell) const {
        TextStyle style = figures;
        if (cell.bold || (row.player && look.emphasisPlayer)) style.weight = 700;
        return style;
    }

    bool solid() const { return row.player && look.solidPlayer; }

    void text(const CellContent& cell) {
        const bool plain = cell.colour == view.colours.text;
        const bool own = row.player && (plain || look.solidPlayer);
        painter.text(place, cell.text, styleOf(cell), own ? look.playerText : cell.colour,
                     cell.align);
    }

    void pill(const CellContent& cell, bool faint) {
        TextStyle style = styleOf(cell);
        style.size *= 0.92f;
        const float height = std::min(style.size * 1.62f, place.height() - 4);
        const RectF box = middle(place, height);
        // A narrower face before a smaller size.
        if (painter.width(style, cell.text) > box.width() - 6) style.face = Face::sans;
        if (!faint) {
            painter.pill(box, cell.text, style, cell.colour, cell.fill, look.pillRadius);
            return;
        }
        // Tinted glass over a dark ground of its own, so that red reads on the player's red row.
        painter.pill(box, cell.text, style, mix(cell.colour, {1, 1, 1}, 0.35f),
                     over(fade(cell.fill, 0.26f), {0.04f, 0.05f, 0.07f, 0.55f}), look.pillRadius);
    }

    void dot(const CellContent& cell) {
        const float r = std::clamp(figures.size * 0.36f, 2.5f,
                                   std::max(2.5f, std::min(place.width(), place.height()) / 2 - 1));
        const float x = std::round(place.centerX()), y = std::round(place.centerY());
        const float reach = std::round(r + std::max(1.0f, r * 0.25f));
        StampSpec spec{.form = Stamp::ring};
        spec.fill = cell.colour;
        spec.edgeWidth = std::max(2.0f, r * 0.5f);
        painter.stamp({x - reach, y - reach, x + reach, y + reach}, spec, painter.content);
    }

    void logo(const CellContent& cell) {
        const auto w = static_cast<float>(bitmapWidth(*cell.logo));
        const auto h = static_cast<float>(bitmapHeight(*cell.logo));
        const bool both = cell.text[0] != '\0';
        RectF box = middle(place, figures.size * 1.7f);
        if (both) box.right = box.left + box.width() * 0.45f;
        const float fit = std::min(box.width() / w, box.height() / h);
        const RectF picture = rectAt(std::round(box.centerX() - w * fit / 2),
                                     std::round(box.centerY() - h * fit / 2), w * fit, h * fit);
        painter.canvas.drawBitmap(cell.logo, picture, nullptr, painter.content);
        if (!both) return;
        place.left = box.right + 3;
        text(cell);
    }

    /// The player's own place among the gaps.
    void mark(const CellContent& cell) {
        const float w = std::min(figures.size * 1.5f, place.width());
        const float y = std::round(place.centerY());
        painter.canvas.fillRect({place.right - w, y - 1, place.right, y + 1},
                                painter.ink(row.player ? look.playerText : cell.colour));
    }

    void bar(const CellContent& cell, const ColumnPlace& at) {
        const RectF box{at.barLeft, place.top, at.barRight, place.bottom};
        if (cell.bar >= 0) painter.gapBar(box, cell.bar, cell.colour, false);
    }
};

void drawPosition(CellBrush& brush, const CellContent& cell) {
    ListPainter& p = brush.painter;
    const ListColours& c = brush.view.colours;
    const RectF place = brush.place;
    const TextStyle style = brush.styleOf(cell);
    const float textEnd = place.left + std::min(p.width(style, cell.text), place.width());
    float dotX = textEnd + 4;
    if (brush.row.player && brush.look.diamond) {
        // Around the place where the other rows have their text.
        const float reach = std::min(place.height() / 2 - 1, place.width() / 2 + 2);
        const float x = std::max((place.left + textEnd) / 2, place.left + reach - 3);
        const bool solid = brush.solid();
        p.diamond({x - reach - 2, place.top, x + reach + 2, place.bottom}, cell.text,
                  scaled(style, 0.94f), solid ? c.accent : c.onAccent,
                  solid ? c.onAccent : c.accent);
        dotX = x + reach * 0.8f;
    } else if (cell.form == CellForm::pill) {
        brush.pill(cell, false);
        dotX = place.right;
    } else {
        brush.text(cell);
    }
    if (!cell.talking) return;
    const float r = std::clamp(brush.figures.size * 0.22f, 2.0f, 5.0f);
    p.canvas.fillEllipse({dotX, place.centerY() - brush.figures.size * 0.4f}, r, r,
                         p.ink({0.3f, 0.92f, 0.45f}));
}

void drawCell(CellBrush& brush, int column, const CellContent& cell) {
    if (column == kColumnPosition) {
        if (cell.form != CellForm::empty) drawPosition(brush, cell);
        return;
    }
    switch (cell.form) {
    case CellForm::empty:
        return;
    case CellForm::text:
        return brush.text(cell);
    case CellForm::pill:
        return brush.pill(cell, false);
    case CellForm::chip:
        return brush.pill(cell, true);
    case CellForm::dot:
        return brush.dot(cell);
    case CellForm::logo:
        return brush.logo(cell);
    case CellForm::mark:
        return brush.mark(cell);
    }
}

/// Badges stand at the right end of the name's column, below each other over the rows.
float drawBadge(ListPainter& p, RectF place, std::string_view text, const TextStyle& style,
                Color colour, Color fill, float radius) {
    const float width = std::ceil(p.width(style, text) + style.size * 0.8f);
    if (text.empty() || place.width() < width * 2) return place.right;
    const RectF badge =
        middle({place.right - width, place.top, place.right, place.bottom}, style.size * 1.55f);
    p.pill(badge, text, style, colour, fill, radius);
    return badge.left - std::round(style.size * 0.4f);
}

void drawName(ListPainter& p, const ListView& view, const ListRow& row, RectF place,
              const CellLook& look, float scale) {
    const ListColours& c = view.colours;
    TextStyle name = scaled(look.name, scale);
    if (row.player && look.emphasisPlayer) name.weight = 700;
    const TextStyle badge{look.figures.face, std::max(name.size * 0.74f, 5.0f), 700};
    const float radius = std::min(look.pillRadius, 3.0f);
    if (row.showPitBadge)
        place.right = drawBadge(p, place, "PIT", badge, textOn(c.amber), c.amber, radius);
    if (row.laps != 0) {
        const Color colour = row.laps > 0 ? Color{0.45f, 0.68f, 1.0f} : c.negative;
        place.right = drawBadge(p, place, row.lapBadge, badge, colour, fade(colour, 0.2f), radius);
    }
    if (row.player && look.youTag) {
        const float width = std::ceil(p.width(badge, "YOU") + badge.size * 0.9f);
        if (place.width() > width * 2.4f) {
            const RectF tag = middle({place.left, place.top, place.left + width, place.bottom},
                                     badge.size * 1.6f);
            p.pill(tag, "YOU", badge, c.onAccent, c.accent, radius);
            place.left += width + std::round(name.size * 0.5f);
        }
    }
    const bool plain = row.nameColour == c.text;
    p.textCut(place, row.name, name, row.player && plain ? look.playerText : row.nameColour);
}

} // namespace

float rowTextScale(float asked, float rowHeight, const CellLook& look) {
    const float size = std::max(look.name.size, look.figures.size);
    return std::min(std::clamp(asked, 0.1f, 4.0f), rowHeight * kTextInRow / size);
}

bool isPlayerPlace(const ListView& view, const ListRow& row) {
    return row.player || (view.kind == ListKind::relative && row.kind == 1);
}

void drawCells(ListPainter& p, const ListView& view, const ListRow& row, RectF rect,
               const ColumnFit& fit, const CellLook& look) {
    if (row.blank) return;
    for (const ColumnPlace& at : fit.places) {
        const RectF place{at.left, rect.top, at.right, rect.bottom};
        if (at.column == kColumnDriver) {
            drawName(p, view, row, place, look, fit.textScale);
            continue;
        }
        const CellContent& cell = view.cell(row, at.index);
        CellBrush brush{p, view, row, look, scaled(look.figures, fit.textScale), place};
        drawCell(brush, at.column, cell);
        brush.bar(cell, at);
    }
}

void drawColumnHeaders(ListPainter& p, const ListView& view, RectF rect, const ColumnFit& fit,
                       const TextStyle& style, Color colour) {
    for (const ColumnPlace& at : fit.places) {
        TextAlign align = TextAlign::leading;
        const char* header = columnHeaderText(at.column, align);
        if (view.style == kListApex && at.column == kColumnRating) header = "IR";
        if (at.column == kColumnNumber || at.column == kColumnBrand) align = TextAlign::center;
        p.text({at.left, rect.top, at.right, rect.bottom}, header, style, colour, align);
    }
}

// ---- heads ----

namespace {

float pieceWidth(ListPainter& p, const HeadPiece& piece, TextStyle style) {
    if (piece.text.empty()) return 0;
    if (piece.bold) style.weight = 700;
    return p.width(style, piece.text) + (piece.fill.a > 0 ? style.size : 0);
}

void drawPiece(ListPainter& p, const HeadPiece& piece, RectF box, TextStyle style) {
    if (piece.bold) style.weight = 700;
    if (piece.fill.a > 0)
        p.pill(middle(box, style.size * 1.6f), piece.text, style, piece.colour, piece.fill, 3);
    else
        p.textCut(box, piece.text, style, piece.colour);
}

} // namespace

void drawHeadLine(ListPainter& p, RectF rect, const TextStyle& style,
                  std::initializer_list<HeadPiece> left, std::initializer_list<HeadPiece> right,
                  Color dotColour) {
    const float gap = std::round(style.size * 1.1f), apart = std::round(style.size * 0.6f);
    const float dot = std::max(std::round(style.size * 0.12f), 1.0f);
    float wanted = 0;
    for (const HeadPiece& piece : left)
        wanted += std::ceil(pieceWidth(p, piece, style)) + 2 * apart + 2 * dot;
    const float keep = rect.left + std::min(wanted, rect.width() * 0.6f);
    float end = rect.right;
    // Right to left, so that the outermost stays longest.
    for (auto piece = std::rbegin(right); piece != std::rend(right); ++piece) {
        const float width = std::ceil(pieceWidth(p, *piece, style));
        if (width <= 0 || end - width < keep) continue;
        drawPiece(p, *piece, {end - width, rect.top, end + 1, rect.bottom}, style);
        end -= width + gap;
    }
    float x = rect.left;
    bool first = true;
    for (const HeadPiece& piece : left) {
        const float width = std::ceil(pieceWidth(p, piece, style));
        if (width <= 0) continue;
        if (!first) {
            const float next = x + 2 * apart + 2 * dot;
            if (next + width > end + 1) return;
            p.canvas.fillEllipse({x + apart + dot, rect.centerY()}, dot, dot, p.ink(dotColour));
            x = next;
        }
        drawPiece(p, piece, {x, rect.top, std::min(x + width + 1, end), rect.bottom}, style);
        x += width;
        first = false;
        if (x >= end) return;
    }
}

void drawStandardHead(ListPainter& p, const ListView& view, RectF rect, const TextStyle& style) {
    const ListColours& c = view.colours;
    const ListHead& head = view.head;
    char best[40] = "";
    if (head.best[0] != '\0') formatText(best, sizeof best, "BEST %s", head.best);
    drawHeadLine(p, rect, style,
                 {{head.title, c.text, true},
                  {head.group, c.dim},
                  {head.place, c.accent, true},
                  {head.overall, c.accent}},
                 {{best, head.bestColour},
                  {head.strength, c.dim},
                  {head.time, c.dim},
                  {head.flag, textOn(head.flagColour), true, head.flagColour}},
                 fade(c.dim, 0.7f));
}

void drawClassLabel(ListPainter& p, const ListView& view, const ListBlock& block, RectF rect,
                    const TextStyle& style) {
    const ListColours& c = view.colours;
    drawHeadLine(p, rect, style, {{block.name, block.colour, true}, {block.detail, c.dim}},
                 {{block.strength, c.dim}}, fade(c.dim, 0.7f));
}

void drawList(ListPainter& painter, const ListPicture& picture) {
    using DrawList = void (*)(ListPainter&, const ListPicture&);
    constexpr std::array<DrawList, kListStyleCount> looks = {
        drawClassicList, drawGridList, drawCompactList, drawFocusList, drawRowsList, drawApexList};
    looks[static_cast<size_t>(clampListStyle(picture.view.style))](painter, picture);
}

} // namespace vt
