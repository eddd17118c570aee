#include "app/host_window.h"

#include "app/demo_layout.h"
#include "app/main_tick.h"
#include "base/translate.h"
#include "overlay/drawing/panel_look.h"
#include "platform/desktop.h"

#include <algorithm>

namespace vt {

namespace {

constexpr float kWidth = 380, kMargin = 20, kRowHeight = 30, kRowGap = 4, kButtonHeight = 38;
constexpr float kCaptionRoom = 32, kFreeGap = 24;
constexpr int kDemoHit = -2, kArrangeHit = -3, kImportHit = -4;

void drawSwitch(Canvas& canvas, RectF row, bool on) {
    const RectF track = rectAt(row.right - 54, row.centerY() - 10, 40, 20);
    canvas.fillRoundedRect(track, 10, panelBrush(on ? kBrushAccent : kBrushTint4));
    canvas.fillEllipse({on ? track.right - 10 : track.left + 10, track.centerY()}, 7.5f, 7.5f,
                       panelBrush(kBrushText));
}

void drawButton(Canvas& canvas, RectF rect, const char* text, bool on, bool hover) {
    const PanelBrush fill = on ? kBrushAccentEdge : hover ? kBrushSurface4 : kBrushSurface2;
    canvas.fillRoundedRect(rect, 8, panelBrush(fill));
    canvas.strokeRoundedRect(inset(rect, 0.5f), 8, panelBrush(on ? kBrushAccent : kBrushTint3));
    drawText(canvas, panelFormat(kFormatButton), text, rect, panelBrush(kBrushText),
             TextAlign::center);
}

void paint(HostWindow& host) {
    if (!host.window) return;
    const RectI client = windowRect(host.window);
    if (!host.surface) host.surface = createSurface(host.window, false, false);
    if (!host.surface) return;
    BitmapRef target = surfaceBitmap(*host.surface);
    if (target &&
        (bitmapWidth(*target) != client.width() || bitmapHeight(*target) != client.height())) {
        if (!resizeSurface(*host.surface, client.width(), client.height())) return;
        target = surfaceBitmap(*host.surface);
    }
    if (!target || !surfaceBeginFrame(*host.surface)) return;
    if (!panelFormat(kFormatRow)) createPanelFormats(1);
    createPanelBrushes(host.accent);
    Canvas canvas;
    if (!canvas.begin(target)) return;
    const float scale = windowDpi(host.window) / bitmapDpi(*target);
    canvas.setTransform(scaleMatrix(scale));
    drawHost(canvas, host.plan, host.view, host.hover);
    if (!canvas.end().ok()) return;
    host.drawn = presentSurface(*host.surface).ok();
}

void click(HostWindow& host, int hit) {
    if (hit >= 0 && hit < static_cast<int>(host.view.rows.size())) {
        if (host.actions.toggleOverlay) host.actions.toggleOverlay(host.view.rows[hit].slot);
    } else if (hit == kDemoHit) {
        if (host.actions.toggleDemo) host.actions.toggleDemo();
    } else if (hit == kArrangeHit) {
        if (host.actions.toggleArrange) host.actions.toggleArrange();
    } else if (hit == kImportHit) {
        if (host.actions.openImport) host.actions.openImport();
    }
}

bool handle(HostWindow& host, const WindowEvent& event) {
    const float scale = windowDpi(host.window) / 96;
    const auto hit = [&] {
        return hostHit(host.plan, static_cast<float>(event.position.x) / scale,
                       static_cast<float>(event.position.y) / scale);
    };
    const auto hover = [&](int now) {
        if (now == host.hover) return;
        host.hover = now;
        setCursor(host.window, now == -1 ? CursorShape::arrow : CursorShape::hand);
        paint(host);
    };
    switch (event.kind) {
    case EventKind::user:
        if (event.message != kTickMessage) return false;
        if (host.actions.tick) host.actions.tick();
        return true;
    case EventKind::paint:
    case EventKind::resized:
        paint(host);
        return true;
    case EventKind::close:
        if (host.actions.quit) host.actions.quit();
        return true;
    case EventKind::mouseMove:
        hover(hit());
        return true;
    case EventKind::mouseLeave:
        hover(-1);
        return true;
    case EventKind::mouseDown:
        if (event.button == 0) click(host, hit());
        return true;
    default:
        return false;
    }
}

/// The client area; the frame that the window manager lays around it stays clear as well.
RectI hostPlace(const HostPlan& plan, RectI work, const std::vector<RectI>& keepClear) {
    const float scale = static_cast<float>(systemDpi()) / 96;
    const int width = static_cast<int>(plan.width * scale + 0.5f);
    const int height = static_cast<int>(plan.height * scale + 0.5f);
    const int caption = static_cast<int>(kCaptionRoom * scale);
    const int left = work.left + (work.width() - width) / 2;
    const int top = work.top + (work.height() - height) / 2;
    RectI framed{left, top - caption, left + width, top + height};
    const bool covered = std::any_of(keepClear.begin(), keepClear.end(),
                                     [&](RectI r) { return !intersect(r, framed).empty(); });
    const PointI size{framed.width(), framed.height()};
    const int gap = static_cast<int>(kFreeGap * scale);
    const RectI area{work.left + gap, work.top + gap, work.right - gap, work.bottom - gap};
    const RectI free = covered ? freePlace(size, area, keepClear, gap) : RectI{};
    if (!free.empty()) framed = free;
    return {framed.left, framed.top + caption, framed.right, framed.bottom};
}

} // namespace

HostPlan hostPlan(size_t rowCount) {
    HostPlan plan;
    plan.width = kWidth;
    plan.title = rectAt(kMargin, 16, kWidth - 2 * kMargin, 26);
    plan.status = rectAt(kMargin, 48, kWidth - 2 * kMargin, 22);
    float y = 86;
    for (size_t i = 0; i < rowCount; ++i, y += kRowHeight + kRowGap)
        plan.rows.push_back(rectAt(kMargin, y, kWidth - 2 * kMargin, kRowHeight));
    y += 8;
    const float half = (kWidth - 2 * kMargin - 12) / 2;
    plan.demo = rectAt(kMargin, y, half, kButtonHeight);
    plan.arrange = rectAt(kMargin + half + 12, y, half, kButtonHeight);
    y += kButtonHeight + 12;
    plan.import = rectAt(kMargin, y, kWidth - 2 * kMargin, kButtonHeight);
    plan.hint = rectAt(kMargin, y + kButtonHeight + 10, kWidth - 2 * kMargin, 20);
    plan.height = plan.hint.bottom + 14;
    return plan;
}

int hostHit(const HostPlan& plan, float x, float y) {
    for (size_t i = 0; i < plan.rows.size(); ++i)
        if (plan.rows[i].contains(x, y)) return static_cast<int>(i);
    if (plan.demo.contains(x, y)) return kDemoHit;
    if (plan.arrange.contains(x, y)) return kArrangeHit;
    if (plan.import.contains(x, y)) return kImportHit;
    return -1;
}

void drawHost(Canvas& canvas, const HostPlan& plan, const HostView& view, int hover) {
    const TextFormat* label = panelFormat(kFormatRow);
    canvas.fillRect(canvas.bounds(), panelBrush(kBrushBackground));
    drawText(canvas, panelFormat(kFormatTitle), "VANTOREL OVERLAYS", plan.title,
             panelBrush(kBrushText));
    const bool failed = view.saveFailed || view.lapsFailed;
    const PanelBrush dot = failed ? kBrushBad : view.live ? kBrushGood : kBrushTextFaint;
    canvas.fillEllipse({plan.status.left + 5, plan.status.centerY()}, 5, 5, panelBrush(dot));
    RectF status = plan.status;
    status.left += 20;
    drawText(canvas, label,
             view.saveFailed   ? Translate("Could not save your settings: check free disk space")
             : view.lapsFailed ? Translate("Could not save your laps: check free disk space")
                               : view.status.c_str(),
             status, panelBrush(kBrushTextSoft));
    for (size_t i = 0; i < plan.rows.size() && i < view.rows.size(); ++i) {
        const RectF row = plan.rows[i];
        const bool under = hover == static_cast<int>(i);
        canvas.fillRoundedRect(row, 8, panelBrush(under ? kBrushSurface4 : kBrushSurface2));
        RectF name = row;
        name.left += 14;
        drawText(canvas, label, view.rows[i].name, name, panelBrush(kBrushText));
        drawSwitch(canvas, row, view.rows[i].on);
    }
    drawButton(canvas, plan.demo, view.demo ? Translate("Stop demo race") : Translate("Demo race"),
               view.demo, hover == kDemoHit);
    drawButton(canvas, plan.arrange,
               view.arranging ? Translate("Lock overlays") : Translate("Arrange"), view.arranging,
               hover == kArrangeHit);
    drawButton(canvas, plan.import, Translate("Import telemetry files"), false,
               hover == kImportHit);
    drawText(canvas, panelFormat(kFormatStatus), view.hint, plan.hint, panelBrush(kBrushTextDim),
             TextAlign::center);
}

bool createHostWindow(HostWindow& host, size_t rowCount, bool visible,
                      const std::vector<RectI>& keepClear) {
    host.plan = hostPlan(rowCount);
    WindowSpec spec;
    // With a frame of the window manager's: to be moved, minimised and closed by.
    spec.kind = WindowKind::dialog;
    spec.title = kHostTitle;
    spec.className = kHostClass;
    spec.rect = hostPlace(host.plan, listMonitors().front().work, keepClear);
    spec.visible = false;
    host.window = createWindow(spec, [&host](const WindowEvent& e) { return handle(host, e); });
    if (host.window && visible) showWindow(host.window, true);
    return host.window != 0;
}

void destroyHostWindow(HostWindow& host) {
    host.surface.reset();
    releasePanelBrushes();
    releasePanelFormats();
    if (host.window) destroyWindow(host.window);
    host.window = 0;
}

void updateHostWindow(HostWindow& host, HostView view) {
    if (view == host.view && host.drawn) return;
    host.view = std::move(view);
    if (host.window && windowVisible(host.window)) paint(host);
}

void showHostWindow(HostWindow& host) {
    if (!host.window) return;
    showWindow(host.window, true);
    raiseWindow(host.window);
    paint(host);
}

} // namespace vt
