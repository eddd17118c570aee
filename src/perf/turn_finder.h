// Where a track bends: turns from the shape of its centre line, counted as circuits count them.
#pragma once
#include "base/geometry.h"

#include <vector>

namespace vt {

struct FoundTurn {
    float apex = 0;   // lap fraction of the sharpest place
    float radius = 0; // m there, positive to the left in a plane with y to the north
    float angle = 0;  // rad, how far the road turns in all; above 0
};

/// `line` is a closed lap in metres, evenly spaced. Places where the road is bent tighter than
/// 220 m are peaks; peaks to one side with less than 140 m between them are one turn; a turn of
/// less than 16 degrees is none. Counts and places agree with the published numbers of five
/// circuits but for one turn each at two of them (docs/tracks.md).
std::vector<FoundTurn> findTurns(const std::vector<PointF>& line, float length);

} // namespace vt
