#include "overlay/overlays/delta_trace_overlay.h"

#include "base/translate.h"
#include "overlay/frame/styles.h"
#include "overlay/frame/theme.h"
#include "overlay/settings/slots.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr int kInputsHeight = 20;
constexpr float kStretch = 0.12f; // of the lap that the compact graph shows

struct TraceColours {
    Color sheet, text, dim, line, gain, loss;
    float corner = 6;
};

TraceColours coloursOf(const AppConfig& config) {
    if (config.deltatrace.dtStyle == 1) {
        const OverlayTheme& theme = themePalette();
        return {theme.panelTop, theme.text,    theme.textDim,      theme.panelLine,
                kApexPositive,  kApexNegative, themeCornerRadius()};
    }
    return {colourFromRgb(config.overlayBgColor),
            kTextColour,
            fade(kTextColour, 0.6f),
            fade(kTextColour, 0.25f),
            {0.25f, 0.8f, 0.4f, 1},
            {0.9f, 0.3f, 0.27f, 1},
            6};
}

struct Graph {
    RectF box;
    float from = 0, to = 1; // lap positions at its ends
    float scale = 3;        // s from the middle to an edge

    float x(float pct) const { return box.left + box.width() * (pct - from) / (to - from); }
    float y(float delta) const {
        const float half = box.height() / 2;
        return box.top + half + std::clamp(delta / scale, -1.0f, 1.0f) * half;
    }
};

/// One side of the zero line, filled; a lap that wins and loses has both.
void fillSide(ListPainter& p, const Graph& graph, const std::vector<DeltaPoint>& points, bool loss,
              Color colour) {
    const float zero = graph.y(0);
    PathBuilder path;
    bool open = false;
    float last = 0;
    for (const DeltaPoint& point : points) {
        if (point.pct < graph.from || point.pct > graph.to) continue;
        const float side = loss ? std::max(point.delta, 0.0f) : std::min(point.delta, 0.0f);
        const float x = graph.x(point.pct);
        if (!open) path.moveTo(x, zero);
        path.lineTo(x, graph.y(side));
        open = true;
        last = x;
    }
    if (!open) return;
    path.lineTo(last, zero).close();
    p.canvas.fillPath(path.build().get(), p.ink(fade(colour, 0.45f)));
}

void strokeCurve(ListPainter& p, const Graph& graph, const std::vector<DeltaPoint>& points,
                 Color colour) {
    PathBuilder path;
    bool open = false;
    for (const DeltaPoint& point : points) {
        if (point.pct < graph.from || point.pct > graph.to) continue;
        if (open)
            path.lineTo(graph.x(point.pct), graph.y(point.delta));
        else
            path.moveTo(graph.x(point.pct), graph.y(point.delta));
        open = true;
    }
    if (open) p.canvas.strokePath(path.build().get(), p.ink(colour), 1.6f);
}

void drawGraph(ListPainter& p, const Graph& graph, const DeltaTrace& trace, const SimFrame* frame,
               const TraceColours& c) {
    p.canvas.pushClip(graph.box);
    if (frame)
        for (const float start : frame->sectorStarts)
            if (start > graph.from && start < graph.to)
                p.canvas.fillRect(
                    {graph.x(start) - 0.5f, graph.box.top, graph.x(start) + 0.5f, graph.box.bottom},
                    p.ink(c.line));
    fillSide(p, graph, trace.points(), false, c.gain);
    fillSide(p, graph, trace.points(), true, c.loss);
    const float zero = graph.y(0);
    p.canvas.fillRect({graph.box.left, zero - 0.5f, graph.box.right, zero + 0.5f}, p.ink(c.dim));
    strokeCurve(p, graph, trace.points(), c.text);
    p.canvas.popClip();
}

Color sideColour(const TraceColours& c, const DeltaValue& value) {
    return !value.ok ? c.dim : value.seconds > 0 ? c.loss : c.gain;
}

