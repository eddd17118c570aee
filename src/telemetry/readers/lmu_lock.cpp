#include "telemetry/readers/lmu_lock.h"

namespace vt {

namespace {

constexpr int kSpins = 4000; // a copy takes microseconds, a sleep in the kernel often more

} // namespace

bool LmuLock::open(std::string_view wordsName, std::string_view eventName) {
    if (words_.openOrCreate(wordsName, kLmuLockWords) &&
        (event_.open(eventName) || event_.create(eventName)))
        return true;
    close();
    return false;
}

void LmuLock::close() {
    words_.close();
    event_.close();
}

bool LmuLock::tryOnce() {
    uint32_t free = 0;
    return words_[kLmuLockBusy].compare_exchange_strong(free, 1);
}

bool LmuLock::spin() {
    for (int i = 0; i < kSpins; ++i)
        if (tryOnce()) return true;
    return false;
}

void LmuLock::release() {
    if (!words_.whole()) return;
    words_[kLmuLockBusy].exchange(0);
    if (words_[kLmuLockWaiters].load() > 0) event_.signal();
}

void LmuLock::freeForsaken() {
    release();
}

} // namespace vt
