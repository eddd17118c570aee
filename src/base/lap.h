// Arithmetic on a closed lap. Positions are fractions 0..1 of a lap that begins at the line.
#pragma once
#include <cmath>

namespace vt {

/// `delta` brought into -0.5..0.5 of a lap: positive is ahead the short way round.
template <class T>
T wrapHalfLap(T delta) {
    if (!std::isfinite(delta)) return T(0);
    return delta - std::round(delta);
}

/// Distance from `from` forward to `to`, 0 up to 1.
template <class T>
T forwardLap(T from, T to) {
    const T d = to - from;
    return std::isfinite(d) ? d - std::floor(d) : T(0);
}

/// A time difference brought into plus or minus half of `lapTime` by whole laps. Left alone when
/// `lapTime` is not above 1 s.
template <class T>
T wrapLapTime(T seconds, T lapTime) {
    if (!(lapTime > T(1)) || !std::isfinite(seconds)) return seconds;
    return seconds - lapTime * std::round(seconds / lapTime);
}

} // namespace vt
