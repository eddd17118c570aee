#include "telemetry/readers/raceroom_frame.h"

#include "base/utf8.h"
#include "telemetry/reader_parts.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace vt {

namespace {

constexpr float kRpmPerRadS = 9.549296f;
constexpr float kUsualHalfRange = 270; // degrees, where the sim does not know the wheel's range

float atLeast0(float value) {
    return std::max(0.0f, finiteOr(value, 0));
}

int32_t counterOrNone(int32_t value) {
    return std::max(value, -1);
}

template <size_t N>
std::string_view textOf(const char (&text)[N]) {
    return {text, strnlen(text, N)};
}

void fillSteering(SimFrame& out, const RaceRoomPage& page) {
    const float degrees =
        page.steerWheelRange <= 1 ? kUsualHalfRange : static_cast<float>(page.steerWheelRange) / 2;
    out.steerLock = degrees * kRadPerDeg;
    out.steerAngle = finiteOr(out.steerLock * page.steerInput, 0);
}

void fillCar(SimFrame& out, const RaceRoomPage& page) {
    out.inGarage = page.inGarage == 1;
    out.isOnTrack = page.controlledByOther == 0 && page.notDriving[0] == 0 &&
                    page.notDriving[1] == 0 && !out.inGarage;
    out.onPitRoad = page.inPitlane == 1;
    out.inPitStall = page.pitState == 3;
    out.throttle = atLeast0(page.throttle);
    out.brake = atLeast0(page.brake);
    out.clutch = atLeast0(page.clutch);
    out.speed = atLeast0(page.speed);
    fillSteering(out, page);
    out.gear = page.gear > -2 ? page.gear : 0;
    out.rpm = atLeast0(page.engineSpeed) * kRpmPerRadS;
    out.maxRpm = atLeast0(page.maxEngineSpeed) * kRpmPerRadS;
    out.pitLimiterOn = page.pitLimiter == 1;
    out.pitLimitSpeed = atLeast0(page.pitSpeedLimit);
    out.latAccel = -finiteOr(page.localAccelX, 0);
    out.longAccel = -finiteOr(page.localAccelZ, 0);
    out.fuelLevel = atLeast0(page.fuelLeft);
    out.fuelCapacity = atLeast0(page.fuelCapacity);
    out.fuelPerLap = atLeast0(page.fuelPerLap);
    std::snprintf(out.carModel, sizeof out.carModel, "model_%d", page.modelId);
}

uint32_t flagsOf(const RaceRoomPage& page) {
    uint32_t flags = 0;
    if (page.flagYellow == 1) flags |= kFlagYellow;
    if (page.flagGreen == 1) flags |= kFlagGreen;
    if (page.flagBlue == 1) flags |= kFlagBlue;
    if (page.flagChequered == 1) flags |= kFlagChequered;
    if (page.flagBlackAndWhite > 0) flags |= kFlagWarning;
    return flags;
}

void fillLapsLeft(SimFrame& out, const RaceRoomPage& page) {
    out.timedSession = page.numberOfLaps < 1;
    if (out.timedSession || page.completedLaps < 0) return;
    const int32_t left = page.numberOfLaps - page.completedLaps;
    if (left <= 1) out.sessionFlags |= kFlagWhite;
    out.lapsRemain = std::max(left, 0);
}

void fillSession(SimFrame& out, const RaceRoomPage& page) {
    static constexpr const char* names[] = {"Practice", "Qualify", "Race", "Warmup"};
    if (page.sessionType >= 0 && page.sessionType < static_cast<int32_t>(std::size(names)))
        copyText(out.sessionName, names[page.sessionType]);
    out.sessionState = page.sessionPhase;
    out.sessionFlags = flagsOf(page);
    if (page.sessionTimeRemaining >= 0) out.timeRemain = finiteOr(page.sessionTimeRemaining, 0);
    copyText(out.trackName, textOf(page.trackName));
    out.trackLength = atLeast0(page.layoutLength);
    out.incidents = counterOrNone(page.incidents);
    out.penalties = counterOrNone(page.penalties);
    fillLapsLeft(out, page);
}

void fillLap(SimFrame& out, const RaceRoomPage& page) {
    out.lap = counterOrNone(page.completedLaps);
    out.currentSector = counterOrNone(page.trackSector);
    out.lapDistPct = std::min(atLeast0(page.lapDistanceFraction), 1.0f);
    out.lastLapTime = atLeast0(page.lastLapTime);
    out.bestLapTime = atLeast0(page.bestLapTime);
    if (page.currentLapTime > 0 && page.currentLapTime < 36000)
        out.currentLapTime = page.currentLapTime;
}

void fillRows(SimFrame& out, const RaceRoomPage& page) {
    const int count = std::clamp(page.numCars, 0, kRaceRoomCars);
    for (int i = 0; i < count; ++i) {
        const RaceRoomDriver& driver = page.drivers[i];
        CarRow& row = out.cars.emplace_back();
        row.carIdx = driver.slotId;
        copyText(row.driverName, textOf(driver.name));
        row.position = std::max(driver.place, 0);
        row.classPosition = std::max(driver.placeClass, 0);
        row.carNumberValue = std::max(driver.carNumber, 0);
        row.lap = std::max(driver.completedLaps, 0);
        row.estTime = atLeast0(driver.currentLapTime);
        row.lapDistPct = std::min(atLeast0(driver.lapDistanceFraction), 1.0f);
        row.lastLapTime = atLeast0(driver.lastLapTime);
        row.bestLapTime = atLeast0(driver.bestLapTime);
        row.onPitRoad = driver.inPitlane == 1;
        if (driver.slotId == page.playerSlotId) out.playerCarIdx = driver.slotId;
    }
}

} // namespace

bool raceRoomUsable(const RaceRoomPage& page) {
    return page.versionMajor == kRaceRoomMajor && page.driverTableOffset == kRaceRoomTableOffset &&
           page.driverRecordSize == static_cast<int32_t>(sizeof(RaceRoomDriver));
}

void fillRaceRoomFrame(SimFrame& out, const RaceRoomPage& page) {
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kSimRaceRoom;
    fillCar(out, page);
    fillSession(out, page);
    fillLap(out, page);
    fillRows(out, page);
}

} // namespace vt
