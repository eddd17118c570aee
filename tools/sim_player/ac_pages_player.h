// The three mappings that Assetto Corsa, ACC and AC Rally share by name, from the writer's side.
#pragma once
#include "platform/shared_map.h"
#include "player.h"
#include "telemetry/readers/ac_pages.h"

#include <random>

namespace player {

struct AcPagesWriter {
    vt::SharedMapWriter physics, graphics, statics;
    int32_t packetId = 0;
    std::mt19937 random;

    /// Prints why not when false.
    bool create(const Options& options, const vt::AcPageSizes& sizes);
    /// Puts pages into the mappings with the next packet id; with the options' faults.
    void publish(const Options& options, vt::AcPhysics& physicsPage, const void* graphicsPage,
                 size_t graphicsSize, const vt::AcStatic& staticPage);
};

} // namespace player
