#include "telemetry/readers/ac_frame.h"

#include "base/utf8.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

constexpr int32_t kNoLapTimeMs = 3600000; // what AC and AC Rally show when there is none is above
constexpr float kSecondsAtMost = 100000;  // more time left than this is in milliseconds
constexpr int32_t kMaxLaps = 99999;

double timeLeft(float word, AcMemory& memory) {
    if (!std::isfinite(word) || word < 0) return 0;
    if (word > kSecondsAtMost) memory.timeInMs = true;
    return memory.timeInMs ? static_cast<double>(word) / 1000 : static_cast<double>(word);
}

void fillPlayerRow(SimFrame& out, int32_t position, const AcTexts& texts) {
    CarRow& row = out.cars.emplace_back();
    out.playerCarIdx = 0;
    row.carIdx = 0;
    row.position = position >= 1 && position <= 999 ? position : 0;
    row.lap = out.lap;
    row.lapDistPct = out.lapDistPct;
    row.lastLapTime = out.lastLapTime;
    row.bestLapTime = out.bestLapTime;
    row.onPitRoad = out.onPitRoad;
    copyText(row.driverName, texts.driver);
}

void fillShortLapTimes(SimFrame& out, const AcSession& session) {
    out.currentLapTime = acLapSeconds(session.currentLapMs, kNoLapTimeMs);
    out.lastLapTime = acLapSeconds(session.lastLapMs, kNoLapTimeMs);
    out.bestLapTime = acLapSeconds(session.bestLapMs, kNoLapTimeMs);
}

} // namespace

void acUpdateTexts(AcTexts& texts, const AcStatic& page) {
    if (std::memcmp(&texts.page, &page, sizeof page) == 0) return;
    texts.page = page;
    acText(texts.carModel, page.carModel);
    acText(texts.track, page.track);
    char first[64], last[64];
    acText(first, page.firstName);
    acText(last, page.surname);
    std::string name = first;
    if (*first && *last) name += ' ';
    copyText(texts.driver, name + last);
}

uint32_t acFlagBits(int32_t flag, bool withGreen) {
    switch (flag) {
    case 1:
        return kFlagBlue;
    case 2:
        return kFlagYellow;
    case 4:
        return kFlagWhite;
    case 5:
        return kFlagChequered;
    case 7:
        return withGreen ? kFlagGreen : 0u;
    default:
        return 0;
    }
}

float acLapSeconds(int32_t ms, int32_t limitMs) {
    return ms > 0 && ms < limitMs ? static_cast<float>(ms) / 1000 : 0;
}

const char* acSessionName(SimKind kind, int32_t session) {
    constexpr const char* names[] = {"Practice",    "Qualifying", "Race", "Hotlap",
                                     "Time Attack", "Drift",      "Drag"};
    constexpr const char* accNames[] = {"Hot Stint", "Superpole Qualifying"};
    constexpr const char* rallyNames[] = {"Hotstint", "Superpole"};
    if (session >= 0 && session < 7) return names[session];
    if (session == 7 || session == 8) {
        if (kind == kSimAcc) return accNames[session - 7];
        if (kind == kSimAcRally) return rallyNames[session - 7];
    }
    return "";
}

void fillAcAxles(SimFrame& out, const float (&slipAngle)[4]) {
    if (out.speed < kSlipMinSpeed) return;
    fillAxleSlips(out, axleSlip(slipAngle[0] * kDegPerRad, slipAngle[1] * kDegPerRad),
                  axleSlip(slipAngle[2] * kDegPerRad, slipAngle[3] * kDegPerRad));
}

