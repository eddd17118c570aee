// Le Mans Ultimate's page, written under the lock that its readers take as well.
#include "lmu_page.h"
#include "page_publisher.h"
#include "platform/named_event.h"
#include "telemetry/readers/lmu_lock.h"

#include <csignal>
#include <memory>

namespace player {

namespace {

/// How long an event word stays set in a sim that runs; s.
constexpr double kNewsTime = 0.1;

struct Publisher : PagePublisher {
    vt::NamedEvent event;
    vt::LmuLock lock;
    vt::LmuPage page;
    double scored = -1; // race time of the last scoring
    double started = -1;

    bool start(const Options& options) {
        const std::string& s = options.suffix;
        if (!PagePublisher::start(vt::kLmuMapName, sizeof(vt::LmuPage), options)) return false;
        if (lock.open(vt::kLmuLockName + s, vt::kLmuLockEventName + s) &&
            event.create(vt::kLmuEventName + s))
            return true;
        std::fprintf(stderr, "sim_player: cannot make the lock and its events\n");
        return false;
    }

    void update(const model::Race& race) {
        if (started < 0) started = race.time;
        if (scored < 0 || race.time - scored >= kScoringPeriod - 1e-6) {
            scored = race.time;
            fillLmuScoring(race, page);
        }
        fillLmuTelemetry(race, page);
        uint32_t* events = page.head.events;
        events[vt::kLmuEnter] = race.time - started < 1;
        events[vt::kLmuScoringUpdated] = race.time - scored < kNewsTime;
        events[vt::kLmuTelemetryUpdated] = 1;
    }

    /// A reader that was killed may have left the lock taken; the sim does not wait for ever.
    void takeLock() {
        while (!lock.take([] { return false; }))
            lock.freeForsaken();
    }

    void publish(const vt::LmuPage& what, bool dieInLock) {
        takeLock();
        if (dieInLock) std::raise(SIGKILL);
        write(0, &what, sizeof what);
        lock.release();
        event.signal();
    }

    bool next(const model::Race& race, const Options& options) {
        update(race);
        const bool die = options.extra == "die-in-lock" && race.time - started >= 1;
        if (options.hostile) {
            const auto spoilt = std::make_unique<vt::LmuPage>(page);
            spoil(*spoilt, 0);
            publish(*spoilt, die);
        } else {
            publish(page, die);
        }
        return true;
    }
};

} // namespace

int playLmu(const Options& options) {
    const auto publisher = std::make_unique<Publisher>();
    if (!publisher->start(options)) return 1;
    return playModel(options, "Le Mans Ultimate",
                     [&](const model::Race& race) { return publisher->next(race, options); });
}

} // namespace player
