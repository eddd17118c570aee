// The full traces of one session, one bin a metre, and the file that keeps them beside the
// session's record (`.vttr`). Reading believes nothing: other drivers' laps come in through the
// same door. All functions: any thread, no lock; nothing throws.
#pragma once
#include "base/bytes.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace vt {

inline constexpr uint32_t kMaxTraceBins = 26000;
inline constexpr uint32_t kMaxTraceLaps = 200;
inline constexpr size_t kMaxTraceFileBytes = 268'435'456;
inline constexpr float kUnknown = std::numeric_limits<float>::quiet_NaN();
/// Origin, both values, of a lap whose x and y are reckoned from speed and heading.
inline constexpr double kDeadReckonedOrigin = 1.0;

/// One lap. Every channel holds one value a bin, or is empty when it is not known. A lap that was
/// driven before the track's length was known has no channels at all, only a time.
struct LapTrace {
    float lapTime = 0;       // s
    bool valid = false;      // at least nine tenths of the bins hold data
    bool hasLateral = false; // `lateral` means something at every bin
    bool invalidSim = false; // LapInvalid bits of its record
    bool invalidIncident = false;
    float brakeBias = kUnknown;         // at the lap's start; NaN = none
    float fuelStart = kUnknown;         // litres; NaN = none
    std::vector<float> speed;           // m/s
    std::vector<float> throttle, brake; // 0..1
    std::vector<float> steer;           // rad
    std::vector<float> latG, longG;     // g
    std::vector<float> elapsed;         // s since the lap's start, never falling
    std::vector<int8_t> gear;
    std::vector<uint16_t> rpm;
    std::vector<float> x, y;        // m from the file's origin, east and north
    std::vector<float> lateral;     // m off the learned centre line, positive to the right
    std::vector<float> yawRate;     // rad/s
    std::vector<float> latVelocity; // m/s
    std::vector<uint8_t> absActive;
    std::vector<uint8_t> have; // 1 = the bin holds data
};

/// Every channel with `binCount` zeros; vectors keep their capacity.
void sizeLapTrace(LapTrace& trace, uint32_t binCount);

/// What happened where, over a whole session. Lists are empty or hold `binCount` values.
struct TrackEventGrid {
    uint32_t binCount = 0;
    std::vector<uint16_t> kerbL, kerbR;               // ticks on the kerb
    std::vector<uint16_t> offEnter, offExit;          // times
    std::vector<float> offEnterLatSum, offExitLatSum; // m, over offEnterLatN and offExitLatN
    std::vector<uint16_t> offEnterLatN, offExitLatN;
    std::vector<uint16_t> furl;                    // times
    int32_t approachEnter = -1, approachExit = -1; // bins; -1 = not seen
    int32_t conesEnter = -1, conesExit = -1;
};

/// Every list with `binCount` zeros, marks unset; vectors keep their capacity.
void sizeEventGrid(TrackEventGrid& grid, uint32_t binCount);

/// Counts stop at 65535.
inline void countEvent(uint16_t& count) {
    if (count < 65535) ++count;
}

struct TraceFile {
    uint32_t binCount = 0;
    std::vector<LapTrace> laps;          // as many as the record has, in its order
    double originLat = 0, originLon = 0; // degrees; both 0 = x and y mean nothing
    bool hasLateral = false;
    uint32_t lateralCalVersion = 0; // of the calibration that `lateral` comes from
    bool hasEvents = false;
    TrackEventGrid events;
    uint16_t dynamicsMask = 0;     // bit 0 yawRate, 1 latVelocity, 2 absActive are known
    uint8_t latVelocitySource = 0; // 0 none, 2 measured
    float airTempAvg = kUnknown, trackTempAvg = kUnknown; // °C; NaN = not known
    float wetnessMax = kUnknown;                          // 0..1; NaN = not known
};

/// Versions 1 to 6. False, and `out` empty, for a file that is missing or not whole; damage in the
/// events costs only the events.
bool traceRead(const std::string& path, TraceFile& out);

/// Version 6, whole or not at all. False without laps or bins, above kMaxTraceLaps or
/// kMaxTraceBins, and when the disk refuses; nothing is left behind then.
bool traceWrite(const std::string& path, const TraceFile& trace, bool compress);

/// One lap for others: uncompressed, without the session's events. Positions go along only when the
/// lap has both, the origin with them.
bool traceWriteOneLap(const std::string& path, const TraceFile& trace, size_t lapIndex);

/// Overwrites the lap times, all of them, and nothing else. False, and the file as it was, unless
/// it has exactly as many laps.
bool tracePatchLapTimes(const std::string& path, const std::vector<float>& times);

/// Takes x and y of other laps over into this file: lap i gets those of `from.laps[lapOf[i]]`, with
/// their origin; a lap with -1 loses its own, which count from another origin. False, and nothing
/// changed, when `lapOf` is not as long as `laps`, no lap gets a position, or the tracks' lengths
/// differ by more than one per cent.
bool traceTakePositions(TraceFile& trace, const TraceFile& from, const std::vector<int>& lapOf);

} // namespace vt
