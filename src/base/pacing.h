// Drift-free pacing. Times are in ticks of whatever clock the caller holds.
#pragma once
#include <algorithm>
#include <cstdint>

namespace vt {

/// Is the next turn of `hz` a second due? A turn up to `earlyMs` before its time is taken, so that
/// a tick which comes a little early is not wasted; the grid stays. More than one period late, or
/// with `nextDue` 0 (never run), the grid starts anew from `now`.
inline bool paceDue(int64_t& nextDue, double hz, double earlyMs, int64_t now, int64_t frequency) {
    const auto early = static_cast<int64_t>(earlyMs * static_cast<double>(frequency) / 1000.0);
    if (nextDue != 0 && now + early < nextDue) return false;
    const auto period = static_cast<int64_t>(static_cast<double>(frequency) / std::max(hz, 1.0));
    if (nextDue == 0 || now - nextDue > period)
        nextDue = now + period;
    else
        nextDue += period;
    return true;
}

/// Deadline of a loop that never makes up lost turns: one period after the last deadline, or after
/// `now` when that has passed.
inline int64_t nextDeadline(int64_t last, int64_t period, int64_t now) {
    const int64_t next = last + period;
    return next <= now ? now + period : next;
}

} // namespace vt
