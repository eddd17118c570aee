// A simulator that is none: sim_player driving its model into one sim's own transport, and the
// readers that the program would try.
#pragma once
#include "app/readers.h"
#include "platform/process_list.h"
#include "support/child_process.h"
#include "support/eventually.h"

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace vt::test {

struct SimUnderTest {
    SimKind kind;
    const char* command; // of sim_player
    std::vector<std::string> options;
};

/// A class race on a short lap where the sim has one, else a stage or the road.
inline const std::vector<SimUnderTest>& simsUnderTest() {
    const std::vector<std::string> race = {"--circuit", "oval", "--cars",      "20",
                                           "--classes", "2",    "--pit-every", "2",
                                           "--skip",    "50",   "--yellow",    "60,75"};
    static const std::vector<SimUnderTest> sims = {
        {kSimIRacing, "iracing", {}}, // needs a capture
        {kSimLmu, "lmu", race},
        {kSimAms2, "ams2", race},
        {kSimAcc, "acc", race},
        {kSimAcEvo, "acevo", race},
        {kSimAc, "ac", race},
        {kSimAcRally, "acrally", race},
        {kSimEts2, "ets2", {}},
        {kSimBeamNg, "beamng", {}},
        {kSimF1, "f1", race},
        {kSimDirtRally2, "dirtrally2", {}},
        {kSimEaWrc, "eawrc", {}},
        {kSimRFactor2, "rf2", race},
        {kSimRaceRoom, "raceroom", race},
    };
    return sims;
}

inline std::filesystem::path builtTool(const char* name) {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return self.parent_path().parent_path() / "tools" / name;
}

inline std::string iracingCapture() {
    return VT_SOURCE_DIR "/../shared/realdata/iracing/le_mans_race_38.irsdk";
}

/// False where what it plays is not on this machine.
inline bool canPlay(const SimUnderTest& sim) {
    return sim.kind != kSimIRacing || std::filesystem::exists(iracingCapture());
}

inline std::vector<std::string> playerWords(const SimUnderTest& sim,
                                            const std::vector<std::string>& more = {}) {
    std::vector<std::string> words = {builtTool("sim_player"), sim.command};
    if (sim.kind == kSimIRacing) words.insert(words.end(), {iracingCapture(), "--drive"});
    words.insert(words.end(), sim.options.begin(), sim.options.end());
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

/// The program's readers with a context of their own.
struct ReaderSet {
    Clock clock;
    ProcessScan scan;
    SteerWords steer;
    std::atomic<uint32_t> stop{0};
    IRacingWants wants;
    ReaderContext context{clock, scan, listProcessNames, steer, {0}, &stop, {}, {}};
    std::vector<std::unique_ptr<SimReader>> readers = makeReaders(context, wants);

    void rescan() {
        std::vector<std::string> names;
        if (listProcessNames(names)) applyProcessNames(scan, names);
    }
};

inline void pause(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace vt::test
