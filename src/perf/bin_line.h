// Geometry of a closed line of evenly spaced bins, in metres: gaps, normals, offsets.
#pragma once
#include "base/geometry.h"

#include <vector>

namespace vt {

/// Closes gaps by straight lines between the nearest filled neighbours, round the lap. False when
/// nothing is filled.
bool closeGaps(std::vector<PointF>& line, const std::vector<bool>& filled);

/// Unit normals to the right of the way, from central differences over `reach` points; (0, 0)
/// where the line stands still.
std::vector<PointF> lineNormals(const std::vector<PointF>& line, int reach);

/// Mean over `reach` neighbours to both sides, round the lap.
std::vector<PointF> smoothLine(const std::vector<PointF>& line, int reach);
std::vector<float> smoothValues(const std::vector<float>& values, int reach);

/// Position at a lap fraction 0..1 of a closed line.
PointF lineAt(const std::vector<PointF>& line, double pct);

/// Driven so that the sun goes along: the area is on the right. `line` has y to the north.
bool drivenClockwise(const std::vector<PointF>& line);

/// 0..1 of sorted values, between neighbours in proportion.
float percentileOf(const std::vector<float>& sorted, double share);

} // namespace vt
