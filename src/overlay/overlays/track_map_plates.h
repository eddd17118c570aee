// Where the numbers of the cars stand on the map: beside their dots, never over another car's.
#pragma once
#include "overlay/overlays/track_map_view.h"

#include <cstdint>
#include <span>
#include <vector>

namespace vt {

/// A car on the screen.
struct MapDot {
    PointF at;
    PointF way; // along the road there, length 1; {} = not known
    const MapCar* car = nullptr;
    float radius = 5;
    float apart = 0;                     // of a lap, from the player; the player himself -1
    float halfWidth = 0, halfHeight = 0; // of his plate; 0 = he has none
};

struct MapPlate {
    int key = -1; // car index
    uint8_t side = 0;
    const MapDot* dot = nullptr; // of the present picture
    RectF box;
};

/// The plates of the last picture, which the next one starts from.
struct MapPlates {
    std::vector<MapPlate> shown;
    struct Rest {
        int key = -1;
        uint64_t untilMs = 0;
    };
    std::vector<Rest> resting; // that lost their room a moment ago
    // Scratch, kept for its memory.
    struct Rank {
        float apart = 0;
        const MapDot* dot = nullptr;
        int side = -1; // of the last picture; -1 = was not shown
    };
    std::vector<MapPlate> last;
    std::vector<Rank> order;
};

/// Chooses the plates of the present picture: the player's first, then those of the cars nearest to
/// him; a car without room goes without. A plate covers no dot but its own, no other plate, nothing
/// of `taken`, and stays inside `bounds`. A plate that was shown keeps its side for as long as it
/// has room, and needs less room than a new one: cars that move a little change nothing. One that
/// has none any more stays away for a second, but for the player's. `away` is the point that plates
/// rather turn their backs on.
void placePlates(MapPlates& plates, std::span<const MapDot> dots, std::span<const RectF> taken,
                 RectF bounds, PointF away, uint64_t nowMs);

} // namespace vt
