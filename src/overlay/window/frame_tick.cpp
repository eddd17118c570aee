// One overlay's turn of a main tick: decide whether it shows, whether its picture still stands, and
// draw when it does not.
#include "base/format.h"
#include "base/pacing.h"
#include "overlay/frame/theme.h"
#include "overlay/settings/slots.h"
#include "overlay/window/window_parts.h"

#include <algorithm>
#include <utility>

namespace vt {

namespace {

constexpr double kEarlyMs = 8.0;  // a tick this much before its time still counts
constexpr double kSpikeMs = 50.0; // a draw that took this long goes to the performance log

double msBetween(int64_t from, int64_t to) {
    return static_cast<double>(to - from) * 1000.0 / static_cast<double>(kTicksPerSecond);
}

bool shouldShow(OverlayWindow& overlay, const OverlayConfig& common, const SimState& sim) {
    switch (decideShow(common, overlay.editMode, overlay.showsWithoutSim(), sim)) {
    case ShowDecision::hide:
        return false;
    case ShowDecision::show:
        return true;
    case ShowDecision::askGate:
        return overlay.visibilityGate();
    case ShowDecision::askExtraThenGate:
        return overlay.extraShowWhen(sim.inGarage, sim.inCar, sim.outOfCar) &&
               overlay.visibilityGate();
    }
    return false;
}

/// Shows or hides the window. True when there is something to draw for.
bool applyVisibility(OverlayWindow& overlay, const OverlayConfig& common, const SimState& sim) {
    const bool mayDecide = sim.frameAtHand || overlay.editMode;
    if (!mayDecide) {
        overlay.contentValid = false;
        return false;
    }
    const bool show = shouldShow(overlay, common, sim);
    const bool shown = overlay.window && windowVisible(overlay.window);
    if (overlay.window && show != shown)
        showOverlay(overlay, show);
    else if (!show && overlay.surface)
        overlay.surface.reset(); // made in advance for a window that never came up
    if (show || (overlay.host.keepDrawing && common.enabled)) return true;
    overlay.contentValid = false;
    return false;
}

bool drawsOffscreen(const OverlayWindow& overlay) {
    return !overlay.window || !windowVisible(overlay.window);
}

/// A surface of the window's size, or none where the picture is drawn off screen.
bool readySurface(OverlayWindow& overlay, const OverlayConfig& common) {
    if (overlay.layoutDirty) overlay.layoutForStyle();
    applyScale(overlay, common);
    if (syncWindowSize(overlay, common)) overlay.contentValid = false;
    if (drawsOffscreen(overlay)) return true;
    if (!overlay.surface) {
        overlay.contentValid = false;
        overlay.surface = createSurface(overlay.window, true, true);
        if (!overlay.surface) {
            reportDrawFailure("overlay surface", kDrawFailed, clockMs(overlay.host.clock));
            return false;
        }
    }
    const PointI size = overlayPixelSize(overlay, common);
    const BitmapRef bitmap = surfaceBitmap(*overlay.surface);
    if (bitmap && bitmapWidth(*bitmap) == size.x && bitmapHeight(*bitmap) == size.y) return true;
    overlay.contentValid = false;
    if (resizeSurface(*overlay.surface, size.x, size.y)) return true;
    raiseDeviceLost();
    return false;
}

/// 0 when the overlay has no hash: draw.
uint64_t pictureHash(OverlayWindow& overlay, const OverlayConfig& common, bool supported) {
    if (overlay.editMode) {
        // Nobody asks for the hash, with which a list follows the length of its field.
        if (!dragging(overlay)) {
            overlay.layoutForStyle();
            resizeToSettings(overlay);
        }
        return 0;
    }
    const uint64_t content = overlay.contentHash();
    if (content == 0) return 0;
    const AppConfig& config = overlay.config;
    const bool strips = overlay.frame && overlay.hasChrome();
    if (!strips || (!common.showHeader && !common.showFooter))
        return mixContentHash(content, config, overlay.slot, common, supported, nullptr, nullptr);
    const FieldContext context{config, overlay.slot, overlay.host.clock};
    StripTexts header, footer;
    if (common.showHeader) header = stripTexts(common, true, *overlay.frame, context);
    if (common.showFooter) footer = stripTexts(common, false, *overlay.frame, context);
    return mixContentHash(content, config, overlay.slot, common, supported,
                          common.showHeader ? &header : nullptr,
                          common.showFooter ? &footer : nullptr);
}

/// The picture itself, as long as it has the right size: nobody else draws into it.
BitmapRef offscreenTarget(OverlayWindow& overlay, const OverlayConfig& common) {
    const PointI size = overlayPixelSize(overlay, common);
    const BitmapRef& last = overlay.picture;
    if (last && bitmapWidth(*last) == size.x && bitmapHeight(*last) == size.y) return last;
    return createBitmap(size.x, size.y, 96.0f * overlay.dpiScale);
}

void noteSpike(OverlayWindow& overlay, const OverlayHost::SlotTiming& t) {
    const double total = t.cmdMs + t.flushMs + t.presentMs;
    if (!overlay.host.perfLine || total < kSpikeMs) return;
    const uint64_t now = clockMs(overlay.host.clock);
    const uint64_t last = overlay.lastSpikeMs ? overlay.lastSpikeMs : now;
    char line[160];
    const int length =
        formatText(line, sizeof line, "%lld,spike,%s,%.1f,%.1f,%.1f,%.1f,%.1f,%d\n",
                   static_cast<long long>(clockUnixSeconds(overlay.host.clock)),
                   overlayKey(overlay.slot), total, t.cmdMs, t.flushMs, t.presentMs,
                   static_cast<double>(now - last), static_cast<int>(overlay.skippedFrames));
    overlay.host.perfLine(std::string_view(line, static_cast<size_t>(length)));
    overlay.lastSpikeMs = now;
    overlay.skippedFrames = 0;
}

void publish(OverlayWindow& overlay, BitmapRef picture, uint64_t hash) {
    overlay.picture = std::move(picture);
    ++overlay.frameCounter;
    overlay.contentValid = true;
    overlay.lastHash = hash;
    overlay.layoutDirty = overlay.fontsDirty = false;
    updateInputRegion(overlay);
    for (const auto& notify : overlay.host.afterPaint)
        notify(overlay);
}

/// Draws into `target` and puts it on the window, when there is a surface.
DrawResult record(OverlayWindow& overlay, const DrawPlan& plan, const BitmapRef& target,
                  OverlayHost::SlotTiming& timing) {
    const Clock& clock = overlay.host.clock;
    const int64_t started = clockTicks(clock);
    if (!overlay.canvas.begin(target))
        return deviceLost() ? DrawResult{DrawStatus::lost, kDrawDeviceLost}
                            : DrawResult{DrawStatus::failed, kDrawFailed};
    drawOverlay(overlay, overlay.canvas, plan);
    const int64_t recorded = clockTicks(clock);
    DrawResult result = overlay.canvas.end();
    const int64_t flushed = clockTicks(clock);
    if (result.ok() && overlay.surface) result = presentSurface(*overlay.surface);
    timing.cmdMs = msBetween(started, recorded);
    timing.flushMs = msBetween(recorded, flushed);
    timing.presentMs = msBetween(flushed, clockTicks(clock));
    noteSpike(overlay, timing);
    return result;
}

void paintOverlay(OverlayWindow& overlay, const OverlayConfig& common, bool supported,
                  uint64_t hash) {
    const uint64_t nowMs = clockMs(overlay.host.clock);
    overlay.contentValid = false;
    if (overlay.brushes.entries.size() >= kBrushCacheLimit) flushBrushes(overlay.brushes);
    BitmapRef target =
        overlay.surface ? surfaceBitmap(*overlay.surface) : offscreenTarget(overlay, common);
    if (!target) {
        reportDrawFailure("overlay", kDrawOutOfMemory, nowMs);
        return;
    }
    const float dpi = 96.0f * overlay.dpiScale;
    if (bitmapDpi(*target) != dpi) setBitmapDpi(*target, dpi);
    if (!overlay.brush(kTextColour)) {
        reportDrawFailure("overlay (null brush)", kDrawOutOfMemory, nowMs);
        return;
    }
    const DrawPlan plan{common, supported, overlay.editMode};
    auto& timing = overlay.host.timing[static_cast<size_t>(std::clamp(overlay.slot, 0, 44))];
    const DrawResult result = record(overlay, plan, target, timing);
    if (result.ok())
        publish(overlay, std::move(target), hash);
    else if (result.status == DrawStatus::lost)
        raiseDeviceLost();
    else if (result.status == DrawStatus::failed)
        reportDrawFailure("overlay", result.code, nowMs);
    // A picture that did not go out is drawn again at the overlay's next turn.
}

void runTick(OverlayWindow& overlay) {
    CommonSnapshot common;
    overlay.getCommon(common);
    savePendingNudge(overlay);
    if (!applyVisibility(overlay, common, simStateOf(overlay.frame))) return;
    if (deviceLost()) {
        overlay.contentValid = false;
        return;
    }
    if (!readySurface(overlay, common)) return;
    const int64_t dueBefore = overlay.nextFrameDue;
    if (!dragging(overlay) && !paceDue(overlay.nextFrameDue, drawRateHz(common, overlay.editMode),
                                       kEarlyMs, clockTicks(overlay.host.clock), kTicksPerSecond))
        return;
    const bool supported = overlay.editMode || slotSupported(overlay.slot, overlay.frame);
    const uint64_t hash = pictureHash(overlay, common, supported);
    const bool stands = overlay.contentValid && !overlay.layoutDirty && !overlay.fontsDirty;
    if (stands && hash != 0 && hash == overlay.lastHash) {
        ++overlay.skippedFrames;
        ++overlay.host.timing[static_cast<size_t>(std::clamp(overlay.slot, 0, 44))].skipped;
        return;
    }
    if (overlay.surface && !surfaceBeginFrame(*overlay.surface)) {
        overlay.nextFrameDue = dueBefore; // the last frame is still on its way: next tick
        return;
    }
    paintOverlay(overlay, common, supported, hash);
}

} // namespace

void frameTick(OverlayWindow& overlay) {
    if (overlay.inTick) return; // an event that the tick's own window calls brought about
    overlay.inTick = true;
    runTick(overlay);
    overlay.inTick = false;
}

void overlayTick(OverlayWindow& overlay, const SimFrame* frame) {
    const Clock& clock = overlay.host.clock;
    const int64_t started = clockTicks(clock);
    const SimFrame* outer = overlay.frame;
    overlay.frame = frame;
    overlay.prepareFrame(frame);
    frameTick(overlay);
    overlay.frame = outer;
    auto& timing = overlay.host.timing[static_cast<size_t>(std::clamp(overlay.slot, 0, 44))];
    const double ms = msBetween(started, clockTicks(clock));
    timing.totalMs += ms;
    timing.peakMs = std::max(timing.peakMs, ms);
    ++timing.count;
}

} // namespace vt
