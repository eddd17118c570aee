// The records that Le Mans Ultimate and rFactor 2 publish for a session and for each car in it, as
// they lie on the wire; little-endian.
//
// Local axes: x to the car's left, y up, z to its rear. World: y up.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

enum GamePhase : uint8_t {
    kPhaseGarage = 0,
    kPhaseWarmUp = 1,
    kPhaseGridWalk = 2,
    kPhaseFormation = 3,
    kPhaseCountdown = 4,
    kPhaseGreen = 5,
    kPhaseFullCourseYellow = 6,
    kPhaseStopped = 7,
    kPhaseOver = 8,
};

/// Of a wheel, what it stands on.
enum SurfaceType : uint8_t {
    kSurfaceDry = 0,
    kSurfaceWet = 1,
    kSurfaceGrass = 2,
    kSurfaceDirt = 3,
    kSurfaceGravel = 4,
    kSurfaceKerb = 5,
};

inline constexpr uint8_t kPitStopped = 3;      // VehicleScoring::pitState: in the stall
inline constexpr uint8_t kLapCounts = 2;       // VehicleScoring::countLap
inline constexpr double kZeroCelsius = 273.15; // K

#pragma pack(push, 1)

struct Vec3d {
    double x = 0, y = 0, z = 0;
};

struct ScoringInfo {
    char trackName[64] = {}; // no text here is certain to be terminated
    int32_t session = 0;     // 0 test day, 1-4 practice, 5-8 qualifying, 9 warm-up, 10-13 race
    double currentTime = 0;  // s
    double endTime = 0;      // s
    int32_t maxLaps = 0;     // 0 or a huge number = by time
    double lapDist = 0;      // m, of a whole lap
    uint8_t unread1[8] = {};
    int32_t numVehicles = 0;
    uint8_t gamePhase = 0;
    uint8_t yellowState = 0; // 0 none, 1 pending, 2 pits closed, ... 6 resume
    uint8_t sectorFlags[3] = {};
    uint8_t unread2[107] = {};
    double raining = 0;     // 0..1
    double ambientTemp = 0; // °C
    double trackTemp = 0;   // °C
    uint8_t unread3[88] = {};
    double wetness = 0;      // 0..1, average of the path
    float timeRemaining = 0; // s; only Le Mans Ultimate
    uint8_t unread4[204] = {};
};

struct VehicleScoring {
    int32_t id = 0;
    char driverName[32] = {};
    char vehicleName[64] = {};
    int16_t laps = 0;        // completed
    int8_t sector = 0;       // 1 first, 2 second, 0 third
    int8_t finishStatus = 0; // 0 running, 1 finished, 2 retired, 3 disqualified
    double lapDist = 0;      // m
    double pathLateral = 0;  // m
    double trackEdge = 0;    // m, on the car's side of the path
    uint8_t unread1[16] = {};
    double bestLapTime = 0; // s; <= 0 = none
    uint8_t unread2[16] = {};
    double lastLapTime = 0;
    uint8_t unread3[16] = {};
    int16_t pitStops = 0;
    int16_t penalties = 0;
    uint8_t isPlayer = 0;
    int8_t control = 0; // 0 = the player drives
    uint8_t inPits = 0;
    uint8_t place = 0; // from 1
    char vehicleClass[32] = {};
    uint8_t unread4[12] = {};
    double timeBehindLeader = 0; // s
    uint8_t unread5[205] = {};
    uint8_t pitState = 0; // 0 none, 1 request, 2 entering, 3 stopped, 4 exiting
    uint8_t unread6[6] = {};
    double estTime = 0; // s into the lap
    uint8_t unread7[34] = {};
    uint8_t countLap = 0;
    uint8_t inGarage = 0;
    uint8_t unread8[70] = {};
    uint8_t fuelFraction = 0; // 0..255
    uint8_t unread9[5] = {};
};

struct VehicleWheel {
    uint8_t unread1[48] = {};
    double lateralPatchVelocity = 0; // m/s
    uint8_t unread2[64] = {};
    double pressure = 0;        // kPa
    double temperature[3] = {}; // K: left, middle, right of the tread
    double wear = 0;            // tread left, 1..0
    char terrainName[16] = {};
    uint8_t surfaceType = 0;
    uint8_t unread3[83] = {};
};