void drawHead(ListPainter& p, RectF head, const DeltaTraceView& view, float size,
              const TraceColours& c) {
    const TextStyle small{Face::sans, size, 600}, figure{Face::mono, size * 1.25f, 700};
    p.text(head, view.lap, small, c.dim);
    p.text(head, view.now.ok ? view.figure : "--", figure, sideColour(c, view.now),
           TextAlign::trailing);
    float left = head.left + (view.lap[0] ? p.width(small, view.lap) + size : 0);
    const float right = head.right - p.width(figure, "+00.00") - size;
    for (size_t i = 0; i < view.sectors.size(); ++i) {
        const DeltaSector& sector = view.sectors[i];
        char label[24];
        if (sector.known)
            std::snprintf(label, sizeof label, "S%d %+.2f", static_cast<int>(i) + 1,
                          static_cast<double>(sector.delta));
        else
            std::snprintf(label, sizeof label, "S%d --", static_cast<int>(i) + 1);
        const float width = p.width(small, label);
        if (left + width > right) return;
        const DeltaValue value{sector.known, sector.delta};
        p.text({left, head.top, left + width + 1, head.bottom}, label, small,
               fade(sideColour(c, value), sector.running ? 1.0f : 0.8f));
        left += width + size * 0.9f;
    }
}

void drawInputs(ListPainter& p, RectF strip, const SimFrame* frame, int reference, float size,
                const TraceColours& c) {
    const TextStyle small{Face::sans, size, 600};
    DeltaReferenceInputs inputs;
    const bool known = frame && deltaReferenceInputs &&
                       deltaReferenceInputs(*frame, frame->lapDistPct, reference, inputs);
    if (!known) {
        p.text(strip, Translate("N/A"), small, c.dim, TextAlign::center);
        return;
    }
    char gear[16];
    if (inputs.gear > 0)
        std::snprintf(gear, sizeof gear, "G %d", inputs.gear);
    else
        std::snprintf(gear, sizeof gear, "G %s", inputs.gear < 0 ? "R" : "N");
    const float label = p.width(small, "G 88") + size;
    p.text(strip, gear, small, c.text);
    const float left = strip.left + label, middle = (left + strip.right) / 2;
    const auto bar = [&](float from, float to, float share, Color colour) {
        const RectF box{from, strip.top + strip.height() * 0.3f, to,
                        strip.bottom - strip.height() * 0.3f};
        p.canvas.fillRect(box, p.ink(c.line));
        p.canvas.fillRect(
            {box.left, box.top, box.left + box.width() * std::clamp(share, 0.0f, 1.0f), box.bottom},
            p.ink(colour));
    };
    bar(left, middle - 4, inputs.brake, c.loss);
    bar(middle + 4, strip.right, inputs.throttle, c.gain);
}

} // namespace

DeltaTraceOverlay::DeltaTraceOverlay(OverlayHost& overlayHost)
    : OverlayWindow(overlayHost, kSlotDeltaTrace) {
    heightResizable = true;
    layoutForStyle();
    applyScale(*this);
}

void DeltaTraceOverlay::layoutForStyle() {
    const DeltaTraceConfig& c = config.deltatrace;
    baseWidth = c.dtMode == 1 ? 340 : 520;
    baseHeight = (c.dtMode == 1 ? 46 : 100) + (c.dtRefInputs ? kInputsHeight : 0);
}

void DeltaTraceOverlay::prepareFrame(const SimFrame* newFrame) {
    if (newFrame)
        trace_.add(*newFrame, config.deltatrace.dtRef);
    else
        trace_.clear();
    const int width = baseWidth, height = baseHeight;
    layoutForStyle();
    if ((width != baseWidth || height != baseHeight) && !previewMode) resizeToSettings(*this);
}

