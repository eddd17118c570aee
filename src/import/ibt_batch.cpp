// Many telemetry files, on some threads.
#include "import/ibt_folder.h"
#include "import/ibt_import.h"
#include "platform/file.h"
#include "platform/thread_name.h"
#include "telemetry/ibt/ibt_file.h"
#include "telemetry/readers/iracing_session_text.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>

namespace vt {

namespace {

constexpr int kMostJobs = 16;
constexpr std::chrono::milliseconds kPauseLook{500};

/// Indices of files that stay on one thread, most files first.
std::vector<std::vector<size_t>> groupByTrack(const std::vector<std::string>& paths) {
    std::map<std::string, std::vector<size_t>> tracks;
    std::vector<std::vector<size_t>> groups;
    IbtHeader header;
    for (size_t i = 0; i < paths.size(); ++i) {
        std::string track;
        if (ibtReadHeader(paths[i], header)) track = irFind(header.sessionText, "TrackDisplayName");
        if (track.empty())
            groups.push_back({i});
        else
            tracks[track].push_back(i);
    }
    for (auto& [track, files] : tracks)
        groups.push_back(std::move(files));
    std::stable_sort(groups.begin(), groups.end(),
                     [](const auto& a, const auto& b) { return a.size() > b.size(); });
    return groups;
}

struct Batch {
    ImportContext& context;
    const std::vector<std::string>& paths;
    bool replacePreFix = false;
    std::vector<std::vector<size_t>> groups{};
    std::vector<IbtImportResult> results{}; // one writer each
    std::atomic<size_t> nextGroup{0};
    std::mutex reportLock{};
};

bool isSet(const std::atomic<uint32_t>* word) {
    return word && *word != 0;
}

/// False when the batch was cancelled. The store may have changed during a pause.
bool waitForTurn(const ImportContext& context, SessionIndex& index) {
    bool paused = false;
    while (isSet(context.pause) && !isSet(context.cancel)) {
        std::this_thread::sleep_for(kPauseLook);
        paused = true;
    }
    if (paused) index.dropAll();
    return !isSet(context.cancel);
}

void importOne(Batch& batch, size_t file, SessionIndex& index) {
    ImportContext& context = batch.context;
    const std::string& path = batch.paths[file];
    IbtImportResult& result = batch.results[file];
    result = importFile(context, path, batch.replacePreFix, index, context.gpsOnly);
    if (context.lapsAdded) *context.lapsAdded += static_cast<uint32_t>(result.lapsImported);
    if (context.filesDone) ++*context.filesDone;
    if (!context.onFile) return;
    const std::lock_guard lock(batch.reportLock);
    context.onFile(file, path, result);
}

void work(Batch& batch) {
    SessionIndex index(batch.context.store, batch.context.dates);
    for (size_t group = batch.nextGroup++; group < batch.groups.size(); group = batch.nextGroup++) {
        for (const size_t file : batch.groups[group]) {
            if (!waitForTurn(batch.context, index)) return;
            importOne(batch, file, index);
        }
    }
}

void runWorkers(Batch& batch, size_t jobs) {
    std::vector<std::thread> threads;
    for (size_t i = 0; jobs > 1 && i < jobs; ++i) {
        try {
            threads.emplace_back([&batch] {
                nameThisThread("ibt import");
                lowerThisThread();
                work(batch);
            });
        } catch (const std::system_error&) {
            break; // those that run take all the work
        }
    }
    if (threads.empty()) work(batch);
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

std::vector<IbtImportResult> importBatch(ImportContext& context,
                                         const std::vector<std::string>& paths, bool replacePreFix,
                                         int jobs) {
    Batch batch{.context = context, .paths = paths, .replacePreFix = replacePreFix};
    batch.results.resize(paths.size());
    batch.groups = groupByTrack(paths);
    runWorkers(batch,
               std::min(static_cast<size_t>(std::clamp(jobs, 1, kMostJobs)), batch.groups.size()));
    return std::move(batch.results);
}

std::vector<IbtImportResult> importPath(ImportContext& context, const std::string& path,
                                        bool replacePreFix, int jobs,
                                        std::vector<std::string>& files) {
    files.assign(1, path);
    if (folderExists(path)) {
        files = listIbtFiles(path);
        if (jobs >= 2) return importBatch(context, files, replacePreFix, jobs);
    }
    Batch batch{.context = context, .paths = files, .replacePreFix = replacePreFix};
    batch.results.resize(files.size());
    if (!pathExists(path)) {
        batch.results[0].message = "path not found";
        if (context.onFile) context.onFile(0, path, batch.results[0]);
        return std::move(batch.results);
    }
    SessionIndex index(context.store, context.dates);
    for (size_t file = 0; file < files.size() && waitForTurn(context, index); ++file)
        importOne(batch, file, index);
    return std::move(batch.results);
}

} // namespace vt
