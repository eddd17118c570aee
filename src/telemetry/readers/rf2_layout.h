// rFactor 2's two pages of shared memory as they lie on the wire; little-endian. There is no lock:
// each page has two version words that differ while it is written.
#pragma once
#include "telemetry/readers/vehicle_records.h"

namespace vt {

inline constexpr char kRf2TelemetryName[] = "$rFactor2SMMP_Telemetry$";
inline constexpr char kRf2ScoringName[] = "$rFactor2SMMP_Scoring$";
inline constexpr int kRf2Cars = 128;

#pragma pack(push, 1)

/// Begin is moved before the sim writes, end after.
struct Rf2Version {
    uint32_t begin = 0;
    uint32_t end = 0;
};

struct Rf2TelemetryPage {
    Rf2Version version;
    uint8_t unread[4] = {};
    int32_t numVehicles = 0;
    VehicleTelemetry vehicles[kRf2Cars];
};

/// What follows the version words of the scoring page.
struct Rf2Scoring {
    uint8_t unread[4] = {};
    ScoringInfo info;
    VehicleScoring vehicles[kRf2Cars];
};

struct Rf2ScoringPage {
    Rf2Version version;
    Rf2Scoring scoring;
};

#pragma pack(pop)

static_assert(sizeof(Rf2TelemetryPage) == 241680);
static_assert(offsetof(Rf2TelemetryPage, numVehicles) == 12);
static_assert(offsetof(Rf2TelemetryPage, vehicles) == 16);
static_assert(sizeof(Rf2Scoring) == 75304);
static_assert(offsetof(Rf2Scoring, info) == 4);
static_assert(offsetof(Rf2Scoring, vehicles) == 552);
static_assert(sizeof(Rf2ScoringPage) == 75312);
static_assert(offsetof(Rf2ScoringPage, scoring) == 8);

} // namespace vt
