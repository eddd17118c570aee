// From session and car records to a frame: the rules that Le Mans Ultimate and rFactor 2 share.
// Records are private copies; nothing in them is believed.
#pragma once
#include "telemetry/reader_parts.h"
#include "telemetry/readers/vehicle_records.h"
#include "telemetry/sim_frame.h"

#include <span>
#include <string_view>

namespace vt {

/// What both readers keep between frames.
struct VehicleMemory {
    char trackName[64] = "";
    PitLimitMemory pitLimit;
    SlipMemory slip;
    double elapsed = 0; // s, of the player in the last frame
};

/// A text that may lack its terminator.
template <size_t N>
std::string_view textOf(const char (&text)[N]) {
    const std::string_view all(text, N);
    return all.substr(0, all.find('\0'));
}

/// How many of `limit` records a count tells of.
inline size_t clampedCount(int64_t count, size_t limit) {
    return count <= 0 ? 0 : static_cast<size_t>(count) < limit ? static_cast<size_t>(count) : limit;
}

inline bool isRaceSession(int32_t session) {
    return session >= 10 && session <= 13;
}

/// The number that tells one sample from the next: milliseconds of the player's clock; -1 for a
/// clock that cannot be one.
int32_t sampleMs(const VehicleTelemetry& car);

/// The record with the player's mark, or null.
const VehicleScoring* findPlayer(std::span<const VehicleScoring> cars);

/// Pedals but the throttle, wheel, engine, speed, accelerations, slip, aids, fuel and times of the
/// player's telemetry. After `pitLimiterOn`. Does not move `memory.elapsed` on.
void fillVehicle(SimFrame& out, const VehicleTelemetry& car, const ScoringInfo& info,
                 VehicleMemory& memory);

/// Track, weather, session and laps, but flags, remaining time and the race's state. True when the
/// track is another one than before; what was learned about the last one is forgotten then.
bool fillSession(SimFrame& out, const ScoringInfo& info, VehicleMemory& memory);

/// What the player's scoring record tells of him: lap, times, pits, garage, validity, name of the
/// car.
void fillPlayer(SimFrame& out, const VehicleScoring& player);

/// `sessionFlags` of a game phase, with a yellow flag anywhere on the track or not.
uint32_t flagsOfPhase(uint8_t gamePhase, bool yellow);

/// `racePhase`, in race sessions. `player` may be null.
void fillRacePhase(SimFrame& out, const ScoringInfo& info, const VehicleScoring* player);

/// `timedSession`, `lapsRemain` and, on the last lap, the white flag. After `lap` and
/// `sessionFlags`.
void fillLapsRemain(SimFrame& out, const ScoringInfo& info);

/// Of the lap; 0 without a track length.
float lapFraction(double distance, double trackLength);

/// One row from a record; without `classPosition`, `pitStops` and `fuelFraction`.
CarRow& addRow(SimFrame& out, const VehicleScoring& car, double trackLength);

} // namespace vt
