#include "import/ibt_background.h"

#include "base/log.h"
#include "base/translate.h"
#include "perf/gps_map.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/paths.h"
#include "platform/thread_name.h"
#include "telemetry/ibt/ibt_file.h"

#include <algorithm>
#include <cstdio>

namespace vt {

namespace {

constexpr double kFirstRun = 20, kNextRun = 180, kAfterTrack = 5, kRetryFor = 60; // s
constexpr double kProgressStays = 4, kMessageStays = 8;                           // s
constexpr uint32_t kFilesWithProgress = 20;
constexpr size_t kKeyListBytesMax = 64u << 20;

/// Files of one run, and what to do when they are done.
struct ScanJobs {
    std::vector<std::string> importPaths, gpsPaths;
    std::vector<std::string> importKeys, gpsKeys;  // parallel
    std::vector<std::string> seenNow, importedNow; // need no work
};

int backgroundJobs() {
    const int spare = std::clamp(static_cast<int>(std::thread::hardware_concurrency()) - 2, 0, 8);
    return std::max(spare / 2, 1);
}

bool isIbt(const FolderEntry& entry) {
    const std::string& name = entry.name;
    return !entry.isFolder && name.size() > 4 && name.compare(name.size() - 4, 4, ".ibt") == 0;
}

std::string newestOf(const std::vector<FolderEntry>& files) {
    const auto newest =
        std::max_element(files.begin(), files.end(),
                         [](const auto& a, const auto& b) { return a.modifiedNs < b.modifiedNs; });
    return newest == files.end() ? "" : newest->name;
}

ScanJobs findJobs(const std::string& folder, const std::set<std::string>& seen,
                  const std::set<std::string>& imported, bool autoImport,
                  std::atomic<uint32_t>& newestFileBusy) {
    ScanJobs jobs;
    std::vector<FolderEntry> files = listFolder(folder);
    std::erase_if(files, [](const FolderEntry& entry) { return !isIbt(entry); });
    const std::string newest = newestOf(files);
    static const Clock system;
    for (const FolderEntry& entry : files) { // sorted by name
        const std::string path = joinPath(folder, entry.name);
        const std::string key = ibtFileKey(path);
        const bool wanted = autoImport && !imported.contains(key);
        if (key.empty() || (seen.contains(key) && !wanted)) continue;
        IbtFile file;
        const bool open = file.open(path);
        if (file.busy(clockUnixSeconds(system) * 1'000'000'000)) {
            if (entry.name == newest) newestFileBusy = 1;
            continue;
        }
        if (wanted && open && file.header().sessionLapCount < 2) {
            jobs.seenNow.push_back(key);
            jobs.importedNow.push_back(key);
            continue;
        }
        (wanted ? jobs.importPaths : jobs.gpsPaths).push_back(path);
        (wanted ? jobs.importKeys : jobs.gpsKeys).push_back(key);
    }
    return jobs;
}

void takeReached(const std::vector<IbtImportResult>& results, const std::vector<std::string>& keys,
                 std::vector<std::string>& into) {
    for (size_t i = 0; i < results.size() && i < keys.size(); ++i)
        if (results[i].attempted) into.push_back(keys[i]);
}

} // namespace

bool autoImportSetting(int ibtAutoImport, int shareMode, bool perfLoggingEnabled) {
    constexpr int kShareAll = 2;
    const bool wanted = ibtAutoImport >= 0 ? ibtAutoImport != 0 : shareMode == kShareAll;
    return wanted && perfLoggingEnabled;
}

std::set<std::string> readKeyList(const std::string& path) {
    std::set<std::string> keys;
    std::string text;
    if (!readFile(path, text, kKeyListBytesMax)) return keys;
    size_t at = 0;
    while (at < text.size()) {
        const size_t end = std::min(text.find('\n', at), text.size());
        if (end > at) keys.insert(text.substr(at, end - at));
        at = end + 1;
    }
    return keys;
}

bool appendKeyList(const std::string& path, const std::vector<std::string>& keys) {
    if (keys.empty()) return true;
    std::string text;
    for (const std::string& key : keys)
        text += key + "\n";
    return makeFolders(path.substr(0, path.rfind('/'))) && appendFile(path, text);
}

std::string ibtSeenPath(const std::string& base) {
    return joinPath(base, "gpsmaps/ibt_seen.txt");
}
std::string ibtImportedPath(const std::string& base) {
    return joinPath(base, "performance/ibt_imported.txt");
}
std::string ibtOfferedPath(const std::string& base) {
    return joinPath(base, "performance/ibt_offered.txt");
}

IbtBackground::IbtBackground(PerfStore& store, IbtBackgroundPlaces places)
    : store_(store), places_(std::move(places)) {}

IbtBackground::~IbtBackground() {
    words_.scanCancel = 1;
    if (thread_.joinable()) thread_.join();
}

bool IbtBackground::rebuildWaiting() {
    const std::lock_guard lock(rebuildLock_);
    return !rebuild_.empty();
}

IbtBackground::Cause IbtBackground::due(const IbtTickInput& input) {
    if (input.onTrack || input.blocked || places_.telemetryFolder.empty()) return Cause::none;
    if (scheduled_ >= 0 && input.now >= scheduled_) return Cause::leftTrack;
    if (input.now >= nextRun_) return Cause::interval;
    if (input.now - first_ >= kFirstRun && rebuildWaiting()) return Cause::rebuild;
    return Cause::none;
}

void IbtBackground::start(const IbtTickInput& input, Cause cause) {
    for (std::atomic<uint32_t>* word :
         {&words_.scanCancel, &words_.scanDone, &words_.filesDone, &words_.filesTotal,
          &words_.tracksDone, &words_.tracksTotal, &words_.lapsAdded, &words_.newestFileBusy})
        *word = 0;
    words_.autoImportOn = input.autoImport ? 1 : 0;
    scheduled_ = -1;
    cause_ = cause;
    hadProgress_ = false;
    try {
        thread_ = std::thread([this] { scan(); });
        running_ = true;
        ++runs_;
    } catch (const std::exception&) {
        nextRun_ = input.now + kNextRun; // no thread to be had: another time
    }
}

void IbtBackground::ended(const IbtTickInput& input, IbtTickOutput& output) {
    thread_.join();
    running_ = false;
    nextRun_ = input.now + kNextRun;
    const auto laps = static_cast<int>(words_.lapsAdded);
    if (hadProgress_) progressUntil_ = input.now + kProgressStays;
    if (laps > 0) {
        output.lapsAdded = laps;
        char text[96];
        std::snprintf(text, sizeof text, Translate("Added %d lap(s) from your iRacing telemetry."),
                      laps);
        logStatus("[import] %s\n", text);
        if (!hadProgress_ && input.cardIdle) {
            message_ = text;
            messageUntil_ = input.now + kMessageStays;
        }
    }
    if (cause_ != Cause::leftTrack || !words_.newestFileBusy) {
        retryUntil_ = -1;
        return;
    }
    if (retryUntil_ < 0) retryUntil_ = input.now + kRetryFor;
    if (input.now < retryUntil_) scheduled_ = input.now + kAfterTrack;
}

void IbtBackground::tick(const IbtTickInput& input, IbtTickOutput& output) {
    output = {};
    if (first_ < 0) {
        first_ = input.now;
        nextRun_ = input.now + kFirstRun;
    }
    words_.scanPause = input.onTrack ? 1 : 0;
    if (wasOnTrack_ && !input.onTrack) {
        scheduled_ = input.now + kAfterTrack;
        retryUntil_ = -1;
    }
    wasOnTrack_ = input.onTrack;
    if (!running_) {
        const Cause cause = due(input);
        if (cause != Cause::none) start(input, cause);
    } else if (words_.scanDone) {
        ended(input, output);
    }
    const uint32_t files = words_.filesTotal, tracks = words_.tracksTotal;
    if (running_ && files >= kFilesWithProgress) hadProgress_ = true;
    output.showProgress = (running_ && hadProgress_) || input.now < progressUntil_;
    const auto share = [](uint32_t done, uint32_t total) {
        return total > 0 ? static_cast<float>(done) / static_cast<float>(total) : 0.0f;
    };
    output.progress = running_ ? std::min(0.85f * share(words_.filesDone, files) +
                                              0.15f * share(words_.tracksDone, tracks),
                                          0.99f)
                               : 1.0f;
    if (input.now < messageUntil_) output.message = message_;
}

void IbtBackground::scan() {
    nameThisThread("ibt scan");
    lowerThisThread();
    const std::string& base = store_.base();
    const bool autoImport = words_.autoImportOn != 0;
    const std::set<std::string> seen = readKeyList(ibtSeenPath(base));
    const std::set<std::string> imported =
        autoImport ? readKeyList(ibtImportedPath(base)) : std::set<std::string>{};
    ScanJobs jobs =
        findJobs(places_.telemetryFolder, seen, imported, autoImport, words_.newestFileBusy);
    words_.filesTotal = static_cast<uint32_t>(jobs.importPaths.size() + jobs.gpsPaths.size());
    RunDates dates;
    ImportContext context{.store = store_, .dataDir = places_.dataDir, .dates = dates};
    context.limit = places_.limit;
    context.cancel = &words_.scanCancel;
    context.pause = &words_.scanPause;
    context.filesDone = &words_.filesDone;
    context.lapsAdded = &words_.lapsAdded;
    context.rebuild = &rebuild_;
    context.rebuildLock = &rebuildLock_;
    const int threads = backgroundJobs();
    const auto fresh = importBatch(context, jobs.importPaths, true, threads);
    context.gpsOnly = true;
    const auto gps = importBatch(context, jobs.gpsPaths, false, threads);
    takeReached(fresh, jobs.importKeys, jobs.seenNow);
    takeReached(fresh, jobs.importKeys, jobs.importedNow);
    takeReached(gps, jobs.gpsKeys, jobs.seenNow);
    noteMissingMaps(fresh);
    noteMissingMaps(gps);
    appendKeyList(ibtSeenPath(base), jobs.seenNow);
    appendKeyList(ibtImportedPath(base), jobs.importedNow);
    rebuildMaps();
    words_.scanDone = 1;
}

void IbtBackground::noteMissingMaps(const std::vector<IbtImportResult>& results) {
    const std::lock_guard lock(rebuildLock_);
    for (const IbtImportResult& result : results) {
        GpsMap map;
        if (result.parsed && result.trackId > 0 && !rebuild_.contains(result.trackId) &&
            !loadGpsMapForTrack(places_.dataDir, store_.base(), result.trackId, map))
            rebuild_.insert(result.trackId);
    }
}

void IbtBackground::rebuildMaps() {
    std::set<int32_t> tracks;
    {
        const std::lock_guard lock(rebuildLock_);
        tracks.swap(rebuild_);
    }
    words_.tracksTotal = static_cast<uint32_t>(tracks.size());
    for (const int32_t track : tracks) {
        if (!words_.scanCancel) rebuildGpsMap(store_, track, &words_.scanCancel);
        if (words_.scanCancel) { // again at the next scan
            const std::lock_guard lock(rebuildLock_);
            rebuild_.insert(track);
        }
        ++words_.tracksDone;
    }
}

} // namespace vt
