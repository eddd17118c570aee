// Files, read and written whole. Any thread, as long as two do not write one file.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vt {

/// Reads a regular file of at most `limit` bytes. False, and `out` empty, when it is missing,
/// longer, not a regular file or cannot be read.
bool readFile(const std::string& path, std::string& out, size_t limit = 64u << 20);

/// Writes `<path>.tmp`, flushes it to the disk and renames it over `path`: the old file or the new
/// one, whole, whatever happens. False leaves the old one.
bool writeFileAtomic(const std::string& path, std::string_view bytes);

/// For files that other programs own: writes `<path><suffix>` beside the file that `path` leads to
/// (links are followed), counts what arrived, flushes it and renames it over that file, whose
/// permissions stay. A file that nobody may write stays as it is, even for an administrator. False
/// leaves the old file, and no new one beside it.
bool replaceFile(const std::string& path, const char* suffix, std::string_view bytes);

/// False when `to` exists already, which then stays as it was, or when the copy is not whole.
bool copyFileNew(const std::string& from, const std::string& to);

/// One write of `text` at the end of the file, which is made when missing; lines of several threads
/// and programs do not mix.
bool appendFile(const std::string& path, std::string_view text);

/// With all parents. True when it exists afterwards.
bool makeFolders(const std::string& path);

bool fileExists(const std::string& path);
bool folderExists(const std::string& path);
/// Anything at all: a file, a folder, a device.
bool pathExists(const std::string& path);
bool removeFile(const std::string& path);

struct FolderEntry {
    std::string name;
    bool isFolder = false;
    uint64_t size = 0;
    int64_t modifiedNs = 0; // last change, nanoseconds since 1970
};

/// Sorted by name, without "." and "..". Empty when the folder cannot be read.
std::vector<FolderEntry> listFolder(const std::string& path);

} // namespace vt
