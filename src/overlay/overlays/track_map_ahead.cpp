// The road ahead on Track Map, with the car at its foot.
#include "base/format.h"
#include "base/translate.h"
#include "overlay/overlays/track_map_look.h"
#include "overlay/overlays/track_map_overlay.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr Color kThrottle{0.16f, 0.85f, 0.36f, 1};
constexpr Color kBrake{0.95f, 0.22f, 0.2f, 1};
constexpr float kSmallestLabel = 3.5f; // design units; smaller ones cannot be read
constexpr float kRoadHalf = 6;         // m, where no edge is known

struct Ahead {
    ListPainter& p;
    const TrackShape& shape;
    const FollowView& view;
    const MapColours& colours;
    float pct;            // of the player
    float behind, beyond; // m that are drawn

    float pctAt(float metres) const { return pct + metres / std::max(shape.length, 1.0f); }
    bool onRoad(float metres) const {
        const float at = pctAt(metres);
        return shape.closed || (at >= 0 && at <= 1);
    }
    float halfWidth(float at) const {
        const size_t count = shape.edgeLeft.size();
        if (count == 0) return kRoadHalf;
        const float wrapped = shape.closed ? at - std::floor(at) : std::clamp(at, 0.0f, 1.0f);
        const size_t i =
            std::min(static_cast<size_t>(wrapped * static_cast<float>(count)), count - 1);
        const float left = shape.edgeLeft[i], right = shape.edgeRight[i];
        return left > 0 && right > 0 ? std::clamp((left + right) / 2, 3.0f, 15.0f) : kRoadHalf;
    }
    /// To the right of the road at a lap fraction, one metre long, on the screen.
    PointF across(float at) const {
        const float step = 3 / std::max(shape.length, 1.0f);
        const PointF a = view(shapeAt(shape, at - step)), b = view(shapeAt(shape, at + step));
        const float dx = b.x - a.x, dy = b.y - a.y, length = std::hypot(dx, dy);
        if (!(length > 1e-4f)) return {};
        const float metre = view.scale / shape.scale;
        return {-dy / length * metre, dx / length * metre};
    }
};

void drawBand(const Ahead& a) {
    PathBuilder middle;
    bool open = false;
    float width = 0;
    int count = 0;
    for (float m = -a.behind; m <= a.beyond; m += 4) {
        if (!a.onRoad(m)) continue;
        const PointF at = a.view(shapeAt(a.shape, a.pctAt(m)));
        if (open)
            middle.lineTo(at.x, at.y);
        else
            middle.moveTo(at.x, at.y);
        open = true;
        width += a.halfWidth(a.pctAt(m)) * 2;
        ++count;
    }
    if (!open) return;
    const float metre = a.view.scale / a.shape.scale;
    const float stroke = std::max(width / static_cast<float>(count) * metre, 4.0f);
    const PathRef path = middle.build();
    a.p.canvas.strokePath(path.get(), a.p.ink({0.92f, 0.93f, 0.94f, 0.85f}), stroke + 3,
                          &mapStroke());
    a.p.canvas.strokePath(path.get(), a.p.ink({0.17f, 0.18f, 0.2f, 1}), stroke, &mapStroke());
}

void drawPedals(const Ahead& a) {
    const size_t bins = a.shape.best.size();
    if (bins == 0) return;
    PointF last{};
    bool have = false;
    for (float m = -a.behind; m <= a.beyond; m += 4) {
        if (!a.onRoad(m)) continue;
        const float at = a.pctAt(m);
        const float wrapped = at - std::floor(at);
        const RoadBestBin& bin =
            a.shape
                .best[std::min(static_cast<size_t>(wrapped * static_cast<float>(bins)), bins - 1)];
        const PointF point = a.view(shapeAt(a.shape, at));
        if (have && bin.have) {
            const bool braking = bin.brake > 5;
            const float pedal = static_cast<float>(braking ? bin.brake : bin.throttle) / 100;
            if (pedal > 0.05f)
                a.p.canvas.drawLine(last, point,
                                    a.p.ink(fade(braking ? kBrake : kThrottle,
                                                 0.3f + 0.7f * std::round(pedal * 8) / 8)),
                                    3, &mapStroke());
        }
        last = point;
        have = true;
    }
}

