// The picture of the whole lap on Track Map.
#include "base/format.h"
#include "base/translate.h"
#include "overlay/frame/theme.h"
#include "overlay/overlays/track_map_look.h"
#include "overlay/overlays/track_map_overlay.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

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

void drawLabel(ListPainter& p, PointF at, std::string_view text, const TextStyle& style,
               Color colour) {
    const float half = p.width(style, text) / 2 + 1, height = style.size * 1.3f;
    p.text({at.x - half, at.y - height / 2, at.x + half, at.y + height / 2}, text, style, colour,
           TextAlign::center);
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

} // namespace

void TrackMapOverlay::drawLap(ListPainter& p, RectF rect, const SimFrame& shown, float textScale) {
    const TrackMapConfig& c = config.trackmap;
    const MapColours colours = mapColours(config);
    const float unit = mapUnit(*this, rect), text = textScale * mapTextUnit(unit);
    const float width = std::clamp(c.tmTrackWidth, 1.0f, 24.0f) * std::min(unit, 2.0f);
    // Room for the road's half, a number beside it and a plate; large figures take no more than a
    // fifth of the map.
    const float figures = c.tmShowTurns ? turnNumberStyle(c, text).size * 1.3f + 4 * text : 0;
    const float margin =
        std::max({width / 2 + 14 * mapDotUnit(unit), 26 * std::min(unit, 2.0f),
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
                            &mapStroke());
    p.canvas.strokePath(outline_.get(), p.ink(colours.edge), width + 3, &mapStroke());
    p.canvas.strokePath(outline_.get(), p.ink(fade(colours.road, 0.92f)), width, &mapStroke());

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
        dot.radius = (car.player ? 6.5f : 5.0f) * mapDotUnit(unit);
    }
    drawCars(p, rect, middle, shown.lapDistPct, 8 * text * std::clamp(c.tmCarNumScale, 0.3f, 3.0f));
}

/// Numbers of the turns, then names where there is room for them; their boxes go to `taken_`.
void TrackMapOverlay::drawTurns(ListPainter& p, RectF rect, PointF middle, float off, float text) {
    const TrackMapConfig& c = config.trackmap;
    const MapColours colours = mapColours(config);
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

void TrackMapOverlay::draw(Canvas& target, RectF rect) {
    if (rect.width() < 1 || rect.height() < 1) return;
    CommonSnapshot common;
    getCommon(common);
    const float text =
        std::isfinite(common.textScale) ? std::clamp(common.textScale, 0.5f, 3.0f) : 1.0f;
    stamps_.begin(previewMode ? 0.0f : dpiScale);
    ListPainter painter{target, *this, shelf_, stamps_, contentOpacity(), bgOpacity()};
    const MapColours colours = mapColours(config);
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
