// AC EVO tells neither which axis of its world points up, nor which way round the other two lie,
// nor the sign of its yaw rate. The four tyre contact points do.
#pragma once
#include "telemetry/sim_frame.h"

namespace vt {

/// The car in the world, from where its tyres touch the road.
struct AcEvoGeometry {
    bool ok = false; // finite, and the size of a car
    float centre[3] = {};
    float forward[3] = {}, right[3] = {}; // unit vectors
    float wheelBase = 0, trackWidth = 0;  // m
};
/// Order of the points: LF RF LR RR.
AcEvoGeometry acEvoGeometry(const float (&contact)[4][3]);

struct AcEvoAxes {
    bool settled = false;
    int up = -1;
    int a = 0, b = 1; // the map's axes
    float flip = 1;   // of the second one, so that the map is not mirrored
    int votes = 0;    // frames in a row that said so
};
/// One frame's vote. True when it settles the axes.
bool acEvoVote(AcEvoAxes& axes, const AcEvoGeometry& geometry);

/// `worldX` to `rightY` and `worldOk`, once the axes are settled; nothing for a car on its side.
void acEvoFillWorld(SimFrame& out, const AcEvoAxes& axes, const AcEvoGeometry& geometry);

struct AcEvoYaw {
    float sign = 0; // 0 = not known yet
    int agree = 0, disagree = 0;
    bool haveHeading = false;
    double headingAt = 0; // s
    float heading = 0;
};
/// Compares the yaw word with how the heading turns. True when that settles the sign.
bool acEvoLearnYaw(AcEvoYaw& yaw, const SimFrame& frame, float yawWord, double now);

} // namespace vt