void drawBrakePoint(const Ahead& a, const CornerCall& call) {
    if (call.brakePct < 0) return;
    const PointF at = a.view(shapeAt(a.shape, call.brakePct)), side = a.across(call.brakePct);
    const float half = a.halfWidth(call.brakePct) + 1.5f;
    const Brush* red = a.p.ink(kBrake);
    a.p.canvas.drawLine({at.x - side.x * half, at.y - side.y * half},
                        {at.x + side.x * half, at.y + side.y * half}, red, 3.5f);
    // Two arrows that lead into it, along the way that is driven.
    const PointF way{side.y, -side.x};
    for (const float back : {6.0f, 12.0f}) {
        const PointF tip{at.x - way.x * back, at.y - way.y * back};
        for (const float s : {-1.0f, 1.0f})
            a.p.canvas.drawLine({tip.x - way.x * 3.5f + side.x * 3.5f * s,
                                 tip.y - way.y * 3.5f + side.y * 3.5f * s},
                                tip, red, 2.5f);
    }
}

Color severityColour(int severity) {
    const float t = static_cast<float>(std::clamp(severity, 1, 6) - 1) / 5;
    return {0.95f - 0.75f * t, 0.22f + 0.62f * t, 0.2f + 0.15f * t, 1};
}

struct InfoCell {
    const char* label = "";
    char value[24] = "";
    const char* unit = "";
    Color colour;
};

void fillCells(std::vector<InfoCell>& cells, const TrackMapConfig& c, const TrackShape& shape,
               const CornerCall& call, Color text) {
    const auto add = [&](bool wanted, const char* label, const char* unit) -> InfoCell* {
        if (!wanted) return nullptr;
        cells.push_back({Translate(label), "--", unit, text});
        return &cells.back();
    };
    if (InfoCell* cell = add(c.tmFollowShowTurn, "NEXT CORNER", ""); cell && call.known) {
        std::snprintf(cell->value, sizeof cell->value, "%d%c", call.severity, call.direction);
        cell->colour = severityColour(call.severity);
    }
    if (InfoCell* cell = add(c.tmFollowShowDist, "DISTANCE", ""); cell && call.known)
        std::snprintf(cell->value, sizeof cell->value, "%d m",
                      static_cast<int>(std::lround(std::min(call.distance, 99999.0f) / 5) * 5));
    if (InfoCell* cell = add(c.tmFollowShowGear, "GEAR", ""); cell && call.gear != 0)
        std::snprintf(cell->value, sizeof cell->value, call.gear > 0 ? "%d" : "R", call.gear);
    if (InfoCell* cell = add(c.tmFollowShowSpeed, "CORNER SPEED", Translate("KM/H"));
        cell && call.speed > 0)
        std::snprintf(cell->value, sizeof cell->value, "%d",
                      static_cast<int>(std::lround(call.speed * 3.6f)));
    if (InfoCell* cell = add(c.tmFollowShowTime, "BEST", ""); cell && shape.bestSeconds > 0) {
        const int minutes = static_cast<int>(shape.bestSeconds) / 60;
        std::snprintf(cell->value, sizeof cell->value, "%d:%05.2f", minutes,
                      static_cast<double>(shape.bestSeconds) - minutes * 60);
    }
}

void drawInfo(ListPainter& p, RectF bar, const std::vector<InfoCell>& cells, Color ground,
              const MapColours& colours, float text) {
    if (cells.empty()) return;
    p.roundedRect(bar, 5, ground, p.content);
    const float width = bar.width() / static_cast<float>(cells.size());
    const float pad = std::min(3.0f, bar.height() * 0.1f);
    const float height = bar.height() - 2 * pad, room = width - 2 * pad;
    // In a bar too low for both, the values stand alone.
    const bool labelled = height * 0.3f >= kSmallestLabel;
    const float head = labelled ? height * 0.36f : 0;
    TextStyle label{Face::sans, std::min(9 * text, head * 0.85f), 600};
    TextStyle figures{Face::race, std::min(17 * text, (height - head) * 0.8f), 700};
    const auto valueOf = [&](const InfoCell& cell, char(&value)[48]) {
        formatText(value, sizeof value, labelled && cell.unit[0] ? "%s %s" : "%s", cell.value,
                   cell.unit);
        return std::string_view(value);
    };
    // One size for all: that of the widest.
    char value[48];
    float wide = 1, wideLabel = 1;
    for (const InfoCell& cell : cells) {
        wide = std::max(wide, p.width(figures, valueOf(cell, value)) / room);
        if (labelled) wideLabel = std::max(wideLabel, p.width(label, cell.label) / room);
    }
    figures.size = std::floor(figures.size / wide * 2) / 2;
    label.size = std::floor(label.size / wideLabel * 2) / 2;
    for (size_t i = 0; i < cells.size(); ++i) {
        const InfoCell& cell = cells[i];
        const float left = bar.left + width * static_cast<float>(i) + pad;
        const RectF box{left, bar.top + pad, left + room, bar.bottom - pad};
        if (labelled)
            p.text({box.left, box.top, box.right, box.top + head}, cell.label, label, colours.dim,
                   TextAlign::center);
        p.text({box.left, box.top + head, box.right, box.bottom}, valueOf(cell, value), figures,
               cell.colour, TextAlign::center);
    }
}

} // namespace

