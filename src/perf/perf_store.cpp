#include "perf/perf_store.h"

#include "base/log.h"
#include "base/utf8.h"
#include "perf/perf_store_inside.h"
#include "perf/session_json.h"
#include "perf/trace_codec.h"
#include "platform/paths.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <exception>
#include <numeric>

namespace vt {

namespace {

constexpr uint64_t kLargeStore = 524'288'000;

/// Exceptions of the JSON library and of a machine out of memory end here, as a call that failed.
template <class Result, class Work>
Result guarded(Work work) {
    try {
        return work();
    } catch (const std::exception& error) {
        logStatus("VT Perf store: %s\n", error.what());
        return {};
    }
}

bool hasDate(const RecordFile& file, std::string_view date) {
    return findSession(file, date) >= 0;
}

/// A date names one session of a file; a second session of the same second is a second later.
void makeDateUnique(const RecordFile& file, SessionRecord& record) {
    int64_t seconds = 0;
    if (!parseRecordDate(record.date, seconds)) return;
    while (hasDate(file, record.date))
        copyText(record.date, recordDate(++seconds));
}

/// Which entries stay when one with `trackId` and `date` is added, and whether that one does.
std::vector<size_t> withinLimit(const RecordFile& file, int32_t trackId, std::string_view date,
                                int limit, bool& addedStays) {
    std::vector<size_t> keep(file.entries.size());
    std::iota(keep.begin(), keep.end(), size_t{0});
    addedStays = true;
    if (limit <= 0) return keep;
    std::vector<size_t> ofTrack;
    for (const size_t index : keep)
        if (file.entries[index].isObject && file.entries[index].head.trackId == trackId)
            ofTrack.push_back(index);
    if (ofTrack.size() < static_cast<size_t>(limit)) return keep;
    std::stable_sort(ofTrack.begin(), ofTrack.end(), [&](size_t a, size_t b) {
        return file.entries[a].head.date < file.entries[b].head.date;
    });
    // An imported session may be older than all that are there.
    const size_t surplus = ofTrack.size() + 1 - static_cast<size_t>(limit);
    const auto older =
        static_cast<size_t>(std::count_if(ofTrack.begin(), ofTrack.end(), [&](size_t index) {
            return file.entries[index].head.date <= date;
        }));
    addedStays = older >= surplus;
    ofTrack.resize(addedStays ? surplus : surplus - 1);
    std::erase_if(keep, [&](size_t index) {
        return std::find(ofTrack.begin(), ofTrack.end(), index) != ofTrack.end();
    });
    return keep;
}

/// A file that is no JSON array is kept beside, under the first free name.
bool putAside(const std::string& path) {
    std::string name = path + ".corrupt";
    for (int i = 2; pathExists(name); ++i)
        name = path + ".corrupt" + std::to_string(i);
    if (!copyFileNew(path, name)) return false;
    logStatus("VT Perf store: a record file cannot be read; it is kept as %s\n", name.c_str());
    return true;
}

} // namespace

int findSession(const RecordFile& file, std::string_view date) {
    for (size_t i = 0; i < file.entries.size(); ++i)
        if (file.entries[i].isObject && file.entries[i].head.date == date)
            return static_cast<int>(i);
    return -1;
}

SessionKey sessionKey(const SessionRecord& record) {
    return {record.simId, record.carName, record.trackName, record.date};
}

PerfStore::PerfStore(std::string base)
    : base_(std::move(base)), inside_(std::make_unique<Inside>()) {}

PerfStore::~PerfStore() = default;

PerfStore::Hold::Hold(PerfStore& store) : store_(store) {
    Inside& inside = *store_.inside_;
    inside.mutex.lock();
    ++inside.depth;
    const std::string root = perfRoot(store_.base_), file = joinPath(root, ".lock");
    // The first hold of all may come before the first session; without the folder nothing could be
    // locked against another program that stores one meanwhile.
    if (!inside.fileLock.held() && !inside.fileLock.lock(file) && makeFolders(root))
        inside.fileLock.lock(file);
}

PerfStore::Hold::~Hold() {
    Inside& inside = *store_.inside_;
    if (--inside.depth == 0) inside.fileLock.unlock();
    inside.mutex.unlock();
}

CommitOutcome PerfStore::commit(SessionRecord record, const TraceFile* trace, int limit,
                                const std::function<void(const SessionRecord&)>& underLock) {
    return guarded<CommitOutcome>([&] {
        const std::string bytes = trace ? traceEncode(*trace, true) : std::string();
        const std::string folder = perfTraceDir(base_, record.simId);
        makeFolders(folder);
        const Hold hold(*this);
        RecordFile file;
        inside_->files.read(perfRecordPath(base_, record.simId, record.carName, record.trackName),
                            file);
        makeDateUnique(file, record);
        const std::string name =
            bytes.empty() ? "" : perfTraceName(record.carName, record.trackName, record.date);
        record.traceFile[0] = '\0';
        if (!name.empty() && writeFileAtomic(joinPath(folder, name), bytes))
            copyText(record.traceFile, name);
        else if (!name.empty())
            removeFile(joinPath(folder, name) + ".tmp");
        if (underLock) underLock(record);
        const CommitOutcome outcome = appendSession(record, limit);
        if (!outcome.stored) deleteSidecar(base_, record.simId, record.traceFile);
        return outcome;
    });
}

CommitOutcome PerfStore::appendSession(const SessionRecord& given, int limit) {
    return guarded<CommitOutcome>([&] {
        makeFolders(perfSimDir(base_, given.simId));
        const Hold hold(*this);
        SessionRecord record = given;
        CommitOutcome outcome;
        RecordFile file;
        const std::string path =
            perfRecordPath(base_, record.simId, record.carName, record.trackName);
        const RecordState state = inside_->files.read(path, file);
        // A file that is only out of reach now must not be replaced by this one session.
        if (state == RecordState::blocked) return outcome;
        if (state == RecordState::corrupt && !putAside(path)) return outcome;
        if (state != RecordState::good) file = {path, {}, {}};

        makeDateUnique(file, record);
        outcome.date = record.date;
        const std::vector<size_t> keep =
            withinLimit(file, record.trackId, record.date, limit, outcome.kept);
        const std::string added = outcome.kept ? sessionToJson(record) : std::string();
        const bool changed = outcome.kept || keep.size() != file.entries.size();
        outcome.stored = !changed || inside_->files.rewrite(file, keep, added);
        if (!outcome.stored) {
            outcome.kept = false;
            logStatus("VT Perf store: the session could not be written\n");
            return outcome;
        }
        if (outcome.kept) outcome.traceFile = record.traceFile;
        deleteSidecars(base_, record.simId, file.entries, keep);
        if (!outcome.kept) deleteSidecar(base_, record.simId, record.traceFile);
        sweepOrphans(record.simId);
        const uint64_t bytes = storeSizeBytes();
        logStatus("VT Perf store: %.1f MB on disk (records + trace sidecars)%s\n",
                  static_cast<double>(bytes) / (1024 * 1024),
                  bytes > kLargeStore ? " -- large; consider lowering the session history limit"
                                      : "");
        return outcome;
    });
}

bool PerfStore::deleteSession(const SessionKey& key) {
    return guarded<bool>([&] {
        const Hold hold(*this);
        RecordFile file;
        if (inside_->files.read(perfRecordPath(base_, key.simKind, key.carName, key.trackName),
                                file) != RecordState::good)
            return false;
        const int index = findSession(file, key.date);
        if (index < 0) return false;
        std::vector<size_t> keep(file.entries.size());
        std::iota(keep.begin(), keep.end(), size_t{0});
        keep.erase(keep.begin() + index);
        if (!inside_->files.rewrite(file, keep, {})) return false;
        deleteSidecars(base_, key.simKind, file.entries, keep);
        return true;
    });
}

std::vector<SessionRecord> PerfStore::loadSessions(int32_t simKind, std::string_view carName,
                                                   std::string_view trackName,
                                                   int32_t trackIdFilter) {
    return guarded<std::vector<SessionRecord>>([&] {
        const Hold hold(*this);
        std::vector<SessionRecord> sessions;
        RecordFile file;
        const std::string path = perfRecordPath(base_, simKind, carName, trackName);
        if (inside_->files.read(path, file) != RecordState::good) return sessions;
        for (size_t i = 0; i < file.entries.size(); ++i) {
            const RecordEntry& entry = file.entries[i];
            if (trackIdFilter > 0 && (!entry.isObject || entry.head.trackId != trackIdFilter))
                continue;
            if (parseSessionText(file.entryText(i), sessions.emplace_back())) continue;
            logStatus("VT Perf store: %s holds a value of a wrong type\n", path.c_str());
            return std::vector<SessionRecord>();
        }
        std::stable_sort(sessions.begin(), sessions.end(),
                         [](const SessionRecord& a, const SessionRecord& b) {
                             return std::string_view(a.date) < std::string_view(b.date);
                         });
        return sessions;
    });
}

bool PerfStore::loadSession(const SessionKey& key, SessionRecord& out) {
    out = {};
    return guarded<bool>([&] {
        const Hold hold(*this);
        RecordFile file;
        if (inside_->files.read(perfRecordPath(base_, key.simKind, key.carName, key.trackName),
                                file) != RecordState::good)
            return false;
        const int index = findSession(file, key.date);
        return index >= 0 && parseSessionText(file.entryText(static_cast<size_t>(index)), out);
    });
}

std::vector<SessionHead> PerfStore::sessionHeads(int32_t simKind, std::string_view carName,
                                                 std::string_view trackName) {
    return guarded<std::vector<SessionHead>>([&] {
        const Hold hold(*this);
        std::vector<SessionHead> heads;
        const RecordEntries* entries = nullptr;
        inside_->files.entries(perfRecordPath(base_, simKind, carName, trackName), nullptr,
                               entries);
        for (const RecordEntry& entry : *entries)
            if (entry.isObject) heads.push_back(entry.head);
        return heads;
    });
}

std::vector<ComboRow> PerfStore::listCombos() {
    return guarded<std::vector<ComboRow>>([&] {
        const Hold hold(*this);
        std::vector<ComboRow> rows;
        for (int32_t sim = 0; sim < kSimCount; ++sim) {
            for (const FolderEntry& found : recordFilesOf(base_, sim)) {
                const RecordEntries* entries = nullptr;
                inside_->files.entries(found.name, &found, entries);
                const size_t first = rows.size();
                for (const RecordEntry& entry : *entries) {
                    if (!entry.isObject) continue;
                    const SessionHead& head = entry.head;
                    auto row = std::find_if(
                        rows.begin() + static_cast<ptrdiff_t>(first), rows.end(),
                        [&](const ComboRow& other) { return other.trackId == head.trackId; });
                    if (row == rows.end()) {
                        row = rows.emplace(rows.end());
                        row->carName = entry.carName;
                        row->trackName = entry.trackName;
                        row->trackId = head.trackId;
                        row->simId = head.simId;
                    }
                    ++row->sessions;
                    if (head.bestLap > 0 && (row->bestLap == 0 || head.bestLap < row->bestLap))
                        row->bestLap = head.bestLap;
                    row->newestDate = std::max(row->newestDate, head.date);
                }
            }
        }
        return rows;
    });
}

std::string PerfStore::tracePath(const SessionRecord& record) const {
    if (!traceNameIsSafe(record.traceFile)) return {};
    return joinPath(perfTraceDir(base_, record.simId), record.traceFile);
}

} // namespace vt
