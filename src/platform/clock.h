// Time. Logic never asks for it: a `Clock` is handed in, so that tests turn it by hand.
#pragma once
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace vt {

inline constexpr int64_t kTicksPerSecond = 1'000'000'000; // monotonic ticks are nanoseconds

/// The system's clock, or one that stands still until it is turned (`manual`). A manual clock is
/// turned and read on one thread.
struct Clock {
    bool manual = false;
    int64_t manualTicks = 1'000'000'000;
    int64_t manualUnixSeconds = 1'700'000'000;
};

inline Clock manualClock() {
    return {.manual = true};
}
inline void advance(Clock& clock, double seconds) {
    clock.manualTicks += static_cast<int64_t>(seconds * 1e9);
}

int64_t clockTicks(const Clock& clock);  // monotonic, nanoseconds
uint64_t clockMs(const Clock& clock);    // monotonic, milliseconds
uint32_t clockMs32(const Clock& clock);  // its low 32 bits; never 0
double clockSeconds(const Clock& clock); // monotonic
int64_t clockUnixSeconds(const Clock& clock);

struct LocalTime {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0; // month and day from 1
};
LocalTime clockLocalTime(const Clock& clock);

/// An absolute-deadline wait that another thread can cut short. Owner waits, anybody wakes.
class DeadlineTimer {
public:
    /// Waits until the monotonic `deadline` (system ticks, not a manual clock's). True when the
    /// deadline was reached, false when woken before.
    bool waitUntil(int64_t deadline);
    /// Ends the present wait, or the next one at once.
    void wake();

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool woken_ = false;
};

} // namespace vt
