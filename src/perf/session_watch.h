// Watches the drive and decides when it is kept: from the first tick on the track to the moment the
// car leaves it. The main thread's, but for the saver's own.
#pragma once
#include "perf/perf_sample.h"
#include "perf/session_commit.h"
#include "perf/session_tracker.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vt {

/// Commits stints on a thread of its own: a full store takes hundreds of milliseconds. What was
/// handed over is written before the destructor returns.
class SessionSaver {
public:
    explicit SessionSaver(PerfStore& store);
    ~SessionSaver();
    SessionSaver(const SessionSaver&) = delete;
    SessionSaver& operator=(const SessionSaver&) = delete;

    void store(StintData&& stint, const SessionMeta& meta, const std::string& date, int limit);
    /// Takes one finished commit. Only looks at an atomic word when there is none.
    bool take(CommitResult& out);
    bool idle() const { return waiting_ == 0; }

private:
    struct Job {
        StintData stint;
        SessionMeta meta;
        std::string date;
        int limit = 0;
    };
    void run();

    PerfStore& store_;
    std::mutex lock_;
    std::condition_variable woken_;
    std::deque<Job> jobs_;
    std::deque<CommitResult> results_;
    std::atomic<uint32_t> waiting_{0}, finished_{0};
    bool stop_ = false;
    std::thread thread_;
};

struct WatchSettings {
    bool synthetic = false;     // a made-up or replayed feed drives the frame: nothing is kept
    bool loggingEnabled = true; // perfLoggingEnabled
    int limit = 100;            // perfHistoryLimit; 0 = none
    int64_t nowUnix = 0;        // s, UTC
};

struct SessionWatch {
    PerfRing& ring;
    SessionSaver& saver;
    SessionTracker tracker{};
    /// Set while an iRacing stint is recorded: its reader reads speeds and kerbs only then.
    std::atomic<uint32_t>* gpsLearnWanted = nullptr;

    SessionMeta meta{};
    bool live = false;      // was, at the last tick
    bool forbidden = false; // this stint is not to be kept
    bool synthetic = false;
    bool latched = false;
    int32_t trackId = 0;
    char carModel[64] = "", sessionName[24] = "";
};

/// Once a tick of the main thread: drains the ring into the tracker, then looks whether a stint
/// ended. A stint that ends because car, track or session changed under way is kept as well.
void trackerDrain(SessionWatch& watch, const SimFrame& frame, const WatchSettings& settings);

/// The program ends: a stint that is being driven is kept.
void finishWatch(SessionWatch& watch, const WatchSettings& settings);

} // namespace vt
