#include "ac_pages_player.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace player {

namespace {

constexpr double kTearSeconds = 0.004; // between the halves of a torn page
constexpr int kSpoiltWords = 12;

size_t shortened(const Options& options, size_t size) {
    return options.shortTo > 0 ? std::min(options.shortTo, size) : size;
}

void put(vt::SharedMapWriter& to, const void* page, size_t from, size_t until) {
    until = std::min(until, to.size());
    if (from < until)
        std::memcpy(to.data() + from, static_cast<const uint8_t*>(page) + from, until - from);
}

/// Random words anywhere, but for the packet id.
void spoil(std::mt19937& random, vt::SharedMapWriter& page) {
    const size_t words = page.size() / 4;
    for (int i = 0; i < kSpoiltWords && words > 1; ++i) {
        const uint32_t value = static_cast<uint32_t>(random());
        std::memcpy(page.data() + 4 * (1 + random() % (words - 1)), &value, sizeof value);
    }
}

} // namespace

bool AcPagesWriter::create(const Options& options, const vt::AcPageSizes& sizes) {
    random.seed(options.hostileSeed);
    if (physics.create(vt::kAcPhysicsName + options.suffix, shortened(options, sizes.physics)) &&
        graphics.create(vt::kAcGraphicsName + options.suffix, shortened(options, sizes.graphics)) &&
        statics.create(vt::kAcStaticName + options.suffix, shortened(options, sizes.statics)))
        return true;
    std::fprintf(stderr, "sim_player: cannot create the shared pages\n");
    return false;
}

void AcPagesWriter::publish(const Options& options, vt::AcPhysics& physicsPage,
                            const void* graphicsPage, size_t graphicsSize,
                            const vt::AcStatic& staticPage) {
    packetId = packetId == INT32_MAX ? 1 : packetId + 1;
    physicsPage.packetId = packetId;
    put(statics, &staticPage, 0, sizeof staticPage);
    put(graphics, graphicsPage, 0, graphicsSize);
    if (options.tear) { // the id moves, the numbers follow late
        put(physics, &physicsPage, 0, 32);
        waitUntil(monotonicSeconds() + kTearSeconds);
    }
    put(physics, &physicsPage, 4, sizeof physicsPage);
    put(physics, &physicsPage, 0, 4);
    if (!options.hostile) return;
    spoil(random, physics);
    spoil(random, graphics);
    spoil(random, statics);
}

} // namespace player
