#include "app/live_delta.h"

#include <algorithm>

namespace vt {

namespace {

constexpr double kShortestLap = 5.0; // s

void beginLap(LiveDeltaTracker& tracker, const SimFrame& frame, float pct, double now) {
    tracker.lapStart = now;
    tracker.ok = frame.isOnTrack != 0;
    tracker.started = 1;
    tracker.current.fill(0);
    restartPauseWatch(tracker.pause, pct, now);
}

/// Brings the tracker up to this tick; false when no lap is being timed.
bool followLap(LiveDeltaTracker& tracker, const SimFrame& frame, float pct, double now) {
    const float before = tracker.prevPct;
    tracker.prevPct = pct;
    if (crossedLine(before, pct)) {
        const double lap = now - tracker.lapStart;
        if (tracker.started && tracker.ok && lap > kShortestLap)
            keepRun(tracker.runs, tracker.current, static_cast<float>(lap));
        beginLap(tracker, frame, pct, now);
    } else if (jumpedBack(before, pct)) {
        tracker.started = 0;
    }
    return tracker.started;
}

void giveDeltas(const LiveDeltaTracker& tracker, SimFrame& frame, float elapsed, float progress) {
    if (tracker.runs.hasBest) {
        frame.liveDeltaBest = elapsed - profileAt(tracker.runs.bestProfile, progress);
        frame.liveDeltaBestOk = tracker.ok;
    }
    if (tracker.runs.hasLast) {
        frame.liveDeltaLast = elapsed - profileAt(tracker.runs.lastProfile, progress);
        frame.liveDeltaLastOk = tracker.ok;
    }
}

} // namespace

void clearLiveDelta(LiveDeltaTracker& tracker) {
    tracker = LiveDeltaTracker{};
}

void liveDeltaTick(LiveDeltaTracker& tracker, SimFrame& frame, double now, bool offered) {
    frame.liveDeltaBest = frame.liveDeltaLast = 0;
    frame.liveDeltaBestOk = frame.liveDeltaLastOk = 0;
    if (!frame.connected || !offered || tracker.kind != frame.simKind) clearLiveDelta(tracker);
    if (!frame.connected || !offered) return;
    tracker.kind = frame.simKind;

    const float pct = std::clamp(frame.lapDistPct, 0.0f, 1.0f);
    if (!followLap(tracker, frame, pct, now)) return;
    if (!frame.isOnTrack) tracker.ok = 0;
    if (!holdWhilePaused(tracker.pause, tracker.lapStart, pct, now)) tracker.ok = 0;

    const auto elapsed = static_cast<float>(now - tracker.lapStart);
    const float progress = pct * 255.0f;
    float& bin = tracker.current[profileBin<kLapBins>(progress)];
    bin = std::max(bin, elapsed);
    giveDeltas(tracker, frame, elapsed, progress);
}

} // namespace vt
