// The inside of the session tracker, shared by its units: laps, corners and sectors, traces.
#pragma once
#include "perf/session_tracker.h"

namespace vt {

inline constexpr float kMphPerMs = 2.23694f;
inline constexpr float kGravity = 9.80665f;
inline constexpr uint32_t kFlagFurled = 0x800;

/// Levels at the moment a lap begins.
struct LapStart {
    double time = 0; // s of the session
    float fuel = 0;
    float brakeBias = kNoLevel, tcLevel = kNoLevel, absLevel = kNoLevel;
    int32_t incidents = -1, compound = -1;
    bool onPitRoad = false;
};

struct TrafficState {
    bool close = false;
    float previousGap = -1; // s; below 0 = none
    float seconds = 0, worstGap = -1, worstPct = -1;
    bool noData = false; // at some tick of the lap
};

struct PedalState {
    double throttle = 0, brake = 0, coast = 0; // s of the lap
    float throttlePct = 0, brakePct = 0, coastPct = 0;
};

/// From the brake to the throttle; over the whole session.
struct TransitionState {
    bool braking = false;
    double releasedAt = -1; // s; below 0 = not waiting
    double sum = 0;
    int count = 0;
};

struct CornerState {
    bool inside = false;
    double timer = 0; // s that the conditions of a change have held
    double speedSum = 0;
    CornerRecord corner;
};

struct SectorState {
    int index = 0;
    double entry = 0; // s of the session
    std::array<float, kMaxSectors> times{};
};

/// The lap whose official time is still to come.
struct LateTime {
    bool waiting = false;
    size_t lap = 0;
    float provisional = 0, seenAtClose = 0;
};

/// One value of every channel, to fill gaps between bins from.
struct BinValues {
    float speed = 0, throttle = 0, brake = 0, steer = 0, latG = 0, longG = 0, elapsed = 0, rpm = 0;
    float x = 0, y = 0, lateral = 0, yawRate = 0, latVelocity = 0;
    int32_t gear = 0;
    bool absActive = false, onTrack = false;
};

/// Where the car is, in metres from the session's origin.
struct PositionState {
    bool originSet = false, gps = false;
    double originLat = 0, originLon = 0;
    double x = 0, y = 0;      // reckoned
    double lastTime = -1;     // s of the last reckoned tick
    bool lateralSeen = false; // in the session
};

struct TrackerState {
    // --- the session
    bool started = false;
    double previousTime = 0;
    float previousPct = 0;
    int32_t previousLap = -1;
    bool previousPit = false;
    uint32_t previousFlags = 0;
    int32_t validity = -1; // of the last tick
    float lastLapTime = 0; // as last seen
    double lastLapTimeAt = -1e9;
    uint32_t resets = 0;
    int64_t closedLaps = 0;
    int32_t tyreLaps = -1;
    int32_t sectorCount = -1;
    float trackLength = 0;
    float topSpeed = 0; // mph
    double airSum = 0, trackSum = 0;
    int64_t weatherTicks = 0;
    float wetnessMax = 0;
    uint32_t dynamicsMask = 0;
    int32_t latVelocitySource = 0;
    int32_t lateralCalVersion = 0;
    std::vector<LapRecord> laps;
    SessionSummary summary;
    float bestBeyond = 0, worstBeyond = 0; // of valid laps that were not kept
    LateTime late;
    TransitionState transition;
    std::vector<BestTraceBin> bestBins;
    std::vector<CornerRecord> bestCorners;

    // --- the lap in progress
    LapStart start;
    bool furled = false, pitEntered = false, pitExited = false;
    double lapAirSum = 0, lapTrackSum = 0, speedSum = 0;
    int64_t lapTicks = 0;
    float lapWetness = -1, lapTopSpeed = 0, maxLatG = 0, maxBrakeG = 0, maxAccelG = 0;
    TrafficState traffic;
    PedalState pedals;
    std::vector<BestTraceBin> bins;
    int coarseFilled = 0; // of `bins`
    std::vector<CornerRecord> corners;
    CornerState corner;
    SectorState sector;
    std::array<SectorSpeeds, kMaxSectors> sectorSpeeds{};

    // --- traces
    uint32_t binCount = 0; // 0 = the track's length is not known yet
    LapTrace trace;
    std::vector<uint8_t> traceOnTrack;
    std::vector<LapTrace> spareTraces; // empty, with room for `binCount` bins
    std::vector<std::vector<uint8_t>> spareOnTrack;
    std::vector<LapTrace> traces;
    std::vector<std::vector<uint8_t>> onTrack;
    int32_t previousBin = -1; // of this lap
    BinValues previousValues;
    bool lapLateralSeen = false, lapLateralMissing = false;
    PositionState position;
    TrackEventGrid events;
    bool eventsBegun = false;
    int32_t previousSurface = -1;
    bool previousEventPit = false;
    uint32_t previousEventFlags = 0;

    TrackerDisplay display;
};

void beginSession(TrackerState& s); // keeps `display`

// laps
bool lapHasItsBins(const TrackerState& s); // enough of them to be kept
void beginLap(TrackerState& s, const PerfSample& sample);
void closeLap(TrackerState& s, const PerfSample& sample);
void takeLateTime(TrackerState& s, const PerfSample& sample);
void recomputeSummary(TrackerState& s);

// corners and sectors
void tickCorner(TrackerState& s, const PerfSample& sample, double dt);
void tickSector(TrackerState& s, const PerfSample& sample);
int sectorAt(const PerfSample& sample, float pct);

// traces
void sizeTraces(TrackerState& s, float trackLength);
void beginTrace(TrackerState& s);
/// `lapOver`: the lap's bins take nothing more.
void tickTrace(TrackerState& s, const PerfSample& sample, bool lapOver);
void closeTrace(TrackerState& s, const LapRecord& lap);

} // namespace vt
