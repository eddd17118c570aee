#include "overlay/overlays/track_strip_overlay.h"

#include "base/hash.h"
#include "base/translate.h"
#include "overlay/frame/theme.h"
#include "overlay/settings/slots.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace vt {

namespace {

constexpr int kWidth = 700, kHeight = 126, kLaneHeight = 50;
constexpr float kMargin = 12;
constexpr float kShortestLine = 60;
constexpr float kDotRing = 1.5f; // its dark edge

/// One picture's measures, in the window's own design units.
struct StripLook {
    ListPainter& p;
    RectF rect;
    float unit = 1;            // height of the window against its base
    float text = 1;            // factor of all sizes of text
    float left = 0, right = 0; // ends of the line

    float x(float at) const { return left + (right - left) * at; }
    float y(float base) const { return rect.top + base * unit; }
    float dot(bool player) const { return (player ? 6.5f : 5.0f) * std::min(unit, 1.6f); }
    float stallHalf() const { return 3.5f * std::clamp(unit, 0.35f, 1.6f); }
    TextStyle style(float size, int weight = 600) const {
        return {Face::sans, size * text * std::min(unit, 1.6f), weight};
    }
};

void drawDot(StripLook& look, float x, float y, const StripCar& car) {
    const float radius = look.dot(car.player);
    look.p.canvas.fillEllipse({x, y}, radius + kDotRing, radius + kDotRing,
                              look.p.ink({0.03f, 0.04f, 0.05f, 0.9f}));
    look.p.canvas.fillEllipse({x, y}, radius, radius, look.p.ink(car.colour));
    if (!car.player) return;
    look.p.canvas.fillEllipse({x, y}, radius * 0.55f, radius * 0.55f,
                              look.p.ink(themePalette().accent));
}

void drawSectors(StripLook& look, const TrackStripView& view, RectF band) {
    const OverlayTheme& theme = themePalette();
    const size_t count = view.sectorStarts.size();
    for (size_t i = 0; i < count; ++i) {
        const float from = look.x(std::clamp(view.sectorStarts[i], 0.0f, 1.0f));
        const float to =
            i + 1 < count ? look.x(std::clamp(view.sectorStarts[i + 1], 0.0f, 1.0f)) : look.right;
        const RectF box{from, band.top, to, band.bottom};
        if (static_cast<int>(i) == view.sector)
            look.p.canvas.fillRect(box, look.p.ink(fade(theme.accent, 0.28f)));
        else if (i % 2 == 0)
            look.p.canvas.fillRect(box, look.p.ink(fade(theme.cellFill, 0.9f)));
        if (i > 0)
            look.p.canvas.fillRect({from - 0.5f, box.top, from + 0.5f, box.bottom},
                                   look.p.ink(theme.panelLine));
    }
}

void drawHead(StripLook& look, const TrackStripView& view) {
    const OverlayTheme& theme = themePalette();
    const RectF head{look.left, look.y(5), look.right, look.y(21)};
    const TextStyle place = look.style(13, 700);
    look.p.text(head, view.place, place, theme.text);
    const float end = view.place[0] ? look.p.width(place, view.place) + 10 : 0;
    look.p.text({head.left + end, head.top, head.right, head.bottom}, view.laps, look.style(11),
                theme.textDim);
}

void drawLine(StripLook& look, const TrackStripView& view) {
    const OverlayTheme& theme = themePalette();
    const RectF band{look.left, look.y(25), look.right, look.y(49)};
    drawSectors(look, view, band);
    const float y = look.y(37);
    look.p.canvas.fillRect({look.left, y - 1.5f, look.right, y + 1.5f}, look.p.ink(theme.textDim));
    look.p.canvas.fillRect({look.left - 1.5f, band.top - 2, look.left + 1.5f, band.bottom + 2},
                           look.p.ink(theme.text)); // the start line
    for (const StripCar& car : view.cars)
        drawDot(look, look.x(car.at), y, car);
}

/// Where the lane's caption may stand: parts of the line. The middle first: stalls and the cars at
/// them are as a rule near the start line, which is at both ends.
constexpr float kCaptionPlaces[] = {0.5f, 0.3f, 0.7f, 0.15f, 0.85f, 0, 1};
constexpr float kCaptionSpare = 4;

/// The caption's place, -1 where none is free. It stays at `place` for as long as nothing stands
/// there.
int captionPlace(const StripLook& look, const TrackStripView& view, float width, int place) {
    const auto left = [&](int at) {
        return look.left + 5 + (look.right - look.left - 10 - width) * kCaptionPlaces[at];
    };
    const auto covers = [&](int at, float x, float reach) {
        return x + reach > left(at) && x - reach < left(at) + width;
    };
    const auto free = [&](int at, float spare) {
        if (view.stall >= 0 && covers(at, look.x(view.stall), look.stallHalf() + spare))
            return false;
        return std::none_of(view.pits.begin(), view.pits.end(), [&](const StripCar& car) {
            return covers(at, look.x(car.at), look.dot(car.player) + kDotRing + spare);
        });
    };
    if (width > look.right - look.left - 10) return -1;
    if (place >= 0 && free(place, 0)) return place;
    for (int at = 0; at < static_cast<int>(std::size(kCaptionPlaces)); ++at)
        if (free(at, kCaptionSpare)) return at;
    return -1;
}

void drawPits(StripLook& look, const TrackStripView& view, int& place) {
    const OverlayTheme& theme = themePalette();
    const float top = look.y(56), bottom = look.y(72), y = (top + bottom) / 2;
    const TextStyle small = look.style(9);
    const RectF lane{look.left, top, look.right, bottom};
    look.p.canvas.fillRect(lane, look.p.ink(fade(theme.stripFill, 0.9f)));
    const char* caption = Translate("PIT LANE");
    const float width = look.p.width(small, caption) + 1;
    place = captionPlace(look, view, width, place);
    if (place >= 0) {
        const float left = lane.left + 5 + (lane.width() - 10 - width) * kCaptionPlaces[place];
        look.p.text({left, lane.top, left + width, lane.bottom}, caption, small,
                    fade(theme.textDim, 0.8f));
    }
    if (view.stall >= 0) {
        const float x = look.x(view.stall), half = look.stallHalf();
        look.p.canvas.fillRect({x - half, top, x + half, bottom}, look.p.ink(theme.accent));
    }
    for (const StripCar& car : view.pits)
        drawDot(look, look.x(car.at), y, car);
}

/// Under the lane, on the car's own side of the player: two cars close by have room for both.
void drawLabel(StripLook& look, const TrackStripView& view, int index, bool ahead) {
    if (index < 0) return;
    const StripCar& car = view.lane[static_cast<size_t>(index)];
    char label[16];
    std::snprintf(label, sizeof label, "%+.1f", static_cast<double>(car.gap));
    const TextStyle figures{Face::mono, look.style(10).size, 600};
    const float half = look.p.width(figures, label) / 2 + 1, middle = look.x(0.5f);
    const float from = ahead ? middle + half + 1 : look.left + half;
    const float to = ahead ? look.right - half : middle - half - 1;
    const float x = std::max(std::min(look.x(0.5f + car.at / 2), to), from);
    look.p.text({x - half, look.y(109.5f), x + half, look.y(125)}, label, figures,
                themePalette().text, TextAlign::center);
}

void drawLane(StripLook& look, const TrackStripView& view) {
    const OverlayTheme& theme = themePalette();
    const RectF head{look.left, look.y(79), look.right, look.y(91)};
    const TextStyle small = look.style(9.5f, 700);
    // The title has the middle to itself, the counts the sides.
    const float side = head.width() * 0.28f;
    look.p.text({head.left + side + 4, head.top, head.right - side - 4, head.bottom},
                Translate("WITHIN 5 SECONDS"), small, theme.textDim, TextAlign::center);
    char more[32];
    const auto others = [&](int count, TextAlign align) {
        if (count <= 0) return;
        std::snprintf(more, sizeof more, Translate("%d MORE"), count);
        const bool trailing = align == TextAlign::trailing;
        look.p.text({trailing ? head.right - side : head.left, head.top,
                     trailing ? head.right : head.left + side, head.bottom},
                    more, small, theme.textDim, align);
    };
    others(view.moreBehind, TextAlign::leading);
    others(view.moreAhead, TextAlign::trailing);
    const float y = look.y(102);
    look.p.canvas.fillRect({look.left, y - 1, look.right, y + 1}, look.p.ink(theme.panelLine));
    for (int second = -5; second <= 5; ++second) {
        const float x = look.x(0.5f + static_cast<float>(second) / 10);
        const float height = (second == 0 ? 8.0f : 3.0f) * std::min(look.unit, 1.6f);
        look.p.canvas.fillRect({x - 0.5f, y - height, x + 0.5f, y + height},
                               look.p.ink(second == 0 ? theme.text : theme.textDim));
    }
    for (const StripCar& car : view.lane)
        drawDot(look, look.x(0.5f + car.at / 2), y, car);
    drawDot(look, look.x(0.5f), y, {0, 0, {1, 1, 1, 1}, true});
    drawLabel(look, view, view.nearestAhead, true);
    drawLabel(look, view, view.nearestBehind, false);
}

} // namespace

