#include "platform/main_loop.h"

#include "platform/clock.h"
#include "platform/shared/backend.h"
#include "platform/shared/waiter.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>
#include <thread>
#include <unordered_set>

namespace vt {

namespace {

struct Posted {
    enum class Kind { call, message, quit } kind = Kind::call;
    void (*call)(void*) = nullptr;
    void* user = nullptr;
    WindowId window = 0;
    uint32_t message = 0;
    int64_t value = 0; // of a message; code of a quit
};

struct Timer {
    WindowId window = 0;
    uint32_t id = 0;
    int64_t periodNs = 0;
    int64_t due = 0;
};

struct Watch {
    int descriptor = -1;
    std::shared_ptr<std::function<void()>> call;
};

/// Any thread writes `posted`, the main thread takes from it.
struct Mailbox {
    std::mutex mutex;
    std::deque<Posted> posted;
    std::unordered_set<WindowId> windows; // that can be posted to
};

struct Loop {
    std::vector<Timer> timers;
    std::vector<Watch> watches;
    void (*beforeMessage)() = nullptr;
    bool quitMet = false;
    int quitCode = 0;
    const Clock* clock = nullptr;
    // Kept between turns for their capacity.
    std::vector<int> descriptors;
    std::vector<uint8_t> readable;
};

Mailbox mailbox;
Loop loop;
const Clock systemClock;

int64_t now() {
    return clockTicks(loop.clock ? *loop.clock : systemClock);
}

bool post(const Posted& item) {
    bool first = false;
    {
        const std::lock_guard lock(mailbox.mutex);
        if (item.kind == Posted::Kind::message && !mailbox.windows.contains(item.window))
            return false;
        first = mailbox.posted.empty();
        mailbox.posted.push_back(item);
    }
    // Whoever finds the box empty rings; the loop looks into the box before it sleeps.
    if (first) wakeWaiter();
    return true;
}

size_t postedCount() {
    const std::lock_guard lock(mailbox.mutex);
    return mailbox.posted.size();
}

bool takePosted(Posted& out) {
    const std::lock_guard lock(mailbox.mutex);
    if (mailbox.posted.empty()) return false;
    out = mailbox.posted.front();
    mailbox.posted.pop_front();
    return true;
}

void handlePosted(const Posted& item) {
    switch (item.kind) {
    case Posted::Kind::call:
        runBeforeMessage();
        item.call(item.user);
        break;
    case Posted::Kind::message:
        deliverPosted(item.window, item.message, item.value);
        break;
    case Posted::Kind::quit:
        loop.quitMet = true;
        loop.quitCode = static_cast<int>(item.value);
        break;
    }
}

struct EndTest {
    const bool* done = nullptr;
    bool operator()() const { return loop.quitMet || (done && *done); }
};

/// Nanoseconds until the next timer; negative without one.
int64_t untilNextTimer() {
    int64_t best = -1;
    for (const Timer& timer : loop.timers) {
        const int64_t left = std::max<int64_t>(timer.due - now(), 0);
        if (best < 0 || left < best) best = left;
    }
    // A clock that stands still while we sleep never reaches the deadline by itself.
    return best > 0 && loop.clock && loop.clock->manual ? -1 : best;
}

int handleTimers(const EndTest& ended) {
    int handled = 0;
    const int64_t start = now();
    // A handler may start and stop timers, so each round looks for the one that is due longest. The
    // count bounds the work of one turn.
    for (size_t i = loop.timers.size(); i > 0 && !ended(); --i) {
        const auto next =
            std::min_element(loop.timers.begin(), loop.timers.end(),
                             [](const Timer& a, const Timer& b) { return a.due < b.due; });
        if (next == loop.timers.end() || next->due > start) break;
        next->due += next->periodNs;
        if (next->due <= start) next->due = start + next->periodNs; // lost beats are not made up
        const WindowRef window = findWindow(next->window);
        WindowEvent event;
        event.kind = EventKind::timer;
        event.value = next->id;
        ++handled;
        if (window) deliver(window, event);
    }
    return handled;
}

int handleWatches(size_t from, const EndTest& ended) {
    int handled = 0;
    // Copies: a call may add and remove watches.
    std::vector<Watch> ready;
    for (size_t i = from; i < loop.descriptors.size(); ++i) {
        if (!loop.readable[i]) continue;
        for (const Watch& watch : loop.watches)
            if (watch.descriptor == loop.descriptors[i]) ready.push_back(watch);
    }
    for (const Watch& watch : ready) {
        if (ended()) break;
        const bool still = std::any_of(loop.watches.begin(), loop.watches.end(),
                                       [&](const Watch& w) { return w.call == watch.call; });
        if (!still) continue;
        ++handled;
        runBeforeMessage();
        (*watch.call)();
    }
    return handled;
}

void sleepUntilWork(int64_t limitNs) {
    const Backend* system = backend();
    const bool busy = postedCount() > 0 || paintsWaiting() || (system && system->eventsWaiting());
    int64_t timeout = busy ? 0 : limitNs;
    const int64_t timer = untilNextTimer();
    if (timer >= 0 && (timeout < 0 || timer < timeout)) timeout = timer;

    loop.descriptors.clear();
    loop.descriptors.push_back(system ? system->descriptor() : -1);
    for (const Watch& watch : loop.watches)
        loop.descriptors.push_back(watch.descriptor);
    loop.readable.assign(loop.descriptors.size(), 0);
    waitForDescriptors(loop.descriptors.data(), loop.descriptors.size(), loop.readable.data(),
                       timeout);
}

/// One round over every source. Each gives no more than it had when its turn came, so that none can
/// starve the others. Returns how much was handled.
int loopTurn(int64_t limitNs, const EndTest& ended) {
    sleepUntilWork(limitNs);
    int handled = 0;
    Posted item;
    for (size_t left = postedCount(); left > 0 && !ended() && takePosted(item); --left) {
        handlePosted(item);
        ++handled;
    }
    if (const Backend* system = backend(); system && !ended() && system->eventsWaiting()) {
        system->takeEvents();
        ++handled;
    }
    if (!ended()) handled += handleTimers(ended);
    // A nested loop may have used the list of descriptors; then they are seen in the next turn.
    if (!ended() && loop.descriptors.size() == loop.watches.size() + 1)
        handled += handleWatches(1, ended);
    if (!ended() && paintsWaiting()) {
        deliverPaints();
        ++handled;
    }
    return handled;
}

} // namespace

void runBeforeMessage() {
    if (loop.beforeMessage) loop.beforeMessage();
}

int loopRun() {
    const EndTest ended;
    while (!ended())
        loopTurn(-1, ended);
    loop.quitMet = false;
    return loop.quitCode;
}

void loopQuit(int code) {
    post({.kind = Posted::Kind::quit, .value = code});
}

void loopRunModal(const bool* done) {
    // A quit stays met when this returns, so the loops outside end as well.
    const EndTest ended{done};
    while (!ended())
        loopTurn(-1, ended);
}

bool loopPump(int waitMs) {
    const EndTest ended;
    const int64_t end = clockTicks(systemClock) + waitMs * int64_t{1'000'000};
    int64_t left = waitMs * int64_t{1'000'000};
    while (!ended() && loopTurn(std::max<int64_t>(left, 0), ended) == 0 && left > 0)
        left = end - clockTicks(systemClock);
    return !loop.quitMet;
}

void loopPost(void (*call)(void*), void* user) {
    if (call) post({.kind = Posted::Kind::call, .call = call, .user = user});
}

bool postToWindow(WindowId window, uint32_t message, int64_t value) {
    return post(
        {.kind = Posted::Kind::message, .window = window, .message = message, .value = value});
}

void loopSetBeforeMessage(void (*call)()) {
    loop.beforeMessage = call;
}

void loopWatch(int descriptor, std::function<void()> call) {
    std::erase_if(loop.watches, [&](const Watch& w) { return w.descriptor == descriptor; });
    if (call && descriptor >= 0)
        loop.watches.push_back(
            {descriptor, std::make_shared<std::function<void()>>(std::move(call))});
}

void startTimer(WindowId window, uint32_t id, int milliseconds) {
    stopTimer(window, id);
    if (!findWindow(window)) return;
    const int64_t period = std::max(milliseconds, 1) * int64_t{1'000'000};
    loop.timers.push_back({window, id, period, now() + period});
}

void stopTimer(WindowId window, uint32_t id) {
    std::erase_if(loop.timers, [&](const Timer& t) { return t.window == window && t.id == id; });
}

void loopReset() {
    {
        const std::lock_guard lock(mailbox.mutex);
        mailbox.posted.clear();
        mailbox.windows.clear();
    }
    loop = {};
}

void loopWindowMade(WindowId window) {
    const std::lock_guard lock(mailbox.mutex);
    mailbox.windows.insert(window);
}

void loopWindowGone(WindowId window) {
    {
        const std::lock_guard lock(mailbox.mutex);
        mailbox.windows.erase(window);
    }
    std::erase_if(loop.timers, [&](const Timer& t) { return t.window == window; });
}

void loopUseClock(const Clock* clock) {
    loop.clock = clock;
}

uint32_t loopTimeMs() {
    return clockMs32(loop.clock ? *loop.clock : systemClock);
}

} // namespace vt
