#include "telemetry/readers/vehicle_frame.h"

#include "base/utf8.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

constexpr double kLongestLap = 36000;      // s
constexpr int32_t kCountlessLaps = 100000; // from here on a session has no lap count
constexpr float kUsualWheelRange = 540;    // degrees, where the sim does not tell

const char* sessionName(int32_t session) {
    if (session == 0) return "Test Day";
    if (session >= 1 && session <= 4) return "Practice";
    if (session >= 5 && session <= 8) return "Qualify";
    if (session == 9) return "Warmup";
    return isRaceSession(session) ? "Race" : "";
}

float positiveOr0(double seconds) {
    return seconds > 0 ? finiteOr(seconds, 0) : 0;
}

float wheelSlip(const VehicleWheel& wheel, double along) {
    return static_cast<float>(std::atan2(std::abs(wheel.lateralPatchVelocity), std::abs(along)) *
                              180 / M_PI);
}

void fillSlips(SimFrame& out, const VehicleTelemetry& car, VehicleMemory& memory) {
    const Vec3d velocity = car.localVelocity;
    fillSlip(out, memory.slip, velocity.x, velocity.z, car.elapsed - memory.elapsed);
    if (!(std::abs(velocity.z) >= double{kSlipMinSpeed})) return;
    float slips[4];
    for (int i = 0; i < 4; ++i)
        slips[i] = wheelSlip(car.wheels[i], velocity.z);
    fillAxleSlips(out, axleSlip(slips[0], slips[1]), axleSlip(slips[2], slips[3]));
}

void fillControls(SimFrame& out, const VehicleTelemetry& car) {
    out.brake = finiteOr(car.brake, 0);
    out.clutch = finiteOr(car.clutch, 0);
    const float range =
        car.wheelRange > 1 && std::isfinite(car.wheelRange) ? car.wheelRange : kUsualWheelRange;
    out.steerLock = range / 2 * kRadPerDeg;
    out.steerAngle = finiteOr(car.steering * double{out.steerLock}, 0);
    out.gear = car.gear;
    out.rpm = finiteOr(car.rpm, 0);
    out.maxRpm = finiteOr(car.maxRpm, 0);
    out.brakeBias = finiteOr((1 - car.rearBrakeBias) * 100, -1000);
    if (car.tcPresent) out.tcLevel = car.tcLevel;
    if (car.absPresent) out.absLevel = car.absLevel;
}

} // namespace

int32_t sampleMs(const VehicleTelemetry& car) {
    const double ms = std::trunc(car.elapsed * 1000);
    return ms >= 0 && ms < 2147483647.0 ? static_cast<int32_t>(ms) : -1;
}

const VehicleScoring* findPlayer(std::span<const VehicleScoring> cars) {
    const auto player =
        std::find_if(cars.begin(), cars.end(), [](const VehicleScoring& c) { return c.isPlayer; });
    return player == cars.end() ? nullptr : &*player;
}

float lapFraction(double distance, double trackLength) {
    if (!(trackLength > 1)) return 0;
    return std::clamp(finiteOr(distance / trackLength, 0), -1.0f, 1.0f);
}

void fillVehicle(SimFrame& out, const VehicleTelemetry& car, const ScoringInfo& info,
                 VehicleMemory& memory) {
    out.sessionTime = car.elapsed > 0 && std::isfinite(car.elapsed) ? car.elapsed
                      : std::isfinite(info.currentTime)             ? info.currentTime
                                                                    : 0;
    fillControls(out, car);
    out.speed = std::abs(finiteOr(car.localVelocity.z, 0));
    out.latAccel = finiteOr(-car.localAcceleration.x, 0);
    out.longAccel = finiteOr(-car.localAcceleration.z, 0);
    out.dynamicsSpeed = out.speed;
    out.dynamicsOk = 1;
    fillSlips(out, car, memory);
    out.pitLimitSpeed = learnPitLimit(memory.pitLimit, out.pitLimiterOn, out.speed);
    out.fuelLevel = finiteOr(car.fuel, 0);
    out.fuelCapacity = finiteOr(car.fuelCapacity, 0);
    const double lapTime = car.elapsed - car.lapStart;
    if (lapTime > 0 && lapTime < kLongestLap) out.currentLapTime = static_cast<float>(lapTime);
}