TrackStripOverlay::TrackStripOverlay(OverlayHost& overlayHost)
    : OverlayWindow(overlayHost, kSlotTrackStrip) {
    heightResizable = true;
    layoutForStyle();
    applyScale(*this);
}

void TrackStripOverlay::layoutForStyle() {
    baseWidth = kWidth;
    baseHeight = config.trackstrip.tsShowGaps ? kHeight : kHeight - kLaneHeight;
}

uint64_t TrackStripOverlay::contentHash() {
    const TrackStripConfig& c = config.trackstrip;
    const int height = c.tsShowGaps ? kHeight : kHeight - kLaneHeight;
    if (height != baseHeight && !previewMode) {
        baseHeight = height;
        resizeToSettings(*this);
    }
    buildTrackStrip(view_, c, liveFrame());
    Fnv64 hash;
    hash.word(hashTrackStrip(view_, static_cast<float>(scaledWidth) * dpiScale));
    hash.flag(c.tsShowGaps);
    hash.flag(c.tsShowPit);
    return hash.value ? hash.value : 1;
}

void TrackStripOverlay::draw(Canvas& target, RectF rect) {
    if (rect.width() < 1 || rect.height() < 1) return;
    const TrackStripConfig& c = config.trackstrip;
    buildTrackStrip(view_, c, liveFrame());
    CommonSnapshot common;
    getCommon(common);
    stamps_.begin(previewMode ? 0.0f : dpiScale);
    ListPainter painter{target, *this, shelf_, stamps_, contentOpacity(), bgOpacity()};
    StripLook look{painter, rect};
    look.unit = rect.height() / static_cast<float>(c.tsShowGaps ? kHeight : kHeight - kLaneHeight);
    look.text = std::isfinite(common.textScale) ? std::clamp(common.textScale, 0.5f, 2.0f) : 1.0f;
    look.left = rect.left + kMargin;
    look.right = std::max(rect.right - kMargin, look.left + kShortestLine);

    const OverlayTheme& theme = themePalette();
    target.pushClip(rect);
    painter.sheet(rect, themeCornerRadius(), theme.panelTop);
    if (view_.live && !view_.positions) {
        painter.text(rect, Translate("NO CAR POSITIONS ON THIS SIM"), look.style(13), theme.textDim,
                     TextAlign::center);
    } else {
        drawHead(look, view_);
        if (c.tsShowPit) drawPits(look, view_, captionPlace_);
        drawLine(look, view_);
        if (c.tsShowGaps) drawLane(look, view_);
    }
    target.popClip();
    shelf_.endPicture();
}

