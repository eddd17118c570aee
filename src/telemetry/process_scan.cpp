#include "telemetry/process_scan.h"

#include "base/utf8.h"
#include "telemetry/sim_registry.h"

#include <algorithm>

namespace vt {

namespace {

constexpr uint64_t kScanIntervalMs = 3000;

struct ProgramTest {
    const char* name;
    bool prefix; // `name` is only the beginning
    std::atomic<uint32_t> ProcessScan::*result;
};

constexpr ProgramTest kPrograms[] = {
    {"Vantorel.exe", false, &ProcessScan::siblingRunning},
    {"telemetry_test.exe", false, &ProcessScan::siblingRunning},
    {"F1_2", true, &ProcessScan::f1Running},
    {"AssettoCorsaEVO", true, &ProcessScan::acEvoRunning},
    {"dirtrally2.exe", false, &ProcessScan::dirtRally2Running},
    {"wrc.exe", false, &ProcessScan::wrcRunning},
    {"BeamNG.drive.x64.exe", false, &ProcessScan::beamNgRunning},
    {"BeamNG.drive.exe", false, &ProcessScan::beamNgRunning},
};

struct FamilyProgram {
    const char* name;
    int32_t kind;
};

constexpr FamilyProgram kAcFamily[] = {
    {"AC2-Win64-Shipping.exe", kSimAcc},
    {"acs.exe", kSimAc},
    {"acs_x86.exe", kSimAc},
    {"acr.exe", kSimAcRally},
};

bool anyMatches(const std::vector<std::string>& names, const ProgramTest& test) {
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
        return test.prefix ? startsWithNoCase(name, test.name) : equalsNoCase(name, test.name);
    });
}

int32_t familyKind(const std::vector<std::string>& names) {
    int32_t kind = kSimNone;
    for (const FamilyProgram& program : kAcFamily) {
        const bool runs = std::any_of(names.begin(), names.end(), [&](const std::string& name) {
            return equalsNoCase(name, program.name);
        });
        if (!runs) continue;
        if (kind != kSimNone && kind != program.kind) return kSimNone;
        kind = program.kind;
    }
    return kind;
}

} // namespace

void applyProcessNames(ProcessScan& scan, const std::vector<std::string>& names) {
    // Two rows of the table may share a result, so a row that finds nothing must not lower what an
    // earlier one raised, and no reader may see the word dip to 0 in between.
    for (const ProgramTest& test : kPrograms) {
        bool runs = false;
        for (const ProgramTest& other : kPrograms)
            runs = runs || (other.result == test.result && anyMatches(names, other));
        (scan.*test.result).store(runs ? 1 : 0, std::memory_order_relaxed);
    }
    scan.acFamilyKind.store(familyKind(names), std::memory_order_relaxed);
}

void processScan(ProcessScan& scan, uint64_t nowMs, ProcessLister lister) {
    const auto fresh = [&] {
        const uint64_t last = scan.lastScanMs.load();
        return last != 0 && nowMs < last + kScanIntervalMs;
    };
    if (fresh() || scan.scanning.exchange(1) != 0) return;
    if (!fresh()) { // another thread may have finished its scan since
        if (lister && lister(scan.names)) applyProcessNames(scan, scan.names);
        scan.lastScanMs.store(std::max<uint64_t>(nowMs, 1));
    }
    scan.scanning.store(0);
}

} // namespace vt
