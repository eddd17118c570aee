#include "platform/process_list.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace vt {

namespace {

// The first word of the command line, not `comm`: the kernel cuts `comm` at 15 bytes, and a Windows
// program under a compatibility layer puts its own path, with backslashes, into the command line.
std::string processName(const char* pid) {
    char path[300], word[1024];
    std::snprintf(path, sizeof path, "/proc/%s/cmdline", pid);
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return {};
    const ssize_t n = read(fd, word, sizeof word - 1);
    close(fd);
    if (n <= 0) return {};
    word[n] = '\0';
    const std::string first(word);
    const size_t slash = first.find_last_of("/\\");
    return slash == first.npos ? first : first.substr(slash + 1);
}

} // namespace

bool listProcessNames(std::vector<std::string>& names) {
    names.clear();
    DIR* folder = opendir("/proc");
    if (!folder) return false;
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9') continue;
        std::string name = processName(entry->d_name);
        if (!name.empty()) names.push_back(std::move(name));
    }
    closedir(folder);
    return true;
}

} // namespace vt
