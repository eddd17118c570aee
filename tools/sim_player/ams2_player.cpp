// Automobilista 2's page: the sequence number is odd while it is written.
#include "ams2_page.h"
#include "page_publisher.h"

#include <atomic>
#include <memory>

namespace player {

namespace {

struct Publisher : PagePublisher {
    vt::Ams2Page page;
    uint32_t sequence = 0;

    void writeSequence() {
        ++sequence;
        std::atomic_thread_fence(std::memory_order_seq_cst);
        write(offsetof(vt::Ams2Page, sequence), &sequence, sizeof sequence);
        std::atomic_thread_fence(std::memory_order_seq_cst);
    }

    void publish(const vt::Ams2Page& what) {
        writeSequence();
        writeAround(what, offsetof(vt::Ams2Page, sequence), sizeof sequence);
        writeSequence();
    }

    /// Rubbish under the eyes of whoever copies the page, mended before the number is even again.
    void tear() {
        vt::Ams2Page rubbish;
        std::memset(static_cast<void*>(&rubbish), 0x5A, sizeof rubbish);
        writeSequence();
        writeAround(rubbish, offsetof(vt::Ams2Page, sequence), sizeof sequence);
        writeAround(page, offsetof(vt::Ams2Page, sequence), sizeof sequence);
        writeSequence();
    }

    bool next(const model::Race& race, const Options& options) {
        fillAms2Page(race, page);
        if (options.hostile) {
            auto spoilt = std::make_unique<vt::Ams2Page>(page);
            spoil(*spoilt, offsetof(vt::Ams2Page, gameState) / 4);
            publish(*spoilt);
        } else {
            publish(page);
        }
        for (int i = 0; options.tear && i < 20; ++i)
            tear();
        return true;
    }
};

} // namespace

int playAms2(const Options& options) {
    const auto publisher = std::make_unique<Publisher>();
    if (!publisher->start(vt::kAms2MapName, sizeof(vt::Ams2Page), options)) return 1;
    return playModel(options, "Automobilista 2",
                     [&](const model::Race& race) { return publisher->next(race, options); });
}

} // namespace player
