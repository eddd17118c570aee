// `--import` and `--scan`: the import without any window, for folders of recordings.
#pragma once
#include <string>
#include <vector>

namespace vt {

struct ImportCommand {
    std::string importPath, scanFolder; // at most one is not empty
    std::string out;                    // folder of the log, and of an import's store; "" = none
    bool replacePreFix = false, gpsOnly = false;
    int jobs = 1;
    std::vector<int> redoTracks;
};

/// True when `words` ask for an import or a scan. Switches without regard to case; one that needs a
/// value and stands last is ignored.
bool parseImportCommand(const std::vector<std::string>& words, ImportCommand& out);

/// Runs it; the exit code: 1 when a file failed. `base` is the program's data folder, `dataDir` the
/// shipped one.
int runImportCommand(const ImportCommand& command, const std::string& base,
                     const std::string& dataDir);

} // namespace vt
