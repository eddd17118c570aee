// rFactor 2's pages: the version words differ while they are written.
#include "page_publisher.h"
#include "rf2_pages.h"

#include <atomic>
#include <memory>

namespace player {

namespace {

struct VersionedPublisher : PagePublisher {
    vt::Rf2Version version;

    void writeVersion() {
        std::atomic_thread_fence(std::memory_order_seq_cst);
        write(0, &version, sizeof version);
        std::atomic_thread_fence(std::memory_order_seq_cst);
    }

    /// What lies behind the version words; of a torn page only half of it, and then silence.
    void publish(const void* page, size_t size, bool torn) {
        version.begin += 1;
        writeVersion();
        const auto* bytes = static_cast<const uint8_t*>(page);
        write(sizeof version, bytes + sizeof version, (torn ? size / 2 : size) - sizeof version);
        if (torn) return;
        version.end = version.begin;
        writeVersion();
    }
};

struct Publisher {
    VersionedPublisher telemetry, scoring;
    vt::Rf2TelemetryPage telemetryPage;
    vt::Rf2ScoringPage scoringPage;
    double scored = -1; // race time of the last scoring

    template <class Page>
    void publish(VersionedPublisher& to, const Page& page, const Options& options) {
        const bool torn = options.tear && to.random() % 4 == 0;
        if (!options.hostile) return to.publish(&page, sizeof page, torn);
        const auto spoilt = std::make_unique<Page>(page);
        to.spoil(*spoilt, sizeof(vt::Rf2Version) / 4);
        to.publish(spoilt.get(), sizeof page, torn);
    }

    bool next(const model::Race& race, const Options& options) {
        if (scored < 0 || race.time - scored >= kScoringPeriod - 1e-6) {
            scored = race.time;
            fillRf2Scoring(race, scoringPage);
            publish(scoring, scoringPage, options);
        }
        fillRf2Telemetry(race, telemetryPage);
        publish(telemetry, telemetryPage, options);
        return true;
    }
};

} // namespace

int playRFactor2(const Options& options) {
    const auto publisher = std::make_unique<Publisher>();
    if (!publisher->telemetry.start(vt::kRf2TelemetryName, sizeof(vt::Rf2TelemetryPage), options) ||
        !publisher->scoring.start(vt::kRf2ScoringName, sizeof(vt::Rf2ScoringPage), options))
        return 1;
    return playModel(options, "rFactor 2",
                     [&](const model::Race& race) { return publisher->next(race, options); });
}

} // namespace player
