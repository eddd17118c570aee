// The command line. Switches are compared without regard to case; unknown words, and a switch
// without its argument, are ignored.
#pragma once
#include "platform/main_loop.h"

#include <string>
#include <vector>

namespace vt {

struct CommandLine {
    bool help = false;
    bool demo = false;
    PlatformKind platform = PlatformKind::automatic;
    std::string shootFolder;  // empty: no screenshot run
    std::string tag = "shot"; // at most 63 bytes
    std::vector<double> at;   // seconds of demo time, ascending
    int openXrLayer = -1;     // what --openxr-layer asks for, -1 = nothing
};

/// `words` without the program's name. Words that are not UTF-8 are taken as Windows-1252.
CommandLine parseCommandLine(const std::vector<std::string>& words);

/// What `--help` prints.
std::string commandLineHelp();

} // namespace vt
