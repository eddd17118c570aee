// Le Mans Ultimate's shared memory as it lies on the wire; little-endian. One mapping for
// everything, two words for a lock, and an event for each.
#pragma once
#include "telemetry/readers/vehicle_records.h"

namespace vt {

inline constexpr char kLmuMapName[] = "LMU_Data";
inline constexpr char kLmuEventName[] = "LMU_Data_Event";
inline constexpr char kLmuLockName[] = "LMU_SharedMemoryLockData";
inline constexpr char kLmuLockEventName[] = "LMU_SharedMemoryLockEvent";
inline constexpr int kLmuCars = 104;

/// Words of the head that tell what the sim has written anew.
enum LmuEventWord {
    kLmuEnter = 0,
    kLmuExit = 1,
    kLmuScoringUpdated = 10,
    kLmuTelemetryUpdated = 11,
    kLmuEnvironment = 14,
};

/// Of the lock's mapping.
enum LmuLockWord { kLmuLockWaiters = 0, kLmuLockBusy = 1, kLmuLockWords = 2 };

#pragma pack(push, 1)

struct LmuHead {
    uint32_t events[83] = {};
    uint8_t paths[1300] = {}; // nothing here reads them
    ScoringInfo scoring;
    uint8_t unread[4] = {};
    uint64_t resultsSize = 0;
};

struct LmuPage {
    LmuHead head;
    VehicleScoring scoring[kLmuCars];
    uint8_t results[65536] = {}; // a text; nothing here reads it
    uint8_t activeVehicles = 0;
    uint8_t playerVehicleIdx = 0; // of telemetry; scoring has another order
    uint8_t playerHasVehicle = 0;
    uint8_t unread[1] = {};
    VehicleTelemetry telemetry[kLmuCars];
    uint8_t tail[4] = {};
};

#pragma pack(pop)

static_assert(sizeof(LmuHead) == 2192);
static_assert(offsetof(LmuHead, scoring) == 1632);
static_assert(offsetof(LmuHead, resultsSize) == 2184);
static_assert(sizeof(LmuPage) == 324824);
static_assert(offsetof(LmuPage, scoring) == 2192);
static_assert(offsetof(LmuPage, results) == 62928);
static_assert(offsetof(LmuPage, activeVehicles) == 128464);
static_assert(offsetof(LmuPage, playerVehicleIdx) == 128465);
static_assert(offsetof(LmuPage, playerHasVehicle) == 128466);
static_assert(offsetof(LmuPage, telemetry) == 128468);

} // namespace vt
