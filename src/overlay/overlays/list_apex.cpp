// Apex: the theme's palette, sharp edges and slanted bands.
#include "overlay/frame/theme.h"
#include "overlay/overlays/list_styles.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr float kMargin = 12;

/// A band with a slanted right end.
PathRef slanted(RectF r, float slant) {
    return PathBuilder()
        .moveTo(r.left, r.top)
        .lineTo(r.right + slant, r.top)
        .lineTo(r.right, r.bottom)
        .lineTo(r.left, r.bottom)
        .close()
        .build();
}

/// The title on a slanted tab in the accent colour. Returns where it ends.
float drawTitleTab(ListPainter& p, const ListView& view, RectF head, const TextStyle& style) {
    const OverlayTheme& theme = themePalette();
    TextStyle bold = style;
    bold.weight = 700;
    const float slant = std::round(head.height() * 0.45f);
    const float width = std::ceil(p.width(bold, view.head.title)) + kMargin + 8;
    if (width + slant > head.width() * 0.6f) return head.left + kMargin;
    const RectF tab{head.left, head.top, head.left + width, head.bottom};
    p.canvas.fillPath(slanted(tab, slant).get(), p.ink(theme.accent));
    p.text({tab.left + kMargin, tab.top, tab.right, tab.bottom}, view.head.title, bold,
           theme.onAccent);
    return tab.right + slant + 8;
}

/// Label and value at the right end; the sample keeps the box from jumping with the figures.
/// Returns where it begins.
float drawHeadBox(ListPainter& p, RectF head, float right, const char* label,
                  std::string_view value, Color colour, const TextStyle& style, float least) {
    TextStyle bold = style, small = style;
    bold.weight = 700;
    small.size *= 0.88f;
    if (value.empty()) return right;
    const float figures = std::max(p.width(bold, "88:88.8"), p.width(bold, value));
    const float words = p.width(small, label) + style.size * 0.5f;
    const float left = right - std::ceil(figures + words);
    if (left < least) return right;
    p.text({left, head.top, left + words, head.bottom}, label, small, themePalette().textDim);
    p.text({left + words, head.top, right + 1, head.bottom}, value, bold, colour,
           TextAlign::trailing);
    return left - std::round(style.size * 1.2f);
}

void relativeHead(ListPainter& p, const ListView& view, RectF head, const TextStyle& style) {
    const OverlayTheme& theme = themePalette();
    const TextStyle figures{Face::mono, style.size, 600};
    const float x = drawTitleTab(p, view, head, style);
    float right = head.right - kMargin;
    const float least = x + head.width() * 0.12f;
    right =
        drawHeadBox(p, head, right, "LAST", view.head.last, view.head.lastColour, figures, least);
    right =
        drawHeadBox(p, head, right, "BEST", view.head.best, view.head.bestColour, figures, least);
    drawHeadLine(p, {x, head.top, right, head.bottom}, style,
                 {{view.head.group, theme.text},
                  {view.head.place, view.colours.text, true},
                  {view.head.overall, view.colours.text},
                  {view.head.strength, theme.textDim}},
                 {}, theme.textDim);
}

void standingsHead(ListPainter& p, const ListView& view, RectF head, const TextStyle& style) {
    const OverlayTheme& theme = themePalette();
    const ListHead& h = view.head;
    const float x = drawTitleTab(p, view, head, style);
    float right = head.right - kMargin;
    if (h.flag[0] != '\0') {
        const TextStyle bold{style.face, style.size * 0.9f, 700};
        const float width = std::ceil(p.width(bold, h.flag)) + style.size;
        if (right - width > x) {
            p.canvas.fillRect({right - width, head.top + 3, right, head.bottom - 3},
                              p.ink(h.flagColour));
            p.text({right - width, head.top, right, head.bottom}, h.flag, bold,
                   textOn(h.flagColour), TextAlign::center);
            right -= width + std::round(style.size * 1.1f);
        }
    }
    char leader[144], ahead[144];
    const auto rival = [](char(&out)[144], const char* word, const char* name, const char* gap) {
        out[0] = '\0';
        if (name[0] == '\0') return;
        std::snprintf(out, sizeof out, "%s %s%s%s", word, name, gap[0] ? "  " : "", gap);
    };
    rival(leader, "LEADER", h.leader, h.leaderGap);
    rival(ahead, "AHEAD", h.ahead, h.aheadGap);
    drawHeadLine(
        p, {x, head.top, right, head.bottom}, style,
        {{h.group, theme.text}, {h.place, view.colours.text, true}, {h.overall, view.colours.text}},
        {{leader, theme.textDim}, {ahead, theme.text}, {h.time, theme.textDim}}, theme.textDim);
}

