// Learns the outline of an iRacing track from positions on the globe, for as long as no map of it
// exists: a thousand bins of lap position, averaged, smoothed, drawn into a square of 1000 by 1000.
#pragma once
#include "telemetry/sim_frame.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace vt {

inline constexpr int kLiveMapBins = 1000;
inline constexpr int kLiveMapBinsMin = 100; // race bins with samples that a map needs
inline constexpr int kLiveMapLapsPerSave = 3;

struct LiveMapBin {
    double latitude = 0, longitude = 0; // sums, degrees
    int64_t count = 0;
};

/// What is gathered; copied as a whole for the save.
struct LiveMapSums {
    std::array<LiveMapBin, kLiveMapBins> race, pit;
};
static_assert(sizeof(LiveMapSums) == 48000);

struct LiveMapJob {
    std::string baseDir;
    int32_t trackId = 0, laps = 0;
    LiveMapSums sums;
};

/// One thread, but for the save that it starts; at most one save at a time.
class LiveMap {
public:
    explicit LiveMap(std::string baseDir) : job_{std::move(baseDir), 0, 0, {}} {}
    ~LiveMap();
    LiveMap(const LiveMap&) = delete;
    LiveMap& operator=(const LiveMap&) = delete;

    /// Each new frame while the track has no map. Frames without a position change nothing.
    void tick(const SimFrame& frame);
    int laps() const { return laps_; }
    int trackId() const { return trackId_; }
    /// Rises with every map that was written.
    uint32_t saved() const { return saved_; }
    /// Waits for a save that runs.
    void wait();

private:
    void begin(int32_t trackId);
    void save();

    LiveMapSums sums_;
    int32_t trackId_ = 0, laps_ = 0;
    float previousPct_ = -1;
    LiveMapJob job_; // of the saving thread while `busy_`
    std::atomic<uint32_t> busy_{0}, saved_{0};
    std::thread saver_;
};

/// Writes the accumulator and, with enough bins, the map. False when there is no map to write or it
/// could not be written. Any thread, on its own copy.
bool saveLiveMap(const LiveMapJob& job);
/// The laps and sums of an earlier day; false without any.
bool loadLiveSums(const std::string& baseDir, int32_t trackId, LiveMapSums& sums, int32_t& laps);

std::string learnedMapPath(const std::string& baseDir, int32_t trackId);

} // namespace vt
