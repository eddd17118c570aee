// A timed run over a stretch of road, kept as the time at each of N points, so that the next run
// can be compared with it while it goes on. Shared by the sector deltas and the lap deltas.
#pragma once
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace vt {

template <size_t N>
using RunProfile = std::array<float, N>; // seconds since the start; 0 = not passed

template <size_t N>
struct BestAndLastRun {
    uint8_t hasBest = 0;
    uint8_t hasLast = 0;
    float bestTime = 0;
    float lastTime = 0;
    RunProfile<N> bestProfile{};
    RunProfile<N> lastProfile{};
};

/// A run that counts: empty points take the value before them, it becomes the last and, when it was
/// quicker, the best.
template <size_t N>
void keepRun(BestAndLastRun<N>& kept, RunProfile<N>& current, float time) {
    for (size_t i = 1; i < N; ++i)
        if (!(current[i] > 0)) current[i] = current[i - 1];
    kept.lastProfile = current;
    kept.lastTime = time;
    kept.hasLast = 1;
    if (kept.hasBest && kept.bestTime <= time) return;
    kept.bestProfile = current;
    kept.bestTime = time;
    kept.hasBest = 1;
}

/// Time at `progress` (0..N-1), between two points on the straight line.
template <size_t N>
float profileAt(const RunProfile<N>& profile, float progress) {
    const float held = std::clamp(progress, 0.0f, static_cast<float>(N - 1));
    const size_t lower = std::min(static_cast<size_t>(held), N - 2);
    const float part = held - static_cast<float>(lower);
    return profile[lower] + part * (profile[lower + 1] - profile[lower]);
}

template <size_t N>
size_t profileBin(float progress) {
    return static_cast<size_t>(std::clamp(progress + 0.5f, 0.0f, static_cast<float>(N - 1)));
}

/// A sim whose only clock is ours goes on counting while it is paused. A car that does not move for
/// half a second holds the run's clock; more than 2 s in all spoil the run.
struct PauseWatch {
    double lastMove = 0;
    double lastTick = 0;
    double pausedFor = 0;
    float movedPct = 0; // position at `lastMove`: a slow car adds up, however often it is looked at
};

inline void restartPauseWatch(PauseWatch& watch, float pct, double now) {
    watch = {.lastMove = now, .lastTick = now, .pausedFor = 0, .movedPct = pct};
}

/// Moves `runStart` on by the time that the car stood. False when the run does not count any more.
inline bool holdWhilePaused(PauseWatch& watch, double& runStart, float pct, double now) {
    if (std::abs(pct - watch.movedPct) > 0.00005f) {
        watch.lastMove = now;
        watch.movedPct = pct;
    }
    if (now - watch.lastMove > 0.5) {
        runStart += now - watch.lastTick;
        watch.pausedFor += now - watch.lastTick;
    }
    watch.lastTick = now;
    return watch.pausedFor <= 2.0;
}

/// From the last tenth and a half of the lap into the first.
inline bool crossedLine(float before, float now) {
    return before > 0.85f && now < 0.15f;
}

/// Back along the lap without a crossing: a reset to the pits, a replay, another session.
inline bool jumpedBack(float before, float now) {
    return before - now > 0.1f && !crossedLine(before, now);
}

} // namespace vt
