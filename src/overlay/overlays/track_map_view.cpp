#include "overlay/overlays/track_map_view.h"

#include "base/format.h"
#include "base/lap.h"
#include "base/translate.h"
#include "race/relative_model.h"
#include "telemetry/sim_capabilities.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr int kHeadingSamples = 48;
constexpr float kHeadingStretch = 0.04f; // of the lap
constexpr float kBrakeOn = 20;           // percent
constexpr float kBrakeSearch = 250;      // m before the apex

/// Radius of the road at a lap fraction from three points 18 m apart; positive to the left, 0 =
/// straight.
float radiusAt(const TrackShape& shape, float pct) {
    const float step = 18 / std::max(shape.length, 100.0f);
    const PointF a = shapeAt(shape, pct - step), b = shapeAt(shape, pct),
                 c = shapeAt(shape, pct + step);
    const float x1 = b.x - a.x, y1 = b.y - a.y, x2 = c.x - b.x, y2 = c.y - b.y;
    const float turn = std::atan2(x1 * y2 - y1 * x2, x1 * x2 + y1 * y2);
    const float way = (std::hypot(x1, y1) + std::hypot(x2, y2)) / 2 * shape.scale;
    return std::abs(turn) < 1e-3f ? 0 : way / turn;
}

struct CornerPlace {
    float pct = 0, radius = 0;
    int gear = 0;
    float speed = 0;
};

std::vector<CornerPlace> cornersOf(const TrackShape& shape) {
    std::vector<CornerPlace> places;
    const auto bins = static_cast<float>(std::max(shape.roadBins, 1));
    for (const RoadCorner& corner : shape.corners) {
        const float pct = static_cast<float>(corner.apex) / bins;
        places.push_back({pct, radiusAt(shape, pct), corner.gear == 255 ? -1 : corner.gear,
                          static_cast<float>(corner.speed) / 100});
    }
    if (!places.empty()) return places;
    for (const TrackTurn& turn : shape.turns) {
        CornerPlace place{turn.pct, turn.radius, 0, 0};
        const auto bin = static_cast<size_t>(turn.pct * bins);
        if (bin < shape.best.size() && shape.best[bin].have) {
            place.gear = shape.best[bin].gear == 255 ? -1 : shape.best[bin].gear;
            place.speed = static_cast<float>(shape.best[bin].speed) / 100;
        }
        places.push_back(place);
    }
    return places;
}

float brakePoint(const TrackShape& shape, float apex) {
    const auto bins = static_cast<int>(shape.best.size());
    if (bins == 0) return -1;
    const int from = static_cast<int>(apex * static_cast<float>(bins));
    int first = -1;
    for (int i = 0; i < static_cast<int>(kBrakeSearch); ++i) {
        const int at = shape.closed ? (from - i + bins) % bins : from - i;
        if (at < 0) break;
        const RoadBestBin& bin = shape.best[static_cast<size_t>(at % bins)];
        if (!bin.have) continue;
        if (static_cast<float>(bin.brake) >= kBrakeOn)
            first = at;
        else if (first >= 0)
            break;
    }
    return first < 0 ? -1 : static_cast<float>(first) / static_cast<float>(bins);
}

} // namespace

const char* trackMapWord(const SimFrame& frame, bool known, int learnedLaps) {
    if (known) return nullptr;
    const bool stage = simOffers(frame.simKind, kOffersStage);
    if (!simOffers(frame.simKind, kOffersWorld))
        return Translate(stage ? "No stage map" : "No track map");
    if (stage) return Translate("Recording stage…");
    return Translate(learnedLaps > 0 ? "Learning track…" : "Recording track…");
}

