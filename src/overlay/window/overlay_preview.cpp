// An overlay as a picture without a window: thumbnails and screenshots.
#include "overlay/frame/theme.h"
#include "overlay/window/window_parts.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

struct PreviewScope {
    OverlayWindow& overlay;
    const SimFrame* frame;
    bool mode;
    PreviewScope(OverlayWindow& o, const SimFrame* shown)
        : overlay(o), frame(o.frame), mode(o.previewMode) {
        overlay.frame = shown;
        overlay.previewMode = true;
    }
    ~PreviewScope() {
        overlay.frame = frame;
        overlay.previewMode = mode;
    }
    PreviewScope(const PreviewScope&) = delete;
    PreviewScope& operator=(const PreviewScope&) = delete;
};

BitmapRef previewTarget(OverlayWindow& overlay, const OverlayConfig& common, float scale,
                        BitmapRef reuse) {
    const auto width = static_cast<float>(overlay.scaledWidth);
    const float height = static_cast<float>(overlay.scaledHeight) + stripsHeight(overlay, common);
    const int pixelWidth = std::max(1, static_cast<int>(std::lround(width * scale)));
    const int pixelHeight = std::max(1, static_cast<int>(std::lround(height * scale)));
    const bool fits =
        reuse && bitmapWidth(*reuse) == pixelWidth && bitmapHeight(*reuse) == pixelHeight;
    BitmapRef target =
        fits ? std::move(reuse) : createBitmap(pixelWidth, pixelHeight, 96.0f * scale);
    if (target) setBitmapDpi(*target, 96.0f * scale);
    return target;
}

} // namespace

BitmapRef renderPreview(OverlayWindow& overlay, float scale, const SimFrame* frame,
                        BitmapRef reuse) {
    const float used = scale > 0.05f ? std::min(scale, 8.0f) : 1.0f;
    const uint64_t nowMs = clockMs(overlay.host.clock);
    const PreviewScope scope(overlay, frame);
    CommonSnapshot common;
    overlay.getCommon(common);
    overlay.layoutForStyle();
    applyScale(overlay, common);
    if (overlay.brushes.entries.size() >= kBrushCacheLimit) flushBrushes(overlay.brushes);
    BitmapRef target = previewTarget(overlay, common, used, std::move(reuse));
    if (!target) {
        reportDrawFailure("overlay preview", kDrawOutOfMemory, nowMs);
        return nullptr;
    }
    if (!overlay.brush(kTextColour)) {
        reportDrawFailure("overlay preview (null brush)", kDrawOutOfMemory, nowMs);
        return nullptr;
    }
    const bool editing = overlay.editMode;
    if (frame && !editing) overlay.contentHash(); // some overlays work out there what they draw
    Canvas canvas;
    if (!canvas.begin(target)) return nullptr;
    const DrawPlan plan{common, editing || slotSupported(overlay.slot, frame), editing};
    drawOverlay(overlay, canvas, plan);
    if (overlay.layoutDirty || overlay.fontsDirty) overlay.contentValid = false;
    overlay.layoutDirty = overlay.fontsDirty = false;
    const DrawResult result = canvas.end();
    if (result.ok()) return target;
    if (result.status == DrawStatus::lost)
        raiseDeviceLost();
    else
        reportDrawFailure("overlay preview", result.code, nowMs);
    return nullptr;
}

} // namespace vt
