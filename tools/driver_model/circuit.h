// Where the driver model drives: a closed circuit, or a stage from one end to the other.
//
// The map plane has x to the east and y to the north, metres. Headings are radians, 0 along x,
// counter-clockwise. Curvature is positive to the left. Lateral places are metres from the centre
// line, positive to the right.
#pragma once
#include <string>
#include <vector>

namespace model {

struct CircuitPoint {
    double x = 0, y = 0;
    double widthRight = 6, widthLeft = 6; // m from the centre line to the edges
    double heading = 0;                   // rad
    double curvature = 0;                 // 1/m
};

struct Circuit {
    std::string name;
    bool closed = true;                 // false: a stage
    double length = 0;                  // m
    double step = 0;                    // m between points, about 1; the last one joins the first
    std::vector<CircuitPoint> points;   // evenly spaced along the line
    double sectorStarts[3] = {0, 0, 0}; // lap fractions; the first is 0
    double pitEntry = 0, pitExit = 0;   // lap fractions, the lane runs over the line; equal = none
    double pitStallFirst = 0;           // lap fraction of the first stall
    double pitLimit = 22.22;            // m/s
};

/// An angle between -pi and pi.
double wrapAngle(double radians);

/// The point at `s` metres, which may lie outside the lap (wrapped, or held at a stage's ends).
CircuitPoint circuitAt(const Circuit& circuit, double s);

/// Corners, from curvature: places of highest curvature of each stretch that bends.
struct Corner {
    double entry = 0, apex = 0, exit = 0; // m
    double curvature = 0;                 // at the apex, with sign
};
std::vector<Corner> findCorners(const Circuit& circuit);

/// Reads "x,y,width right,width left" lines, metres, one closed lap. Resampled, smoothed. False
/// with a sentence in `error`.
bool loadCircuit(const std::string& csvPath, Circuit& out, std::string& error);

/// "club" (about 3 km), "oval" (2 km), "grand" (about 5 km), "stage" (about 8 km, open). Empty name
/// in the result for an unknown one.
Circuit builtInCircuit(const std::string& name);
std::vector<std::string> builtInCircuitNames();

} // namespace model