void buildMapCars(std::vector<MapCar>& cars, const TrackShape& shape, const SimFrame& frame) {
    cars.clear();
    const CarRow* player = playerRow(frame);
    const ClassPalette palette = buildClassPalette(frame, player);
    const auto add = [&](float pct, const CarRow* row, Color colour, bool own) {
        if (!(pct >= 0 && pct <= 1)) return;
        MapCar& car = cars.emplace_back();
        car.pct = pct;
        car.at = shapeAt(shape, pct);
        car.colour = colour;
        car.player = own;
        if (!row) return;
        car.key = row->carIdx;
        if (row->carNumber[0] != '\0') // "007" is not "7"
            formatText(car.number, sizeof car.number, "#%.7s", row->carNumber);
        else if (row->carNumberValue > 0)
            formatText(car.number, sizeof car.number, "#%d", row->carNumberValue);
    };
    for (const CarRow& row : frame.cars)
        if (&row != player) add(row.lapDistPct, &row, classColour(palette, row.carClass), false);
    add(frame.lapDistPct, player, {1, 1, 1, 1}, true);
}

MapFit fitMap(const TrackShape& shape, RectF rect) {
    MapFit fit;
    float left = 1e9f, right = -1e9f, bottom = 1e9f, top = -1e9f;
    for (const PointF p : shape.line) {
        left = std::min(left, p.x);
        right = std::max(right, p.x);
        bottom = std::min(bottom, p.y);
        top = std::max(top, p.y);
    }
    const float width = std::max(right - left, 1e-3f), height = std::max(top - bottom, 1e-3f);
    fit.scale = std::min(rect.width() / width, rect.height() / height);
    fit.dx = (rect.left + rect.right - (left + right) * fit.scale) / 2;
    fit.dy = (rect.top + rect.bottom + (top + bottom) * fit.scale) / 2;
    return fit;
}

PointF FollowView::operator()(PointF p) const {
    const float x = p.x - center.x, y = p.y - center.y;
    return {anchor.x + (x * cosine - y * sine) * scale, anchor.y - (x * sine + y * cosine) * scale};
}

bool buildFollow(FollowView& view, const TrackShape& shape, float pct, float metresAhead,
                 RectF rect) {
    if (!shape.known() || !(shape.scale > 0) || !std::isfinite(pct)) return false;
    view.center = shapeAt(shape, pct);
    // The mean direction of the stretch ahead, its near part counting most: the map turns with the
    // road and not with every twitch of it.
    float dx = 0, dy = 0;
    PointF last = view.center;
    int points = 0;
    for (int i = 1; i < kHeadingSamples; ++i) {
        const float ahead = kHeadingStretch * static_cast<float>(i) / (kHeadingSamples - 1);
        if (!shape.closed && pct + ahead > 1) break;
        const PointF next = shapeAt(shape, pct + ahead);
        const float stepX = next.x - last.x, stepY = next.y - last.y;
        if (i == 1 && std::abs(stepX) + std::abs(stepY) < 1e-6f) return false;
        const float weight = 1 - static_cast<float>(i) / kHeadingSamples;
        dx += stepX * weight;
        dy += stepY * weight;
        last = next;
        ++points;
    }
    const float length = std::hypot(dx, dy);
    if (points < 2 || !(length > 1e-6f)) return false;
    view.cosine = dy / length; // turns (dx, dy) to the north
    view.sine = dx / length;
    view.anchor = {(rect.left + rect.right) / 2, rect.top + rect.height() * 0.78f};
    view.scale = (view.anchor.y - rect.top) / std::max(metresAhead, 20.0f) * shape.scale;
    return true;
}

int cornerSeverity(float radius) {
    constexpr float kLimits[] = {20, 35, 55, 90, 150}; // m
    int severity = 1;
    for (const float limit : kLimits)
        if (std::abs(radius) > limit) ++severity;
    return severity;
}

CornerCall nextCorner(const TrackShape& shape, float pct) {
    CornerCall call;
    float nearest = 2;
    for (const CornerPlace& corner : cornersOf(shape)) {
        const float ahead = shape.closed ? forwardLap(pct, corner.pct) : corner.pct - pct;
        if (ahead < 0 || ahead >= nearest) continue;
        nearest = ahead;
        call.known = true;
        call.pct = corner.pct;
        call.distance = ahead * shape.length;
        call.severity = cornerSeverity(corner.radius == 0 ? 1000 : corner.radius);
        call.direction = corner.radius > 0 ? 'L' : 'R';
        call.gear = corner.gear;
        call.speed = corner.speed;
    }
    if (call.known) call.brakePct = brakePoint(shape, call.pct);
    return call;
}

} // namespace vt
