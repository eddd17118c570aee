#include "telemetry/setup/seen_file.h"

#include "base/utf8.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "telemetry/setup/file_edit.h"

#include <algorithm>
#include <vector>

namespace vt {

namespace {

constexpr const char* kFileName = "overlay_onboard.ini";
constexpr const char* kSection = "seen";
constexpr const char* kKeys[kSetupSimCount] = {"f1", "dr2", "eawrc", "beamng"};

const char* keyOf(SetupSim sim) {
    return kKeys[static_cast<int>(sim)];
}

std::string_view trimmed(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const size_t start = text.find_first_not_of(kBlanks);
    if (start == text.npos) return {};
    return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

/// Without line ends. `\r` goes too: the file may have been written by another system's editor.
std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\n', start), text.size());
        lines.emplace_back(text, start, end - start);
        if (!lines.back().empty() && lines.back().back() == '\r') lines.back().pop_back();
        start = end + 1;
    }
    return lines;
}

/// Where the section and the key stand.
struct IniPlace {
    size_t key = std::string::npos; // the key's line
    size_t end = std::string::npos; // the line behind the section's last one with text
};

IniPlace findKey(const std::vector<std::string>& lines, std::string_view key) {
    IniPlace place;
    bool inside = false, found = false;
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = trimmed(lines[i]);
        if (!line.empty() && line.front() == '[') {
            inside = !found && line.back() == ']' &&
                     equalsNoCase(trimmed(line.substr(1, line.size() - 2)), kSection);
            found = found || inside;
        }
        if (!inside || line.empty()) continue;
        place.end = i + 1;
        const size_t equals = line.find('=');
        if (place.key == std::string::npos && line.front() != ';' && equals != line.npos &&
            equalsNoCase(trimmed(line.substr(0, equals)), key))
            place.key = i;
    }
    return place;
}

std::vector<std::string> readLines(const std::string& appDataDir) {
    std::string text;
    readFile(joinPath(appDataDir, kFileName), text, kGameFileLimit);
    return linesOf(text);
}

} // namespace

std::string seenGet(const std::string& appDataDir, SetupSim sim) {
    const std::vector<std::string> lines = readLines(appDataDir);
    const size_t at = findKey(lines, keyOf(sim)).key;
    if (at == std::string::npos) return {};
    return std::string(trimmed(std::string_view(lines[at]).substr(lines[at].find('=') + 1)));
}

bool seenSet(const std::string& appDataDir, SetupSim sim, std::string_view text) {
    if (!makeFolders(appDataDir)) return false;
    std::string value(text.substr(0, text.find_first_of("\r\n")));
    std::vector<std::string> lines = readLines(appDataDir);
    const IniPlace place = findKey(lines, keyOf(sim));
    const std::string line = std::string(keyOf(sim)) + "=" + std::string(trimmed(value));
    if (place.key != std::string::npos) {
        lines[place.key] = line;
    } else if (place.end != std::string::npos) {
        lines.insert(lines.begin() + static_cast<ptrdiff_t>(place.end), line);
    } else {
        lines.push_back(std::string("[") + kSection + "]");
        lines.push_back(line);
    }
    std::string file;
    for (const std::string& each : lines)
        file += each + "\n";
    return writeFileAtomic(joinPath(appDataDir, kFileName), file);
}

} // namespace vt
