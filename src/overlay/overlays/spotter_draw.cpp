// The three faces of the spotter.
#include "overlay/overlays/spotter_overlay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace vt {

namespace {

constexpr Color kPanel{0.043f, 0.051f, 0.066f, 1};
constexpr Color kLine{1, 1, 1, 0.16f};
constexpr Color kLabel{1, 1, 1, 0.5f};
constexpr Color kOwn{0.93f, 0.95f, 0.98f, 1};
constexpr Color kFar{0.62f, 0.68f, 0.76f, 1}, kNear{1, 0.72f, 0.16f, 1},
    kBeside{1, 0.27f, 0.22f, 1};
constexpr float kCarWidth = 1.9f, kCarLength = 4.6f; // m
constexpr float kSideWay = 3.0f; // m: where a car stands whose side alone is known

Color mixed(Color a, Color b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t,
            a.a + (b.a - a.a) * t};
}

/// 1 at the ends of a period, `least` in its middle.
float pulse(uint64_t nowMs, uint64_t period, float least) {
    const float phase = static_cast<float>(nowMs % period) / static_cast<float>(period);
    return least + (1 - least) * std::abs(2 * phase - 1);
}

void drawMark(ListPainter& p, RectF bar, const SpotterMark& mark, float alpha, uint64_t nowMs) {
    const float height = std::min(bar.height() * 0.24f, 84.0f), half = height / 2;
    const float middle = bar.top + half + (bar.height() - height) * mark.pos;
    const RectF box{bar.left + 4, middle - half + 4, bar.right - 4, middle + half - 4};
    const float radius = std::min({7.0f, box.width() / 2, box.height() / 2});
    const Color colour = mixed(kNear, kBeside, std::clamp(mark.strength, 0.0f, 1.0f));
    const float shown = alpha * (mark.strength >= 0.66f ? pulse(nowMs, 900, 0.6f) : 1);
    if (mark.ambiguous)
        p.canvas.strokeRoundedRect(box, radius, p.ink(fade(colour, 0.8f * shown)), 2);
    else {
        p.canvas.fillRoundedRect(box, radius,
                                 p.ink(fade(colour, shown * (0.45f + 0.55f * mark.strength))));
        // Two cars level with each other stay two.
        p.canvas.strokeRoundedRect(box, radius, p.ink(fade(kPanel, 0.9f * alpha)), 1.5f);
    }
}

void drawBar(ListPainter& p, RectF bar, const SpotterSide& side, const SpotterMarks& marks,
             float alpha, uint64_t nowMs) {
    constexpr float kRadius = 9;
    const float radius = std::min(kRadius, bar.width() / 2);
    p.canvas.fillRoundedRect(bar, radius, p.ground(fade(kPanel, 0.72f * alpha)));
    if (side.active)
        p.canvas.fillRoundedRect(bar, radius,
                                 p.ink(fade(mixed(kNear, kBeside, side.strength),
                                            (0.16f + 0.2f * side.strength) * alpha)));
    // The sides' marks come nearest first: that one lies on top.
    for (int i = marks.count - 1; i >= 0; --i)
        drawMark(p, bar, marks.marks[static_cast<size_t>(i)], alpha, nowMs);
    if (side.approaching) {
        const float shown = alpha * pulse(nowMs, 700, 0.3f);
        const float x = (bar.left + bar.right) / 2, y = bar.bottom - bar.width() * 0.8f;
        const float reach = bar.width() * 0.28f;
        PathBuilder arrow;
        arrow.moveTo(x - reach, y + reach).lineTo(x, y).lineTo(x + reach, y + reach);
        p.canvas.strokePath(arrow.build().get(), p.ink(fade(kNear, shown)), 3);
    }
    if (side.active && side.count > 1) {
        char text[16];
        std::snprintf(text, sizeof text, "%d", side.count);
        p.text({bar.left, bar.top + 6, bar.right, bar.top + 30}, text, {Face::mono, 16, 700},
               fade(kOwn, alpha), TextAlign::center);
    }
    const Color edge = side.active ? mixed(kNear, kBeside, side.strength) : kLine;
    p.canvas.strokeRoundedRect(
        {bar.left + 0.5f, bar.top + 0.5f, bar.right - 0.5f, bar.bottom - 0.5f}, radius,
        p.ink(fade(edge, alpha)), 1);
}