void TrackStripOverlay::discardDeviceResources() {
    OverlayWindow::discardDeviceResources();
    shelf_.clear();
    stamps_.clear();
}

bool TrackStripOverlay::rebuildDeviceResources() {
    shelf_.clear();
    stamps_.clear();
    return OverlayWindow::rebuildDeviceResources();
}

void TrackStripOverlay::buildPage(const PageBuilder& page) {
    using Kind = PageRow::Kind;
    TrackStripConfig& c = config.trackstrip;
    page.row({.kind = Kind::section, .label = Translate("OPTIONS")});
    struct Toggle {
        const char* label;
        const char* hint;
        bool* flag;
    };
    const Toggle toggles[] = {
        {"Proximity lane", "The cars within five seconds of you, below the strip.", &c.tsShowGaps},
        {"Sector shading", "Shade the strip per sector and light the one you are in.",
         &c.tsShowSectors},
        {"Pit lane", "A lane for the cars in the pits, with your stall marked.", &c.tsShowPit},
        {"Class colours", "Colour each car by its class.", &c.tsClassColours},
        {"My class only", "Hide the cars of other classes.", &c.tsMyClassOnly},
    };
    for (const Toggle& toggle : toggles)
        page.row({.kind = Kind::toggle,
                  .label = Translate(toggle.label),
                  .hint = Translate(toggle.hint),
                  .flag = toggle.flag,
                  .slot = slot});
    addCommonRows(page, c, slot, heightResizable, supportsStrips());
}

} // namespace vt