struct VehicleTelemetry {
    int32_t id = 0;
    uint8_t unread1[8] = {};
    double elapsed = 0; // s
    uint8_t unread2[4] = {};
    double lapStart = 0; // s
    uint8_t unread3[128] = {};
    Vec3d position;
    Vec3d localVelocity;     // m/s
    Vec3d localAcceleration; // m/s²
    Vec3d orientation[3];    // rows; the columns are the local axes in the world
    Vec3d localRotation;     // rad/s
    uint8_t unread4[24] = {};
    int32_t gear = 0; // -1 reverse, 0 neutral
    double rpm = 0;
    uint8_t unread5[24] = {};
    double unfilteredThrottle = 0; // as the pedal stands; the filtered ones are what the car gets
    uint8_t unread6[24] = {};
    double throttle = 0;
    double brake = 0;
    double steering = 0; // -1..1, right positive
    double clutch = 0;
    uint8_t unread7[72] = {};
    double fuel = 0; // litres
    double maxRpm = 0;
    uint8_t unread8[1] = {};
    uint8_t overheating = 0;
    uint8_t detached = 0;
    uint8_t unread9[1] = {};
    uint8_t dents[8] = {};     // 0..2
    double lastImpactTime = 0; // s; 0 = none
    uint8_t unread10[44] = {};
    uint8_t limiter = 0;
    uint8_t unread11[3] = {};
    double fuelCapacity = 0;
    uint8_t unread12[48] = {};
    double rearBrakeBias = 0; // 0..1
    uint8_t unread13[20] = {};
    float wheelRange = 0; // degrees from lock to lock
    uint8_t unread14[8] = {};
    // From here on rFactor 2 has zeroes.
    double batteryCharge = 0; // 0..1
    uint8_t unread15[32] = {};
    uint8_t motorState = 0;
    uint8_t unread16[1] = {};
    uint8_t absActive = 0;
    uint8_t unread17[1] = {};
    uint8_t limiter2 = 0;
    uint8_t unread18[1] = {};
    uint8_t tcLevel = 0;
    uint8_t tcPresent = 0;
    uint8_t unread19[4] = {};
    uint8_t absLevel = 0;
    uint8_t absPresent = 0;
    uint8_t motorMap = 0;
    uint8_t motorMapCount = 0;
    uint8_t unread20[16] = {};
    float virtualEnergy = 0; // 0..1
    uint8_t unread21[68] = {};
    VehicleWheel wheels[4]; // LF RF LR RR
};

#pragma pack(pop)

static_assert(sizeof(ScoringInfo) == 548);
static_assert(offsetof(ScoringInfo, session) == 64);
static_assert(offsetof(ScoringInfo, currentTime) == 68);
static_assert(offsetof(ScoringInfo, endTime) == 76);
static_assert(offsetof(ScoringInfo, maxLaps) == 84);
static_assert(offsetof(ScoringInfo, lapDist) == 88);
static_assert(offsetof(ScoringInfo, numVehicles) == 104);
static_assert(offsetof(ScoringInfo, gamePhase) == 108);
static_assert(offsetof(ScoringInfo, yellowState) == 109);
static_assert(offsetof(ScoringInfo, sectorFlags) == 110);
static_assert(offsetof(ScoringInfo, raining) == 220);
static_assert(offsetof(ScoringInfo, ambientTemp) == 228);
static_assert(offsetof(ScoringInfo, trackTemp) == 236);
static_assert(offsetof(ScoringInfo, wetness) == 332);
static_assert(offsetof(ScoringInfo, timeRemaining) == 340);

