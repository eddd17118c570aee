// AC EVO's shared pages as they lie in memory, little-endian; texts are bytes. The physics page is
// the family's (`AcPhysics`).
#pragma once
#include "telemetry/readers/ac_pages.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vt {

inline constexpr char kAcEvoPhysicsName[] = "Local\\acevo_pmf_physics";
inline constexpr char kAcEvoGraphicsName[] = "Local\\acevo_pmf_graphics";
inline constexpr char kAcEvoStaticName[] = "Local\\acevo_pmf_static";

#pragma pack(push, 1)

struct AcEvoGraphics {
    uint32_t packetId = 0;
    int32_t status = 0; // kAcLive: the player drives
    uint8_t unread8[56] = {};
    float abovePitLimit = 0; // km/h
    uint8_t unread68[52] = {};
    float oilTemp = 0;     // °C
    float oilPressure = 0; // bar
    uint8_t unread128[16] = {};
    float turboBoost = 0; // bar
    uint8_t unread148[4] = {};
    float boostFraction = 0;
    int32_t wheelDegrees = 0; // of the steering wheel, positive to the right
    uint8_t unread160[28] = {};
    int32_t currentLapMs = 0;
    uint8_t unread192[8] = {};
    float fuelFraction = 0; // 0..1 or 0..100
    uint8_t unread204[1040] = {};
    float lapPosition = 0; // 0..1, but not from the line
    uint8_t unread1248[140] = {};
    int32_t pitState = 0; // 1 in the lane, 2 and 3 on the ways to and from it
    uint8_t unread1392[480] = {};
    int16_t tcLevel = 0, absLevel = 0;
    uint8_t unread1876[508] = {};
    int32_t completedLaps = 0;
    int32_t position = 0;
    uint8_t unread2392[4] = {};
    int32_t lastLapMs = 0, bestLapMs = 0;
    int32_t flag = 0; // at the car
    int32_t globalFlag = 0;
    uint8_t unread2412[9] = {};
    uint8_t whiteMarker = 0;
    uint8_t unread2422[102] = {};
    float timeLeftMs = 0;
    uint8_t unread2528[321] = {};
    uint8_t timingInvalid = 0;
    uint8_t unread2850[170] = {};
    char firstName[33] = {};
    char surname[33] = {};
    char carModel[33] = {};
    uint8_t inPitStall = 0;
    uint8_t unread3120 = 0;
    uint8_t lapValid = 0;
    uint8_t unread3122[2] = {};
    float carPosition[kAcMaxCars][3] = {}; // m in the world; all zero = empty slot
    uint8_t unread3844[8] = {};
    uint8_t activeCars = 0;
    uint8_t unread3853[1047] = {};
};

struct AcEvoStatic {
    char version[15] = {};
    char gameVersion[15] = {};
    uint8_t unread30[2] = {};
    int32_t session = 0;
    char sessionText[49] = {};
    uint8_t timedSession = 0;
    uint8_t unread86[50] = {};
    char track[33] = {};
    char layout[33] = {};
    uint8_t unread202[2] = {};
    float trackLength = 0; // m
};

#pragma pack(pop)

static_assert(sizeof(AcPhysics) == kAcEvoSizes.physics);
static_assert(offsetof(AcPhysics, pitLimiter) == 248 && offsetof(AcPhysics, brakeBias) == 564);
static_assert(offsetof(AcPhysics, maxRpm) == 588);

static_assert(sizeof(AcEvoGraphics) == kAcEvoSizes.graphics);
static_assert(offsetof(AcEvoGraphics, status) == 4);
static_assert(offsetof(AcEvoGraphics, abovePitLimit) == 64);
static_assert(offsetof(AcEvoGraphics, oilTemp) == 120);
static_assert(offsetof(AcEvoGraphics, oilPressure) == 124);
static_assert(offsetof(AcEvoGraphics, turboBoost) == 144);
static_assert(offsetof(AcEvoGraphics, boostFraction) == 152);
static_assert(offsetof(AcEvoGraphics, wheelDegrees) == 156);
static_assert(offsetof(AcEvoGraphics, currentLapMs) == 188);
static_assert(offsetof(AcEvoGraphics, fuelFraction) == 200);
static_assert(offsetof(AcEvoGraphics, lapPosition) == 1244);
static_assert(offsetof(AcEvoGraphics, pitState) == 1388);
static_assert(offsetof(AcEvoGraphics, tcLevel) == 1872);
static_assert(offsetof(AcEvoGraphics, absLevel) == 1874);
static_assert(offsetof(AcEvoGraphics, completedLaps) == 2384);
static_assert(offsetof(AcEvoGraphics, position) == 2388);
static_assert(offsetof(AcEvoGraphics, lastLapMs) == 2396);
static_assert(offsetof(AcEvoGraphics, bestLapMs) == 2400);
static_assert(offsetof(AcEvoGraphics, flag) == 2404);
static_assert(offsetof(AcEvoGraphics, globalFlag) == 2408);
static_assert(offsetof(AcEvoGraphics, whiteMarker) == 2421);
static_assert(offsetof(AcEvoGraphics, timeLeftMs) == 2524);
static_assert(offsetof(AcEvoGraphics, timingInvalid) == 2849);
static_assert(offsetof(AcEvoGraphics, firstName) == 3020);
static_assert(offsetof(AcEvoGraphics, surname) == 3053);
static_assert(offsetof(AcEvoGraphics, carModel) == 3086);
static_assert(offsetof(AcEvoGraphics, inPitStall) == 3119);
static_assert(offsetof(AcEvoGraphics, lapValid) == 3121);
static_assert(offsetof(AcEvoGraphics, carPosition) == 3124);
static_assert(offsetof(AcEvoGraphics, activeCars) == 3852);

static_assert(sizeof(AcEvoStatic) == kAcEvoSizes.statics);
static_assert(offsetof(AcEvoStatic, gameVersion) == 15);
static_assert(offsetof(AcEvoStatic, session) == 32);
static_assert(offsetof(AcEvoStatic, sessionText) == 36);
static_assert(offsetof(AcEvoStatic, timedSession) == 85);
static_assert(offsetof(AcEvoStatic, track) == 136);
static_assert(offsetof(AcEvoStatic, layout) == 169);
static_assert(offsetof(AcEvoStatic, trackLength) == 204);

/// A text field, which may lack its terminator.
template <size_t N>
std::string_view acEvoText(const char (&field)[N]) {
    const std::string_view whole(field, N);
    return whole.substr(0, whole.find('\0'));
}

} // namespace vt
