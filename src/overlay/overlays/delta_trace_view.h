// What Delta Trace shows: the running time delta to a reference lap, over the lap.
#pragma once
#include "overlay/settings/overlay_config.h"
#include "telemetry/sim_frame.h"

#include <functional>
#include <vector>

namespace vt {

struct DeltaPoint {
    float pct = 0, delta = 0; // lap position 0..1; s, positive = slower
};

/// The delta of a frame to the reference that the settings name, and whether there is one. A sim
/// that gives no delta of its own is measured against the lap that the program keeps.
struct DeltaValue {
    bool ok = false;
    float seconds = 0;
};
DeltaValue deltaOf(const SimFrame& frame, int reference);

/// The lap so far. Fixed memory: one point a thousandth of the lap.
class DeltaTrace {
public:
    static constexpr size_t kPoints = 1000;

    DeltaTrace() { points_.reserve(kPoints + 1); }
    /// Each new frame, also while nothing is drawn. Starts anew at the line, after a jump, with
    /// another session, car, track or reference.
    void add(const SimFrame& frame, int reference);
    void clear() { points_.clear(); }
    const std::vector<DeltaPoint>& points() const { return points_; }
    /// Delta won or lost between two lap positions; false when the lap has not passed both.
    bool between(float from, float to, float& delta) const;

private:
    struct Identity {
        int32_t sim = -1, session = -1, track = 0, reference = -1;
        bool operator==(const Identity&) const = default;
    };
    std::vector<DeltaPoint> points_;
    Identity identity_;
};

struct DeltaSector {
    bool known = false;
    float delta = 0;
    bool running = false;
};

struct DeltaTraceView {
    bool live = false;
    DeltaValue now;
    float pct = 0;
    char lap[32] = "";    // "LAP 5/20"
    char figure[16] = ""; // "+0.25"
    std::vector<DeltaSector> sectors;
};
void buildDeltaTrace(DeltaTraceView& view, const DeltaTraceConfig& config, const DeltaTrace& trace,
                     const SimFrame* frame);

/// What the reference lap did at a place of the lap.
struct DeltaReferenceInputs {
    float throttle = 0, brake = 0; // 0..1
    int gear = 0;
};
/// Supplied by whoever keeps laps; empty until then. `reference` as `dtRef`.
extern std::function<bool(const SimFrame& frame, float pct, int reference,
                          DeltaReferenceInputs& out)>
    deltaReferenceInputs;

} // namespace vt
