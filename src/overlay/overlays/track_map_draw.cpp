// The pictures of Track Map.
#include "base/format.h"
#include "base/translate.h"
#include "overlay/frame/theme.h"
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

struct MapColours {
    Color road, edge, text, dim, accent, sheet;
};
MapColours coloursOf(const AppConfig& config) {
    if (config.trackmap.tmStyle == 1) {
        const OverlayTheme& theme = themePalette();
        return {theme.text,    {0, 0, 0, 0.7f}, theme.text,
                theme.textDim, theme.accent,    theme.panelTop};
    }
    return {{0.93f, 0.94f, 0.95f, 1},
            {0, 0, 0, 0.6f},
            kTextColour,
            fade(kTextColour, 0.65f),
            accentColour(config.accentTheme),
            colourFromRgb(config.overlayBgColor)};
}

PathRef pathOf(const std::vector<PointF>& line, const MapFit& fit, bool closed) {
    if (line.size() < 2) return nullptr;
    PathBuilder path;
    // A point a pixel is enough: a stage has twenty thousand.
    PointF last = fit(line[0]);
    path.moveTo(last.x, last.y);
    for (size_t i = 1; i < line.size(); ++i) {
        const PointF p = fit(line[i]);
        if (std::abs(p.x - last.x) + std::abs(p.y - last.y) < 0.7f && i + 1 < line.size()) continue;
        path.lineTo(p.x, p.y);
        last = p;
    }
    if (closed) path.close();
    return path.build();
}

const StrokeStyle& roundStroke() {
    static const StrokeStyle style{LineCap::round, LineJoin::round, {}, 0};
    return style;
}

void drawLabel(ListPainter& p, PointF at, std::string_view text, const TextStyle& style,
               Color colour) {
    const float half = p.width(style, text) / 2 + 1, height = style.size * 1.3f;
    p.text({at.x - half, at.y - height / 2, at.x + half, at.y + height / 2}, text, style, colour,
           TextAlign::center);
}

/// Sizes of what stands on the map follow the window, within what can still be read.
float unitOf(const OverlayWindow& overlay, RectF rect) {
    return std::min(rect.width() / static_cast<float>(std::max(overlay.baseWidth, 1)),
                    rect.height() / static_cast<float>(std::max(overlay.baseHeight, 1)));
}
float dotUnit(float unit) {
    return std::clamp(unit, 0.4f, 1.6f);
}
float textUnit(float unit) {
    return std::clamp(unit, 0.6f, 1.6f);
}

void sortDots(std::vector<MapDot>& dots, float playerPct) {
    for (MapDot& dot : dots) {
        const float way = std::abs(dot.car->pct - playerPct);
        dot.apart = dot.car->player ? -1 : std::min(way, std::abs(1 - way));
    }
    // The nearest above the others, the player above all. Cars that are equally far keep the order
    // of the frame, in which `car` rises.
    std::sort(dots.begin(), dots.end(), [](const MapDot& a, const MapDot& b) {
        return a.apart > b.apart || (a.apart == b.apart && a.car < b.car);
    });
}

TextStyle turnNumberStyle(const TrackMapConfig& c, float text) {
    return {Face::sans, 10 * text * std::clamp(c.tmCornerNumScale, 0.3f, 3.0f), 700};
}

TextStyle plateStyle(float size) {
    return {Face::sans, size, 700};
}

/// Dots without plates when `size` is 0.
void drawDots(ListPainter& p, std::vector<MapDot>& dots, float size) {
    for (MapDot& dot : dots) {
        p.canvas.fillEllipse(dot.at, dot.radius + 1.5f, dot.radius + 1.5f, p.ink({0, 0, 0, 0.75f}));
        p.canvas.fillEllipse(dot.at, dot.radius, dot.radius, p.ink(dot.car->colour));
        if (size <= 0 || dot.car->number[0] == '\0') continue;
        dot.halfWidth = p.width(plateStyle(size), dot.car->number) / 2 + 2;
        dot.halfHeight = size * 0.6f;
    }
}

void drawPlates(ListPainter& p, const MapPlates& plates, float size) {
    for (const MapPlate& plate : plates.shown) {
        // A plate of its own: the road beneath may be as light as the figures.
        p.canvas.fillRect(plate.box, p.ink({0, 0, 0, 0.6f}));
        drawLabel(p, {plate.box.centerX(), plate.box.centerY()}, plate.dot->car->number,
                  plateStyle(size), {1, 1, 1, 1});
    }
}

// ---- the turns of a lap -------------------------------------------------------------------------

RectF within(RectF box, RectF bounds) {
    const float dx =
        std::max(bounds.left - box.left, 0.0f) - std::max(box.right - bounds.right, 0.0f);
    const float dy =
        std::max(bounds.top - box.top, 0.0f) - std::max(box.bottom - bounds.bottom, 0.0f);
    return {box.left + dx, box.top + dy, box.right + dx, box.bottom + dy};
}

