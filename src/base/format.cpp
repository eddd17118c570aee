#include "base/format.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace vt {

int formatText(char* out, size_t capacity, const char* format, ...) {
    if (capacity == 0) return 0;
    va_list args;
    va_start(args, format);
    const int n = std::vsnprintf(out, capacity, format, args);
    va_end(args);
    if (n < 0) {
        out[0] = '\0';
        return 0;
    }
    return std::min(n, static_cast<int>(capacity) - 1);
}

namespace {

int emptyText(char* out, size_t capacity) {
    if (capacity > 0) out[0] = '\0';
    return 0;
}

bool printable(double seconds) {
    return std::isfinite(seconds) && seconds < 1e8;
}

} // namespace

int formatLapTime(char* out, size_t capacity, double seconds) {
    if (!printable(seconds) || seconds <= 0) return emptyText(out, capacity);
    const long long ms = std::llround(seconds * 1000.0);
    return formatText(out, capacity, "%d:%02d.%03d", static_cast<int>(ms / 60000),
                      static_cast<int>(ms / 1000 % 60), static_cast<int>(ms % 1000));
}

int formatLapTimeTenths(char* out, size_t capacity, double seconds) {
    if (!printable(seconds) || seconds <= 0) return emptyText(out, capacity);
    const long long t = std::llround(seconds * 10.0);
    return formatText(out, capacity, "%d:%02d.%d", static_cast<int>(t / 600),
                      static_cast<int>(t / 10 % 60), static_cast<int>(t % 10));
}

int formatDuration(char* out, size_t capacity, double seconds) {
    if (!printable(seconds) || seconds < 0) return emptyText(out, capacity);
    const int s = static_cast<int>(seconds);
    if (s >= 3600) return formatText(out, capacity, "%d:%02d:%02d", s / 3600, s / 60 % 60, s % 60);
    return formatText(out, capacity, "%d:%02d", s / 60, s % 60);
}

} // namespace vt
