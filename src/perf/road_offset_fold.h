// What a clean lap teaches about a track's calibration. No files, no threads.
#pragma once
#include "perf/gps_map.h"
#include "perf/road_offset.h"

#include <array>
#include <cmath>
#include <vector>

namespace vt {

inline constexpr float kCalSpeedMin = 8; // m/s below which a heading means little

/// A lap by metre bins, as the sim tells it: nothing here knows the map.
struct CalLap {
    std::vector<float> heading, speed; // rad from east to north; m/s, 0 = no sample
    std::vector<double> x, y;          // m, reckoned from velocity and heading

    size_t bins() const { return speed.size(); }
    bool valid(size_t bin) const {
        return speed[bin] >= kCalSpeedMin && std::isfinite(heading[bin]) && std::isfinite(x[bin]) &&
               std::isfinite(y[bin]);
    }
};

/// Direction of the road, a unit vector, between the points two metres before and behind.
PointF mapWay(const MetreLine& map, double pct);

/// False, and nothing changed, when too few bins are valid. `versionTable` is the station table of
/// the present version; small steps that add up raise the version as one large one does.
bool foldCalLap(TrackCal& cal, const MetreLine& map, const CalLap& lap,
                std::array<float, kCalStations>& versionTable);

} // namespace vt
