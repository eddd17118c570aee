#include "overlay/drawing/drawing.h"
#include "panel/row_parts.h"

#include <algorithm>

namespace vt {

namespace {

constexpr float kRound = 7, kScrollWidth = 4, kSmallestThumb = 28;

/// What one item is drawn with.
struct ItemLook {
    bool hover = false, pressed = false, focus = false;
};

void drawWrapped(Canvas& canvas, const TextFormat* format, const std::string& text, RectF rect,
                 const Brush* brush) {
    const TextLayoutRef layout = measureLayout(format, text, rect.width(), rect.height());
    if (!layout) return;
    layoutSetWrap(*layout, true);
    canvas.drawLayout(*layout, {rect.left, rect.top}, brush);
}

void drawLines(Canvas& canvas, const std::string& text, RectF rect, const Brush* brush) {
    const TextFormat* format = rowFormats().reading.get();
    for (const LinePlace& place : placeLines(text, rect.left, rect.top, rect.width())) {
        const RectF r = place.rect;
        drawWrapped(canvas, format, place.line.text, r, brush);
        if (!place.line.marker.empty())
            drawText(canvas, format, place.line.marker, {place.markerX, r.top, r.left, r.bottom},
                     panelBrush(kBrushTextDim), TextAlign::leading, TextAlign::leading);
        if (!place.line.value.empty())
            drawWrapped(canvas, rowFormats().strong.get(), place.line.value,
                        {place.valueX, r.top, rect.right, r.bottom}, panelBrush(kBrushText));
    }
}

void drawBox(Canvas& canvas, RectF rect, PanelBrush mark) {
    canvas.fillRoundedRect(rect, kRound, panelBrush(kBrushSurface3));
    canvas.fillRoundedRect(rectAt(rect.left, rect.top, 4, rect.height()), 2, panelBrush(mark));
}

void drawFocus(Canvas& canvas, RectF rect) {
    canvas.strokeRoundedRect(inset(rect, -2.5f), kRound + 2, panelBrush(kBrushTextSoft), 1.5f);
}

void drawButton(Canvas& canvas, const RowItem& item, RectF rect, const ItemLook& look) {
    PanelBrush fill = item.on ? kBrushAccentEdge : kBrushSurface3;
    if (look.hover) fill = item.on ? kBrushAccentSoft : kBrushSurface4;
    if (look.pressed) fill = item.on ? kBrushAccentEdge : kBrushSurface2;
    canvas.fillRoundedRect(rect, kRound, panelBrush(fill));
    canvas.strokeRoundedRect(inset(rect, 0.5f), kRound,
                             panelBrush(item.on ? kBrushAccent : kBrushTint3));
    if (look.focus) drawFocus(canvas, rect);
    RectF text = rect;
    if (look.pressed) text.top += 1, text.bottom += 1;
    drawText(canvas, panelFormat(kFormatButton), item.text, text, panelBrush(kBrushText),
             TextAlign::center);
}

void drawCheckBox(Canvas& canvas, const RowItem& item, RectF rect, const ItemLook& look) {
    const RectF box = rectAt(rect.left, rect.top, kTickSize, kTickSize);
    canvas.fillRoundedRect(box, 4,
                           panelBrush(item.on      ? kBrushAccent
                                      : look.hover ? kBrushSurface4
                                                   : kBrushSurface3));
    canvas.strokeRoundedRect(inset(box, 0.5f), 4, panelBrush(kBrushTint4));
    if (item.on) {
        const PointF low{box.left + 7.5f, box.bottom - 5};
        canvas.drawLine({box.left + 4, box.centerY() + 1}, low, panelBrush(kBrushText), 2);
        canvas.drawLine(low, {box.right - 4, box.top + 5}, panelBrush(kBrushText), 2);
    }
    if (look.focus) drawFocus(canvas, box);
    RectF text = rect;
    text.left = box.right + 10;
    drawWrapped(canvas, rowFormats().reading.get(), item.text, text, panelBrush(kBrushText));
}

void drawNumberBox(Canvas& canvas, const RowItem& item, RectF rect, bool focus) {
    canvas.fillRoundedRect(rect, kRound, panelBrush(kBrushBackground));
    canvas.strokeRoundedRect(inset(rect, 0.5f), kRound,
                             panelBrush(focus ? kBrushAccent : kBrushTint4), focus ? 1.5f : 1);
    drawTextFit(canvas, panelFormat(kFormatTitle), item.text, inset(rect, 6),
                panelBrush(kBrushText), 1.25f);
    if (!focus) return;
    const float half = textWidthUnbounded(panelFormat(kFormatTitle), item.text) * 1.25f / 2;
    const float caret = std::min(rect.centerX() + half + 3, rect.right - 7);
    canvas.fillRect(rectAt(caret, rect.centerY() - 11, 1.5f, 22), panelBrush(kBrushTextSoft));
}

void drawGauge(Canvas& canvas, const RowItem& item, RectF rect) {
    RectF text = rect;
    text.bottom -= kGaugeHeight + 6;
    drawWrapped(canvas, rowFormats().strong.get(), item.text, text, panelBrush(kBrushText));
    RectF track = rect;
    track.top = rect.bottom - kGaugeHeight;
    canvas.fillRoundedRect(track, kGaugeHeight / 2, panelBrush(kBrushTint2));
    RectF filled = track;
    filled.right = track.left + track.width() * std::clamp(item.level, 0.0f, 1.0f);
    if (filled.width() < 1) return;
    canvas.pushClip(filled);
    canvas.fillRoundedRect(track, kGaugeHeight / 2, panelBrush(kBrushAccent));
    canvas.popClip();
}

void drawTagged(Canvas& canvas, const RowItem& item, RectF rect) {
    const RectF tag = rectAt(rect.left, rect.top, kTagWidth, kTagHeight);
    canvas.fillRoundedRect(tag, 4, panelBrush(item.on ? kBrushGood : kBrushBad));
    drawText(canvas, panelFormat(kFormatBadge), item.tag, tag, panelBrush(kBrushText),
             TextAlign::center);
    const RectF label{tag.right + 10, tag.top, rect.right, tag.bottom};
    drawText(canvas, rowFormats().strong.get(), item.text, label, panelBrush(kBrushText));
    drawWrapped(canvas, rowFormats().reading.get(), item.value,
                {rect.left, tag.bottom + 6, rect.right, rect.bottom}, panelBrush(kBrushTextSoft));
}

void drawItem(Canvas& canvas, const RowItem& item, RectF rect, const ItemLook& look) {
    switch (item.kind) {
    case RowKind::heading:
        drawWrapped(canvas, panelFormat(kFormatTitle), item.text, rect, panelBrush(kBrushText));
        break;
    case RowKind::text:
        drawLines(canvas, item.text, rect, panelBrush(kBrushTextSoft));
        break;
    case RowKind::warning:
    case RowKind::success:
        drawBox(canvas, rect, item.kind == RowKind::warning ? kBrushBad : kBrushGood);
        drawLines(canvas, item.text,
                  {rect.left + kBoxPadding, rect.top + kBoxPadding - 2, rect.right - kBoxPadding,
                   rect.bottom},
                  panelBrush(kBrushText));
        break;
    case RowKind::code:
        canvas.fillRoundedRect(rect, kRound, panelBrush(kBrushBackground));
        drawWrapped(canvas, rowFormats().fixed.get(), item.text,
                    {rect.left + kBoxPadding, rect.top + kBoxPadding - 2, rect.right - kBoxPadding,
                     rect.bottom},
                    panelBrush(kBrushTextSoft));
        break;
    case RowKind::tagged:
        drawTagged(canvas, item, rect);
        break;
    case RowKind::button:
        drawButton(canvas, item, rect, look);
        break;
    case RowKind::checkBox:
        drawCheckBox(canvas, item, rect, look);
        break;
    case RowKind::numberBox:
        drawNumberBox(canvas, item, rect, look.focus);
        break;
    case RowKind::gauge:
        drawGauge(canvas, item, rect);
        break;
    case RowKind::large:
        drawWrapped(canvas, rowFormats().large.get(), item.text, rect, panelBrush(kBrushText));
        break;
    }
}

void drawScrollBar(Canvas& canvas, const RowPlan& plan, float scroll) {
    if (!(plan.furthest() > 0)) return;
    const RectF view = plan.view;
    const float share = view.height() / plan.above;
    const float length = std::max(view.height() * share, kSmallestThumb);
    const float top = view.top + (view.height() - length) * (scroll / plan.furthest());
    canvas.fillRoundedRect(rectAt(view.right - kScrollWidth - 4, top, kScrollWidth, length),
                           kScrollWidth / 2, panelBrush(kBrushTint4));
}

} // namespace

void drawRows(Canvas& canvas, const RowPlan& plan, const RowState& state) {
    const float scroll = std::clamp(state.scroll, 0.0f, plan.furthest());
    canvas.pushClip(plan.view);
    for (const bool fixed : {false, true}) {
        for (const RowPlace& place : plan.places) {
            if (place.fixed != fixed) continue;
            const RowItem& item = *place.item;
            RectF rect = place.rect;
            if (!fixed) rect = rectAt(rect.left, rect.top - scroll, rect.width(), rect.height());
            if (!fixed && (rect.bottom < plan.view.top || rect.top > plan.view.bottom)) continue;
            ItemLook look;
            look.hover = item.id != 0 && item.id == state.hover;
            look.pressed = look.hover && item.id == state.pressed;
            look.focus = item.id != 0 && item.id == state.focus &&
                         (state.focusShown || item.kind == RowKind::numberBox);
            drawItem(canvas, item, rect, look);
        }
        if (fixed) continue;
        drawScrollBar(canvas, plan, scroll);
        canvas.popClip();
        if (plan.view.bottom < canvas.bounds().bottom)
            canvas.fillRect(rectAt(0, plan.view.bottom, plan.view.width(), 1),
                            panelBrush(kBrushTint2));
    }
}

} // namespace vt
