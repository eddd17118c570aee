#include "overlay/overlays/track_map_plates.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vt {

namespace {

constexpr float kRing = 1.5f;      // the dark edge of a dot
constexpr float kSpare = 2;        // room that a new plate wants on all sides
constexpr uint64_t kRestMs = 1000; // before a plate that lost its room looks for another
constexpr float kStay = 0.015f;    // of a lap: so much nearer a car must be to take a plate's room
constexpr float kAlong = 0.85f;    // a plate more along the road than this looks for a better side
constexpr float kAcross = 0.55f;   // and this is one
constexpr float kDiagonal = 0.70710678f;

constexpr std::array<PointF, 8> kSides = {{
    {0, -1},
    {0, 1},
    {1, 0},
    {-1, 0},
    {kDiagonal, -kDiagonal},
    {-kDiagonal, -kDiagonal},
    {kDiagonal, kDiagonal},
    {-kDiagonal, kDiagonal},
}};

RectF boxAt(const MapDot& dot, uint8_t side) {
    const PointF way = kSides[side];
    const float reach = dot.radius + kRing + 0.5f;
    // A corner of the box may come as near to the dot as a side does.
    const float x = dot.at.x + way.x * reach + (way.x > 0 ? 1 : way.x < 0 ? -1 : 0) * dot.halfWidth;
    const float y = dot.at.y + way.y * reach +
                    (way.y > 0   ? 1
                     : way.y < 0 ? -1
                                 : 0) *
                        dot.halfHeight;
    return {x - dot.halfWidth, y - dot.halfHeight, x + dot.halfWidth, y + dot.halfHeight};
}

float alongRoad(const MapDot& dot, uint8_t side) {
    return std::abs(kSides[side].x * dot.way.x + kSides[side].y * dot.way.y);
}

bool meet(const RectF& a, const RectF& b, float spare) {
    return a.left < b.right + spare && b.left < a.right + spare && a.top < b.bottom + spare &&
           b.top < a.bottom + spare;
}

struct Room {
    std::span<const MapDot> dots;
    std::span<const RectF> taken;
    const std::vector<MapPlate>& shown;
    RectF bounds;

    bool holds(const MapDot& own, const RectF& box, float spare) const {
        if (box.left < bounds.left + spare || box.top < bounds.top + spare ||
            box.right > bounds.right - spare || box.bottom > bounds.bottom - spare)
            return false;
        for (const MapDot& dot : dots) {
            if (&dot == &own) continue;
            const float reach = dot.radius + spare;
            const float dx = std::max({box.left - dot.at.x, dot.at.x - box.right, 0.0f});
            const float dy = std::max({box.top - dot.at.y, dot.at.y - box.bottom, 0.0f});
            if (dx * dx + dy * dy < reach * reach) return false;
        }
        for (const MapPlate& plate : shown)
            if (meet(box, plate.box, spare / 2)) return false;
        return std::none_of(taken.begin(), taken.end(),
                            [&](const RectF& other) { return meet(box, other, spare / 2); });
    }
};

template <class Each>
bool holdsKey(const std::vector<Each>& all, int key) {
    return std::any_of(all.begin(), all.end(), [key](const Each& each) { return each.key == key; });
}

/// Sides from the best to the worst: across the road rather than along it, outwards rather than in.
std::array<uint8_t, 8> sidesFor(const MapDot& dot, PointF away) {
    std::array<uint8_t, 8> sides{0, 1, 2, 3, 4, 5, 6, 7};
    std::array<float, 8> cost{};
    const float outX = dot.at.x - away.x, outY = dot.at.y - away.y;
    for (uint8_t i = 0; i < 8; ++i)
        cost[i] = alongRoad(dot, i) + (kSides[i].x * outX + kSides[i].y * outY < 0 ? 0.3f : 0) +
                  static_cast<float>(i) * 0.01f;
    std::sort(sides.begin(), sides.end(), [&](uint8_t a, uint8_t b) { return cost[a] < cost[b]; });
    return sides;
}

/// False when there is no room. `before` is the side of the last picture, -1 = none.
bool choose(MapPlate& plate, int before, const MapDot& dot, const Room& room, PointF away) {
    if (before >= 0) plate.side = static_cast<uint8_t>(before);
    const bool stays = before >= 0 && room.holds(dot, boxAt(dot, plate.side), 0);
    if (!stays || alongRoad(dot, plate.side) > kAlong)
        for (const uint8_t side : sidesFor(dot, away)) {
            if (stays && alongRoad(dot, side) > kAcross) continue;
            if (!room.holds(dot, boxAt(dot, side), kSpare)) continue;
            plate.side = side;
            plate.box = boxAt(dot, side);
            return true;
        }
    plate.box = boxAt(dot, plate.side);
    return stays;
}

} // namespace

void placePlates(MapPlates& plates, std::span<const MapDot> dots, std::span<const RectF> taken,
                 RectF bounds, PointF away, uint64_t nowMs) {
    std::swap(plates.last, plates.shown);
    plates.shown.clear();
    plates.order.clear();
    std::erase_if(plates.resting, [&](const auto& each) { return each.untilMs <= nowMs; });
    for (const MapDot& dot : dots) {
        if (!(dot.halfWidth > 0)) continue;
        if (dot.apart >= 0 && holdsKey(plates.resting, dot.car->key)) continue;
        const auto before =
            std::find_if(plates.last.begin(), plates.last.end(),
                         [&](const MapPlate& plate) { return plate.key == dot.car->key; });
        const bool shown = before != plates.last.end();
        plates.order.push_back(
            {dot.apart - (shown ? kStay : 0), &dot, shown ? static_cast<int>(before->side) : -1});
    }
    std::sort(plates.order.begin(), plates.order.end(), [](const auto& a, const auto& b) {
        return a.apart < b.apart || (a.apart == b.apart && a.dot < b.dot);
    });
    const Room room{dots, taken, plates.shown, bounds};
    for (const MapPlates::Rank& next : plates.order) {
        MapPlate plate{next.dot->car->key, 0, next.dot, {}};
        if (choose(plate, next.side, *next.dot, room, away)) plates.shown.push_back(plate);
    }
    for (const MapPlate& plate : plates.last)
        if (!holdsKey(plates.shown, plate.key))
            plates.resting.push_back({plate.key, nowMs + kRestMs});
}

} // namespace vt