void fillAcCommon(SimFrame& out, SimKind kind, const AcInput& input, const AcSession& session,
                  bool inPitLane, AcMemory& memory) {
    const AcPhysics& physics = input.physics;
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kind;
    out.throttle = finiteOr(physics.gas, 0);
    out.brake = finiteOr(physics.brake, 0);
    out.gear = std::clamp(physics.gear, 0, 100) - 1;
    out.rpm = static_cast<float>(physics.rpm);
    out.speed = std::max(finiteOr(physics.speedKmh, 0) / 3.6f, 0.0f);
    out.latAccel = finiteOr(physics.acceleration[0] * kGravity, 0);
    out.longAccel = finiteOr(physics.acceleration[2] * kGravity, 0);
    out.airTemp = finiteOr(physics.airTemp, 0);
    out.trackTemp = finiteOr(physics.roadTemp, 0);
    out.fuelLevel = finiteOr(physics.fuel, 0);
    out.brakeBias = finiteOr(physics.brakeBias * 100, out.brakeBias);
    out.pitLimiterOn = physics.pitLimiter != 0;
    steerApply(input.steer, out, physics.steer);

    out.sessionState = session.status;
    out.lap = std::clamp(session.completedLaps, -1, kMaxLaps);
    out.lapDistPct = clamp01(session.lapPosition);
    out.currentSector = session.sector;
    out.timeRemain = timeLeft(session.timeLeft, memory);
    out.inPitStall = session.inPit != 0;
    out.onPitRoad = session.inPit != 0 || inPitLane;
    copyText(out.sessionName, acSessionName(kind, session.session));

    acUpdateTexts(memory.texts, input.statics);
    copyText(out.carModel, memory.texts.carModel);
    copyText(out.trackName, memory.texts.track);
    if (const float length = finiteOr(input.statics.splineLength, 0); length > 1)
        out.trackLength = length;
    if (const float capacity = finiteOr(input.statics.maxFuel, 0); capacity > 0)
        out.fuelCapacity = capacity;

    const float side = physics.localVelocity[0], along = physics.localVelocity[2];
    const bool plausible = kind != kSimAcRally || (std::abs(side) < 150 && std::abs(along) < 150);
    if (plausible)
        fillSlip(out, memory.slip, side, along, input.seconds);
    else
        memory.slip.valid = false;
    out.dynamicsFromYaw = out.slipSource == 2 && kind != kSimAcRally;
    out.dynamicsSpeed = out.speed;
    out.dynamicsOk = 1;
}

void fillAcFrame(SimFrame& out, const AcInput& input, const AcGraphics& graphics,
                 AcMemory& memory) {
    const AcSession& session = graphics.session;
    fillAcCommon(out, kSimAc, input, session, graphics.inPitLane != 0, memory);
    out.isOnTrack = session.status == kAcLive;
    out.clutch = finiteOr(input.physics.clutch, 0);
    if (input.statics.maxRpm > 100) out.maxRpm = static_cast<float>(input.statics.maxRpm);
    out.sessionFlags = acFlagBits(graphics.flag, false);
    fillShortLapTimes(out, session);
    if (session.numberOfLaps >= 1 && session.numberOfLaps <= kMaxLaps) {
        out.lapsRemain = std::max(session.numberOfLaps - std::max(out.lap, 0), 0);
        out.timedSession = 0;
    }
    fillPlayerRow(out, session.position, memory.texts);
}

void fillAcRallyFrame(SimFrame& out, const AcInput& input, const AccGraphics& graphics,
                      AcMemory& memory) {
    const AcPhysics& physics = input.physics;
    fillAcCommon(out, kSimAcRally, input, graphics.session, graphics.inPitLane != 0, memory);
    out.isOnTrack = physics.rpm > 0 || out.speed * 3.6f > 3;
    out.clutch = finiteOr(physics.clutch, 0);
    if (physics.maxRpm > 100)
        out.maxRpm = static_cast<float>(physics.maxRpm);
    else if (input.statics.maxRpm > 100)
        out.maxRpm = static_cast<float>(input.statics.maxRpm);
    out.tcLevel = static_cast<float>(graphics.tcLevel);
    out.absLevel = static_cast<float>(graphics.absLevel);
    // Some builds of the sim give kelvin.
    if (out.airTemp > 150 || out.trackTemp > 150) memory.inKelvin = true;
    if (memory.inKelvin) {
        out.airTemp -= 273.15f;
        out.trackTemp -= 273.15f;
    }
    if (graphics.surfaceGrip > 0) out.wetness = clamp01(1 - graphics.surfaceGrip);
    out.sessionFlags = acFlagBits(graphics.flag, true);
    fillShortLapTimes(out, graphics.session);
    if (std::all_of(std::begin(physics.slipAngle), std::end(physics.slipAngle),
                    [](float angle) { return std::abs(angle) <= 1.6f; }))
        fillAcAxles(out, physics.slipAngle);
    fillPlayerRow(out, graphics.session.position, memory.texts);
}

} // namespace vt
