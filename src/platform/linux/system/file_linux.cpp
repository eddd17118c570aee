#include "platform/file.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vt {

namespace {

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<size_t>(n));
    }
    return true;
}

/// Writes a file that was opened by `flags`, whole and on the disk, or takes it away again.
bool writeWhole(const std::string& path, int flags, mode_t mode, std::string_view bytes) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | flags, mode);
    if (fd < 0) return false;
    struct stat info {};
    const bool written = writeAll(fd, bytes) && fchmod(fd, mode) == 0 && fsync(fd) == 0 &&
                         fstat(fd, &info) == 0 &&
                         static_cast<uint64_t>(info.st_size) == bytes.size();
    const bool closed = close(fd) == 0;
    if (written && closed) return true;
    unlink(path.c_str());
    return false;
}

/// The file behind links; the name itself while there is no file.
std::string linkTarget(const std::string& path) {
    char target[PATH_MAX];
    return realpath(path.c_str(), target) ? target : path;
}

bool writableByAnybody(const struct stat& info) {
    return (info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
}

} // namespace

bool readFile(const std::string& path, std::string& out, size_t limit) {
    out.clear();
    // Non-blocking: a pipe or a device under the name must not hang the program.
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return false;
    struct stat info {};
    bool good = fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
                static_cast<uint64_t>(info.st_size) <= limit;
    if (good) out.reserve(static_cast<size_t>(info.st_size));
    char block[65536];
    while (good) {
        const ssize_t n = read(fd, block, sizeof block);
        if (n < 0 && errno == EINTR) continue;
        if (n == 0) break;
        good = n > 0 && out.size() + static_cast<size_t>(n) <= limit;
        if (good) out.append(block, static_cast<size_t>(n));
    }
    close(fd);
    if (!good) out.clear();
    return good;
}

bool writeFileAtomic(const std::string& path, std::string_view bytes) {
    const std::string temporary = path + ".tmp";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    const bool written = writeAll(fd, bytes) && fsync(fd) == 0;
    const bool closed = close(fd) == 0;
    return written && closed && std::rename(temporary.c_str(), path.c_str()) == 0;
}

bool replaceFile(const std::string& path, const char* suffix, std::string_view bytes) {
    const std::string target = linkTarget(path), temporary = target + suffix;
    struct stat info {};
    mode_t mode = 0644;
    if (stat(target.c_str(), &info) == 0) {
        // A rename needs no right to write the file itself, but a user who locked it meant it.
        if (!S_ISREG(info.st_mode) || !writableByAnybody(info)) return false;
        if (access(target.c_str(), W_OK) != 0) return false;
        mode = info.st_mode & 07777;
    }
    if (!writeWhole(temporary, O_TRUNC, mode, bytes)) return false;
    if (std::rename(temporary.c_str(), target.c_str()) == 0) return true;
    unlink(temporary.c_str());
    return false;
}

bool copyFileNew(const std::string& from, const std::string& to) {
    std::string bytes;
    return readFile(from, bytes) && writeWhole(to, O_EXCL, 0644, bytes);
}

bool appendFile(const std::string& path, std::string_view text) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    const ssize_t n = write(fd, text.data(), text.size());
    return close(fd) == 0 && n == static_cast<ssize_t>(text.size());
}

bool makeFolders(const std::string& path) {
    if (path.empty()) return false;
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return false;
        if (end == path.npos) break;
    }
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool fileExists(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool folderExists(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool pathExists(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0;
}

bool removeFile(const std::string& path) {
    return unlink(path.c_str()) == 0;
}

std::vector<FolderEntry> listFolder(const std::string& path) {
    std::vector<FolderEntry> entries;
    DIR* folder = opendir(path.c_str());
    if (!folder) return entries;
    while (const dirent* found = readdir(folder)) {
        const std::string name = found->d_name;
        if (name == "." || name == "..") continue;
        struct stat info {};
        if (fstatat(dirfd(folder), found->d_name, &info, 0) != 0) continue;
        entries.push_back({name, S_ISDIR(info.st_mode), static_cast<uint64_t>(info.st_size),
                           info.st_mtim.tv_sec * 1'000'000'000 + info.st_mtim.tv_nsec});
    }
    closedir(folder);
    std::sort(entries.begin(), entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
    return entries;
}

} // namespace vt
