// What the lap recorder takes of one tick, and the ring that carries it from the pump's thread to
// the thread that records.
#pragma once
#include "telemetry/sim_frame.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace vt {

inline constexpr int kMaxSampleSectors = 16;
inline constexpr uint32_t kSampleRing = 64; // ticks: more than 100 ms at 360 a second

/// Units and missing values as in SimFrame.
struct PerfSample {
    double sessionTime = 0;
    float lapPct = 0; // 0..1
    int32_t lap = -1;
    float speed = 0; // m/s
    float throttle = 0, brake = 0;
    float steer = 0;                   // rad
    float latAccel = 0, longAccel = 0; // m/s²
    float rpm = 0;
    int32_t gear = 0;
    float velX = 0, velY = 0, yaw = 0;  // m/s in the car's axes; rad, heading from north
    double latitude = 0, longitude = 0; // degrees; both 0 = none, as always live
    float yawRate = 0, latVelocity = 0;
    bool absActive = false;
    uint32_t dynamicsMask = 0; // bit 0 yawRate, 1 latVelocity, 2 absActive are known
    int32_t latVelocitySource = 0;
    float lateralM = 0; // m from the learned centre line, right positive; with `lateralOk`
    bool lateralOk = false;
    int32_t lateralCalVersion = 0;
    bool resetFlag = false; // the reader reports a discontinuity before this sample
    bool isOnTrack = false, onPitRoad = false;
    int32_t trackSurface = -1;
    uint32_t sessionFlags = 0;
    int32_t incidents = -1;
    int32_t sessionState = 0; // 4 = racing
    float airTemp = 0, trackTemp = 0, wetness = 0;
    float lastLapTime = 0; // s, the sim's own
    float trackLength = 0; // m
    int32_t trackId = 0;
    float fuel = 0;
    float brakeBias = -1000, tcLevel = -1000, absLevel = -1000;
    int32_t compound = -1;
    std::array<float, 4> rumble{};     // LF RF LR RR
    std::array<bool, 4> wheelOnKerb{}; // LF RF LR RR
    int32_t lapValidity = -1;          // 0 = the sim says that this lap is invalid
    int32_t sectorCount = 0;           // 0 above 16
    std::array<float, kMaxSampleSectors> sectorStarts{};
    float trafficGap = -1;  // s to the nearest car in front that is not in the pits; -1 = none
    bool noGapData = false; // this sim tells no gaps that could be used
};

/// Recorded simulators: iRacing, LMU, AC EVO. All others have no laps here.
bool simIsRecorded(int32_t simKind);

/// `lateralCalVersion` comes from the solver; `latitude` and `longitude` stay 0.
PerfSample perfSampleOf(const SimFrame& frame, bool resetFlag, int32_t lateralCalVersion);

/// One producer, one consumer; nobody waits. A sample that finds no room is lost and counted, its
/// `resetFlag` goes to the next one.
class PerfRing {
public:
    /// The producer's thread.
    void push(const PerfSample& sample);
    /// The consumer's thread. False when the ring is empty.
    bool pop(PerfSample& out);
    uint32_t dropped() const { return dropped_; }

private:
    std::array<PerfSample, kSampleRing> samples_{};
    std::atomic<uint32_t> written_{0}, read_{0}, dropped_{0};
    bool pendingReset_ = false; // the producer's
};

/// The pump's call for each frame of a recorded simulator; others push nothing.
void perfPushSample(PerfRing& ring, const SimFrame& frame, bool resetFlag,
                    int32_t lateralCalVersion);

} // namespace vt
