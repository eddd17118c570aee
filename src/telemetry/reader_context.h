// What readers share with the program around them.
#pragma once
#include "platform/clock.h"
#include "telemetry/process_scan.h"
#include "telemetry/steer_words.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

namespace vt {

/// Outlives every reader. The words are written by the main thread and read on the pump's.
struct ReaderContext {
    const Clock& clock;
    ProcessScan& scan;
    ProcessLister lister = nullptr;
    SteerWords& steer;
    std::atomic<uint32_t> dr2ListenLanOn{0}; // DiRT Rally 2.0 listens on all interfaces
    /// Set when the program ends or wants the pump for something else: waits inside `open` and
    /// `poll` look at it at least every 50 ms.
    const std::atomic<uint32_t>* stop = nullptr;
    std::string documentsDir; // of every game, unless `documentsOf` knows better; empty = unknown
    /// The Documents folder that a game sees, by its number in the shop and a folder of its own
    /// below it: under a compatibility layer each game has one to itself. May be empty.
    std::function<std::string(uint32_t appId, const char* gameFolder)> documentsOf{};

    std::string documents(uint32_t appId, const char* gameFolder) const {
        return documentsOf ? documentsOf(appId, gameFolder) : documentsDir;
    }

    bool stopping() const { return stop && stop->load() != 0; }
};

} // namespace vt
