// The store's record files, read and written by entry. A commit changes one entry of up to a
// hundred; the others keep their bytes and are not parsed again. What is known of each entry is
// remembered by the file's size and time, so that looking through all files costs one `stat` each.
// Not guarded: under the store's lock.
#pragma once
#include "perf/perf_store.h"
#include "platform/file.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vt {

struct RecordEntry {
    size_t begin = 0, length = 0; // of its text in the file
    bool isObject = false;
    bool hasVersion = false;
    SessionHead head;
    std::string carName, trackName;
};
using RecordEntries = std::vector<RecordEntry>;

enum class RecordState {
    missing,
    blocked, // it is there, and cannot be read now
    corrupt, // it is no JSON array
    good,
};

/// False unless `text` is one JSON array, no deeper than a record needs.
bool scanRecords(std::string_view text, RecordEntries& entries);

struct RecordFile {
    std::string path, text;
    RecordEntries entries;

    std::string_view entryText(size_t index) const {
        return std::string_view(text).substr(entries[index].begin, entries[index].length);
    }
};

class RecordFiles {
public:
    RecordState read(const std::string& path, RecordFile& out);

    /// Only the entries; valid until the next call. `listed` as `listFolder` gave it spares a look
    /// when the file is known.
    RecordState entries(const std::string& path, const FolderEntry* listed,
                        const RecordEntries*& out);

    /// The file with `entries` of it (by index) and, when not empty, one more object at the end.
    /// Nothing at all deletes it. The old file stays when it fails.
    bool rewrite(const RecordFile& file, const std::vector<size_t>& keep, std::string_view added);

    /// The file with one entry's text replaced.
    bool replace(const RecordFile& file, size_t index, std::string_view text);

private:
    struct Known {
        uint64_t size = 0;
        int64_t modifiedNs = 0;
        RecordState state = RecordState::missing;
        RecordEntries entries;
    };
    bool write(const std::string& path, const std::string& text);

    std::unordered_map<std::string, Known> known_;
};

} // namespace vt