bool TrackMapOverlay::drawAhead(ListPainter& p, RectF rect, const SimFrame& shown,
                                float textScale) {
    const TrackMapConfig& c = config.trackmap;
    const MapColours colours = mapColours(config);
    const float unit = mapUnit(*this, rect), text = textScale * mapTextUnit(unit);
    const float dots = mapDotUnit(unit);
    const float barHeight = 38 * std::clamp(unit, 0.32f, 1.6f);
    const CornerCall call = nextCorner(shape_, shown.lapDistPct);
    std::vector<InfoCell> cells;
    fillCells(cells, c, shape_, call, colours.text);
    const float bar = cells.empty() ? 0 : barHeight;
    RectF road = rect;
    RectF info{rect.left + 6, rect.top + 6, rect.right - 6, rect.top + 6 + bar};
    if (c.tmFollowInfoPos == 0) { // below
        info.top = rect.bottom - 6 - bar;
        info.bottom = rect.bottom - 6;
        road.bottom -= bar;
    } else {
        road.top += bar;
    }
    FollowView view;
    const float zoom = std::clamp(c.tmFollowZoomM, 80.0f, 800.0f);
    if (!buildFollow(view, shape_, shown.lapDistPct, zoom, road)) return false;
    const Ahead ahead{p, shape_, view, colours, shown.lapDistPct, zoom * 0.4f, zoom * 1.3f};
    // The bar keeps its corner of the picture to itself.
    RectF open = rect;
    if (bar > 0 && c.tmFollowInfoPos == 0) open.bottom = info.top - 2;
    if (bar > 0 && c.tmFollowInfoPos != 0) open.top = info.bottom + 2;
    p.canvas.pushClip(open);
    drawBand(ahead);
    if (c.tmFollowPedals) drawPedals(ahead);
    if (c.tmFollowBrakePt) drawBrakePoint(ahead, call);
    if (c.tmFollowCornerSign && call.known) {
        const PointF at = view(shapeAt(shape_, call.pct));
        const float reach = 7 * dots;
        p.canvas.strokeEllipse(at, reach, reach, p.ink({0, 0, 0, 0.8f}), 5 * dots);
        p.canvas.strokeEllipse(at, reach, reach, p.ink(severityColour(call.severity)), 3 * dots);
    }
    buildMapCars(cars_, shape_, shown);
    dots_.clear();
    for (const MapCar& car : cars_) {
        const PointF at = view(car.at);
        if (car.player || at.x < road.left || at.x >= road.right || at.y < road.top ||
            at.y >= road.bottom)
            continue;
        MapDot& dot = dots_.emplace_back();
        dot.at = at;
        const PointF side = ahead.across(car.pct);
        if (const float metre = std::hypot(side.x, side.y); metre > 1e-4f)
            dot.way = {side.y / metre, -side.x / metre};
        dot.car = &car;
        dot.radius = 5 * dots;
    }
    const PointF me = view.anchor;
    taken_.assign(1, {me.x - 7 * dots, me.y - 10 * dots, me.x + 7 * dots, me.y + 8 * dots});
    drawCars(p, open, {rect.left, me.y}, shown.lapDistPct,
             8 * text * std::clamp(c.tmCarNumScale, 0.3f, 3.0f));
    const PathRef arrow = PathBuilder()
                              .moveTo(me.x, me.y - 10 * dots)
                              .lineTo(me.x + 7 * dots, me.y + 8 * dots)
                              .lineTo(me.x, me.y + 4 * dots)
                              .lineTo(me.x - 7 * dots, me.y + 8 * dots)
                              .close()
                              .build();
    p.canvas.strokePath(arrow.get(), p.ink({0, 0, 0, 0.8f}), 3);
    p.canvas.fillPath(arrow.get(), p.ink(colours.accent));
    Color ground = fade(colours.sheet, 0.85f);
    if (c.tmFollowInfoTint && shown.brake > 0.05f)
        ground = {kBrake.r * 0.55f, kBrake.g * 0.55f, kBrake.b * 0.55f, 0.9f};
    else if (c.tmFollowInfoTint && shown.throttle > 0.5f)
        ground = {kThrottle.r * 0.4f, kThrottle.g * 0.4f, kThrottle.b * 0.4f, 0.9f};
    p.canvas.popClip();
    drawInfo(p, info, cells, ground, colours, text);
    return true;
}

} // namespace vt
