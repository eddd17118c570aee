// Automobilista 2's shared memory as it lies on the wire; little-endian, one page for everything.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr char kAms2MapName[] = "$pcars2$";
inline constexpr int kAms2Cars = 64;

enum Ams2GameState : uint32_t { kAms2Playing = 2 };
enum Ams2RaceState : uint32_t { kAms2Racing = 2, kAms2Finished = 3 };

/// Of the player and of each car.
enum Ams2PitMode : uint32_t {
    kAms2NotInPits = 0,
    kAms2DrivingIn = 1,
    kAms2InPits = 2,
    kAms2DrivingOut = 3,
    kAms2InGarage = 4,
    kAms2LeavingGarage = 5,
};

#pragma pack(push, 1)

struct Ams2Participant {
    uint8_t active = 0;
    char name[64] = {}; // not always terminated
    uint8_t unread1[3] = {};
    float worldX = 0; // m
    float worldY = 0; // up
    float worldZ = 0;
    float lapDistance = 0;     // m
    uint32_t racePosition = 0; // from 1
    uint32_t lapsCompleted = 0;
    uint32_t currentLap = 0;
    uint32_t currentSector = 0; // from 1
};

struct Ams2Page {
    uint32_t version = 0;
    uint32_t buildVersion = 0;
    uint32_t gameState = 0;
    uint32_t sessionState = 0;
    uint32_t raceState = 0;
    int32_t viewedParticipant = -1;
    int32_t numParticipants = 0;
    Ams2Participant participants[kAms2Cars];
    uint8_t unread1[16] = {};
    char carName[64] = {};
    char carClass[64] = {}; // of the viewed car
    uint32_t lapsInEvent = 0;
    char trackLocation[64] = {};
    char trackVariation[64] = {};
    float trackLength = 0; // m
    uint8_t unread2[8] = {};
    float bestLapTime = 0; // s
    float lastLapTime = 0;
    float currentTime = 0;
    uint8_t unread3[12] = {};
    float eventTimeRemaining = 0; // s
    uint8_t unread4[56] = {};
    uint32_t highestFlagColour = 0;
    uint8_t unread5[4] = {};
    uint32_t pitMode = 0;
    uint8_t unread6[8] = {};
    float oilTemp = 0;     // °C
    float oilPressure = 0; // kPa
    float waterTemp = 0;   // °C
    uint8_t unread7[8] = {};
    float fuelLevel = 0;    // of the capacity, 0..1
    float fuelCapacity = 0; // litres
    float speed = 0;        // m/s
    float rpm = 0;
    float maxRpm = 0;
    float brake = 0;
    float throttle = 0;
    float clutch = 0;
    float steering = 0; // -1..1
    int32_t gear = 0;
    uint8_t unread8[32] = {};
    float orientationY = 0; // rad about the up axis; 0 looks along z
    uint8_t unread9[40] = {};
    float localAccelX = 0; // m/s²
    float localAccelY = 0;
    float localAccelZ = 0; // to the rear
    uint8_t unread10[324] = {};
    float ambientTemp = 0;
    float trackTemp = 0;
    float rainDensity = 0; // 0..1
    uint8_t unread11[16] = {};
    uint32_t sequence = 0; // odd while the sim writes
    uint8_t unread12[84] = {};
    float sectorTimes[3][kAms2Cars] = {};        // of the running lap
    float fastestSectorTimes[3][kAms2Cars] = {}; // of the session
    float fastestLapTimes[kAms2Cars] = {};
    float lastLapTimes[kAms2Cars] = {};
    uint8_t unread13[320] = {};
    uint32_t pitModes[kAms2Cars] = {};
    uint8_t unread14[768] = {};
    float speeds[kAms2Cars] = {};
    uint8_t unread15[4096] = {};
    char carClassNames[kAms2Cars][64] = {};
};

#pragma pack(pop)

