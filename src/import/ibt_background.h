// New telemetry files are taken up by themselves, off track, on a thread of low priority.
#pragma once
#include "import/ibt_import.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace vt {

/// Between the tick and the scanning thread.
struct IbtScanWords {
    std::atomic<uint32_t> scanCancel{0};
    std::atomic<uint32_t> scanPause{0}; // the car is on track
    std::atomic<uint32_t> scanDone{0};
    std::atomic<uint32_t> filesDone{0}, filesTotal{0};
    std::atomic<uint32_t> tracksDone{0}, tracksTotal{0};
    std::atomic<uint32_t> lapsAdded{0};
    std::atomic<uint32_t> newestFileBusy{0};
    std::atomic<uint32_t> autoImportOn{0};
};

struct IbtBackgroundPlaces {
    std::string telemetryFolder; // <Documents>/iRacing/telemetry; "" = no such game here
    std::string dataDir;         // shipped maps
    int limit = 100;             // perfHistoryLimit
};

/// What the tick knows.
struct IbtTickInput {
    bool onTrack = false;    // connected, on the track, not on pit road
    bool blocked = false;    // the offer card works, or the program is still starting
    bool autoImport = false; // the setting, see autoImportSetting
    bool cardIdle = true;
    double now = 0; // s, monotonic
};

/// What the tick shows.
struct IbtTickOutput {
    bool showProgress = false;
    float progress = 0;  // 0..1
    int lapsAdded = 0;   // of a run that just ended
    std::string message; // stands for 8 seconds; "" = none
};

/// 20 s after the start, then 180 s after each run, 5 s after leaving the track, and every 5 s for
/// at most a minute while the sim still writes the newest file. Main thread; the destructor waits
/// for the thread, which stops at the next file.
class IbtBackground {
public:
    IbtBackground(PerfStore& store, IbtBackgroundPlaces places);
    ~IbtBackground();
    IbtBackground(const IbtBackground&) = delete;
    IbtBackground& operator=(const IbtBackground&) = delete;

    void tick(const IbtTickInput& input, IbtTickOutput& output);
    const IbtScanWords& words() const { return words_; }
    bool running() const { return running_; }
    int runs() const { return runs_; } // begun so far
    void setLimit(int limit) { places_.limit = limit; }

private:
    enum class Cause { none, interval, leftTrack, rebuild };
    Cause due(const IbtTickInput& input);
    void start(const IbtTickInput& input, Cause cause);
    void ended(const IbtTickInput& input, IbtTickOutput& output);
    void scan();
    bool rebuildWaiting();
    void noteMissingMaps(const std::vector<IbtImportResult>& results);
    void rebuildMaps();

    PerfStore& store_;
    IbtBackgroundPlaces places_;
    IbtScanWords words_;
    std::mutex rebuildLock_;
    std::set<int32_t> rebuild_;
    std::thread thread_;
    bool running_ = false, wasOnTrack_ = false, hadProgress_ = false;
    int runs_ = 0;
    Cause cause_ = Cause::none;
    double first_ = -1, nextRun_ = -1, scheduled_ = -1, retryUntil_ = -1;
    double progressUntil_ = -1, messageUntil_ = -1;
    std::string message_;
};

/// `ibtAutoImport` when it is 0 or above, else whether laps are shared with everybody; only with
/// laps kept at all.
bool autoImportSetting(int ibtAutoImport, int shareMode, bool perfLoggingEnabled);

/// One key a line; appended, never rewritten. Missing files are empty sets.
std::set<std::string> readKeyList(const std::string& path);
bool appendKeyList(const std::string& path, const std::vector<std::string>& keys);

std::string ibtSeenPath(const std::string& base);     // used for anything
std::string ibtImportedPath(const std::string& base); // imported, or not wanted
std::string ibtOfferedPath(const std::string& base);  // put off

} // namespace vt
