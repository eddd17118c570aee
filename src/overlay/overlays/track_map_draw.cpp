// The pictures of Track Map.
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
constexpr float kRoadHalf = 6; // m, where no edge is known

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

struct CarDot {
    PointF at;
    const MapCar* car = nullptr;
    float radius = 5;
    float apart = 0; // of a lap, from the player; his own comes first
};

/// In a pack there is no room for every number: those nearest to the player are written. `own` is
/// where he stands, which nothing may cover.
void drawNumbers(ListPainter& p, std::vector<CarDot>& dots, float size, RectF own) {
    std::stable_sort(dots.begin(), dots.end(),
                     [](const CarDot& a, const CarDot& b) { return a.apart < b.apart; });
    std::vector<RectF> taken;
    taken.reserve(dots.size() + 1);
    taken.push_back(own);
    for (const CarDot& dot : dots) {
        if (dot.car->number <= 0) continue;
        char label[16];
        std::snprintf(label, sizeof label, "#%d", dot.car->number);
        const TextStyle style{Face::sans, size, 700};
        const PointF over{dot.at.x, dot.at.y - dot.radius - size * 0.8f};
        const float half = p.width(style, label) / 2 + 2, height = size * 0.6f;
        const RectF plate{over.x - half, over.y - height, over.x + half, over.y + height};
        const bool free = std::none_of(taken.begin(), taken.end(), [&plate](const RectF& other) {
            return plate.left < other.right && other.left < plate.right &&
                   plate.top < other.bottom && other.top < plate.bottom;
        });
        if (!free) continue;
        taken.push_back(plate);
        // A plate of its own: the road beneath may be as light as the figures.
        p.canvas.fillRect(plate, p.ink({0, 0, 0, 0.6f}));
        drawLabel(p, over, label, style, {1, 1, 1, 1});
    }
}

void drawCars(ListPainter& p, std::vector<CarDot>& dots, float playerPct, bool numbers, float size,
              RectF own) {
    for (CarDot& dot : dots) {
        p.canvas.fillEllipse(dot.at, dot.radius + 1.5f, dot.radius + 1.5f, p.ink({0, 0, 0, 0.75f}));
        p.canvas.fillEllipse(dot.at, dot.radius, dot.radius, p.ink(dot.car->colour));
        const float way = std::abs(dot.car->pct - playerPct);
        dot.apart = dot.car->player ? -1 : std::min(way, std::abs(1 - way));
        if (dot.car->player)
            own = {dot.at.x - dot.radius, dot.at.y - dot.radius, dot.at.x + dot.radius,
                   dot.at.y + dot.radius};
    }
    if (numbers) drawNumbers(p, dots, size, own);
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
    for (size_t i = 0; i < cells.size(); ++i) {
        const InfoCell& cell = cells[i];
        const float left = bar.left + width * static_cast<float>(i);
        const RectF box{left + 3, bar.top + 3, left + width - 3, bar.bottom - 3};
        const float label = box.height() * 0.36f;
        p.text({box.left, box.top, box.right, box.top + label}, cell.label,
               {Face::sans, std::min(9 * text, label * 0.85f), 600}, colours.dim,
               TextAlign::center);
        char value[48];
        std::snprintf(value, sizeof value, cell.unit[0] ? "%s %s" : "%s%s", cell.value, cell.unit);
        p.text({box.left, box.top + label, box.right, box.bottom}, value,
               {Face::race, std::min(17 * text, (box.height() - label) * 0.8f), 700}, cell.colour,
               TextAlign::center);
    }
}

} // namespace

void TrackMapOverlay::drawLap(ListPainter& p, RectF rect, const SimFrame& shown, float text) {
    const TrackMapConfig& c = config.trackmap;
    const MapColours colours = coloursOf(config);
    const float unit = rect.width() / static_cast<float>(std::max(baseWidth, 1));
    const float width = std::clamp(c.tmTrackWidth, 1.0f, 24.0f) * std::min(unit, 2.0f);
    const float margin = std::max(width / 2 + 14, 26 * std::min(unit, 2.0f));
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
    for (const TrackTurn& turn : shape_.turns) {
        const PointF at = fit_(shapeAt(shape_, turn.pct));
        // Outwards from the road's own middle there, so that numbers stand beside it.
        const PointF near = fit_(shapeAt(shape_, turn.pct - 0.01f)),
                     far = fit_(shapeAt(shape_, turn.pct + 0.01f));
        float outX = at.x - (near.x + far.x) / 2, outY = at.y - (near.y + far.y) / 2;
        float way = std::hypot(outX, outY);
        if (way < 0.05f) {
            outX = at.x - middle.x;
            outY = at.y - middle.y;
            way = std::max(std::hypot(outX, outY), 1.0f);
        }
        const float off = width / 2 + 9 * text;
        char number[8];
        std::snprintf(number, sizeof number, "%d", turn.number);
        if (c.tmShowTurns)
            drawLabel(p, {at.x + outX / way * off, at.y + outY / way * off}, number,
                      {Face::sans, 10 * text * std::clamp(c.tmCornerNumScale, 0.3f, 3.0f), 700},
                      colours.text);
        if (c.tmShowNames && !turn.name.empty())
            drawLabel(p, {at.x + outX / way * off, at.y + outY / way * off + 11 * text}, turn.name,
                      {Face::sans, 9 * text * std::clamp(c.tmCornerNameScale, 0.3f, 3.0f), 500},
                      colours.dim);
    }
    buildMapCars(cars_, shape_, shown);
    std::vector<CarDot> dots;
    dots.reserve(cars_.size());
    for (const MapCar& car : cars_)
        dots.push_back({fit_(car.at), &car, car.player ? 6.5f : 5.0f});
    drawCars(p, dots, shown.lapDistPct, c.tmShowCarNumbers,
             8 * text * std::clamp(c.tmCarNumScale, 0.3f, 3.0f), {});
}

bool TrackMapOverlay::drawAhead(ListPainter& p, RectF rect, const SimFrame& shown, float text) {
    const TrackMapConfig& c = config.trackmap;
    const MapColours colours = coloursOf(config);
    const float barHeight = 38 * std::min(rect.height() / static_cast<float>(baseHeight), 1.6f);
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
        p.canvas.strokeEllipse(at, 7, 7, p.ink({0, 0, 0, 0.8f}), 5);
        p.canvas.strokeEllipse(at, 7, 7, p.ink(severityColour(call.severity)), 3);
    }
    buildMapCars(cars_, shape_, shown);
    std::vector<CarDot> dots;
    dots.reserve(cars_.size());
    for (const MapCar& car : cars_) {
        const PointF at = view(car.at);
        if (!car.player && at.x >= road.left && at.x < road.right && at.y >= road.top &&
            at.y < road.bottom)
            dots.push_back({at, &car});
    }
    const PointF me = view.anchor;
    drawCars(p, dots, shown.lapDistPct, c.tmShowCarNumbers, 8 * text,
             {me.x - 7, me.y - 10, me.x + 7, me.y + 8});
    const PathRef arrow = PathBuilder()
                              .moveTo(me.x, me.y - 10)
                              .lineTo(me.x + 7, me.y + 8)
                              .lineTo(me.x, me.y + 4)
                              .lineTo(me.x - 7, me.y + 8)
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
