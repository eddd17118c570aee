// Waiting in tests. What must come is waited for as long as a busy machine may need; only a fault
// reaches the deadline.
#pragma once
#include <chrono>
#include <thread>

namespace vt::test {

inline constexpr int kPatienceMs = 30000; // sanitizer builds on a busy machine

/// True as soon as `condition` is, which is asked every `stepMs`; false after `milliseconds`.
template <class Condition>
bool eventually(Condition condition, int stepMs = 2, int milliseconds = kPatienceMs) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(stepMs));
    }
    return true;
}

/// The shortest of up to twenty runs of `work`, in seconds; ends with the first below `enough`. A
/// busy machine slows some runs, a fault all of them.
template <class Work>
double quickestOf(Work work, double enough) {
    double best = 1e9;
    for (int i = 0; i < 20 && best >= enough; ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        best = taken.count() < best ? taken.count() : best;
    }
    return best;
}

} // namespace vt::test