void DeltaTraceOverlay::draw(Canvas& target, RectF rect) {
    if (rect.width() < 1 || rect.height() < 1) return;
    const DeltaTraceConfig& c = config.deltatrace;
    buildDeltaTrace(view_, c, trace_, liveFrame());
    CommonSnapshot common;
    getCommon(common);
    stamps_.begin(previewMode ? 0.0f : dpiScale);
    ListPainter painter{target, *this, shelf_, stamps_, contentOpacity(), bgOpacity()};
    const TraceColours colours = coloursOf(config);
    const float unit = rect.height() / static_cast<float>(std::max(baseHeight, 1));
    const float text =
        std::isfinite(common.textScale) ? std::clamp(common.textScale, 0.5f, 3.0f) : 1.0f;
    const float size = std::min(11 * text * unit, rect.height() * 0.2f);
    const float headHeight = std::max(17 * unit, size * 1.4f);

    target.pushClip(rect);
    painter.sheet(rect, colours.corner, colours.sheet);
    RectF inside{rect.left + 10, rect.top + 2, rect.right - 10, rect.bottom - 4};
    if (c.dtRefInputs) {
        const float top = inside.bottom - kInputsHeight * unit;
        drawInputs(painter, {inside.left, top, inside.right, inside.bottom}, liveFrame(), c.dtRef,
                   size, colours);
        inside.bottom = top;
    }
    drawHead(painter, {inside.left, inside.top, inside.right, inside.top + headHeight}, view_, size,
             colours);
    Graph graph{{inside.left, inside.top + headHeight, inside.right, inside.bottom}};
    graph.scale = c.dtScale > 0.05f ? c.dtScale : 0.05f;
    if (c.dtMode == 1) {
        graph.to = std::max(view_.pct, kStretch);
        graph.from = graph.to - kStretch;
    }
    if (graph.box.height() > 2) drawGraph(painter, graph, trace_, liveFrame(), colours);
    target.popClip();
    shelf_.endPicture();
}

void DeltaTraceOverlay::discardDeviceResources() {
    OverlayWindow::discardDeviceResources();
    shelf_.clear();
    stamps_.clear();
}

bool DeltaTraceOverlay::rebuildDeviceResources() {
    shelf_.clear();
    stamps_.clear();
    return OverlayWindow::rebuildDeviceResources();
}

void DeltaTraceOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    static const char* const kModes[] = {"Full", "Compact"};
    static const char* const kReferences[] = {"Best", "Last", "Optimal *", "S.Best *"};
    DeltaTraceConfig& c = config.deltatrace;
    page.row({.kind = Kind::section, .label = Translate("OPTIONS")});
    PageRow style{.kind = Kind::stylePicker,
                  .label = Translate("Style"),
                  .hint = Translate("Which look the graph is drawn in."),
                  .slot = slot};
    style.number = styleOf(config, slot, style.choiceCount, style.choices, style.firstValue);
    page.row(style);
    page.row({.kind = Kind::choice,
              .label = Translate("Mode"),
              .hint = Translate("Full draws the whole lap; Compact shows only the stretch you have "
                                "just driven."),
              .number = &c.dtMode,
              .choices = kModes,
              .choiceCount = 2,
              .slot = slot});
    page.row({.kind = Kind::choice,
              .label = Translate("Compare with"),
              .hint = Translate("Which lap you are being compared against."),
              .number = &c.dtRef,
              .choices = kReferences,
              .choiceCount = 4,
              .slot = slot});
    page.row({.kind = Kind::text, .label = Translate("* iRacing only")});
    page.row({.kind = Kind::floatSlider,
              .label = Translate("Scale"),
              .hint = Translate("How many seconds of gain or loss fill the height of the graph."),
              .unit = "s",
              .real = &c.dtScale,
              .min = 0,
              .max = 10,
              .slot = slot});
    page.row(
        {.kind = Kind::toggle,
         .label = Translate("Reference inputs"),
         .hint = Translate("The brake, throttle and gear of your reference lap at this point."),
         .flag = &c.dtRefInputs,
         .slot = slot});
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
}

} // namespace vt
