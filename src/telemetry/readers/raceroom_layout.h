// RaceRoom's shared memory as it lies on the wire; little-endian, nearly everything in words of
// four bytes. -1 stands for "not available" in most of them.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr char kRaceRoomMapName[] = "$R3E";
inline constexpr int32_t kRaceRoomMajor = 3;
inline constexpr int32_t kRaceRoomTableOffset = 2008;
inline constexpr int kRaceRoomCars = 128;

#pragma pack(push, 1)

/// The sim counts a record's offsets from the table's beginning, where the number of cars stands
/// (hence a name at +4). Here the number is a field of the page and the records lie behind it.
struct RaceRoomDriver {
    char name[64] = {}; // UTF-8, not always terminated
    int32_t carNumber = -1;
    uint8_t unread1[24] = {};
    int32_t slotId = -1;
    uint8_t unread2[36] = {};
    int32_t place = -1;
    int32_t placeClass = -1;
    uint8_t unread3[4] = {};
    float lapDistanceFraction = -1;
    uint8_t unread4[20] = {};
    int32_t completedLaps = -1;
    uint8_t unread5[4] = {};
    float currentLapTime = -1; // s so far
    uint8_t unread6[24] = {};
    float lastLapTime = -1; // s
    uint8_t unread7[8] = {};
    float bestLapTime = -1; // s
    uint8_t unread8[12] = {};
    int32_t inPitlane = -1;
    uint8_t unread9[92] = {};
};

struct RaceRoomPage {
    int32_t versionMajor = 0;
    int32_t versionMinor = 0;
    int32_t driverTableOffset = 0;
    int32_t driverRecordSize = 0;
    int32_t unread1[2] = {};
    int32_t notDriving[2] = {}; // menus, replay
    int32_t unread2 = 0;
    int32_t inGarage = 0;
    int32_t unread3 = 0;
    int32_t tick = 0; // a new value with each frame
    int32_t unread4[138] = {};
    char trackName[64] = {}; // UTF-8
    int32_t unread5[18] = {};
    float layoutLength = -1; // m
    int32_t unread6[10] = {};
    int32_t sessionType = -1; // 0 practice, 1 qualify, 2 race, 3 warm-up
    int32_t unread7[2] = {};
    float pitSpeedLimit = -1; // m/s
    int32_t sessionPhase = -1;
    int32_t unread8[3] = {};
    int32_t numberOfLaps = -1; // 0 or less: by time
    int32_t unread9 = 0;
    float sessionTimeRemaining = -1; // s
    int32_t unread10[6] = {};
    int32_t inPitlane = -1;
    int32_t unread11[13] = {};
    int32_t pitState = -1; // 3 in the stall
    int32_t unread12[6] = {};
    int32_t flagYellow = -1;
    int32_t unread13[7] = {};
    int32_t flagBlue = -1;
    int32_t unread14 = 0;
    int32_t flagGreen = -1;
    int32_t flagChequered = -1;
    int32_t unread15 = 0;
    int32_t flagBlackAndWhite = -1; // above 0: a warning
    int32_t unread16[9] = {};
    int32_t penalties = -1;
    int32_t completedLaps = -1;
    int32_t unread17 = 0;
    int32_t trackSector = -1;
    int32_t unread18 = 0;
    float lapDistanceFraction = -1;
    int32_t unread19[5] = {};
    float bestLapTime = -1; // s
    int32_t unread20[3] = {};
    float lastLapTime = -1;
    int32_t unread21[3] = {};
    float currentLapTime = -1;
    int32_t unread22[17] = {};
    int32_t incidents = -1;
    int32_t unread23[23] = {};
    int32_t modelId = -1;
    int32_t unread24[4] = {};
    int32_t playerSlotId = -1;
    int32_t unread25[24] = {};
    int32_t controlledByOther = -1; // 0: the player drives
    float speed = -1;               // m/s
    float engineSpeed = -1;         // rad/s
    float maxEngineSpeed = -1;
    int32_t unread26 = 0;
    int32_t gear = -2; // -1 reverse
    int32_t unread27[7] = {};
    float localAccelX = 0; // m/s², to the left
    float localAccelY = 0;
    float localAccelZ = 0; // to the rear
    int32_t unread28 = 0;
    float fuelLeft = -1; // litres
    float fuelCapacity = -1;
    float fuelPerLap = -1;
    int32_t unread29[9] = {};
    float throttle = -1;
    int32_t unread30 = 0;
    float brake = -1;
    int32_t unread31 = 0;
    float clutch = -1;
    float steerInput = 0; // -1..1
    int32_t unread32 = 0;
    int32_t steerWheelRange = 0; // degrees, lock to lock
    int32_t unread33[9] = {};
    int32_t pitLimiter = -1;
    int32_t unread34[108] = {};
    int32_t numCars = 0; // may exceed the table
    RaceRoomDriver drivers[kRaceRoomCars];
};

#pragma pack(pop)

