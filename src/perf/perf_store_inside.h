// What the store's source files share.
#pragma once
#include "perf/perf_paths.h"
#include "perf/perf_store.h"
#include "perf/record_files.h"
#include "platform/file_lock.h"

#include <mutex>

namespace vt {

struct PerfStore::Inside {
    std::recursive_mutex mutex;
    int depth = 0;     // calls of the holding thread
    FileLock fileLock; // between programs; not where the folder cannot be written
    RecordFiles files;
};

/// Index of the entry with that date, or -1.
int findSession(const RecordFile& file, std::string_view date);

/// Record files of one simulator, with their full path in `name`.
std::vector<FolderEntry> recordFilesOf(const std::string& base, int32_t simKind);

/// The file behind a record's `traceFile`, unless that name leads elsewhere.
void deleteSidecar(const std::string& base, int32_t simKind, std::string_view traceFile);

/// Sidecars of entries that are gone, unless one that is kept has the same.
void deleteSidecars(const std::string& base, int32_t simKind, const RecordEntries& entries,
                    const std::vector<size_t>& keep);

} // namespace vt