bool meets(const std::vector<RectF>& taken, const RectF& box) {
    return std::any_of(taken.begin(), taken.end(), [&box](const RectF& other) {
        return box.left < other.right && other.left < box.right && box.top < other.bottom &&
               other.top < box.bottom;
    });
}

/// The way from the road's own middle at a turn to its outside, length 1.
PointF outwards(const TrackShape& shape, const MapFit& fit, float pct, PointF middle) {
    const PointF at = fit(shapeAt(shape, pct));
    const PointF near = fit(shapeAt(shape, pct - 0.01f)), far = fit(shapeAt(shape, pct + 0.01f));
    PointF out{at.x - (near.x + far.x) / 2, at.y - (near.y + far.y) / 2};
    float way = std::hypot(out.x, out.y);
    if (way < 0.05f) {
        out = {at.x - middle.x, at.y - middle.y};
        way = std::max(std::hypot(out.x, out.y), 1.0f);
    }
    return {out.x / way, out.y / way};
}

/// A text of that size beside the road: the box touches a circle of `off` around the turn.
RectF beside(PointF at, PointF out, float off, float width, float height) {
    const float x = at.x + out.x * (off + width / 2 * std::abs(out.x));
    const float y = at.y + out.y * (off + height / 2 * std::abs(out.y));
    return {x - width / 2, y - height / 2, x + width / 2, y + height / 2};
}

// ---- the road ahead -----------------------------------------------------------------------------

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
                          &roundStroke());
    a.p.canvas.strokePath(path.get(), a.p.ink({0.17f, 0.18f, 0.2f, 1}), stroke, &roundStroke());
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
                                    3, &roundStroke());
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

void TrackMapOverlay::drawLap(ListPainter& p, RectF rect, const SimFrame& shown, float textScale) {
    const TrackMapConfig& c = config.trackmap;
    const MapColours colours = coloursOf(config);
    const float unit = unitOf(*this, rect), text = textScale * textUnit(unit);
    const float width = std::clamp(c.tmTrackWidth, 1.0f, 24.0f) * std::min(unit, 2.0f);
    // Room for the road's half, a number beside it and a plate; large figures take no more than a
    // fifth of the map.
    const float figures = c.tmShowTurns ? turnNumberStyle(c, text).size * 1.3f + 4 * text : 0;
    const float margin =
        std::max({width / 2 + 14 * dotUnit(unit), 26 * std::min(unit, 2.0f),
                  std::min(width / 2 + figures, std::min(rect.width(), rect.height()) * 0.2f)});
    const RectF inside{rect.left + margin, rect.top + margin, rect.right - margin,
                       rect.bottom - margin};
    if (inside.width() < 10 || inside.height() < 10) return;
    if (!outline_ || outlineRect_ != inside) {
        outlineRect_ = inside;
        fit_ = fitMap(shape_, inside);
        outline_ = pathOf(shape_.line, fit_, shape_.closed);
        pitLane_ = pathOf(shape_.pitLane, fit_, false);
    }
    if (c.tmShowPitLane)
        p.canvas.strokePath(pitLane_.get(), p.ink(fade(colours.dim, 0.8f)), width * 0.35f,
                            &roundStroke());
    p.canvas.strokePath(outline_.get(), p.ink(colours.edge), width + 3, &roundStroke());
    p.canvas.strokePath(outline_.get(), p.ink(fade(colours.road, 0.92f)), width, &roundStroke());

    // The line, across the road.
    const PointF a = fit_(shapeAt(shape_, 0)), b = fit_(shapeAt(shape_, 0.004f));
    const float dx = b.x - a.x, dy = b.y - a.y, length = std::hypot(dx, dy);
    if (length > 1e-4f) {
        const float half = width / 2 + 4;
        p.canvas.drawLine({a.x - dy / length * half, a.y + dx / length * half},
                          {a.x + dy / length * half, a.y - dx / length * half},
                          p.ink(colours.accent), 3);
    }
    const PointF middle{(inside.left + inside.right) / 2, (inside.top + inside.bottom) / 2};
    drawTurns(p, rect, middle, width / 2 + 1.5f + 3 * text, text);

    buildMapCars(cars_, shape_, shown);
    dots_.clear();
    for (const MapCar& car : cars_) {
        const PointF at = fit_(car.at), next = fit_(shapeAt(shape_, car.pct + 0.002f));
        const float way = std::hypot(next.x - at.x, next.y - at.y);
        MapDot& dot = dots_.emplace_back();
        dot.at = at;
        if (way > 1e-4f) dot.way = {(next.x - at.x) / way, (next.y - at.y) / way};
        dot.car = &car;
        dot.radius = (car.player ? 6.5f : 5.0f) * dotUnit(unit);
    }
    drawCars(p, rect, middle, shown.lapDistPct, 8 * text * std::clamp(c.tmCarNumScale, 0.3f, 3.0f));
}