/// Blips on a plane of metres round the car.
struct Plane {
    PointF middle;
    float pixels = 1; // per metre
    float width = 1;  // px that the plane is wide to each side
};

RectF carBox(const Plane& plane, PointF at) {
    const float half = std::max(kCarWidth * plane.pixels / 2, 4.0f);
    const float length = std::max(kCarLength * plane.pixels / 2, 8.0f);
    return {at.x - half, at.y - length, at.x + half, at.y + length};
}

void drawCar(ListPainter& p, RectF box, Color colour, float alpha, bool hollow) {
    const float radius = std::min(box.width() * 0.3f, 5.0f);
    if (hollow)
        p.canvas.strokeRoundedRect(box, radius, p.ink(fade(colour, alpha)), 1.6f);
    else
        p.canvas.fillRoundedRect(box, radius, p.ink(fade(colour, alpha)));
}

/// Where the blips stand. Of cars whose side alone is known, each further one stands further out.
struct BlipBoxes {
    std::array<RectF, 64> boxes{};
    int count = 0;
    RectF own{};
};

BlipBoxes placeBlips(const Plane& plane, const SpotterRadar& radar) {
    BlipBoxes out;
    out.count = radar.count;
    out.own = carBox(plane, plane.middle);
    const float limit = plane.width - kCarWidth * plane.pixels / 2 - 2;
    float lanes[2] = {0, 0};
    for (int i = 0; i < radar.count; ++i) {
        const RadarBlip& blip = radar.blips[static_cast<size_t>(i)];
        float across = blip.lateral;
        if (!radar.lateralKnown)
            across = blip.side == 0 ? 0
                                    : static_cast<float>(blip.side) * kSideWay *
                                          ++lanes[blip.side < 0 ? 0 : 1];
        const PointF at{plane.middle.x + std::clamp(across * plane.pixels, -limit, limit),
                        plane.middle.y - blip.longitudinal * plane.pixels};
        out.boxes[static_cast<size_t>(i)] = carBox(plane, at);
    }
    return out;
}

