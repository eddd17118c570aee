// From corner points and recorded lines to the evenly spaced, smooth line of a circuit.
#pragma once
#include "driver_model/circuit.h"

#include <string>
#include <vector>

namespace model {

/// Gaussian of `sigma` values' width; around the end of a closed line.
void smoothValues(std::vector<double>& values, bool closed, double sigma);

/// A circuit along the points, of which only places and widths count: evenly spaced about 1 m apart
/// and smoothed over `sigma` metres, with headings, curvatures, sectors and a pit lane along the
/// straight at the line.
Circuit circuitThrough(std::string name, std::vector<CircuitPoint> points, bool closed,
                       double sigma);

} // namespace model
