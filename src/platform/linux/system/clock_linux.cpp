#include "platform/clock.h"

#include <chrono>
#include <ctime>

namespace vt {

namespace {

int64_t monotonicTicks() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<int64_t>(t.tv_sec) * kTicksPerSecond + t.tv_nsec;
}

} // namespace

int64_t clockTicks(const Clock& clock) {
    return clock.manual ? clock.manualTicks : monotonicTicks();
}

uint64_t clockMs(const Clock& clock) {
    return static_cast<uint64_t>(clockTicks(clock) / 1'000'000);
}

uint32_t clockMs32(const Clock& clock) {
    const auto ms = static_cast<uint32_t>(clockMs(clock));
    return ms == 0 ? 1 : ms;
}

double clockSeconds(const Clock& clock) {
    return static_cast<double>(clockTicks(clock)) * 1e-9;
}

int64_t clockUnixSeconds(const Clock& clock) {
    return clock.manual ? clock.manualUnixSeconds : static_cast<int64_t>(std::time(nullptr));
}

LocalTime clockLocalTime(const Clock& clock) {
    const auto seconds = static_cast<time_t>(clockUnixSeconds(clock));
    tm local{};
    localtime_r(&seconds, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
            local.tm_hour,        local.tm_min,     local.tm_sec};
}

bool DeadlineTimer::waitUntil(int64_t deadline) {
    // steady_clock is CLOCK_MONOTONIC here, so ticks can be handed over as they are.
    const std::chrono::steady_clock::time_point until{std::chrono::nanoseconds(deadline)};
    std::unique_lock lock(mutex_);
    const bool woken = changed_.wait_until(lock, until, [this] { return woken_; });
    woken_ = false;
    return !woken;
}

void DeadlineTimer::wake() {
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
    }
    changed_.notify_all();
}

} // namespace vt