bool fillSession(SimFrame& out, const ScoringInfo& info, VehicleMemory& memory) {
    copyText(out.trackName, textOf(info.trackName));
    const bool otherTrack = std::strcmp(out.trackName, memory.trackName) != 0;
    if (otherTrack) {
        std::memcpy(memory.trackName, out.trackName, sizeof memory.trackName);
        memory.pitLimit.clear();
    }
    out.trackLength = std::max(0.0f, finiteOr(info.lapDist, 0));
    out.airTemp = finiteOr(info.ambientTemp, 0);
    out.trackTemp = finiteOr(info.trackTemp, 0);
    out.precipitation = finiteOr(info.raining, 0);
    out.wetness = finiteOr(info.wetness, 0);
    out.sessionNum = info.session;
    copyText(out.sessionName, sessionName(info.session));
    out.sessionState = info.gamePhase;
    return otherTrack;
}

void fillPlayer(SimFrame& out, const VehicleScoring& player) {
    out.playerCarIdx = player.id;
    copyText(out.carModel, textOf(player.vehicleName));
    out.lap = player.laps;
    out.penalties = player.penalties;
    out.lastLapTime = positiveOr0(player.lastLapTime);
    out.bestLapTime = positiveOr0(player.bestLapTime);
    out.isOnTrack = !player.inGarage;
    out.inGarage = player.inGarage != 0;
    out.onPitRoad = player.inPits != 0;
    out.inPitStall = player.pitState == kPitStopped;
    out.lapValidity = player.countLap >= kLapCounts;
    out.currentSector = player.sector < 0 ? -1 : player.sector;
}

uint32_t flagsOfPhase(uint8_t gamePhase, bool yellow) {
    uint32_t flags = 0;
    if (yellow || gamePhase == kPhaseFullCourseYellow)
        flags = kFlagYellow;
    else if (gamePhase == kPhaseGreen)
        flags = kFlagGreen;
    if (gamePhase == kPhaseOver) flags |= kFlagChequered;
    return flags;
}

void fillRacePhase(SimFrame& out, const ScoringInfo& info, const VehicleScoring* player) {
    if (!isRaceSession(info.session)) return;
    const uint8_t phase = info.gamePhase;
    if (phase >= kPhaseWarmUp && phase <= kPhaseCountdown) out.racePhase = 1;
    if (phase == kPhaseGreen || phase == kPhaseFullCourseYellow) out.racePhase = 2;
    if (phase == kPhaseOver || (player && player->finishStatus >= 1)) out.racePhase = 3;
}

void fillLapsRemain(SimFrame& out, const ScoringInfo& info) {
    out.timedSession = info.maxLaps <= 0 || info.maxLaps >= kCountlessLaps;
    if (out.timedSession) return;
    const int32_t left = info.maxLaps - out.lap;
    if (left < 2) out.sessionFlags |= kFlagWhite;
    out.lapsRemain = std::max(left, 0);
}

CarRow& addRow(SimFrame& out, const VehicleScoring& car, double trackLength) {
    CarRow& row = out.cars.emplace_back();
    row.carIdx = car.id;
    copyText(row.driverName, textOf(car.driverName));
    copyText(row.carClass, textOf(car.vehicleClass));
    const std::string_view vehicle = textOf(car.vehicleName);
    copyText(row.carBrand, vehicle.substr(0, vehicle.find(' ')));
    row.position = car.place;
    row.lap = car.laps;
    row.estTime = finiteOr(car.estTime, 0);
    row.gapToLeader = finiteOr(car.timeBehindLeader, 0);
    row.lapDistPct = lapFraction(car.lapDist, trackLength);
    row.pathLateral = finiteOr(car.pathLateral, 0);
    row.onPitRoad = car.inPits != 0;
    row.finishStatus = car.finishStatus >= 0 && car.finishStatus <= 3 ? car.finishStatus : 0;
    row.lastLapTime = positiveOr0(car.lastLapTime);
    row.bestLapTime = positiveOr0(car.bestLapTime);
    return row;
}

} // namespace vt
