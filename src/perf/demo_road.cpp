#include "perf/demo_road.h"

#include "perf/turn_finder.h"
#include "telemetry/demo_feed.h"
#include "telemetry/demo_track.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr double kFirstFlyingLap = 26; // s of demo time; a lap takes as long
constexpr double kDemoLap = 26;

/// What the demo's driver does at each metre of a lap without a stop.
std::vector<RoadBestBin> demoInputs() {
    std::vector<RoadBestBin> best(kDemoTrackBins);
    SimFrame frame;
    for (double t = kFirstFlyingLap; t < kFirstFlyingLap + kDemoLap; t += 0.004) {
        demoFrameAt(frame, t);
        if (frame.onPitRoad) continue;
        const auto bin =
            std::min<size_t>(static_cast<size_t>(std::max(frame.lapDistPct, 0.0f) * kDemoTrackBins),
                             kDemoTrackBins - 1);
        best[bin] = {1, static_cast<uint8_t>(std::lround(frame.throttle * 100)),
                     static_cast<uint8_t>(std::lround(frame.brake * 100)),
                     static_cast<uint16_t>(std::lround(frame.speed * 100)),
                     static_cast<uint8_t>(frame.gear)};
    }
    return best;
}

TrackShape makeShape() {
    TrackShape shape;
    shape.simKind = kSimIRacing;
    shape.trackId = 1;
    shape.length = kDemoTrackBins;
    shape.scale = 1;
    shape.roadBins = kDemoTrackBins;
    for (const DemoTrackPoint& point : demoTrack())
        shape.line.push_back({point.x, point.y});
    shape.edgeLeft.assign(shape.line.size(), 6);
    shape.edgeRight.assign(shape.line.size(), 6);
    int number = 0;
    for (const FoundTurn& turn : findTurns(shape.line, shape.length))
        shape.turns.push_back({++number, {}, turn.apex, turn.radius});
    shape.best = demoInputs();
    shape.bestSeconds = 91.6f;
    return shape;
}

} // namespace

bool isDemoFrame(const SimFrame& frame) {
    return frame.simKind == kSimIRacing && frame.worldOk != 0;
}

const TrackShape& demoShape() {
    static const TrackShape shape = makeShape();
    return shape;
}

} // namespace vt
