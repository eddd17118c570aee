#include "overlay/overlays/card_overlay.h"

#include "base/translate.h"
#include "overlay/frame/styles.h"
#include "overlay/frame/theme.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr Color kGood{0.25f, 0.8f, 0.4f, 1}, kCaution{0.98f, 0.75f, 0.2f, 1};
constexpr Color kAlarm{0.95f, 0.27f, 0.24f, 1};

CardLook lookOf(const AppConfig& config, int slot) {
    CardLook look;
    look.apex = overlayUsesApexStyle(config, slot);
    look.caution = kCaution;
    if (look.apex) {
        const OverlayTheme& theme = themePalette();
        look.sheet = theme.panelTop;
        look.text = theme.text;
        look.dim = theme.textDim;
        look.line = theme.panelLine;
        look.accent = theme.accent;
        look.onAccent = theme.onAccent;
        look.good = kApexPositive;
        look.alarm = kApexNegative;
        look.corner = themeCornerRadius();
        return look;
    }
    look.sheet = colourFromRgb(config.overlayBgColor);
    look.text = look.onAccent = kTextColour;
    look.dim = fade(kTextColour, 0.6f);
    look.line = fade(kTextColour, 0.25f);
    look.accent = accentColour(config.accentTheme);
    look.good = kGood;
    look.alarm = kAlarm;
    return look;
}

} // namespace

CardOverlay::CardOverlay(OverlayHost& overlayHost, int slotNumber, int width, int height)
    : OverlayWindow(overlayHost, slotNumber), width_(width), height_(height) {
    heightResizable = true;
}

void CardOverlay::layoutForStyle() {
    baseWidth = width_;
    baseHeight = cardHeight();
}

void CardOverlay::draw(Canvas& target, RectF rect) {
    if (rect.width() < 1 || rect.height() < 1) return;
    CommonSnapshot common;
    getCommon(common);
    stamps_.begin(previewMode ? 0.0f : dpiScale);
    ListPainter painter{target, *this, shelf_, stamps_, contentOpacity(), bgOpacity()};
    CardLook look = lookOf(config, slot);
    look.unit = rect.height() / static_cast<float>(std::max(baseHeight, 1));
    look.textSize =
        std::isfinite(common.textScale) ? std::clamp(common.textScale, 0.5f, 3.0f) : 1.0f;
    target.pushClip(rect);
    painter.sheet(rect, look.corner, look.sheet);
    paint(painter, rect, look);
    target.popClip();
    shelf_.endPicture();
}

void CardOverlay::discardDeviceResources() {
    OverlayWindow::discardDeviceResources();
    shelf_.clear();
    stamps_.clear();
}

bool CardOverlay::rebuildDeviceResources() {
    shelf_.clear();
    stamps_.clear();
    return OverlayWindow::rebuildDeviceResources();
}

void CardOverlay::addStyleRow(const PageBuilder& page, const char* hint) {
    page.row({.kind = PageRow::Kind::section, .label = Translate("OPTIONS")});
    PageRow style{.kind = PageRow::Kind::stylePicker,
                  .label = Translate("Style"),
                  .hint = Translate(hint),
                  .slot = slot};
    style.number = styleOf(config, slot, style.choiceCount, style.choices, style.firstValue);
    page.row(style);
}

} // namespace vt
