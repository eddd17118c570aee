#include "app/command_line.h"

#include "base/utf8.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vt {

namespace {

void setTag(CommandLine& line, const std::string& word) {
    line.tag = word.substr(0, utf8CutLength(word, 63));
}

void setTimes(CommandLine& line, const std::string& word) {
    line.at.clear();
    for (size_t start = 0; start <= word.size();) {
        const size_t end = std::min(word.find(',', start), word.size());
        double seconds = -1;
        std::from_chars(word.data() + start, word.data() + end, seconds);
        if (std::isfinite(seconds) && seconds >= 0 && seconds <= 86400) line.at.push_back(seconds);
        start = end + 1;
    }
    std::sort(line.at.begin(), line.at.end());
}

void setPlatform(CommandLine& line, const std::string& word) {
    if (equalsNoCase(word, "x11")) line.platform = PlatformKind::x11;
    if (equalsNoCase(word, "headless")) line.platform = PlatformKind::headless;
}

void setOpenXrLayer(CommandLine& line, const std::string& word) {
    constexpr const char* words[] = {"off", "on", "steamvr-test"};
    for (int i = 0; i < 3; ++i)
        if (equalsNoCase(word, words[i])) line.openXrLayer = i;
}

struct Switch {
    const char* name;
    const char* argument; // null: takes none
    const char* help;
    void (*apply)(CommandLine& line, const std::string& argument); // null: parseImportCommand's
};

constexpr Switch kSwitches[] = {
    {"--demo", nullptr,
     "show the demo race from the start; on a fresh profile with a first set of overlays laid out",
     [](CommandLine& line, const std::string&) { line.demo = true; }},
    {"--platform", "x11|headless", "which screen to use; without it the desktop, or none",
     setPlatform},
    {"--shoot", "FOLDER", "write pictures of every overlay into FOLDER and end",
     [](CommandLine& line, const std::string& word) { line.shootFolder = word; }},
    {"--at", "S,S,...", "with --shoot: run the demo race and take the pictures at these seconds",
     setTimes},
    {"--tag", "WORD", "with --shoot: how the files' names begin (default: shot)", setTag},
    {"--openxr-layer", "off|on|steamvr-test", "store how VR headsets without SteamVR are served",
     setOpenXrLayer},
    {"--import", "PATH",
     "store the laps of a telemetry file (.ibt), or of a folder of them, and end", nullptr},
    {"--scan", "FOLDER", "write what a folder of telemetry files holds to ibt_scan.log and end",
     nullptr},
    {"--out", "FOLDER", "with --import, --scan: the log's folder; of an import its data folder too",
     nullptr},
    {"--jobs", "N", "with --import: threads, at most 16 (default: 1)", nullptr},
    {"--replace-prefix", nullptr, "with --import: mend or replace sessions with faulty lap times",
     nullptr},
    {"--gps-only", nullptr, "with --import: only give stored sessions their positions", nullptr},
    {"--redo-track", "ID,ID,...", "with --import: replace the stored sessions of these tracks",
     nullptr},
    {"--help", nullptr, "print this and end",
     [](CommandLine& line, const std::string&) { line.help = true; }},
};

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& words) {
    CommandLine line;
    for (size_t i = 0; i < words.size(); ++i) {
        for (const Switch& known : kSwitches) {
            if (!equalsNoCase(words[i], known.name)) continue;
            const bool takesNext = known.argument && i + 1 < words.size();
            if (takesNext) ++i;
            if (known.apply && (takesNext || !known.argument))
                known.apply(line, takesNext ? foreignToUtf8(words[i]) : std::string());
            break;
        }
    }
    return line;
}

std::string commandLineHelp() {
    std::string text = "vantorel-overlays: telemetry overlays for sim racing\n\n";
    for (const Switch& known : kSwitches) {
        std::string left = std::string("  ") + known.name;
        if (known.argument) left += std::string(" ") + known.argument;
        left.resize(std::max<size_t>(left.size() + 2, 38), ' ');
        text += left + known.help + "\n";
    }
    return text +
           "\nExit codes: 0 done, or another one already runs and was asked to show itself; "
           "1 the wanted screen\ncannot be had, pictures could not be written, or a telemetry "
           "file could not be imported.\n";
}

} // namespace vt
