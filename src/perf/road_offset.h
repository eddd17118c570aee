// How far the car is from the centre line of the road, in iRacing: its speed across the road, by
// the map, summed over time; and what each clean lap teaches about the map (`TrackCal`).
// One thread owns a state.
#pragma once
#include "telemetry/sim_frame.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vt {

inline constexpr int kCalStations = 512;

/// `trackcal/iracing/<id>.json`, in the program's data and in the driver's.
struct TrackCal {
    int32_t trackId = 0;
    int32_t calVersion = 0; // rises whenever offsets of before no longer compare
    int32_t laps = 0;       // folded
    double rotationRad = 0; // of the sim's heading against the map
    std::array<float, kCalStations> stationOffsetM{};
    float mapBaseline = 0;
    bool mapClockwise = false;
    int32_t mapSource = 0; // `LineSource` of the map it was learned against; 0 = not known
};

/// The driver's file first, then the shipped one. False and defaults when neither is whole.
bool loadTrackCal(const std::string& dataDir, const std::string& baseDir, int32_t trackId,
                  TrackCal& out);
bool saveTrackCal(const std::string& baseDir, const TrackCal& cal);

/// A lap fraction on the map for one of the sim: `pct` plus the table's value there, in laps,
/// wrapped into 0..0.999999.
double calStation(const TrackCal& cal, double pct, double trackLength);

struct RoadOffsetSample {
    int32_t trackId = 0;
    float trackLength = 0; // m
    double sessionTime = 0;
    float lapDistPct = 0, speed = 0, velX = 0, velY = 0, yawNorth = 0;
    int32_t trackSurface = -1;
    uint32_t sessionFlags = 0;
    int32_t incidents = -1;
};
RoadOffsetSample roadOffsetSampleOf(const SimFrame& frame);

struct RoadOffset {
    float lateralM = 0; // positive to the right
    bool lateralOk = false;
    int32_t lateralCalVersion = 0;
};

class RoadOffsetSolver {
public:
    /// `save`: a live drive. Files are read and written on threads of the solver's own; there is no
    /// offset until they are read. False: a replay, which reads at once and folds in memory alone.
    RoadOffsetSolver(std::string dataDir, std::string baseDir, bool save);
    ~RoadOffsetSolver();
    RoadOffsetSolver(const RoadOffsetSolver&) = delete;
    RoadOffsetSolver& operator=(const RoadOffsetSolver&) = delete;

    /// Another drive begins; what was learned stays.
    void reset();
    RoadOffset solve(const RoadOffsetSample& sample);
    const TrackCal& cal() const;
    /// Waits for files that are being read; the next sample has them.
    void settle();

private:
    struct State;
    std::unique_ptr<State> state_;
};

inline RoadOffset solveRoadOffset(RoadOffsetSolver& solver, const RoadOffsetSample& sample) {
    return solver.solve(sample);
}

} // namespace vt
