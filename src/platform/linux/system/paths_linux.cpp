#include "platform/file.h"
#include "platform/paths.h"

#include <climits>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace vt {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string homeFolder() {
    std::string home = environment("HOME");
    if (home.empty())
        if (const passwd* user = getpwuid(getuid())) home = user->pw_dir;
    return home;
}

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

} // namespace

std::string joinPath(const std::string& folder, const std::string& name) {
    if (folder.empty()) return {};
    return folder.back() == '/' ? folder + name : folder + "/" + name;
}

std::string roamingFolder() {
    if (const std::string set = environment("APPDATA"); !set.empty()) return withoutSlash(set);
    if (const std::string set = environment("XDG_CONFIG_HOME"); !set.empty())
        return withoutSlash(set);
    const std::string home = homeFolder();
    return home.empty() ? std::string() : joinPath(home, ".config");
}

std::string appDataFolder() {
    return joinPath(roamingFolder(), "Vantorel");
}

std::string documentsFolder() {
    if (const std::string set = environment("XDG_DOCUMENTS_DIR"); !set.empty())
        return withoutSlash(set);
    return joinPath(homeFolder(), "Documents");
}

std::string programFolder() {
    char path[PATH_MAX];
    const ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0) return {};
    const std::string file(path, static_cast<size_t>(n));
    return file.substr(0, file.rfind('/'));
}

std::string shippedFolder(const std::string& name) {
    std::string folder = programFolder();
    for (int level = 0; level < 6 && !folder.empty(); ++level) {
        const std::string candidate = joinPath(folder, name);
        if (!listFolder(candidate).empty()) return candidate;
        folder = folder.substr(0, folder.rfind('/'));
    }
    return {};
}

} // namespace vt