bool overlap(RectF a, RectF b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

bool covered(RectF area, const BlipBoxes& blips, int but) {
    if (overlap(area, blips.own)) return true;
    for (int i = 0; i < blips.count; ++i)
        if (i != but && overlap(area, blips.boxes[static_cast<size_t>(i)])) return true;
    return false;
}

void drawBlip(ListPainter& p, RectF box, const RadarBlip& blip, bool unsure, float alpha,
              uint64_t nowMs) {
    const bool pulses = blipPulses(blip);
    const float closeness = std::clamp((12 - std::abs(blip.longitudinal)) / 9, 0.0f, 1.0f);
    const Color colour = blip.alongside ? kBeside : mixed(kFar, kNear, closeness);
    drawCar(p, box, colour, alpha * (pulses ? pulse(nowMs, 1100, 0.55f) : 0.95f), unsure);
}

/// Beside the blip on its outer side, or wherever else no car stands.
void drawNumber(ListPainter& p, const Plane& plane, const BlipBoxes& blips, int at, int number,
                float alpha) {
    const RectF box = blips.boxes[static_cast<size_t>(at)];
    char text[16];
    std::snprintf(text, sizeof text, "%d", number);
    const float size = std::clamp(plane.pixels * 1.9f, 9.0f, 14.0f);
    const float wide = size * 0.62f * static_cast<float>(std::strlen(text)) + 1;
    const float x = (box.left + box.right) / 2, y = (box.top + box.bottom) / 2;
    const float half = size * 0.6f;
    const RectF left{box.left - 3 - wide, y - half, box.left - 3, y + half};
    const RectF right{box.right + 3, y - half, box.right + 3 + wide, y + half};
    const RectF above{x - wide / 2, box.top - 1 - 2 * half, x + wide / 2, box.top - 1};
    const RectF below{x - wide / 2, box.bottom + 1, x + wide / 2, box.bottom + 1 + 2 * half};
    const bool outerLeft = x < plane.middle.x;
    const bool ahead = y < plane.middle.y;
    const RectF places[] = {outerLeft ? left : right, ahead ? above : below, ahead ? below : above,
                            outerLeft ? right : left};
    RectF chosen = places[0];
    for (const RectF& place : places) {
        if (place.left < plane.middle.x - plane.width || place.right > plane.middle.x + plane.width)
            continue;
        if (covered(place, blips, at)) continue;
        chosen = place;
        break;
    }
    // More room than the digits take: a line of text is higher than they are.
    p.text({chosen.left - 2, chosen.top - half, chosen.right + 2, chosen.bottom + half}, text,
           {Face::mono, size, 700}, fade(kOwn, 0.85f * alpha), TextAlign::center);
}

void drawBlips(ListPainter& p, const Plane& plane, const SpotterRadar& radar, bool numbers,
               float alpha, uint64_t nowMs) {
    const BlipBoxes blips = placeBlips(plane, radar);
    // Below the others: a car of which no side is known stands on the same line.
    drawCar(p, blips.own, kOwn, alpha, false);
    // The nearest last: it lies on top.
    for (int pass = 0; pass < 2; ++pass)
        for (int i = 0; i < radar.count; ++i) {
            const RadarBlip& blip = radar.blips[static_cast<size_t>(i)];
            if (blipPulses(blip) == (pass == 1))
                drawBlip(p, blips.boxes[static_cast<size_t>(i)], blip,
                         !radar.lateralKnown && blip.side == 0, alpha, nowMs);
        }
    for (int i = 0; numbers && i < radar.count; ++i) {
        const int number = radar.blips[static_cast<size_t>(i)].carNumberValue;
        if (number >= 0) drawNumber(p, plane, blips, i, number, alpha);
    }
}

} // namespace

void drawSpotterBars(ListPainter& p, RectF rect, const SpotterConfig& config,
                     const SpotterPicture& picture) {
    const float share =
        rect.width() / std::max(std::clamp(config.spotterBarGap, 20.0f, 5000.0f) +
                                    2 * std::clamp(config.spotterBarWidth, 10.0f, 100.0f) + 12,
                                1.0f);
    const float width = std::clamp(config.spotterBarWidth, 10.0f, 100.0f) * share;
    const RectF bars[] = {{rect.left + 3, rect.top + 3, rect.left + 3 + width, rect.bottom - 3},
                          {rect.right - 3 - width, rect.top + 3, rect.right - 3, rect.bottom - 3}};
    for (size_t at = 0; at < 2; ++at) {
        const float alpha = std::max(picture.bars.sides[at].alpha, picture.floor);
        if (alpha > 0.02f)
            drawBar(p, bars[at], picture.bars.sides[at], picture.bars.marks[at], alpha,
                    picture.nowMs);
    }
}

