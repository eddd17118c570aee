// What Track Strip shows, worked out from a frame: the field on one flat line, the cars within five
// seconds, the cars in the pits.
#pragma once
#include "base/geometry.h"
#include "overlay/settings/overlay_config.h"
#include "race/relative_model.h"
#include "telemetry/sim_frame.h"

#include <cstdint>
#include <vector>

namespace vt {

inline constexpr float kStripWindow = 5.0f; // s to each side of the player

struct StripCar {
    float at = 0;  // lap position 0..1; in the lane -1..1, 1 = five seconds ahead
    float gap = 0; // s, positive = ahead
    Color colour;
    bool player = false;
};

struct TrackStripView {
    bool live = false;
    bool positions = false;                    // the sim tells where the cars are
    std::vector<StripCar> cars, pits, lane;    // the player last
    std::vector<float> sectorStarts;           // empty: no sectors
    int sector = -1;                           // index of the player's
    float stall = -1;                          // lap position of the own stall
    int nearestAhead = -1, nearestBehind = -1; // index in `lane`
    int moreAhead = 0, moreBehind = 0;         // beyond the lane
    char place[16] = "";                       // "P3"
    char laps[32] = "";                        // "LAP 5 / 20"
};

void buildTrackStrip(TrackStripView& view, const TrackStripConfig& config, const SimFrame* frame);

/// Everything that the picture shows, places rounded to `pixels` over the length of the line.
uint64_t hashTrackStrip(const TrackStripView& view, float pixels);

} // namespace vt
