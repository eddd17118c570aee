// What Track Map shows: the state of the map, the cars on it, and in Follow mode the road ahead.
#pragma once
#include "overlay/settings/overlay_config.h"
#include "perf/track_shape.h"
#include "telemetry/sim_frame.h"

#include <vector>

namespace vt {

/// The state word that stands in the map's place; null when there is a map to draw. `learnedLaps`
/// of the present track, by whoever learns it.
const char* trackMapWord(const SimFrame& frame, bool known, int learnedLaps);

struct MapCar {
    float pct = 0;
    PointF at; // in the shape's plane
    Color colour;
    char number[10] = ""; // "#7"; empty = not known
    int key = -1;         // car index
    bool player = false;
};
/// The player last; rows that are nowhere are left out.
void buildMapCars(std::vector<MapCar>& cars, const TrackShape& shape, const SimFrame& frame);

/// From the shape's plane to the screen: the whole lap inside a rectangle, north up.
struct MapFit {
    float scale = 1, dx = 0, dy = 0; // screen = (x * scale + dx, dy - y * scale)
    PointF operator()(PointF p) const { return {p.x * scale + dx, dy - p.y * scale}; }
};
MapFit fitMap(const TrackShape& shape, RectF rect);

/// Follow mode's view: the player at `anchor`, the road ahead pointing up. False when no direction
/// can be formed.
struct FollowView {
    PointF center;              // the player, in the shape's plane
    float cosine = 1, sine = 0; // of the turn
    float scale = 1;            // design units a metre
    PointF anchor;
    PointF operator()(PointF p) const;
};
bool buildFollow(FollowView& view, const TrackShape& shape, float pct, float metresAhead,
                 RectF rect);

/// The next corner, as a co-driver would call it.
struct CornerCall {
    bool known = false;
    int severity = 0;    // 1 hairpin .. 6 kink
    char direction = 0;  // 'L' or 'R'
    float distance = 0;  // m to its entry or apex
    float pct = 0;       // of its apex
    int gear = 0;        // of the best passage; 0 = not known, -1 reverse
    float speed = 0;     // m/s of the best passage; 0 = not known
    float brakePct = -1; // where the best run first braked for it; -1 = it did not
};
CornerCall nextCorner(const TrackShape& shape, float pct);

/// 1 for a hairpin up to 6 for a kink, by the radius in metres.
int cornerSeverity(float radius);

} // namespace vt
