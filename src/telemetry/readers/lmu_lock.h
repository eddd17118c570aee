// The lock that Le Mans Ultimate shares with the readers of its page: a word that is 1 while
// somebody copies, a count of those who sleep until it is free, and an event to wake them.
#pragma once
#include "platform/named_event.h"
#include "platform/shared_words.h"
#include "telemetry/readers/lmu_layout.h"

#include <string_view>

namespace vt {

/// One thread. Nobody is certain to give the lock back, so that every wait has an end.
class LmuLock {
public:
    /// Opens both objects, or makes them: whoever comes first does.
    bool open(std::string_view wordsName, std::string_view eventName);
    void close();
    bool isOpen() const { return words_.isOpen(); }

    /// False when it was not free for about half a second, or when `giveUp`, asked at least every
    /// 10 ms of a wait, says true. The count of waiters is left as it was found.
    template <class GiveUp>
    bool take(GiveUp giveUp);
    void release();

    /// Frees a lock whose holder died over it. Only for somebody who knows.
    void freeForsaken();

private:
    bool tryOnce();
    bool spin();

    SharedWords words_;
    NamedEvent event_;
};

template <class GiveUp>
bool LmuLock::take(GiveUp giveUp) {
    constexpr int kWaits = 50, kWaitMs = 10;
    if (!words_.whole()) return false;
    if (spin()) return true;
    words_[kLmuLockWaiters].fetch_add(1);
    bool taken = false;
    for (int i = 0; i < kWaits && !taken; ++i) {
        event_.wait(kWaitMs);
        // Nothing may be touched any more, the count of waiters neither.
        if (!words_.whole()) return false;
        taken = tryOnce();
        if (!taken && giveUp()) break;
    }
    words_[kLmuLockWaiters].fetch_sub(1);
    return taken;
}

} // namespace vt
