// AC EVO's three mappings. Faults: --tear leaves the pages half written for most of the time,
// --hostile fills them with random bytes, --short cuts all three.
#include "ac_evo_pages.h"
#include "platform/shared_map.h"
#include "player.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>

namespace player {

namespace {

struct Mapping {
    vt::SharedMapWriter map;

    bool create(const Options& options, const char* name, size_t size) {
        return map.create(name + options.suffix,
                          options.shortTo > 0 ? std::min(options.shortTo, size) : size);
    }
    /// The packet id comes last: until then the page is the old one. `half` leaves it at that.
    template <class Page>
    void write(const Page& page, bool half) {
        constexpr size_t id = 4;
        const size_t length = std::min(sizeof page, map.size());
        const auto* from = reinterpret_cast<const uint8_t*>(&page);
        const size_t body = half ? length / 2 : length;
        if (body > id) std::memcpy(map.data() + id, from + id, body - id);
        std::memcpy(map.data(), from, std::min(id, length));
    }
    void spoil(std::mt19937& random) {
        for (size_t i = 4; i < map.size(); ++i)
            map.data()[i] = static_cast<uint8_t>(random());
        if (map.size() >= 4) map.data()[0] += 1;
    }
};

} // namespace

int playAcEvo(const Options& options) {
    AcEvoQuirks quirks;
    if (!parseAcEvoQuirks(options.extra, quirks)) {
        std::fprintf(stderr, "sim_player: cannot use \"%s\"\n", options.extra.c_str());
        return 2;
    }
    Mapping physics, graphics, statics;
    if (!physics.create(options, vt::kAcEvoPhysicsName, sizeof(vt::AcPhysics)) ||
        !graphics.create(options, vt::kAcEvoGraphicsName, sizeof(vt::AcEvoGraphics)) ||
        !statics.create(options, vt::kAcEvoStaticName, sizeof(vt::AcEvoStatic))) {
        std::fprintf(stderr, "sim_player: cannot make AC EVO's mappings\n");
        return 1;
    }
    AcEvoPageWriter pages(quirks);
    std::mt19937 random(options.hostileSeed);
    return playModel(options, "AC EVO", [&](const model::Race& race) {
        const bool newGraphics = pages.update(race);
        if (options.hostile) {
            for (Mapping* mapping : {&graphics, &statics, &physics})
                mapping->spoil(random);
            return true;
        }
        const bool half = options.tear && random() % 4 != 0;
        if (newGraphics) graphics.write(pages.graphics, half);
        statics.write(pages.statics, false);
        physics.write(pages.physics, half);
        return true;
    });
}

} // namespace player
