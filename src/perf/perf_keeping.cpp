// The store keeps house: what goes, and how much is left.
#include "base/log.h"
#include "perf/perf_store_inside.h"
#include "platform/paths.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <map>
#include <unordered_set>

namespace vt {

namespace {

constexpr int kVerifiedLapTimes = 8; // record version from which LMU's lap times are the sim's own

std::string noticePath(const std::string& base) {
    return joinPath(perfRoot(base), "laptime_notice.pending");
}
std::string repairMarkerPath(const std::string& base) {
    return joinPath(perfRoot(base), "laptime_repair_v1.done");
}

/// Texts of record files that were put aside: the traces that they name stay with them.
std::vector<std::string> textsAside(const std::string& simDir) {
    std::vector<std::string> texts;
    for (const FolderEntry& entry : listFolder(simDir)) {
        if (entry.isFolder || entry.name.find(".json.corrupt") == std::string::npos) continue;
        std::string text;
        if (readFile(joinPath(simDir, entry.name), text, 1u << 30))
            texts.push_back(std::move(text));
    }
    return texts;
}

/// Entries that stay when each track keeps its `limit` newest.
std::vector<size_t> newestOfEach(const RecordEntries& entries, int limit) {
    std::map<int32_t, std::vector<size_t>> tracks;
    for (size_t i = 0; i < entries.size(); ++i)
        if (entries[i].isObject) tracks[entries[i].head.trackId].push_back(i);
    std::unordered_set<size_t> gone;
    for (auto& [track, list] : tracks) {
        // Of two with one date the one that was appended later is the newer.
        std::sort(list.begin(), list.end(), [&](size_t a, size_t b) {
            const int order = entries[a].head.date.compare(entries[b].head.date);
            return order != 0 ? order > 0 : a > b;
        });
        for (size_t i = static_cast<size_t>(limit); i < list.size(); ++i)
            gone.insert(list[i]);
    }
    std::vector<size_t> keep;
    for (size_t i = 0; i < entries.size(); ++i)
        if (!gone.count(i)) keep.push_back(i);
    return keep;
}

} // namespace

std::vector<FolderEntry> recordFilesOf(const std::string& base, int32_t simKind) {
    const std::string folder = perfSimDir(base, simKind);
    std::vector<FolderEntry> files = listFolder(folder);
    std::erase_if(files, [](const FolderEntry& entry) {
        return entry.isFolder || !std::string_view(entry.name).ends_with(".json");
    });
    for (FolderEntry& file : files)
        file.name = joinPath(folder, file.name);
    return files;
}

void deleteSidecar(const std::string& base, int32_t simKind, std::string_view traceFile) {
    if (traceNameIsSafe(traceFile))
        removeFile(joinPath(perfTraceDir(base, simKind), std::string(traceFile)));
}

void deleteSidecars(const std::string& base, int32_t simKind, const RecordEntries& entries,
                    const std::vector<size_t>& keep) {
    std::unordered_set<std::string_view> kept;
    for (const size_t index : keep)
        kept.insert(entries[index].head.traceFile);
    for (const RecordEntry& entry : entries)
        if (!kept.count(entry.head.traceFile)) deleteSidecar(base, simKind, entry.head.traceFile);
}

int PerfStore::sweepOrphans(int32_t simKind) {
    const Hold hold(*this);
    const std::string folder = perfTraceDir(base_, simKind);
    std::vector<FolderEntry> traces = listFolder(folder);
    std::erase_if(traces, [](const FolderEntry& entry) { return entry.isFolder; });
    if (traces.empty()) return 0;
    std::vector<std::string> named; // sorted: 20,000 names are looked up after every commit
    for (const FolderEntry& file : recordFilesOf(base_, simKind)) {
        const RecordEntries* entries = nullptr;
        if (inside_->files.entries(file.name, &file, entries) != RecordState::good) return 0;
        for (const RecordEntry& entry : *entries)
            named.push_back(entry.head.traceFile);
    }
    std::sort(named.begin(), named.end());
    std::erase_if(traces, [&](const FolderEntry& entry) {
        return std::binary_search(named.begin(), named.end(), entry.name);
    });
    if (traces.empty()) return 0;
    int removed = 0;
    const std::vector<std::string> aside = textsAside(perfSimDir(base_, simKind));
    for (const FolderEntry& trace : traces) {
        const bool wanted = std::any_of(aside.begin(), aside.end(), [&](const std::string& text) {
            return text.find(trace.name) != std::string::npos;
        });
        if (!wanted && removeFile(joinPath(folder, trace.name))) ++removed;
    }
    return removed;
}

int64_t PerfStore::cullHistory(int limit) {
    if (limit <= 0) return 0;
    const Hold hold(*this);
    const uint64_t before = storeSizeBytes();
    for (int32_t sim = 0; sim < kSimCount; ++sim) {
        for (const FolderEntry& found : recordFilesOf(base_, sim)) {
            const RecordEntries* entries = nullptr;
            if (inside_->files.entries(found.name, &found, entries) != RecordState::good) continue;
            const std::vector<size_t> keep = newestOfEach(*entries, limit);
            if (keep.size() == entries->size()) continue;
            RecordFile file;
            if (inside_->files.read(found.name, file) == RecordState::good &&
                inside_->files.rewrite(file, keep, {}))
                deleteSidecars(base_, sim, file.entries, keep);
        }
        sweepOrphans(sim);
    }
    return static_cast<int64_t>(before) - static_cast<int64_t>(storeSizeBytes());
}

PurgeOutcome PerfStore::purgeUnverified() {
    const Hold hold(*this);
    PurgeOutcome outcome;
    for (const FolderEntry& found : recordFilesOf(base_, kSimLmu)) {
        RecordFile file;
        const RecordEntries* entries = nullptr;
        if (inside_->files.entries(found.name, &found, entries) != RecordState::good) continue;
        std::vector<size_t> keep;
        for (size_t i = 0; i < entries->size(); ++i)
            if ((*entries)[i].hasVersion && (*entries)[i].head.version >= kVerifiedLapTimes)
                keep.push_back(i);
        if (keep.size() == entries->size()) continue;
        if (inside_->files.read(found.name, file) != RecordState::good ||
            !inside_->files.rewrite(file, keep, {}))
            continue;
        deleteSidecars(base_, kSimLmu, file.entries, keep);
        outcome.removed += static_cast<int>(file.entries.size() - keep.size());
    }
    if (outcome.removed == 0) return outcome;
    sweepOrphans(kSimLmu);
    writeFileAtomic(noticePath(base_), std::to_string(outcome.removed));
    logStatus("VT Perf store: removed %d unverified-lap-time session record(s)\n", outcome.removed);
    return outcome;
}

void PerfStore::warm(const std::function<bool()>& stop) {
    for (int32_t sim = 0; sim < kSimCount; ++sim) {
        for (const FolderEntry& found : recordFilesOf(base_, sim)) {
            if (stop && stop()) return;
            const Hold hold(*this);
            const RecordEntries* entries = nullptr;
            inside_->files.entries(found.name, &found, entries);
        }
    }
}

uint64_t PerfStore::storeSizeBytes() {
    const Hold hold(*this);
    uint64_t bytes = 0;
    for (int32_t sim = 0; sim < kSimCount; ++sim)
        for (const std::string& folder : {perfSimDir(base_, sim), perfTraceDir(base_, sim)})
            for (const FolderEntry& entry : listFolder(folder))
                if (!entry.isFolder) bytes += entry.size;
    return bytes;
}

bool PerfStore::lapTimeNotice(std::string& countText) {
    const Hold hold(*this);
    return readFile(noticePath(base_), countText, 64);
}

void PerfStore::clearLapTimeNotice() {
    const Hold hold(*this);
    removeFile(noticePath(base_));
}

bool PerfStore::repairPending() {
    const Hold hold(*this);
    return !pathExists(repairMarkerPath(base_));
}

bool PerfStore::markRepairDone(int changedLaps, int changedRecords) {
    makeFolders(perfRoot(base_));
    const Hold hold(*this);
    if (!repairPending()) return true;
    logStatus("VT Perf store: lap-time repair changed %d lap(s) in %d session record(s)\n",
              changedLaps, changedRecords);
    return writeFileAtomic(repairMarkerPath(base_), std::to_string(changedRecords));
}

} // namespace vt
