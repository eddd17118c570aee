// What ACC's broadcasting port has told so far. Plain data, copied whole from thread to thread.
#pragma once
#include <cstdint>

namespace vt {

inline constexpr int kAccMaxCars = 96;
inline constexpr int32_t kAccNoCar = -1;

enum AccClientPhase : int32_t {
    kAccIdle = 0,
    kAccStarted = 1,
    kAccFailed = 2, // no socket or no thread
    kAccRegistered = 4,
    kAccRejected = 5,
    kAccTimedOut = 6,
};

struct AccCar {
    int32_t carIndex = kAccNoCar;
    // From the entry list.
    uint8_t entryKnown = 0;
    int32_t carModel = -1;
    int32_t raceNumber = 0;
    int32_t cupCategory = 0;
    int32_t currentDriver = -1; // index among the car's drivers
    char firstName[24] = "";
    char surname[40] = "";
    char shortName[8] = "";
    // From the car updates.
    uint8_t realtimeKnown = 0;
    int32_t driverIndex = -1;
    int32_t driverCount = 0;
    int32_t gear = 0;                      // as sent
    float worldX = 0, worldY = 0, yaw = 0; // m, rad
    int32_t location = 0;                  // 0 none, 1 track, 2 pit lane, 3 pit entry, 4 pit exit
    int32_t kmh = 0;
    int32_t position = 0, cupPosition = 0, trackPosition = 0; // from 1
    float splinePosition = 0;                                 // 0..1
    int32_t laps = 0;
    int32_t deltaMs = 0;
    int32_t bestLapMs = -1, lastLapMs = -1, currentLapMs = -1; // -1 = none
    uint64_t updatedMs = 0;                                    // tick of the last car update
};

struct AccSnapshot {
    int32_t state = kAccIdle;
    uint8_t registered = 0;
    int32_t connectionId = -1;
    char error[128] = ""; // the sim's reason for a rejection
    uint8_t trackKnown = 0;
    char trackName[64] = "";
    int32_t trackId = 0;
    int32_t trackMeters = 0;
    uint8_t haveRealtime = 0;
    int32_t eventIndex = -1, sessionIndex = -1;
    int32_t sessionType = -1, sessionPhase = -1;
    float sessionTime = 0, sessionEndTime = 0; // as sent
    int32_t focusedCar = kAccNoCar;
    float timeOfDay = 0;
    int32_t ambientTemp = 0, trackTemp = 0; // °C
    int32_t clouds = 0, rain = 0, wetness = 0;
    int32_t bestLapMs = -1;
    uint8_t replay = 0;
    int32_t carCount = 0;
    AccCar cars[kAccMaxCars];
    uint64_t publishedMs = 0;
};

/// The car with that index among the snapshot's, or null.
inline const AccCar* accFindCar(const AccSnapshot& snapshot, int32_t carIndex) {
    for (int32_t i = 0; i < snapshot.carCount && i < kAccMaxCars; ++i)
        if (snapshot.cars[i].carIndex == carIndex) return &snapshot.cars[i];
    return nullptr;
}

} // namespace vt
