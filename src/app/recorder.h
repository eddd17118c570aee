// The lap recorder in the program: what it needs of the pump, of the tick and of the disk.
#pragma once
#include "overlay/settings/app_config.h"
#include "perf/road_offset.h"
#include "perf/session_watch.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>

namespace vt {

/// One lap that others are measured against.
struct ReferenceLap {
    int32_t simKind = -1, trackId = 0;
    std::string carModel;
    LapTrace lap; // without bins: none
};

class Recorder {
public:
    /// `base` is the program's data folder, `dataDir` the shipped one. Begins to look through the
    /// store on a thread of its own.
    Recorder(const std::string& base, const std::string& dataDir,
             std::atomic<uint32_t>* gpsLearnWanted);
    /// Writes what is waiting to be written.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    // --- the pump's thread
    /// Before the frame is published: an iRacing car's place across the road.
    void placeOnRoad(SimFrame& frame);
    void pushSample(const SimFrame& frame, bool resetFlag);
    void simLost() { solver_.reset(); }

    // --- the main thread
    void tick(const SimFrame& frame, const AppConfig& config, bool synthetic, int64_t nowUnix);
    /// The program ends; the pump is gone already. A stint under way is kept.
    void finish(const AppConfig& config, int64_t nowUnix);
    /// Throttle, brake and gear of the best lap (`last` false) or of the last one, at a place of
    /// the lap. False while there is none of this car and track.
    bool referenceAt(const SimFrame& frame, float pct, bool last, float& throttle, float& brake,
                     int& gear) const;
    /// The newest stint could not be written; until one is.
    bool saveFailed() const { return saveFailed_; }
    PerfStore& store() { return store_; }
    const SessionTracker& tracker() const { return watch_.tracker; }

private:
    void keepHouse();
    void takeResults();
    const LapTrace* lapOf(const SimFrame& frame, bool last) const;

    PerfStore store_;
    SessionSaver saver_;
    PerfRing ring_;
    SessionWatch watch_;
    RoadOffsetSolver solver_;
    int32_t calVersion_ = 0; // of the newest frame; the pump's
    uint32_t droppedSeen_ = 0;
    bool saveFailed_ = false;
    ReferenceLap best_; // of the stint before this one
    std::atomic<bool> stop_{false};
    std::thread keeper_;
};

} // namespace vt