constexpr size_t rrWord(size_t word) {
    return word * 4;
}
/// A driver's field in the sim's own count.
constexpr size_t rrDriver(size_t offset) {
    return offset + sizeof(int32_t);
}
static_assert(sizeof(RaceRoomDriver) == 328);
static_assert(rrDriver(offsetof(RaceRoomDriver, name)) == 4);
static_assert(rrDriver(offsetof(RaceRoomDriver, carNumber)) == 68);
static_assert(rrDriver(offsetof(RaceRoomDriver, slotId)) == 96);
static_assert(rrDriver(offsetof(RaceRoomDriver, place)) == 136);
static_assert(rrDriver(offsetof(RaceRoomDriver, placeClass)) == 140);
static_assert(rrDriver(offsetof(RaceRoomDriver, lapDistanceFraction)) == 148);
static_assert(rrDriver(offsetof(RaceRoomDriver, completedLaps)) == 172);
static_assert(rrDriver(offsetof(RaceRoomDriver, currentLapTime)) == 180);
static_assert(rrDriver(offsetof(RaceRoomDriver, lastLapTime)) == 208);
static_assert(rrDriver(offsetof(RaceRoomDriver, bestLapTime)) == 220);
static_assert(rrDriver(offsetof(RaceRoomDriver, inPitlane)) == 236);
static_assert(sizeof(RaceRoomPage) == 43996);
static_assert(offsetof(RaceRoomPage, driverTableOffset) == rrWord(2));
static_assert(offsetof(RaceRoomPage, driverRecordSize) == rrWord(3));
static_assert(offsetof(RaceRoomPage, notDriving) == rrWord(6));
static_assert(offsetof(RaceRoomPage, inGarage) == rrWord(9));
static_assert(offsetof(RaceRoomPage, tick) == rrWord(11));
static_assert(offsetof(RaceRoomPage, trackName) == rrWord(150));
static_assert(offsetof(RaceRoomPage, layoutLength) == rrWord(184));
static_assert(offsetof(RaceRoomPage, sessionType) == rrWord(195));
static_assert(offsetof(RaceRoomPage, pitSpeedLimit) == rrWord(198));
static_assert(offsetof(RaceRoomPage, sessionPhase) == rrWord(199));
static_assert(offsetof(RaceRoomPage, numberOfLaps) == rrWord(203));
static_assert(offsetof(RaceRoomPage, sessionTimeRemaining) == rrWord(205));
static_assert(offsetof(RaceRoomPage, inPitlane) == rrWord(212));
static_assert(offsetof(RaceRoomPage, pitState) == rrWord(226));
static_assert(offsetof(RaceRoomPage, flagYellow) == rrWord(233));
static_assert(offsetof(RaceRoomPage, flagBlue) == rrWord(241));
static_assert(offsetof(RaceRoomPage, flagGreen) == rrWord(243));
static_assert(offsetof(RaceRoomPage, flagChequered) == rrWord(244));
static_assert(offsetof(RaceRoomPage, flagBlackAndWhite) == rrWord(246));
static_assert(offsetof(RaceRoomPage, penalties) == rrWord(256));
static_assert(offsetof(RaceRoomPage, completedLaps) == rrWord(257));
static_assert(offsetof(RaceRoomPage, trackSector) == rrWord(259));
static_assert(offsetof(RaceRoomPage, lapDistanceFraction) == rrWord(261));
static_assert(offsetof(RaceRoomPage, bestLapTime) == rrWord(267));
static_assert(offsetof(RaceRoomPage, lastLapTime) == rrWord(271));
static_assert(offsetof(RaceRoomPage, currentLapTime) == rrWord(275));
static_assert(offsetof(RaceRoomPage, incidents) == rrWord(293));
static_assert(offsetof(RaceRoomPage, modelId) == rrWord(317));
static_assert(offsetof(RaceRoomPage, playerSlotId) == rrWord(322));
static_assert(offsetof(RaceRoomPage, controlledByOther) == rrWord(347));
static_assert(offsetof(RaceRoomPage, speed) == rrWord(348));
static_assert(offsetof(RaceRoomPage, engineSpeed) == rrWord(349));
static_assert(offsetof(RaceRoomPage, maxEngineSpeed) == rrWord(350));
static_assert(offsetof(RaceRoomPage, gear) == rrWord(352));
static_assert(offsetof(RaceRoomPage, localAccelX) == rrWord(360));
static_assert(offsetof(RaceRoomPage, localAccelZ) == rrWord(362));
static_assert(offsetof(RaceRoomPage, fuelLeft) == rrWord(364));
static_assert(offsetof(RaceRoomPage, fuelCapacity) == rrWord(365));
static_assert(offsetof(RaceRoomPage, fuelPerLap) == rrWord(366));
static_assert(offsetof(RaceRoomPage, throttle) == rrWord(376));
static_assert(offsetof(RaceRoomPage, brake) == rrWord(378));
static_assert(offsetof(RaceRoomPage, clutch) == rrWord(380));
static_assert(offsetof(RaceRoomPage, steerInput) == rrWord(381));
static_assert(offsetof(RaceRoomPage, steerWheelRange) == rrWord(383));
static_assert(offsetof(RaceRoomPage, pitLimiter) == rrWord(393));
static_assert(offsetof(RaceRoomPage, numCars) == rrWord(502));
static_assert(offsetof(RaceRoomPage, numCars) == kRaceRoomTableOffset);

} // namespace vt