void drawRowGround(ListPainter& p, const ListView& view, const ListRow& row, RectF rect, bool odd) {
    const OverlayTheme& theme = themePalette();
    const RectF body{rect.left, rect.top, rect.right, rect.bottom - 1};
    if (isPlayerPlace(view, row)) {
        p.canvas.fillRect(body, p.ink(row.blank ? theme.accentWash : theme.accentFill));
        const Brush* edge = p.ink(theme.accent);
        p.canvas.fillRect({body.left, body.top, body.right, body.top + 1}, edge);
        p.canvas.fillRect({body.left, body.bottom - 1, body.right, body.bottom}, edge);
        const float slant = std::round(body.height() * 0.3f);
        p.canvas.fillPath(PathBuilder()
                              .moveTo(body.right, body.top)
                              .lineTo(body.right, body.bottom)
                              .lineTo(body.right - slant, body.bottom)
                              .close()
                              .build()
                              .get(),
                          edge);
    } else if (odd) {
        p.canvas.fillRect(body, p.ground(fade(theme.cellFill, 0.55f)));
    }
    if (view.classSpine && !row.blank)
        p.canvas.fillRect({body.left, body.top, body.left + 4, body.bottom},
                          p.ink(row.classColour));
}

void drawBlockLabel(ListPainter& p, const ListBlock& block, RectF rect, const TextStyle& style) {
    const OverlayTheme& theme = themePalette();
    p.canvas.fillRect(rect, p.ground(theme.stripFill));
    p.canvas.fillRect({rect.left, rect.top, rect.right, rect.top + 1}, p.ground(theme.panelLine));
    TextStyle bold = style;
    bold.weight = 700;
    const RectF tab{rect.left, rect.top + 1,
                    rect.left + kMargin + std::ceil(p.width(bold, block.name)) + 6, rect.bottom};
    p.canvas.fillPath(slanted(tab, std::round(rect.height() * 0.4f)).get(), p.ink(block.colour));
    p.text({tab.left + kMargin, tab.top, tab.right, tab.bottom}, block.name, bold,
           textOn(block.colour));
    drawHeadLine(
        p, {tab.right + rect.height() * 0.4f + 8, rect.top, rect.right - kMargin, rect.bottom},
        style, {{block.detail, theme.textDim}}, {{block.strength, theme.textDim}}, {});
}

} // namespace

void drawApexList(ListPainter& p, const ListPicture& picture) {
    const OverlayTheme& theme = themePalette();
    const ListView& view = picture.view;
    const RectF all = picture.rect;
    const RowFlow flow = flowRows(view, all, picture.naturalHeight);
    const float rowHeight = flowSpec(view.kind, view.style).row * flow.scale;
    CellLook look{.name = {Face::race, 15.5f, 600}, .figures = {Face::mono, 13, 500}};
    look.pillRadius = 0;
    const float scale = rowTextScale(picture.textScale, rowHeight, look);
    const ColumnFit fit = fitColumns(view, all.left + kMargin, all.right - kMargin, scale);

    p.canvas.fillRect(all, p.ground(theme.panelBottom));
    p.canvas.fillRect(flow.head, p.ground(theme.stripFill));
    const TextStyle head{Face::race, std::min(12 * picture.textScale, flow.head.height() * 0.64f),
                         600};
    (view.kind == ListKind::relative ? relativeHead : standingsHead)(p, view, flow.head, head);
    for (size_t b = 0; b < view.blocks.size(); ++b) {
        const ListBlock& block = view.blocks[b];
        if (block.label) {
            const float size = std::min(12 * picture.textScale, flow.labels[b].height() * 0.6f);
            drawBlockLabel(p, block, flow.labels[b], {Face::race, size, 600});
        }
        for (size_t i = block.firstRow; i < block.firstRow + block.rowCount; ++i) {
            drawRowGround(p, view, view.rows[i], flow.rows[i], (i - block.firstRow) % 2 == 0);
            drawCells(p, view, view.rows[i], flow.rows[i], fit, look);
        }
    }
    for (RectF rule : flow.rules)
        p.dashedRule({all.left + kMargin, rule.top, all.right - kMargin, rule.bottom},
                     theme.textDim);
}

} // namespace vt
