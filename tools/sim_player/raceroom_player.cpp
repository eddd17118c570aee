// RaceRoom's page: the tick comes last, and nothing guards what is written in between.
#include "page_publisher.h"
#include "raceroom_page.h"

#include <atomic>
#include <memory>

namespace player {

namespace {

struct Publisher : PagePublisher {
    vt::RaceRoomPage page;
    int32_t tick = 0;

    void writeTick() {
        ++tick;
        std::atomic_thread_fence(std::memory_order_seq_cst);
        write(offsetof(vt::RaceRoomPage, tick), &tick, sizeof tick);
    }

    void publish(const vt::RaceRoomPage& what, bool torn) {
        if (torn) writeTick();
        writeAround(what, offsetof(vt::RaceRoomPage, tick), sizeof tick);
        if (!torn) writeTick();
    }

    bool next(const model::Race& race, const Options& options) {
        fillRaceRoomPage(race, page);
        if (options.hostile) {
            auto spoilt = std::make_unique<vt::RaceRoomPage>(page);
            spoil(*spoilt, offsetof(vt::RaceRoomPage, notDriving) / 4);
            publish(*spoilt, options.tear);
        } else {
            publish(page, options.tear);
        }
        return true;
    }
};

} // namespace

int playRaceRoom(const Options& options) {
    const auto publisher = std::make_unique<Publisher>();
    if (!publisher->start(vt::kRaceRoomMapName, sizeof(vt::RaceRoomPage), options)) return 1;
    return playModel(options, "RaceRoom",
                     [&](const model::Race& race) { return publisher->next(race, options); });
}

} // namespace player