/// Numbers of the turns, then names where there is room for them; their boxes go to `taken_`.
void TrackMapOverlay::drawTurns(ListPainter& p, RectF rect, PointF middle, float off, float text) {
    const TrackMapConfig& c = config.trackmap;
    const MapColours colours = coloursOf(config);
    const RectF bounds{rect.left + 2, rect.top + 2, rect.right - 2, rect.bottom - 2};
    const TextStyle numbers = turnNumberStyle(c, text);
    const TextStyle names{Face::sans, 9 * text * std::clamp(c.tmCornerNameScale, 0.3f, 3.0f), 500};
    const auto put = [&](RectF box, std::string_view shown, const TextStyle& style, Color colour) {
        box = within(box, bounds);
        if (meets(taken_, box)) return false;
        taken_.push_back(box);
        drawLabel(p, {box.centerX(), box.centerY()}, shown, style, colour);
        return true;
    };
    const auto size = [&](std::string_view shown, const TextStyle& style) {
        return PointF{p.width(style, shown) + 2, style.size * 1.1f};
    };
    taken_.clear();
    char number[8];
    for (const TrackTurn& turn : shape_.turns) {
        if (!c.tmShowTurns) break;
        formatText(number, sizeof number, "%d", turn.number);
        const PointF at = fit_(shapeAt(shape_, turn.pct)), box = size(number, numbers);
        put(beside(at, outwards(shape_, fit_, turn.pct, middle), off, box.x, box.y), number,
            numbers, colours.text);
    }
    for (const TrackTurn& turn : shape_.turns) {
        if (!c.tmShowNames || turn.name.empty()) continue;
        const PointF at = fit_(shapeAt(shape_, turn.pct)), box = size(turn.name, names);
        const PointF out = outwards(shape_, fit_, turn.pct, middle);
        PointF own{};
        if (c.tmShowTurns) {
            formatText(number, sizeof number, "%d", turn.number);
            own = size(number, numbers);
        }
        // Beyond the number, else below or above it.
        const RectF beyond =
            beside(at, out, off + std::abs(out.x) * own.x + std::abs(out.y) * own.y, box.x, box.y);
        const RectF by = within(beside(at, out, off, own.x, own.y), bounds);
        const float x = by.centerX() - box.x / 2, step = own.y / 2 + box.y / 2 + 0.5f;
        const auto shifted = [&](float dy) {
            const float top = by.centerY() + dy - box.y / 2;
            return RectF{x, top, x + box.x, top + box.y};
        };
        if (!put(beyond, turn.name, names, colours.dim) &&
            !put(shifted(step), turn.name, names, colours.dim))
            put(shifted(-step), turn.name, names, colours.dim);
    }
}

void TrackMapOverlay::drawCars(ListPainter& p, RectF bounds, PointF away, float playerPct,
                               float size) {
    sortDots(dots_, playerPct);
    const bool numbers = config.trackmap.tmShowCarNumbers;
    drawDots(p, dots_, numbers ? size : 0);
    if (!numbers) return;
    placePlates(plates_, dots_, taken_, bounds, away, clockMs(host.clock));
    drawPlates(p, plates_, size);
}

bool TrackMapOverlay::drawAhead(ListPainter& p, RectF rect, const SimFrame& shown,
                                float textScale) {
    const TrackMapConfig& c = config.trackmap;
    const MapColours colours = coloursOf(config);
    const float unit = unitOf(*this, rect), text = textScale * textUnit(unit);
    const float dots = dotUnit(unit);
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

void TrackMapOverlay::draw(Canvas& target, RectF rect) {
    if (rect.width() < 1 || rect.height() < 1) return;
    CommonSnapshot common;
    getCommon(common);
    const float text =
        std::isfinite(common.textScale) ? std::clamp(common.textScale, 0.5f, 3.0f) : 1.0f;
    stamps_.begin(previewMode ? 0.0f : dpiScale);
    ListPainter painter{target, *this, shelf_, stamps_, contentOpacity(), bgOpacity()};
    const MapColours colours = coloursOf(config);
    painter.sheet(rect, config.trackmap.tmStyle == 1 ? themeCornerRadius() : 6, colours.sheet);
    if (const SimFrame* live = liveFrame()) {
        if (previewMode) follow(*live);
        const int laps = live->simKind == 0 ? learner_.laps() : live->surveyLaps;
        if (const char* word = trackMapWord(*live, shape_.known(), laps)) {
            painter.text(rect, word, {Face::sans, 13 * text, 600}, colours.dim, TextAlign::center);
        } else if (!(config.trackmap.tmFollow || !shape_.closed) ||
                   !drawAhead(painter, rect, *live, text)) {
            drawLap(painter, rect, *live, text);
        }
    }
    shelf_.endPicture();
}

} // namespace vt
