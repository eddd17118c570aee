// The shared pages of the Assetto Corsa family as they lie in memory, little-endian. Word n is the
// four bytes at 4n. All sims of the family have the same fields at the same words, but their pages
// end earlier or later: what lies behind the end of a sim's page is never read and stays zero.
#pragma once
#include "platform/shared_map.h"

#include <cstddef>
#include <cstdint>

namespace vt {

inline constexpr char kAcPhysicsName[] = "Local\\acpmf_physics";
inline constexpr char kAcGraphicsName[] = "Local\\acpmf_graphics";
inline constexpr char kAcStaticName[] = "Local\\acpmf_static";

inline constexpr int32_t kAcLive = 2; // status: the player drives
inline constexpr int kAcMaxCars = 60;
inline constexpr int kAcTextLength = 33; // UTF-16 units of a text field

#pragma pack(push, 1)

/// As long as AC EVO's, the longest.
struct AcPhysics {
    int32_t packetId = 0; // rises with every step of the physics
    float gas = 0, brake = 0;
    float fuel = 0;   // litres
    int32_t gear = 0; // 0 reverse, 1 neutral, 2 first
    int32_t rpm = 0;
    float steer = 0; // input, -1..1
    float speedKmh = 0;
    float velocity[3] = {};     // m/s in the world, x y z
    float acceleration[3] = {}; // g in the car: x to the side, y up, z along
    float unread14[47] = {};
    int32_t tyresOut = 0;
    int32_t pitLimiter = 0;
    float unread63[6] = {};
    float turboBoost = 0;
    float unread70[2] = {};
    float airTemp = 0, roadTemp = 0; // °C
    float unread74 = 0;
    float yawRate = 0; // rad/s about the car's y
    float unread76[15] = {};
    float clutch = 0;
    float unread92[13] = {};
    float contactPoint[4][3] = {}; // m in the world, LF RF LR RR
    float unread117[24] = {};
    float brakeBias = 0;         // share to the front
    float localVelocity[3] = {}; // m/s in the car, as the acceleration
    float unread145[2] = {};
    // Assetto Corsa's page ends before here.
    int32_t maxRpm = 0;
    float unread148[12] = {};
    float slipRatio[4] = {};
    float slipAngle[4] = {}; // rad
    float unread168 = 0;
    // ACC's and AC Rally's pages end before here.
    int32_t absActive = 0;
    float unread170[8] = {};
    float waterTemp = 0; // °C
};

/// What the graphics pages of the three older sims have in common.
struct AcSession {
    int32_t packetId = 0;
    int32_t status = 0;
    int32_t session = 0;
    int32_t unread3[30] = {};
    int32_t completedLaps = 0;
    int32_t position = 0;
    int32_t currentLapMs = 0, lastLapMs = 0, bestLapMs = 0;
    float timeLeft = 0; // s or ms, depending on the sim's build
    float unread39 = 0;
    int32_t inPit = 0; // in the stall
    int32_t sector = 0;
    int32_t unread42 = 0;
    int32_t numberOfLaps = 0;
    char16_t tyreCompound[kAcTextLength] = {};
    char16_t padding = 0;
    float unread61 = 0;
    float lapPosition = 0; // 0..1
};

/// Assetto Corsa.
struct AcGraphics {
    AcSession session;
    float unread63[4] = {};
    int32_t flag = 0;
    float unread68 = 0;
    int32_t inPitLane = 0;
    float unread70[4] = {};
};

/// ACC; AC Rally's page is the beginning of it.
struct AccGraphics {
    AcSession session;
    int32_t activeCars = 0;
    float carPosition[kAcMaxCars][3] = {}; // m in the world, x y z
    int32_t carId[kAcMaxCars] = {};
    int32_t playerCarId = 0;
    float unread305 = 0;
    int32_t flag = 0;
    int32_t penalty = 0;
    float unread308 = 0;
    int32_t inPitLane = 0;
    float surfaceGrip = 0;
    int32_t unread311[6] = {};
    int32_t tcLevel = 0;
    int32_t unread318[2] = {};
    int32_t absLevel = 0;
    int32_t unread321[9] = {};
    // AC Rally's page ends before here.
    int32_t unread330[45] = {};
    int32_t sectorYellow[3] = {};
    int32_t globalYellow = 0, globalWhite = 0, globalGreen = 0, globalChequered = 0;
    int32_t unread382[7] = {};
    int32_t trackStatus = 0; // grip, 0 green to 6 flooded
    int32_t rain = 0;        // 0 none to 5 thunderstorm
    int32_t unread391[6] = {};
};

struct AcStatic {
    int32_t unread0[17] = {};
    char16_t carModel[kAcTextLength] = {};
    char16_t track[kAcTextLength] = {};
    char16_t firstName[kAcTextLength] = {};
    char16_t surname[kAcTextLength] = {};
    int32_t unread83[20] = {};
    int32_t maxRpm = 0;
    float maxFuel = 0; // litres
    float unread105[8] = {};
    float maxTurboBoost = 0;
    float unread114[16] = {};
    float splineLength = 0; // m
};

#pragma pack(pop)

/// Byte of a word.
constexpr size_t acWord(size_t n) {
    return 4 * n;
}

static_assert(sizeof(AcPhysics) == 716);
static_assert(offsetof(AcPhysics, fuel) == acWord(3) && offsetof(AcPhysics, gear) == acWord(4));
static_assert(offsetof(AcPhysics, rpm) == acWord(5) && offsetof(AcPhysics, steer) == acWord(6));
static_assert(offsetof(AcPhysics, speedKmh) == acWord(7));
static_assert(offsetof(AcPhysics, velocity) == acWord(8));
static_assert(offsetof(AcPhysics, acceleration) == acWord(11));
static_assert(offsetof(AcPhysics, tyresOut) == acWord(61));
static_assert(offsetof(AcPhysics, pitLimiter) == acWord(62));
static_assert(offsetof(AcPhysics, turboBoost) == acWord(69));
static_assert(offsetof(AcPhysics, airTemp) == acWord(72));
static_assert(offsetof(AcPhysics, roadTemp) == acWord(73));
static_assert(offsetof(AcPhysics, yawRate) == acWord(75));
static_assert(offsetof(AcPhysics, clutch) == acWord(91));
static_assert(offsetof(AcPhysics, contactPoint) == acWord(105));
static_assert(offsetof(AcPhysics, brakeBias) == acWord(141));
static_assert(offsetof(AcPhysics, localVelocity) == acWord(142));
static_assert(offsetof(AcPhysics, maxRpm) == acWord(147));
static_assert(offsetof(AcPhysics, slipRatio) == acWord(160));
static_assert(offsetof(AcPhysics, slipAngle) == acWord(164));
static_assert(offsetof(AcPhysics, absActive) == acWord(169));
static_assert(offsetof(AcPhysics, waterTemp) == acWord(178));

static_assert(sizeof(AcSession) == acWord(63));
static_assert(offsetof(AcSession, status) == acWord(1));
static_assert(offsetof(AcSession, session) == acWord(2));
static_assert(offsetof(AcSession, completedLaps) == acWord(33));
static_assert(offsetof(AcSession, position) == acWord(34));
static_assert(offsetof(AcSession, currentLapMs) == acWord(35));
static_assert(offsetof(AcSession, lastLapMs) == acWord(36));
static_assert(offsetof(AcSession, bestLapMs) == acWord(37));
static_assert(offsetof(AcSession, timeLeft) == acWord(38));
static_assert(offsetof(AcSession, inPit) == acWord(40));
static_assert(offsetof(AcSession, sector) == acWord(41));
static_assert(offsetof(AcSession, numberOfLaps) == acWord(43));
static_assert(offsetof(AcSession, tyreCompound) == acWord(44));
static_assert(offsetof(AcSession, lapPosition) == acWord(62));

static_assert(sizeof(AcGraphics) == 296);
static_assert(offsetof(AcGraphics, flag) == acWord(67));
static_assert(offsetof(AcGraphics, inPitLane) == acWord(69));

static_assert(sizeof(AccGraphics) == 1588);
static_assert(offsetof(AccGraphics, activeCars) == acWord(63));
static_assert(offsetof(AccGraphics, carPosition) == acWord(64));
static_assert(offsetof(AccGraphics, carId) == acWord(244));
static_assert(offsetof(AccGraphics, playerCarId) == acWord(304));
static_assert(offsetof(AccGraphics, flag) == acWord(306));
static_assert(offsetof(AccGraphics, penalty) == acWord(307));
static_assert(offsetof(AccGraphics, inPitLane) == acWord(309));
static_assert(offsetof(AccGraphics, surfaceGrip) == acWord(310));
static_assert(offsetof(AccGraphics, tcLevel) == acWord(317));
static_assert(offsetof(AccGraphics, absLevel) == acWord(320));
static_assert(offsetof(AccGraphics, unread330) == acWord(330));
static_assert(offsetof(AccGraphics, sectorYellow) == acWord(375));
static_assert(offsetof(AccGraphics, globalYellow) == acWord(378));
static_assert(offsetof(AccGraphics, globalWhite) == acWord(379));
static_assert(offsetof(AccGraphics, globalGreen) == acWord(380));
static_assert(offsetof(AccGraphics, globalChequered) == acWord(381));
static_assert(offsetof(AccGraphics, trackStatus) == acWord(389));
static_assert(offsetof(AccGraphics, rain) == acWord(390));

static_assert(sizeof(AcStatic) == 524);
static_assert(offsetof(AcStatic, carModel) == 68);
static_assert(offsetof(AcStatic, track) == 134);
static_assert(offsetof(AcStatic, firstName) == 200);
static_assert(offsetof(AcStatic, surname) == 266);
static_assert(offsetof(AcStatic, maxRpm) == acWord(103));
static_assert(offsetof(AcStatic, maxFuel) == acWord(104));
static_assert(offsetof(AcStatic, maxTurboBoost) == acWord(113));
static_assert(offsetof(AcStatic, splineLength) == acWord(130));

/// Bytes of each page of one sim.
struct AcPageSizes {
    size_t physics = 0, graphics = 0, statics = 0;
};
inline constexpr AcPageSizes kAcSizes = {580, 296, 524};
inline constexpr AcPageSizes kAccSizes = {672, 1588, 820};
inline constexpr AcPageSizes kAcRallySizes = {672, 1320, 524};
inline constexpr AcPageSizes kAcEvoSizes = {716, 4900, 208};

/// Copies the page's first `size` bytes to `page`, which has `room`; the rest of it becomes zero.
/// A page that is shorter is taken as far as it goes. False when nothing could be read.
bool acCopyPage(const SharedMap& map, size_t size, void* page, size_t room);

/// A page that begins with a packet id, copied anew while the id moves under the copy, a few times
/// at most: a sim that writes all the time must not stand still for us, and one step between two
/// fields is small.
bool acCopySteady(const SharedMap& map, size_t size, void* page, size_t room);

/// A text field as UTF-8, cut at a character's border. Allocates for long texts.
void acText(char* out, size_t capacity, const void* units);
template <size_t N>
void acText(char (&out)[N], const void* units) {
    acText(out, N, units);
}

} // namespace vt
