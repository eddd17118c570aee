// One car round a lap at 30 Hz, for the trackers that follow it.
#pragma once
#include "telemetry/sim_frame.h"

#include <cmath>
#include <functional>

namespace vt {

/// Moves on by 1/30 s a tick. `clock` is the monotonic time, `frame.sessionTime` runs with it.
struct ScriptedDrive {
    SimFrame frame;
    double clock = 500;
    double way = 0; // laps
    std::function<void(SimFrame&, double)> tick;
    /// Fills the sector from the position; null leaves it.
    std::function<int(float)> sectorOf;

    void place() {
        frame.lapDistPct = static_cast<float>(way - std::floor(way));
        if (sectorOf) frame.currentSector = sectorOf(frame.lapDistPct);
    }

    /// Covers `laps` at `lapTime` seconds a lap, then stands on the last place reached.
    void drive(double laps, double lapTime) {
        const auto ticks = static_cast<int>(std::lround(laps * lapTime * 30));
        const double from = way;
        for (int i = 1; i <= ticks; ++i) {
            way = from + laps * i / ticks;
            step();
        }
    }

    void stand(double seconds) {
        for (int i = 0; i < static_cast<int>(std::lround(seconds * 30)); ++i)
            step();
    }

    void step() {
        clock += 1.0 / 30;
        frame.sessionTime += 1.0 / 30;
        place();
        tick(frame, clock);
    }
};

} // namespace vt
