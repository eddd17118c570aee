// Games for another system run in a folder of their own that looks to them like that system's disk.
#include "base/utf8.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace vt {

namespace {

constexpr size_t kLibraryListLimit = 1u << 20;
constexpr size_t kRegistryLimit = 64u << 20;
// The shop's program, below the home folder: as a package of the distribution, as it installs
// itself, and in the two kinds of sandbox.
constexpr const char* kShopFolders[] = {
    ".steam/steam",
    ".local/share/Steam",
    ".var/app/com.valvesoftware.Steam/.local/share/Steam",
    "snap/steam/common/.local/share/Steam",
};

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    const passwd* user = getpwuid(getuid());
    return user ? user->pw_dir : "";
}

/// Folders that exist, each once, however many links lead to it.
void addFolder(std::vector<std::string>& folders, const std::string& path) {
    char real[PATH_MAX];
    if (!folderExists(path) || !realpath(path.c_str(), real)) return;
    if (std::find(folders.begin(), folders.end(), real) == folders.end()) folders.push_back(real);
}

/// Reads a text in double quotes, with backslashes before what they take the meaning of. `pos` is
/// at the opening quote and ends behind the closing one; false without one.
bool quotedText(std::string_view text, size_t& pos, std::string& out) {
    out.clear();
    for (++pos; pos < text.size(); ++pos) {
        if (text[pos] == '"') return ++pos, true;
        if (text[pos] == '\\' && pos + 1 < text.size()) ++pos;
        out += text[pos];
    }
    return false;
}

/// The libraries that the shop's list names: "path" "/mnt/games", or "1" "/mnt/games" in old lists.
void addListedLibraries(std::vector<std::string>& libraries, const std::string& list) {
    std::string text, token, before;
    if (!readFile(list, text, kLibraryListLimit)) return;
    size_t pos = text.find('"');
    while (pos != text.npos && quotedText(text, pos, token)) {
        const bool number =
            !before.empty() && before.find_first_not_of("0123456789") == before.npos;
        if ((before == "path" || number) && !token.empty() && token[0] == '/')
            addFolder(libraries, token);
        before = token;
        pos = text.find('"', pos);
    }
}

/// The folders that stand for the disk of that game.
std::vector<std::string> gameDisks(uint32_t appId) {
    std::vector<std::string> libraries, disks;
    const std::string home = homeFolder();
    for (const char* shop : kShopFolders)
        if (!home.empty()) addFolder(libraries, joinPath(home, shop));
    const std::vector<std::string> own = libraries;
    for (const std::string& library : own)
        addListedLibraries(libraries, library + "/steamapps/libraryfolders.vdf");
    for (const std::string& library : libraries)
        addFolder(disks, library + "/steamapps/compatdata/" + std::to_string(appId) + "/pfx");
    return disks;
}

constexpr const char* kGameUser = "/drive_c/users/steamuser/";

/// "[Software\\Maker\\Game] 1712345678": the key's backslashes are doubled, the number is a time.
bool isSection(std::string_view line, std::string_view key) {
    if (line.empty() || line[0] != '[') return false;
    std::string name;
    for (size_t i = 1; i < line.size() && line[i] != ']'; ++i) {
        if (line[i] == '\\' && i + 1 < line.size()) ++i;
        name += line[i];
    }
    return equalsNoCase(name, key);
}

std::string registryText(std::string_view file, std::string_view key, std::string_view name) {
    bool inside = false;
    std::string token, value;
    for (size_t start = 0; start < file.size();) {
        const size_t end = std::min(file.find('\n', start), file.size());
        const std::string_view line = file.substr(start, end - start);
        start = end + 1;
        if (!line.empty() && line[0] == '[') inside = isSection(line, key);
        size_t pos = 0;
        if (!inside || line.empty() || line[0] != '"' || !quotedText(line, pos, token)) continue;
        if (!equalsNoCase(token, name) || line.substr(pos, 2) != "=\"") continue;
        if (quotedText(line, ++pos, value)) return value;
    }
    return {};
}

} // namespace

std::vector<std::string> gameDocumentsFolders(uint32_t appId) {
    std::vector<std::string> folders;
    if (const std::string own = documentsFolder(); !own.empty()) folders.push_back(own);
    for (const std::string& disk : gameDisks(appId))
        addFolder(folders, disk + kGameUser + "Documents");
    return folders;
}

std::vector<std::string> gameLocalDataFolders(uint32_t appId) {
    std::vector<std::string> folders;
    if (const char* set = std::getenv("LOCALAPPDATA"); set && *set) folders.push_back(set);
    for (const std::string& disk : gameDisks(appId))
        addFolder(folders, disk + kGameUser + "AppData/Local");
    return folders;
}

std::string gameRegistryText(uint32_t appId, const std::string& key, const std::string& name) {
    for (const std::string& disk : gameDisks(appId)) {
        std::string file;
        if (!readFile(disk + "/user.reg", file, kRegistryLimit)) continue;
        const std::string text = registryText(file, key, name);
        if (!text.empty()) return text;
    }
    return {};
}

} // namespace vt
