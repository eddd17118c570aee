#include "platform/process_list.h"

#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace vt {

namespace {

// The first word of the command line, not `comm`: the kernel cuts `comm` at 15 bytes, and a Windows
// program under a compatibility layer puts its own path, with backslashes, into the command line.
std::string_view processName(const char* pid, char (&word)[1024]) {
    char path[300];
    std::snprintf(path, sizeof path, "/proc/%s/cmdline", pid);
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return {};
    const ssize_t n = read(fd, word, sizeof word - 1);
    close(fd);
    if (n <= 0) return {};
    word[n] = '\0';
    const std::string_view first(word);
    const size_t slash = first.find_last_of("/\\");
    return slash == first.npos ? first : first.substr(slash + 1);
}

} // namespace

// The list is read every few seconds while a sim runs: the texts of the last one are used again.
bool listProcessNames(std::vector<std::string>& names) {
    DIR* folder = opendir("/proc");
    if (!folder) {
        names.clear();
        return false;
    }
    size_t count = 0;
    char word[1024];
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9') continue;
        const std::string_view name = processName(entry->d_name, word);
        if (name.empty()) continue;
        if (count == names.size()) names.emplace_back();
        names[count++].assign(name);
    }
    names.resize(count);
    closedir(folder);
    return true;
}

} // namespace vt
