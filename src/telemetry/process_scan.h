// Which simulators run, told from the names in the process list. Any thread may scan and read.
#pragma once
#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace vt {

/// Results of the last scan: written by whichever thread scanned, read by any.
struct ProcessScan {
    std::atomic<uint32_t> siblingRunning{0};
    std::atomic<uint32_t> f1Running{0};
    std::atomic<uint32_t> acEvoRunning{0};
    std::atomic<uint32_t> dirtRally2Running{0};
    std::atomic<uint32_t> wrcRunning{0};
    std::atomic<uint32_t> beamNgRunning{0};
    /// `SimKind` of the one Assetto Corsa family program that runs; -1 for none or for two kinds.
    std::atomic<int32_t> acFamilyKind{-1};

    std::atomic<uint32_t> scanning{0};   // the guard: one scan at a time
    std::atomic<uint64_t> lastScanMs{0}; // 0 = never
    std::vector<std::string> names;      // of whoever holds the guard; kept for its memory
};

/// Gives the names of the running programs; false when no list can be had.
using ProcessLister = bool (*)(std::vector<std::string>& names);

/// Scans unless the last scan is less than 3000 ms old or another thread is scanning. `nowMs` is a
/// monotonic clock.
void processScan(ProcessScan& scan, uint64_t nowMs, ProcessLister lister);

/// Sets the results from a list of names; the test behind `processScan`.
void applyProcessNames(ProcessScan& scan, const std::vector<std::string>& names);

} // namespace vt
