// The truck plug-in's mapping: the driver model's player, or a capture whose time moves on.
#include "ets2_page.h"
#include "page_publisher.h"

#include <fstream>
#include <iterator>
#include <vector>

namespace player {

namespace {

constexpr size_t kMapSize = 32 * 1024; // as the plug-in makes it
constexpr int32_t kAlikeVersion = 10;  // lays out all that is read as the present version does

void publishModel(PagePublisher& publisher, vt::Ets2Page& page, const model::Race& race,
                  const Options& options) {
    fillEts2Page(race, page);
    vt::Ets2Page shown = page;
    if (options.hostile) publisher.spoil(shown, offsetof(vt::Ets2Page, unread4) / 4);
    constexpr size_t at = offsetof(vt::Ets2Page, simulatedTime);
    if (options.tear) publisher.write(at, &page.simulatedTime, sizeof page.simulatedTime);
    publisher.writeAround(shown, at, sizeof page.simulatedTime);
    publisher.write(at, &page.simulatedTime, sizeof page.simulatedTime);
}

int playCapture(const Options& options) {
    std::ifstream in(options.file, std::ios::binary);
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(in), {}};
    if (bytes.size() < sizeof(vt::Ets2Page)) {
        std::fprintf(stderr, "sim_player: \"%s\" holds no truck\n", options.file.c_str());
        return 1;
    }
    vt::Ets2Page page;
    std::memcpy(&page, bytes.data(), sizeof page);
    std::printf("ETS2, a capture of version %d%s, %.4g samples a second; Ctrl+C ends it\n",
                page.version, page.version == kAlikeVersion ? " told as the present one" : "",
                options.hz);
    std::fflush(stdout);
    if (page.version == kAlikeVersion) page.version = vt::kEts2Version;
    std::memcpy(bytes.data(), &page, sizeof page);
    PagePublisher publisher;
    if (!publisher.start(vt::kEts2MapName, bytes.size(), options)) return 1;
    publisher.write(0, bytes.data(), bytes.size());
    everyTick(options, [&](int64_t) {
        page.simulatedTime += static_cast<uint64_t>(1e6 * options.speed / options.hz);
        publisher.write(offsetof(vt::Ets2Page, simulatedTime), &page.simulatedTime,
                        sizeof page.simulatedTime);
        return true;
    });
    return 0;
}

} // namespace

int playEts2(const Options& options) {
    if (!options.file.empty()) return playCapture(options);
    PagePublisher publisher;
    vt::Ets2Page page;
    if (!publisher.start(vt::kEts2MapName, kMapSize, options)) return 1;
    return playModel(options, "ETS2", [&](const model::Race& race) {
        publishModel(publisher, page, race, options);
        return true;
    });
}

} // namespace player
