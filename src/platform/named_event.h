// A named wake-up between programs: one word of shared memory that waiters sleep on.
#pragma once
#include <atomic>
#include <cstdint>
#include <string_view>

namespace vt {

/// Both sides. A signal wakes every waiter; a waiter that comes later sees only later signals.
class NamedEvent {
public:
    NamedEvent() = default;
    ~NamedEvent() { close(); }
    NamedEvent(const NamedEvent&) = delete;
    NamedEvent& operator=(const NamedEvent&) = delete;

    bool open(std::string_view name);   // an existing one, to wait on
    bool create(std::string_view name); // to signal
    void close();
    bool isOpen() const { return word_ != nullptr; }

    void signal();
    /// True when signalled since the last return, false after `milliseconds`.
    bool wait(int milliseconds);

private:
    std::atomic<uint32_t>* word_ = nullptr;
    uint32_t seen_ = 0;
    bool owner_ = false;
    char name_[128] = "";
};

} // namespace vt
