// Turns samples into laps: lap records, the best lap's bins and corners, full traces, track events.
// One thread; live and replayed drives have a tracker each. Nothing waits; after the first tick
// with a known track length nothing allocates until a lap closes, and closing moves ready buffers.
#pragma once
#include "perf/perf_sample.h"
#include "perf/session_record.h"
#include "perf/trace_file.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vt {

inline constexpr int kGHistory = 240; // ticks of the overlay's g plot

struct GPoint {
    float lat = 0, lon = 0; // g
};

/// What overlays read while driving. Survives a reset of the laps.
struct TrackerDisplay {
    std::array<GPoint, kGHistory> gHistory{}; // ring
    int gNext = 0, gCount = 0;
    float peakLeftG = 0, peakRightG = 0, peakBrakeG = 0, peakAccelG = 0;
};

struct SectorSpeeds {
    float minMph = 0, maxMph = 0, meanMph = 0;
    int samples = 0;
};

/// Everything of one stint that a commit takes with it, moved out in one piece.
struct StintData {
    SessionSummary summary;
    std::vector<LapRecord> laps;
    bool hasBestTrace = false;
    std::vector<BestTraceBin> bestTrace;
    std::vector<CornerRecord> corners;
    TraceFile trace; // laps parallel to `laps`; binCount 0 = no length known
    std::vector<std::vector<uint8_t>> onTrack;          // per lap, per bin: 1 = on the road
    bool gpsOrigin = false;                             // the origin is a place on the globe
    float airTempC = 0, trackTempC = 0, wetnessMax = 0; // session means and maximum
    bool weatherSeen = false;                           // some tick was counted into them
    int32_t sectorLayout = -1;                          // sectors at the last tick
    float trackLengthM = 0;
    int64_t totalLaps = 0; // closed in all, also beyond those that are kept
};

class SessionTracker {
public:
    SessionTracker();
    ~SessionTracker();
    SessionTracker(const SessionTracker&) = delete;
    SessionTracker& operator=(const SessionTracker&) = delete;

    /// Forgets all laps and the lap in progress; `display` stays.
    void reset();
    /// One sample, in the order of their times.
    void tick(const PerfSample& sample);

    int lapCount() const; // laps kept
    const std::vector<LapRecord>& laps() const;
    const std::vector<LapTrace>& traces() const; // parallel to `laps`
    const SessionSummary& summary() const;
    uint32_t resets() const; // jumps seen
    bool sawGps() const;
    bool inLap() const; // a lap is being driven
    /// The running lap so far.
    const std::vector<BestTraceBin>& currentBins() const;
    const std::vector<BestTraceBin>& bestBins() const; // of the best lap; empty without one
    const std::array<SectorSpeeds, kMaxSectors>& sectorSpeeds() const;
    const TrackerDisplay& display() const;
    /// Where the running lap began, s of the session; below 0 without one.
    double lapStart() const;

    /// Hands over all laps and begins anew, as after reset().
    StintData take();

private:
    struct State;
    std::unique_ptr<State> state_;
};

inline void trackerTick(SessionTracker& tracker, const PerfSample& sample) {
    tracker.tick(sample);
}

} // namespace vt
