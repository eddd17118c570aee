// The datagrams of the F1 games, packed and little-endian: a header, then one record, or one per
// car. The formats 2024 and later share the layouts below; where an older one differs it says so.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr uint16_t kF1Port = 20777;
inline constexpr int kF1Cars = 22;
inline constexpr uint16_t kF1FormatMin = 2023;
inline constexpr uint16_t kF1FormatMax = 2026;
inline constexpr size_t kF1HeaderBytes = 29;

enum F1PacketId : uint8_t {
    kF1Motion = 0,
    kF1Session = 1,
    kF1LapData = 2,
    kF1Participants = 4,
    kF1CarTelemetry = 6,
    kF1CarStatus = 7,
};

#pragma pack(push, 1)
struct F1Header {
    uint16_t packetFormat; // year
    uint8_t gameYear, majorVersion, minorVersion, packetVersion;
    uint8_t packetId;
    uint64_t sessionUid;
    float sessionTime;
    uint32_t frame, overallFrame;
    uint8_t playerCarIndex; // 255 for a spectator
    uint8_t secondaryPlayerIndex;
};

struct F1MotionCar {
    float position[3], velocity[3];
    int16_t forward[3], right[3];
    float gForceLateral, gForceLongitudinal, gForceVertical;
    float yaw, pitch, roll;
};

/// The beginning of the session packet.
struct F1SessionHead {
    uint8_t weather;         // 0 clear .. 3 light rain, 4 heavy rain, 5 storm
    int8_t trackTemperature; // °C
    int8_t airTemperature;   // °C
    uint8_t totalLaps;
    uint16_t trackLength; // m
    uint8_t sessionType;
    int8_t trackId;
    uint8_t formula;
    uint16_t sessionTimeLeft; // s
    uint16_t sessionDuration; // s
};

/// 50 bytes in format 2023, which no row is read from.
struct F1LapCar {
    uint32_t lastLapMs, currentLapMs;
    uint16_t sector1Ms;
    uint8_t sector1Minutes;
    uint16_t sector2Ms;
    uint8_t sector2Minutes;
    uint16_t gapFrontMs;
    uint8_t gapFrontMinutes;
    uint16_t gapLeaderMs;
    uint8_t gapLeaderMinutes;
    float lapDistance, totalDistance; // m; below 0 before the line was crossed first
    float safetyCarDelta;
    uint8_t position, currentLap;
    uint8_t pitStatus; // 0 none, 1 pitting, 2 in the pit area
    uint8_t pitStops, sector, lapInvalid, penalties, warnings, cornerWarnings;
    uint8_t driveThroughs, stopGos, gridPosition, driverStatus;
    uint8_t resultStatus; // 0 invalid: no car
    uint8_t pitTimerActive;
    uint16_t pitLaneMs, pitStopMs;
    uint8_t servePenalty;
    float fastestSpeed;
    uint8_t fastestSpeedLap;
};

/// The beginning of a participant, the same in all formats; the name may be cut by the record's
/// end.
struct F1ParticipantHead {
    uint8_t aiControlled, driverId, networkId;
    int8_t teamId;
    uint8_t myTeam, raceNumber, nationality;
};
inline constexpr size_t kF1NameBytes = 48;

struct F1TelemetryCar {
    uint16_t speed; // km/h
    float throttle; // 0..1
    float steering; // -1..1, right positive
    float brake;    // 0..1
    uint8_t clutch; // 0..100
    int8_t gear;
    uint16_t rpm;
    uint8_t drs, revLightsPercent;
    uint16_t revLightsBits, brakeTemperature[4];
    uint8_t tyreSurface[4], tyreInner[4];
    uint16_t engineTemperature; // °C
    float tyrePressure[4];
    uint8_t surface[4];
};

struct F1StatusCar {
    uint8_t tractionControl, antiLock, fuelMix, frontBrakeBias, pitLimiter;
    float fuelInTank, fuelCapacity; // kg as the game counts it
    float fuelLaps;
    uint16_t maxRpm, idleRpm;
    uint8_t maxGears, drsAllowed;
    uint16_t drsDistance;
    uint8_t tyreCompound, tyreVisual, tyreAgeLaps;
    int8_t fiaFlags;
    float enginePowerIce, enginePowerMguk;
    float ersStore; // J
    uint8_t ersMode;
    float ersHarvestedMguk, ersHarvestedMguh;
    float ersDeployed; // J, this lap
    uint8_t paused;
};
#pragma pack(pop)

static_assert(sizeof(F1Header) == kF1HeaderBytes);
static_assert(offsetof(F1Header, packetId) == 6);
static_assert(offsetof(F1Header, playerCarIndex) == 27);

static_assert(sizeof(F1MotionCar) == 60);
static_assert(offsetof(F1MotionCar, gForceLateral) == 36);
static_assert(offsetof(F1MotionCar, gForceLongitudinal) == 40);

static_assert(kF1HeaderBytes + offsetof(F1SessionHead, weather) == 29);
static_assert(kF1HeaderBytes + offsetof(F1SessionHead, totalLaps) == 32);
static_assert(kF1HeaderBytes + offsetof(F1SessionHead, trackLength) == 33);
static_assert(kF1HeaderBytes + offsetof(F1SessionHead, sessionType) == 35);
static_assert(kF1HeaderBytes + offsetof(F1SessionHead, sessionTimeLeft) == 38);
static_assert(kF1HeaderBytes + sizeof(F1SessionHead) == 42);

static_assert(sizeof(F1LapCar) == 57);
static_assert(offsetof(F1LapCar, lapDistance) == 20);
static_assert(offsetof(F1LapCar, position) == 32);
static_assert(offsetof(F1LapCar, currentLap) == 33);
static_assert(offsetof(F1LapCar, pitStatus) == 34);
static_assert(offsetof(F1LapCar, resultStatus) == 45);

static_assert(sizeof(F1ParticipantHead) == 7);
static_assert(offsetof(F1ParticipantHead, raceNumber) == 5);

static_assert(sizeof(F1TelemetryCar) == 60);
static_assert(offsetof(F1TelemetryCar, throttle) == 2);
static_assert(offsetof(F1TelemetryCar, steering) == 6);
static_assert(offsetof(F1TelemetryCar, brake) == 10);
static_assert(offsetof(F1TelemetryCar, clutch) == 14);
static_assert(offsetof(F1TelemetryCar, gear) == 15);
static_assert(offsetof(F1TelemetryCar, rpm) == 16);
static_assert(offsetof(F1TelemetryCar, drs) == 18);
static_assert(offsetof(F1TelemetryCar, engineTemperature) == 38);

static_assert(sizeof(F1StatusCar) == 55);
static_assert(offsetof(F1StatusCar, fuelInTank) == 5);
static_assert(offsetof(F1StatusCar, maxRpm) == 17);
static_assert(offsetof(F1StatusCar, drsAllowed) == 22);
static_assert(offsetof(F1StatusCar, ersStore) == 37);
static_assert(offsetof(F1StatusCar, ersMode) == 41);
static_assert(offsetof(F1StatusCar, ersDeployed) == 50);

} // namespace vt
