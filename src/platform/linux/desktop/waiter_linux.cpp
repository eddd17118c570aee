#include "platform/shared/waiter.h"

#include <cerrno>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <vector>

namespace vt {

namespace {

/// Lives as long as the process, since other threads may ring at any time.
int bell() {
    static const int descriptor = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    return descriptor;
}

} // namespace

void waitForDescriptors(const int* descriptors, size_t count, uint8_t* readable,
                        int64_t timeoutNs) {
    static std::vector<pollfd> polled; // main thread only; kept for its capacity
    polled.clear();
    polled.push_back({bell(), POLLIN, 0});
    for (size_t i = 0; i < count; ++i)
        polled.push_back({descriptors[i], POLLIN, 0});
    timespec timeout{};
    timeout.tv_sec = timeoutNs / 1'000'000'000;
    timeout.tv_nsec = timeoutNs % 1'000'000'000;
    // A signal ends the wait early, which does no harm: the loop looks around and waits again.
    const int n = ppoll(polled.data(), polled.size(), timeoutNs < 0 ? nullptr : &timeout, nullptr);
    for (size_t i = 0; i < count; ++i)
        readable[i] = n > 0 && polled[i + 1].revents != 0;
    if (n > 0 && polled[0].revents != 0) {
        uint64_t rings = 0;
        [[maybe_unused]] const ssize_t got = read(bell(), &rings, sizeof rings);
    }
}

void wakeWaiter() {
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t put = write(bell(), &one, sizeof one);
}

} // namespace vt
