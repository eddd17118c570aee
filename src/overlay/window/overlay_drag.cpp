// Dragging, resizing and snapping of unlocked overlays.
#include "overlay/window/window_parts.h"
#include "platform/desktop.h"

#include <algorithm>
#include <cstdlib>

namespace vt {

namespace {

constexpr int kSnapLimit = 9;      // px; a smaller difference snaps
constexpr uint32_t kVkMenu = 0x12; // Alt
constexpr float kGripBand = 14;    // design units along the right and the bottom edge
constexpr float kMinGap = 20, kMaxGap = 5000;

void consider(int& best, int candidate) {
    if (std::abs(candidate) < std::abs(best)) best = candidate;
}

struct Grip {
    bool move = false, right = false, bottom = false;
};

Grip gripAt(const OverlayWindow& overlay, PointI client, PointI size) {
    const int band = static_cast<int>(kGripBand * overlay.dpiScale + 0.5f);
    const bool inRight = client.x >= size.x - band, inBottom = client.y >= size.y - band;
    if (inBottom && (overlay.heightResizable || overlay.uniformScale))
        return {false, inRight, true};
    if (inRight) return {false, true, false};
    return {true, false, false};
}

std::vector<RectI> otherOverlays(const OverlayWindow& overlay) {
    std::vector<RectI> rects;
    for (const OverlayWindow* other : overlay.host.overlays)
        if (other && other != &overlay && other->window && windowVisible(other->window))
            rects.push_back(windowRect(other->window));
    return rects;
}

void dragPlace(OverlayWindow& overlay, PointI delta) {
    const RectI from = overlay.dragRect;
    const RectI moved{from.left + delta.x, from.top + delta.y, from.right + delta.x,
                      from.bottom + delta.y};
    PointI corner{moved.left, moved.top};
    if (!keyDown(kVkMenu)) {
        const RectI work = monitorFor(windowRect(overlay.window)).work;
        corner = snap(moved, work, otherOverlays(overlay));
    }
    overlay.inResize = true;
    setWindowRect(overlay.window,
                  {corner.x, corner.y, corner.x + from.width(), corner.y + from.height()});
    overlay.inResize = false;
}

void dragGap(OverlayWindow& overlay, float& gap, float width) {
    const float rest = static_cast<float>(overlay.baseWidth) - gap;
    gap = std::clamp(width - rest, kMinGap, kMaxGap);
    overlay.layoutForStyle();
}

void dragSize(OverlayWindow& overlay, PointI delta) {
    CommonSnapshot common;
    overlay.getCommon(common);
    const auto pixelWidth = static_cast<float>(overlay.dragRect.width() + delta.x);
    const auto pixelHeight = static_cast<float>(overlay.dragRect.height() + delta.y);
    const float width = pixelWidth / overlay.dpiScale;
    // The strips do not scale: without this the first move would jump by their height.
    const float height = pixelHeight / overlay.dpiScale - stripsHeight(overlay, common);
    const float widthMul = clampMultiplier(width / static_cast<float>(overlay.baseWidth));
    const float heightMul = clampMultiplier(height / static_cast<float>(overlay.baseHeight));
    float* gap = overlay.gapField();

    if (overlay.uniformScale) {
        common.widthMul = overlay.dragRight ? widthMul : heightMul;
    } else {
        if (overlay.dragRight && overlay.widthFixed && gap)
            dragGap(overlay, *gap, width);
        else if (overlay.dragRight && !overlay.widthFixed)
            common.widthMul = std::max(widthMul, overlay.minWidthMul);
        if (overlay.dragBottom) common.heightMul = std::max(heightMul, overlay.minHeightMul);
    }
    overlay.setPlacement(overlay.dragRect.left, overlay.dragRect.top, !overlay.editMode,
                         common.widthMul, common.heightMul);
    resizeToSettings(overlay);
}

} // namespace

PointI snap(RectI moving, RectI workArea, const std::vector<RectI>& others) {
    int dx = kSnapLimit, dy = kSnapLimit;
    consider(dx, workArea.left - moving.left);
    consider(dx, workArea.right - moving.right);
    consider(dy, workArea.top - moving.top);
    consider(dy, workArea.bottom - moving.bottom);
    for (const RectI& o : others) {
        for (const int edge : {o.left, o.right}) {
            consider(dx, edge - moving.left);
            consider(dx, edge - moving.right);
        }
        for (const int edge : {o.top, o.bottom}) {
            consider(dy, edge - moving.top);
            consider(dy, edge - moving.bottom);
        }
    }
    if (dx == kSnapLimit) dx = 0;
    if (dy == kSnapLimit) dy = 0;
    return {moving.left + dx, moving.top + dy};
}

void showGripCursor(OverlayWindow& overlay, PointI client) {
    const Grip grip = gripAt(overlay, client, clientSize(overlay));
    CursorShape shape = CursorShape::sizeAll;
    if (grip.right && (grip.bottom || overlay.uniformScale))
        shape = CursorShape::sizeNWSE;
    else if (grip.right)
        shape = CursorShape::sizeWE;
    else if (grip.bottom)
        shape = CursorShape::sizeNS;
    setCursor(overlay.window, shape);
}

void beginDrag(OverlayWindow& overlay, const WindowEvent& event) {
    const Grip grip = gripAt(overlay, event.position, clientSize(overlay));
    overlay.dragMove = grip.move;
    overlay.dragRight = grip.right;
    overlay.dragBottom = grip.bottom;
    overlay.dragCursor = event.screen;
    overlay.dragRect = windowRect(overlay.window);
    captureMouse(overlay.window);
}

void dragTo(OverlayWindow& overlay, PointI cursor) {
    const PointI delta{cursor.x - overlay.dragCursor.x, cursor.y - overlay.dragCursor.y};
    if (overlay.dragMove)
        dragPlace(overlay, delta);
    else
        dragSize(overlay, delta);
}

void endDrag(OverlayWindow& overlay) {
    if (!dragging(overlay)) return;
    cancelDrag(overlay);
    storePlacement(overlay);
    overlay.nudgeSavePending = false; // goes out with this save
    saveNow(overlay.host);
}

void cancelDrag(OverlayWindow& overlay) {
    if (!dragging(overlay)) return;
    overlay.dragMove = overlay.dragRight = overlay.dragBottom = false;
    overlay.contentValid = false;
    if (overlay.window && mouseCapture() == overlay.window) releaseMouse();
}

} // namespace vt
