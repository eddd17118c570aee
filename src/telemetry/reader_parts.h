// Rules that several readers share. Pure but for the small memories they are handed.
#pragma once
#include "telemetry/sim_frame.h"

#include <cmath>
#include <cstdint>
#include <string_view>

namespace vt {

/// Axle slip and balance only mean something from this speed on; m/s (15 km/h).
inline constexpr float kSlipMinSpeed = 4.1667f;
inline constexpr int kMissLimit = 151; // polls without news, about five seconds
inline constexpr float kGravity = 9.80665f;
inline constexpr float kRadPerDeg = 0.0174532925f;
inline constexpr float kDegPerRad = 57.2957795f;

/// Polls without a new frame in a row.
struct MissCounter {
    int misses = 0;
    void hit() { misses = 0; }
    /// True once the sim counts as gone.
    bool miss() { return ++misses >= kMissLimit; }
};

/// FNV-1a over the track's slug (nameSlug), 31 bits, never 0.
int32_t trackNameHash(std::string_view trackName);

/// Body slip angle from a velocity in the car's own axes, and its rate.
struct SlipMemory {
    bool valid = false;
    float angle = 0; // degrees
};
/// Sets `slipAngle` = atan2(-side, max(0.01, |along|)) in degrees, `slipSource` 2, and `slipRate`
/// when `seconds` since the last call lies in 0.001..0.5. Velocities that are not finite drop the
/// memory and leave the frame.
void fillSlip(SimFrame& frame, SlipMemory& memory, double side, double along, double seconds);

/// One axle's slip, 0..1, from two slip angles in degrees; those that are not finite are left out.
/// -1 when both are.
float axleSlip(float leftDegrees, float rightDegrees);

/// `frontSlip`, `rearSlip`, `balance` and their sources from two axles; does nothing when one is
/// negative.
void fillAxleSlips(SimFrame& frame, float front, float rear);

/// `classPosition` of every row: 0 without a position, else 1 plus the rows of the same `carClass`
/// with a lower position above 0.
void rankClasses(std::vector<CarRow>& cars);

/// Seconds of one lap to scale `estTime` with: the first of `best`, `last`, `fastestOfAll` that
/// lies above `low` and below `high`, else the track at the fastest car's speed, at least 10 m/s;
/// 0 without a length.
float referenceLap(float best, float last, float fastestOfAll, float low, float high,
                   float trackLength, float fastestSpeed);

/// The pit limit, which some sims do not publish: with the limiter on and above 5 m/s, two frames
/// in a row whose speeds differ by less than 1 km/h.
struct PitLimitMemory {
    float limit = 0; // m/s; 0 = not known yet
    float previous = 0;
    void clear() { *this = {}; }
};
float learnPitLimit(PitLimitMemory& memory, bool limiterOn, float speed);

/// Body axes of a car on the map, from three-dimensional forward and right vectors in a world whose
/// up axis is not known beforehand.
struct MapFrame {
    int upAxis = -1; // 0, 1, 2; -1 = not known yet
};
/// The component of forward x right that is above 0.8 in size and above the two others names the up
/// axis; else the last one stands. Fills `worldX` to `rightY` and `worldOk` when one is known and
/// all numbers are finite.
void fillWorld(SimFrame& frame, MapFrame& memory, const float position[3], const float forward[3],
               const float right[3]);

template <class T>
inline float finiteOr(T value, float fallback) {
    const auto f = static_cast<float>(value);
    return std::isfinite(f) ? f : fallback;
}
inline float clamp01(float value) {
    return value > 0 ? (value < 1 ? value : 1.0f) : 0.0f; // NaN gives 0
}

} // namespace vt