static_assert(sizeof(Ams2Participant) == 100);
static_assert(offsetof(Ams2Participant, name) == 1);
static_assert(offsetof(Ams2Participant, worldX) == 68);
static_assert(offsetof(Ams2Participant, worldZ) == 76);
static_assert(offsetof(Ams2Participant, lapDistance) == 80);
static_assert(offsetof(Ams2Participant, racePosition) == 84);
static_assert(offsetof(Ams2Participant, lapsCompleted) == 88);
static_assert(offsetof(Ams2Participant, currentSector) == 96);
static_assert(sizeof(Ams2Page) == 19248);
static_assert(offsetof(Ams2Page, gameState) == 8);
static_assert(offsetof(Ams2Page, sessionState) == 12);
static_assert(offsetof(Ams2Page, raceState) == 16);
static_assert(offsetof(Ams2Page, viewedParticipant) == 20);
static_assert(offsetof(Ams2Page, numParticipants) == 24);
static_assert(offsetof(Ams2Page, participants) == 28);
static_assert(offsetof(Ams2Page, carName) == 6444);
static_assert(offsetof(Ams2Page, lapsInEvent) == 6572);
static_assert(offsetof(Ams2Page, trackLocation) == 6576);
static_assert(offsetof(Ams2Page, trackVariation) == 6640);
static_assert(offsetof(Ams2Page, trackLength) == 6704);
static_assert(offsetof(Ams2Page, bestLapTime) == 6716);
static_assert(offsetof(Ams2Page, lastLapTime) == 6720);
static_assert(offsetof(Ams2Page, currentTime) == 6724);
static_assert(offsetof(Ams2Page, eventTimeRemaining) == 6740);
static_assert(offsetof(Ams2Page, highestFlagColour) == 6800);
static_assert(offsetof(Ams2Page, pitMode) == 6808);
static_assert(offsetof(Ams2Page, oilTemp) == 6820);
static_assert(offsetof(Ams2Page, oilPressure) == 6824);
static_assert(offsetof(Ams2Page, waterTemp) == 6828);
static_assert(offsetof(Ams2Page, fuelLevel) == 6840);
static_assert(offsetof(Ams2Page, fuelCapacity) == 6844);
static_assert(offsetof(Ams2Page, speed) == 6848);
static_assert(offsetof(Ams2Page, rpm) == 6852);
static_assert(offsetof(Ams2Page, maxRpm) == 6856);
static_assert(offsetof(Ams2Page, brake) == 6860);
static_assert(offsetof(Ams2Page, throttle) == 6864);
static_assert(offsetof(Ams2Page, clutch) == 6868);
static_assert(offsetof(Ams2Page, steering) == 6872);
static_assert(offsetof(Ams2Page, gear) == 6876);
static_assert(offsetof(Ams2Page, orientationY) == 6912);
static_assert(offsetof(Ams2Page, localAccelX) == 6956);
static_assert(offsetof(Ams2Page, localAccelZ) == 6964);
static_assert(offsetof(Ams2Page, ambientTemp) == 7292);
static_assert(offsetof(Ams2Page, trackTemp) == 7296);
static_assert(offsetof(Ams2Page, rainDensity) == 7300);
static_assert(offsetof(Ams2Page, sequence) == 7320);
static_assert(offsetof(Ams2Page, sectorTimes) == 7408);
static_assert(offsetof(Ams2Page, sectorTimes[1]) == 7664);
static_assert(offsetof(Ams2Page, sectorTimes[2]) == 7920);
static_assert(offsetof(Ams2Page, fastestSectorTimes) == 8176);
static_assert(offsetof(Ams2Page, fastestSectorTimes[2]) == 8688);
static_assert(offsetof(Ams2Page, fastestLapTimes) == 8944);
static_assert(offsetof(Ams2Page, lastLapTimes) == 9200);
static_assert(offsetof(Ams2Page, pitModes) == 9776);
static_assert(offsetof(Ams2Page, speeds) == 10800);
static_assert(offsetof(Ams2Page, carClassNames) == 15152);

} // namespace vt
