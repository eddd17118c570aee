// Settings files of older releases, brought into today's form before anything is read from them.
#pragma once
#include "base/geometry.h"

#include <nlohmann/json_fwd.hpp>

#include <vector>

namespace vt {

/// Screens as an older file's positions meant them and as they are now: the same monitors in the
/// same order. Two equal lists mean that nothing moved.
struct MonitorMove {
    std::vector<RectI> before, after;
};

/// Overlays out of `windows`, the session panel, and the two column lists into their places. What
/// is in today's form already stays; doing it twice changes nothing.
void migrateForm(nlohmann::json& root);

/// A point of the old coordinates in the new ones: in proportion within its monitor, or within the
/// nearest one. Unmoved when the lists are equal, empty or do not fit together.
PointI mapPointBetweenMonitors(PointI point, const MonitorMove& move);

/// Every overlay's position and the control panel's. For files below version 9, whose positions
/// are in the system's scaled coordinates.
void migratePositions(nlohmann::json& root, const MonitorMove& move);

} // namespace vt
