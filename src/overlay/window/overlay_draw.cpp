// The picture around an overlay's content: background, corner mask, strips, what stands in place of
// the content, and the edit mode's outline, handles and caption.
#include "base/format.h"
#include "base/translate.h"
#include "overlay/frame/strips.h"
#include "overlay/frame/styles.h"
#include "overlay/frame/theme.h"
#include "overlay/window/window_parts.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace vt {

namespace {

constexpr float kChromeRadius = 8;
constexpr float kPillWidth = 200, kPillTop = 4, kPillBottom = 26;
constexpr float kCaptionSize = 11;
// Below this part of its size a caption can no longer be read, and only its beginning is shown.
constexpr float kLegible = 0.7f;
constexpr float kShrinkOnly = 1.001f; // drawTextFit: at most the text's own size
constexpr Color kPillFill{0.055f, 0.063f, 0.078f, 0.92f};

/// The theme is one for the program: set for a draw, put back behind it.
struct ThemeScope {
    int outer = drawTheme();
    explicit ThemeScope(int theme) { setDrawTheme(theme); }
    ~ThemeScope() { setDrawTheme(outer); }
    ThemeScope(const ThemeScope&) = delete;
    ThemeScope& operator=(const ThemeScope&) = delete;
};

void readyFormats(OverlayWindow& overlay, const OverlayConfig& common) {
    const float scale = std::isfinite(common.textScale) ? common.textScale : 1.0f;
    const float size = 13.0f * std::max(scale, 0.1f);
    if (overlay.textFormat && overlay.textFormat->size != size) overlay.fontsDirty = true;
    if (!overlay.textFormat || overlay.fontsDirty)
        overlay.textFormat = makeTextFormat("Inter Tight", size, 600);
    if (!overlay.captionFormat || overlay.fontsDirty)
        overlay.captionFormat = makeTextFormat("Inter Tight", kCaptionSize, 600);
}

PathRef cornerMaskFor(OverlayWindow& overlay, RectF client, float radius) {
    if (!overlay.cornerMask || overlay.maskWidth != client.width() ||
        overlay.maskHeight != client.height() || overlay.maskRadius != radius) {
        overlay.cornerMask = PathBuilder().roundedRect(client, radius).build();
        overlay.maskWidth = client.width();
        overlay.maskHeight = client.height();
        overlay.maskRadius = radius;
    }
    return overlay.cornerMask;
}

void drawBackground(OverlayWindow& overlay, Canvas& canvas, RectF client, float radius) {
    const RectF panel = inset(client, 0.5f);
    const Color fill = colourFromRgb(overlay.config.overlayBgColor);
    canvas.fillRoundedRect(panel, radius, overlay.brush(fill, overlay.bgOpacity()));
    canvas.strokeRoundedRect(panel, radius, overlay.brush({1, 1, 1, 0.08f}));
}

void drawNotAvailable(OverlayWindow& overlay, Canvas& canvas, RectF rect) {
    const Brush* brush = overlay.brush(kTextColour, 0.45f * overlay.contentOpacity());
    const RectF box{rect.left + 8, rect.top, rect.right - 8, rect.bottom};
    drawTextFit(canvas, overlay.textFormat.get(), Translate("Not available on this sim"), box,
                brush, kShrinkOnly);
}

void drawPlaceholder(OverlayWindow& overlay, Canvas& canvas, RectF client) {
    const RectF panel = inset(client, 0.5f);
    const Color accent = accentColour(overlay.config.accentTheme);
    const Color fill = colourFromRgb(overlay.config.overlayBgColor);
    canvas.fillRoundedRect(panel, kChromeRadius, overlay.brush(withAlpha(fill, 0.9f)));
    canvas.fillRoundedRect(panel, kChromeRadius, overlay.brush(accent, 0.08f));
    canvas.strokeRoundedRect(inset(client, 1), kChromeRadius, overlay.brush(accent), 2);
    const float belowCaption = kPillBottom + 2;
    if (client.height() < belowCaption + 14) return;              // the caption alone fills it
    const float margin = std::min(20.0f, client.width() * 0.18f); // clear of the handles
    RectF box{client.left + margin, client.top + 4, client.right - margin, client.bottom - 4};
    if (client.height() < 2 * belowCaption + 24) box.top = belowCaption;
    const float largest = std::clamp(client.height() / 80, 1.2f, 2.6f);
    drawTextFit(canvas, overlay.captionFormat.get(), overlay.name, box, overlay.brush(kTextColour),
                largest);
}

/// Header and content, as they are out of edit mode as well.
void drawContent(OverlayWindow& overlay, Canvas& canvas, RectF client, const DrawPlan& plan) {
    const OverlayConfig& common = plan.common;
    const bool chrome = overlay.hasChrome();
    if (chrome && (common.showHeader || common.showFooter)) overlay.drawChrome(canvas, client);
    RectF rect = client;
    if (chrome && common.showHeader) rect.top += kStripHeight;
    if (chrome && common.showFooter) rect.bottom -= kStripHeight;
    if (!plan.supported) {
        drawNotAvailable(overlay, canvas, rect);
        return;
    }
    if (!overlay.uniformScale) {
        overlay.draw(canvas, rect);
        return;
    }
    const float scale = clampMultiplier(common.widthMul);
    const Matrix outer = canvas.transform();
    canvas.setTransform(combine(scaleMatrix(scale), outer));
    overlay.draw(canvas, rectAt(0, rect.top / scale, static_cast<float>(overlay.baseWidth),
                                static_cast<float>(overlay.baseHeight)));
    canvas.setTransform(outer);
}

// ---- edit mode ----

void drawOutline(OverlayWindow& overlay, Canvas& canvas, RectF client, Color accent) {
    if (overlay.hasChrome())
        canvas.strokeRoundedRect(inset(client, 1), kChromeRadius, overlay.brush(accent), 2);
    else // half a pixel further in, so that the line falls on whole pixels
        canvas.strokeRoundedRect(inset(client, 1.5f), 6,
                                 overlay.brush(accent, 0.35f * overlay.contentOpacity()), 1);
}

/// Two nested corners at the bottom right.
void drawHandles(OverlayWindow& overlay, Canvas& canvas, RectF client, Color accent) {
    if (std::min(client.width(), client.height()) < 34) return; // no room beside the caption
    static const StrokeStyle round{LineCap::round, LineJoin::round, {}, 0};
    const float length = std::min(12.0f, 0.3f * std::min(client.width(), client.height()));
    const Brush* brush = overlay.brush(accent);
    for (const float part : {1.0f, 0.35f}) {
        const float off = part == 1.0f ? 6.0f : 6.0f + 0.35f * length;
        const float x = client.right - off, y = client.bottom - off, arm = length * part;
        canvas.drawLine({x, y}, {x - arm, y}, brush, 2, &round);
        canvas.drawLine({x, y}, {x, y - arm}, brush, 2, &round);
    }
}

void captionText(OverlayWindow& overlay, const OverlayConfig& common, char* out, size_t capacity) {
    if (!dragging(overlay)) {
        formatText(out, capacity, "%s", Translate("EDIT  --  drag to place, F6 to lock"));
        return;
    }
    const RectI r = windowRect(overlay.window);
    const float* gap = overlay.gapField();
    if (gap && overlay.dragRight)
        formatText(out, capacity, "%d,%d  %dx%d px (gap %dpx)", r.left, r.top, r.width(),
                   r.height(), static_cast<int>(std::lround(*gap)));
    else
        formatText(out, capacity, "%d,%d  %dx%d px (%.1fx)", r.left, r.top, r.width(), r.height(),
                   static_cast<double>(common.widthMul));
}

void drawCaption(OverlayWindow& overlay, Canvas& canvas, RectF client, const OverlayConfig& common,
                 Color accent) {
    float width = std::min(kPillWidth, client.width() - 8);
    const float bottom = std::min(kPillBottom, client.bottom - 4);
    if (width < 16 || bottom - kPillTop < 8) return;
    const float margin = std::min(8.0f, width * 0.12f);
    char text[96];
    captionText(overlay, common, text, sizeof text);
    std::string_view shown = text;
    const TextFormat* format = overlay.captionFormat.get();
    if (textWidthUnbounded(format, shown) * kLegible > width - 2 * margin) {
        shown = shown.substr(0, shown.find("  "));
        width = std::min(width, textWidthUnbounded(format, shown) + 4 * margin);
    }

    const RectF pill = rectAt(client.centerX() - width / 2, kPillTop, width, bottom - kPillTop);
    const float radius = pill.height() / 2;
    canvas.fillRoundedRect(pill, radius, overlay.brush(kPillFill));
    canvas.strokeRoundedRect(inset(pill, 0.5f), radius - 0.5f, overlay.brush(accent, 0.85f));
    const RectF box{pill.left + margin, pill.top, pill.right - margin, pill.bottom};
    drawTextFit(canvas, format, shown, box, overlay.brush(kTextColour), kShrinkOnly);
}

} // namespace

void drawOverlay(OverlayWindow& overlay, Canvas& canvas, const DrawPlan& plan) {
    const ThemeScope theme(effectiveTheme(overlay.config, overlay.slot));
    readyFormats(overlay, plan.common);
    canvas.clear({0, 0, 0, 0});
    const RectF client = canvas.bounds();
    const bool apex = overlayUsesApexStyle(overlay.config, overlay.slot);
    const bool placeholder = plan.editing && overlay.host.editPlaceholders;
    const bool masked = apex && themeCornerRadius() > 0;

    if (masked) canvas.pushLayer(cornerMaskFor(overlay, client, themeCornerRadius()));
    if (placeholder) {
        drawPlaceholder(overlay, canvas, client);
    } else {
        if (overlay.hasChrome())
            drawBackground(overlay, canvas, client, apex ? themeCornerRadius() : kChromeRadius);
        drawContent(overlay, canvas, client, plan);
    }
    if (masked) canvas.popLayer();

    if (!plan.editing) return;
    const Color accent = accentColour(overlay.config.accentTheme);
    if (!placeholder) drawOutline(overlay, canvas, client, accent);
    drawHandles(overlay, canvas, client, accent);
    drawCaption(overlay, canvas, client, plan.common, accent);
}

} // namespace vt
