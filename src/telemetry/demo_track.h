// The road that the demo race runs on: a closed lap of 3,000 m with the demo's four corners, one
// point a metre.
#pragma once
#include <vector>

namespace vt {

inline constexpr int kDemoTrackBins = 3000;

struct DemoTrackPoint {
    float x = 0, y = 0;               // m, y to the north
    float forwardX = 1, forwardY = 0; // unit; the right is (forwardY, -forwardX)
};

/// Made once, on first use; any thread.
const std::vector<DemoTrackPoint>& demoTrack();

} // namespace vt
