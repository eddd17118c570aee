#include "overlay/overlays/privacy_cover.h"

#include "base/hash.h"
#include "base/translate.h"
#include "overlay/settings/slots.h"

namespace vt {

namespace {

constexpr Color kGround{0.07f, 0.075f, 0.085f, 1}, kStripe{0.11f, 0.117f, 0.13f, 1};
constexpr float kStripeWidth = 14; // base units, across; as wide again between two

void drawStripes(ListPainter& p, RectF rect, float unit) {
    // Opaque whatever the opacities say: something lies behind that is not to be seen.
    p.canvas.fillRect(rect, p.overlay.brush(kGround));
    const float width = kStripeWidth * unit, height = rect.height();
    PathBuilder path;
    for (float x = rect.left - height; x < rect.right; x += width * 2)
        path.moveTo(x, rect.bottom)
            .lineTo(x + height, rect.top)
            .lineTo(x + height + width, rect.top)
            .lineTo(x + width, rect.bottom)
            .close();
    p.canvas.fillPath(path.build().get(), p.overlay.brush(kStripe));
}

} // namespace

PrivacyCoverOverlay::PrivacyCoverOverlay(OverlayHost& overlayHost)
    : CardOverlay(overlayHost, kSlotCover, 372, 209) {
    layoutForStyle();
    applyScale(*this);
}

uint64_t PrivacyCoverOverlay::contentHash() {
    Fnv64 hash;
    hash.number(config.cover.coverStyle + 1);
    return hash.value;
}

void PrivacyCoverOverlay::paint(ListPainter& p, RectF rect, const CardLook& look) {
    const float unit = look.unit;
    drawStripes(p, rect, unit);
    const Face face = look.apex ? Face::race : Face::sans;
    const float text = unit * look.textSize;
    const float middle = (rect.top + rect.bottom) / 2;
    const TextStyle pill{Face::mono, 8.5f * text, 700};
    const char* const state = Translate("AUTO · GARAGE OPEN");
    const float half = p.width(pill, state) / 2 + 9 * unit, centre = rect.centerX();
    const float top = middle - 40 * unit;
    p.pill({centre - half, top, centre + half, top + 17 * unit}, state, pill,
           look.apex ? look.onAccent : kGround, look.apex ? look.accent : look.caution,
           look.apex ? 0 : 8.5f * unit);
    p.text({rect.left + 12 * unit, middle - 16 * unit, rect.right - 12 * unit, middle + 16 * unit},
           Translate("Setting up the car"), {face, 24 * text, 700}, look.text, TextAlign::center);
    p.text({rect.left + 12 * unit, middle + 18 * unit, rect.right - 12 * unit, middle + 36 * unit},
           Translate("STREAM RESUMES SHORTLY"), {Face::sans, 10 * text, 600}, look.dim,
           TextAlign::center);
    if (look.apex)
        p.canvas.fillRect({rect.left, rect.bottom - 4 * unit, rect.right, rect.bottom},
                          p.overlay.brush(look.accent));
}

void PrivacyCoverOverlay::buildPage(const PageBuilder& page) {
    addStyleRow(page, "Which look the cover is drawn in.");
    page.row({.kind = PageRow::Kind::text,
              .label = Translate("Hides your setup while you are in the garage. Shows "
                                 "automatically, no hotkey.")});
    addCommonRows(page, config.cover, slot, heightResizable, supportsStrips());
}

} // namespace vt
