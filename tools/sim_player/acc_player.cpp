// ACC: the three mappings, and the broadcasting port on 127.0.0.1. The word after --extra says what
// is different from the sim's ways: "off" opens no port, "password=TEXT" asks for one,
// "json=FOLDER" also writes the sim's broadcasting.json below that documents folder.
#include "ac_pages_player.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "support/ac_model.h"

#include <cstdio>
#include <string_view>

namespace player {

namespace {

constexpr uint16_t kAccPort = 9000;

struct AccExtras {
    bool broadcast = true;
    std::string password, documents;
};

/// Words divided by commas.
AccExtras readExtras(std::string_view text) {
    AccExtras extras;
    while (!text.empty()) {
        const size_t end = std::min(text.find(','), text.size());
        const std::string_view word = text.substr(0, end);
        if (word == "off") extras.broadcast = false;
        if (word.starts_with("password=")) extras.password = word.substr(9);
        if (word.starts_with("json=")) extras.documents = word.substr(5);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return extras;
}

/// UTF-16, as the sim writes it.
bool writeBroadcastingJson(const AccExtras& extras, uint16_t port) {
    const std::string folder = vt::joinPath(extras.documents, "Assetto Corsa Competizione/Config");
    const std::string text = "{\n    \"updListenerPort\": " + std::to_string(port) +
                             ",\n    \"connectionPassword\": \"" + extras.password +
                             "\",\n    \"commandPassword\": \"\"\n}";
    std::string bytes;
    for (const char c : text)
        bytes += {c, '\0'};
    return vt::makeFolders(folder) &&
           vt::writeFileAtomic(vt::joinPath(folder, "broadcasting.json"), bytes);
}

} // namespace

int playAcc(const Options& options) {
    const AccExtras extras = readExtras(options.extra);
    const uint16_t port = options.port != 0 ? options.port : kAccPort;
    AcPagesWriter pages;
    if (!pages.create(options, vt::kAccSizes)) return 1;
    vt::test::AccServer server;
    server.password = extras.password;
    if (extras.broadcast && !server.open(port)) {
        std::fprintf(stderr, "sim_player: port %d is taken\n", port);
        return 1;
    }
    if (!extras.documents.empty() && !writeBroadcastingJson(extras, port)) {
        std::fprintf(stderr, "sim_player: cannot write broadcasting.json\n");
        return 1;
    }
    vt::AcPhysics physics;
    vt::AccGraphics graphics;
    vt::AcStatic statics;
    return playModel(options, "ACC", [&](const model::Race& race) {
        vt::test::fillModelPhysics(race, true, physics);
        vt::test::fillModelGraphics(race, vt::kAccNoLapMs, graphics);
        vt::test::fillModelStatic(race, statics);
        pages.publish(options, physics, &graphics, sizeof graphics, statics);
        if (extras.broadcast) {
            vt::test::fillModelWorld(race, server.world);
            server.tick(static_cast<uint64_t>(monotonicSeconds() * 1000));
        }
        return true;
    });
}

} // namespace player
