// Numbers and times as the driver reads them. No locale: the decimal mark is always a point.
#pragma once
#include <cstddef>

namespace vt {

inline constexpr double kKmPerMile = 1.609344;
inline constexpr double kFeetPerMetre = 3.28084;

/// snprintf that never returns more than was written; broken formats give 0.
int formatText(char* out, size_t capacity, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

/// "m:ss.mmm", rounded to the millisecond. Minutes run on past an hour. Seconds that are not finite
/// or not above 0 give an empty text.
int formatLapTime(char* out, size_t capacity, double seconds);

/// "m:ss.t", rounded to the tenth; otherwise as formatLapTime.
int formatLapTimeTenths(char* out, size_t capacity, double seconds);

/// "h:mm:ss", or "m:ss" under an hour; whole seconds, truncated. Negative and not finite: empty.
int formatDuration(char* out, size_t capacity, double seconds);

} // namespace vt
