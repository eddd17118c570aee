// A sim's page in shared memory: what its writers have in common.
#pragma once
#include "platform/shared_map.h"
#include "player.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <random>
#include <string>

namespace player {

struct PagePublisher {
    vt::SharedMapWriter map;
    std::mt19937 random;

    /// Prints why when it cannot.
    bool start(const std::string& name, size_t size, const Options& options) {
        random.seed(options.hostileSeed);
        if (map.create(name + options.suffix, options.shortTo > 0 ? options.shortTo : size))
            return true;
        std::fprintf(stderr, "sim_player: cannot make the shared memory\n");
        return false;
    }

    /// Writes what lies inside the object, which may have been made too short.
    void write(size_t offset, const void* from, size_t length) {
        if (offset >= map.size()) return;
        std::memcpy(map.data() + offset, from, std::min(length, map.size() - offset));
    }

    /// The whole page but one word, which tells that there is a new one.
    template <class Page>
    void writeAround(const Page& page, size_t wordOffset, size_t wordSize) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(&page);
        write(0, bytes, wordOffset);
        const size_t behind = wordOffset + wordSize;
        write(behind, bytes + behind, sizeof(Page) - behind);
    }

    /// Numbers that no page should hold, in some words of `page` from `firstWord` on.
    template <class Page>
    void spoil(Page& page, size_t firstWord) {
        constexpr uint32_t nasty[] = {0,          1,          0x7FFFFFFF, 0x80000000,
                                      0xFFFFFFFF, 0x7FC00000, 0x7F800000, 4096};
        for (uint32_t n = 20 + static_cast<uint32_t>(random()) % 200; n > 0; --n) {
            const size_t word = firstWord + random() % (sizeof(Page) / 4 - firstWord);
            const auto value =
                static_cast<uint32_t>(random() % 2 ? nasty[random() % std::size(nasty)] : random());
            std::memcpy(reinterpret_cast<uint8_t*>(&page) + word * 4, &value, sizeof value);
        }
    }
};

} // namespace player
