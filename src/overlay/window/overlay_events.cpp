// The window's events: paints, moves of monitors, the mouse; and which parts of the window take it.
#include "overlay/window/window_parts.h"

#include <algorithm>

namespace vt {

namespace {

constexpr int kHitStep = 4; // px between two questions for a live area

bool onMouseDown(OverlayWindow& overlay, const WindowEvent& event) {
    if (event.button != 0) return false;
    if (overlay.editMode) {
        beginDrag(overlay, event);
        return true;
    }
    if (!overlay.hasClickArea() || !overlay.hitAt(event.position.x, event.position.y)) return false;
    overlay.onClick(event.position);
    return true;
}

bool onMouseMove(OverlayWindow& overlay, const WindowEvent& event) {
    if (dragging(overlay))
        dragTo(overlay, event.screen);
    else if (overlay.editMode)
        showGripCursor(overlay, event.position);
    return true;
}

void onDpiChanged(OverlayWindow& overlay, const WindowEvent& event) {
    if (event.value <= 0) return;
    overlay.dpiScale = static_cast<float>(event.value) / 96.0f;
    overlay.inResize = true;
    setWindowRect(overlay.window, event.rect);
    overlay.inResize = false;
    overlay.contentValid = false;
    overlay.nextFrameDue = 0;
    frameTick(overlay);
}

/// Something else spoiled or resized what the window shows.
void redrawSoon(OverlayWindow& overlay) {
    overlay.contentValid = false;
    if (overlay.inResize || dragging(overlay)) return;
    overlay.nextFrameDue = 0;
    frameTick(overlay);
}

/// What was on the screen is gone. A picture that still stands goes out again as it is.
void repaint(OverlayWindow& overlay) {
    const PointI size = clientSize(overlay);
    const BitmapRef bitmap = overlay.surface ? surfaceBitmap(*overlay.surface) : nullptr;
    const bool whole = overlay.contentValid && bitmap && bitmapWidth(*bitmap) == size.x &&
                       bitmapHeight(*bitmap) == size.y;
    if (whole && surfaceBeginFrame(*overlay.surface) && presentSurface(*overlay.surface).ok())
        return;
    redrawSoon(overlay);
}

/// The live areas as rectangles, row by row, equal rows joined.
std::vector<RectI> liveAreas(const OverlayWindow& overlay, PointI size) {
    std::vector<RectI> rects;
    size_t rowAbove = 0; // first rectangle of the row above
    for (int y = 0; y < size.y; y += kHitStep) {
        const int bottom = std::min(y + kHitStep, size.y);
        const size_t row = rects.size();
        for (int x = 0; x < size.x; x += kHitStep) {
            if (!overlay.hitAt(x, y)) continue;
            const int right = std::min(x + kHitStep, size.x);
            if (rects.size() > row && rects.back().right == x)
                rects.back().right = right;
            else
                rects.push_back({x, y, right, bottom});
        }
        const bool same =
            rects.size() - row == row - rowAbove && row > rowAbove &&
            std::equal(rects.begin() + static_cast<long>(row), rects.end(),
                       rects.begin() + static_cast<long>(rowAbove), [](RectI a, RectI b) {
                           return a.left == b.left && a.right == b.right && a.top == b.bottom;
                       });
        if (!same) {
            rowAbove = row;
            continue;
        }
        rects.resize(row);
        for (size_t i = rowAbove; i < row; ++i)
            rects[i].bottom = bottom;
    }
    return rects;
}

} // namespace

void updateInputRegion(OverlayWindow& overlay) {
    if (!overlay.window) return;
    if (overlay.editMode || !overlay.hasClickArea()) {
        if (overlay.inTick) return; // set when the mode changed; a draw changes nothing
        overlay.clickRects.clear();
        setInputRegion(overlay.window, overlay.editMode ? InputRegion::all : InputRegion::none);
        return;
    }
    std::vector<RectI> rects = liveAreas(overlay, clientSize(overlay));
    if (overlay.inTick && rects == overlay.clickRects) return;
    overlay.clickRects = std::move(rects);
    setInputRegion(overlay.window, InputRegion::rects, overlay.clickRects);
}

bool handleWindowEvent(OverlayWindow& overlay, const WindowEvent& event) {
    switch (event.kind) {
    case EventKind::paint:
        repaint(overlay);
        return true;
    case EventKind::resized:
        redrawSoon(overlay);
        return true;
    case EventKind::mouseDown:
        return onMouseDown(overlay, event);
    case EventKind::mouseMove:
        return onMouseMove(overlay, event);
    case EventKind::mouseUp:
        if (event.button == 0) endDrag(overlay);
        return true;
    case EventKind::captureLost:
        endDrag(overlay);
        return true;
    case EventKind::dpiChanged:
        onDpiChanged(overlay, event);
        return true;
    case EventKind::displayChanged:
        bringOnScreen(overlay);
        return true;
    case EventKind::close: // an overlay is switched off, never closed
        return true;
    default:
        return false;
    }
}

} // namespace vt