void drawSpotterRadar(ListPainter& p, RectF rect, const SpotterConfig& config,
                      const SpotterPicture& picture) {
    const SpotterRadar& radar = picture.radar;
    const float alpha = std::max(radar.alpha, picture.floor);
    if (alpha <= 0.02f) return;
    p.canvas.fillRoundedRect(rect, 14, p.ground(fade(kPanel, 0.88f * alpha)));
    p.canvas.strokeRoundedRect(
        {rect.left + 0.5f, rect.top + 0.5f, rect.right - 0.5f, rect.bottom - 0.5f}, 14,
        p.ink(fade(kLine, alpha)), 1);
    const PointF middle{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
    const float reach = std::max(rect.height() / 2 - 16, 4.0f);
    const Plane plane{middle, reach / radar.range, rect.width() / 2 - 6};
    p.canvas.pushClip(rect);
    const float size = std::clamp(rect.height() * 0.042f, 8.0f, 16.0f);
    for (const int third : {-2, -1, 1, 2}) {
        const float y = middle.y - reach * static_cast<float>(third) / 3;
        p.canvas.fillRect({rect.left + 10, y - 0.5f, rect.right - 10, y + 0.5f},
                          p.ink(fade(kLine, alpha)));
        char text[16];
        std::snprintf(
            text, sizeof text, "%d",
            static_cast<int>(std::lround(static_cast<float>(std::abs(third)) * radar.range / 3)));
        p.text({rect.left + 10, y - size * 1.4f, rect.left + 40, y}, text, {Face::mono, size, 400},
               fade(kLabel, alpha));
    }
    drawBlips(p, plane, radar, config.spotterRadarNums, alpha, picture.nowMs);
    p.canvas.popClip();
}

void drawSpotterDisc(ListPainter& p, RectF rect, const SpotterConfig& config,
                     const SpotterPicture& picture) {
    const SpotterRadar& radar = picture.radar;
    const float alpha = std::max(radar.alpha, picture.floor);
    if (alpha <= 0.02f) return;
    const PointF middle{(rect.left + rect.right) / 2, (rect.top + rect.bottom) / 2};
    const float radius = std::min(rect.width(), rect.height()) / 2 - 2;
    if (radius < 8) return;
    p.canvas.fillEllipse(middle, radius, radius, p.ground(fade(kPanel, 0.88f * alpha)));
    for (const float ring : {1 / 3.0f, 2 / 3.0f})
        p.canvas.strokeEllipse(middle, radius * ring, radius * ring,
                               p.ink(fade(kLine, 0.8f * alpha)), 1);
    p.canvas.strokeEllipse(middle, radius - 0.5f, radius - 0.5f, p.ink(fade(kLine, 1.4f * alpha)),
                           1);
    bool beside[2] = {false, false};
    for (int i = 0; i < radar.count; ++i) {
        const RadarBlip& blip = radar.blips[static_cast<size_t>(i)];
        if (blip.alongside && blip.side != 0) beside[blip.side < 0 ? 0 : 1] = true;
    }
    for (size_t side = 0; side < 2; ++side) {
        if (!beside[side]) continue;
        const float centre = side == 0 ? 3.14159265f : 0.0f;
        PathBuilder arc;
        arc.moveTo(middle.x + std::cos(centre - 0.75f) * (radius - 5),
                   middle.y + std::sin(centre - 0.75f) * (radius - 5));
        arc.arc(middle, radius - 5, centre - 0.75f, centre + 0.75f);
        p.canvas.strokePath(arc.build().get(),
                            p.ink(fade(kBeside, alpha * pulse(picture.nowMs, 1100, 0.5f))), 6);
    }
    const float size = std::clamp(radius * 0.09f, 8.0f, 16.0f);
    char text[16];
    std::snprintf(text, sizeof text, "%d", static_cast<int>(std::lround(radar.range)));
    // Beside the way of the cars straight ahead, above the arc of those beside.
    const PointF label{middle.x + radius * 0.45f, middle.y - radius * 0.75f};
    p.text({label.x - 30, label.y - size, label.x + 30, label.y + size}, text,
           {Face::mono, size, 400}, fade(kLabel, alpha), TextAlign::center);
    const Plane plane{middle, (radius - 16) / radar.range, radius * 0.8f};
    drawBlips(p, plane, radar, config.spotterRadarNums, alpha, picture.nowMs);
}

} // namespace vt