static_assert(sizeof(VehicleScoring) == 584);
static_assert(offsetof(VehicleScoring, driverName) == 4);
static_assert(offsetof(VehicleScoring, vehicleName) == 36);
static_assert(offsetof(VehicleScoring, laps) == 100);
static_assert(offsetof(VehicleScoring, sector) == 102);
static_assert(offsetof(VehicleScoring, finishStatus) == 103);
static_assert(offsetof(VehicleScoring, lapDist) == 104);
static_assert(offsetof(VehicleScoring, pathLateral) == 112);
static_assert(offsetof(VehicleScoring, trackEdge) == 120);
static_assert(offsetof(VehicleScoring, bestLapTime) == 144);
static_assert(offsetof(VehicleScoring, lastLapTime) == 168);
static_assert(offsetof(VehicleScoring, pitStops) == 192);
static_assert(offsetof(VehicleScoring, penalties) == 194);
static_assert(offsetof(VehicleScoring, isPlayer) == 196);
static_assert(offsetof(VehicleScoring, control) == 197);
static_assert(offsetof(VehicleScoring, inPits) == 198);
static_assert(offsetof(VehicleScoring, place) == 199);
static_assert(offsetof(VehicleScoring, vehicleClass) == 200);
static_assert(offsetof(VehicleScoring, timeBehindLeader) == 244);
static_assert(offsetof(VehicleScoring, pitState) == 457);
static_assert(offsetof(VehicleScoring, estTime) == 464);
static_assert(offsetof(VehicleScoring, countLap) == 506);
static_assert(offsetof(VehicleScoring, inGarage) == 507);
static_assert(offsetof(VehicleScoring, fuelFraction) == 578);

static_assert(sizeof(VehicleWheel) == 260);
static_assert(offsetof(VehicleWheel, lateralPatchVelocity) == 48);
static_assert(offsetof(VehicleWheel, pressure) == 120);
static_assert(offsetof(VehicleWheel, temperature) == 128);
static_assert(offsetof(VehicleWheel, wear) == 152);
static_assert(offsetof(VehicleWheel, terrainName) == 160);
static_assert(offsetof(VehicleWheel, surfaceType) == 176);

static_assert(sizeof(VehicleTelemetry) == 1888);
static_assert(offsetof(VehicleTelemetry, elapsed) == 12);
static_assert(offsetof(VehicleTelemetry, lapStart) == 24);
static_assert(offsetof(VehicleTelemetry, position) == 160);
static_assert(offsetof(VehicleTelemetry, localVelocity) == 184);
static_assert(offsetof(VehicleTelemetry, localAcceleration) == 208);
static_assert(offsetof(VehicleTelemetry, orientation) == 232);
static_assert(offsetof(VehicleTelemetry, orientation[2]) == 280);
static_assert(offsetof(VehicleTelemetry, localRotation.y) == 312);
static_assert(offsetof(VehicleTelemetry, gear) == 352);
static_assert(offsetof(VehicleTelemetry, rpm) == 356);
static_assert(offsetof(VehicleTelemetry, unfilteredThrottle) == 388);
static_assert(offsetof(VehicleTelemetry, throttle) == 420);
static_assert(offsetof(VehicleTelemetry, brake) == 428);
static_assert(offsetof(VehicleTelemetry, steering) == 436);
static_assert(offsetof(VehicleTelemetry, clutch) == 444);
static_assert(offsetof(VehicleTelemetry, fuel) == 524);
static_assert(offsetof(VehicleTelemetry, maxRpm) == 532);
static_assert(offsetof(VehicleTelemetry, overheating) == 541);
static_assert(offsetof(VehicleTelemetry, detached) == 542);
static_assert(offsetof(VehicleTelemetry, dents) == 544);
static_assert(offsetof(VehicleTelemetry, lastImpactTime) == 552);
static_assert(offsetof(VehicleTelemetry, limiter) == 604);
static_assert(offsetof(VehicleTelemetry, fuelCapacity) == 608);
static_assert(offsetof(VehicleTelemetry, rearBrakeBias) == 664);
static_assert(offsetof(VehicleTelemetry, wheelRange) == 692);
static_assert(offsetof(VehicleTelemetry, batteryCharge) == 704);
static_assert(offsetof(VehicleTelemetry, motorState) == 744);
static_assert(offsetof(VehicleTelemetry, absActive) == 746);
static_assert(offsetof(VehicleTelemetry, limiter2) == 748);
static_assert(offsetof(VehicleTelemetry, tcLevel) == 750);
static_assert(offsetof(VehicleTelemetry, tcPresent) == 751);
static_assert(offsetof(VehicleTelemetry, absLevel) == 756);
static_assert(offsetof(VehicleTelemetry, absPresent) == 757);
static_assert(offsetof(VehicleTelemetry, motorMap) == 758);
static_assert(offsetof(VehicleTelemetry, motorMapCount) == 759);
static_assert(offsetof(VehicleTelemetry, virtualEnergy) == 776);
static_assert(offsetof(VehicleTelemetry, wheels) == 848);

} // namespace vt
