#include "telemetry/readers/ac_evo_frame.h"

#include "base/utf8.h"
#include "telemetry/coach_log.h"
#include "telemetry/readers/ac_frame.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

constexpr int32_t kMostLaps = 99999;
constexpr int32_t kMostWheelDegrees = 3600; // further no wheel turns: the page is not what we think

static_assert(sizeof(AcEvoTexts::names) ==
              offsetof(AcEvoGraphics, inPitStall) - offsetof(AcEvoGraphics, firstName));

uint32_t flagBits(int32_t flag) {
    switch (flag) {
    case 2:
        return kFlagGreen;
    case 4:
        return kFlagBlue;
    case 5:
        return kFlagYellow;
    case 8:
        return kFlagChequered;
    default:
        return 0;
    }
}

float lapSeconds(int32_t ms) {
    return ms >= 1 ? static_cast<float>(ms) / 1000 : 0;
}

void updateNames(AcEvoMemory& memory, const AcEvoGraphics& graphics) {
    AcEvoTexts& texts = memory.texts;
    if (std::memcmp(texts.names, graphics.firstName, sizeof texts.names) == 0) return;
    std::memcpy(texts.names, graphics.firstName, sizeof texts.names);
    std::string name = foreignToUtf8(acEvoText(graphics.firstName));
    const std::string surname = foreignToUtf8(acEvoText(graphics.surname));
    if (!name.empty() && !surname.empty()) name += ' ';
    copyText(texts.driver, name + surname);
    const std::string car = foreignToUtf8(acEvoText(graphics.carModel));
    if (car == texts.carModel) return;
    copyText(texts.carModel, car);
    memory.wheel = {};
    memory.tank = {};
}

void updateStaticTexts(AcEvoTexts& texts, const AcEvoStatic& page) {
    if (texts.haveStatic && std::memcmp(&texts.statics, &page, sizeof page) == 0) return;
    texts.haveStatic = true;
    texts.statics = page;
    std::string track = foreignToUtf8(acEvoText(page.track));
    const std::string layout = foreignToUtf8(acEvoText(page.layout));
    if (!layout.empty() && track.find(layout) == track.npos) track += " " + layout;
    copyText(texts.track, track);
    constexpr const char* sessions[] = {"TIME ATTACK", "RACE", "HOT STINT", "CRUISE"};
    if (page.session >= 0 && page.session < 4)
        copyText(texts.session, sessions[page.session]);
    else
        copyText(texts.session, acEvoText(page.sessionText));
}

float trackLengthOf(const AcEvoPages& pages) {
    const float length = finiteOr(pages.statics.trackLength, 0);
    return pages.haveStatic && length > 1 ? length : 0;
}

void followTrack(AcEvoMemory& memory, const AcEvoPages& pages) {
    if (!pages.haveStatic) return;
    updateStaticTexts(memory.texts, pages.statics);
    if (memory.trackKnown && std::strcmp(memory.trackName, memory.texts.track) == 0) return;
    memory.trackKnown = true;
    copyText(memory.trackName, memory.texts.track);
    memory.trackId = trackNameHash(memory.trackName);
    memory.pitLimit = 0;
    memory.line = {};
    memory.place = {};
    const AcEvoStatic& s = pages.statics;
    coachLog("acevo track: static track \"%s\", layout \"%s\" -> \"%s\", id %d, length %.1f m, car "
             "\"%s\", version \"%s\" \"%s\"",
             foreignToUtf8(acEvoText(s.track)).c_str(), foreignToUtf8(acEvoText(s.layout)).c_str(),
             memory.trackName, memory.trackId, static_cast<double>(trackLengthOf(pages)),
             memory.texts.carModel, foreignToUtf8(acEvoText(s.version)).c_str(),
             foreignToUtf8(acEvoText(s.gameVersion)).c_str());
}

void fillCar(SimFrame& out, const AcPhysics& physics, const AcEvoGraphics& graphics) {
    out.throttle = finiteOr(physics.gas, 0);
    out.brake = finiteOr(physics.brake, 0);
    out.clutch = finiteOr(physics.clutch, 0);
    if (std::abs(int64_t{graphics.wheelDegrees}) <= kMostWheelDegrees)
        out.steerAngle = static_cast<float>(graphics.wheelDegrees) * kRadPerDeg;
    out.gear = std::clamp(physics.gear, 0, 100) - 1;
    out.rpm = static_cast<float>(physics.rpm);
    out.maxRpm = static_cast<float>(std::max(physics.maxRpm, 0));
    out.speed = std::max(finiteOr(physics.speedKmh, 0) / 3.6f, 0.0f);
    out.latAccel = finiteOr(-kGravity * physics.acceleration[0], 0);
    out.longAccel = finiteOr(kGravity * physics.acceleration[2], 0);
    out.boost = finiteOr(graphics.turboBoost, 0);
    out.boostFrac = clamp01(graphics.boostFraction);
    out.waterTemp = finiteOr(physics.waterTemp, out.waterTemp);
    out.oilTemp = finiteOr(graphics.oilTemp, out.oilTemp);
    out.oilPressure = finiteOr(graphics.oilPressure, out.oilPressure);
    out.brakeBias = finiteOr(physics.brakeBias, out.brakeBias);
    out.tcLevel = graphics.tcLevel;
    out.absLevel = graphics.absLevel;
    out.airTemp = finiteOr(physics.airTemp, 0);
    out.trackTemp = finiteOr(physics.roadTemp, 0);
    out.fuelLevel = finiteOr(physics.fuel, 0);
}

void fillSession(SimFrame& out, const AcEvoPages& pages, const AcEvoMemory& memory) {
    const AcEvoGraphics& graphics = pages.graphics;
    out.isOnTrack = graphics.status == kAcLive;
    out.sessionState = graphics.status;
    out.sessionFlags = acEvoFlagBits(graphics.flag, graphics.globalFlag, graphics.whiteMarker != 0);
    if (const float left = finiteOr(graphics.timeLeftMs, 0); left > 0)
        out.timeRemain = static_cast<double>(left) / 1000;
    out.lap = std::clamp(graphics.completedLaps, -1, kMostLaps);
    out.lastLapTime = lapSeconds(graphics.lastLapMs);
    out.bestLapTime = lapSeconds(graphics.bestLapMs);
    out.currentLapTime = lapSeconds(graphics.currentLapMs);
    out.onPitRoad = graphics.pitState >= 1 && graphics.pitState <= 3;
    out.inPitStall = graphics.inPitStall != 0;
    out.pitLimiterOn = pages.physics.pitLimiter != 0;
    copyText(out.carModel, memory.texts.carModel);
    copyText(out.trackName, memory.trackName);
    out.trackId = memory.trackId;
    out.trackLength = trackLengthOf(pages);
    if (!pages.haveStatic) return;
    out.timedSession = pages.statics.timedSession != 0;
    copyText(out.sessionName, memory.texts.session);
}

void fillLearned(SimFrame& out, const AcEvoPages& pages, AcEvoMemory& memory) {
    const AcEvoGraphics& graphics = pages.graphics;
    out.steerLock = acEvoLearnLock(memory.wheel, out.steerAngle);
    acEvoLearnTank(memory.tank, out.fuelLevel, graphics.fuelFraction);
    out.fuelCapacity = memory.tank.capacity;
    if (memory.pitLimit <= 0 && graphics.pitState == 1)
        memory.pitLimit = acEvoPitLimit(pages.physics.speedKmh, graphics.abovePitLimit);
    out.pitLimitSpeed = memory.pitLimit;
    memory.validSeen = memory.validSeen || graphics.lapValid != 0;
    if (memory.validSeen) out.lapValidity = graphics.lapValid != 0;
}

void noteLap(AcEvoMemory& memory, const AcEvoPages& pages, bool lapDone) {
    const AcEvoGraphics& graphics = pages.graphics;
    AcEvoLapNote& note = memory.lapNote;
    if (lapDone) {
        coachLog("acevo lap %d done: last %d ms, valid_lap %d, timing_invalid %d (now %d/%d), max "
                 "tyres out %d",
                 graphics.completedLaps, graphics.lastLapMs, note.valid, note.timingInvalid,
                 graphics.lapValid, graphics.timingInvalid, note.tyresOut);
        note.tyresOut = 0;
    }
    note.valid = graphics.lapValid;
    note.timingInvalid = graphics.timingInvalid;
    note.tyresOut = std::max(note.tyresOut, std::clamp(pages.physics.tyresOut, 0, 4));
}

void logLine(const AcEvoLine& line, const AcEvoLineStep& step, float npos, float trackLength) {
    if (step.learned)
        coachLog("acevo line: lap counted at npos %.4f -> offset %.4f (%.0f m), lap position now "
                 "starts at the game's line",
                 static_cast<double>(npos), static_cast<double>(line.offset),
                 static_cast<double>(line.offset * trackLength));
    if (step.refused)
        coachLog("acevo line: lap counted at npos %.4f, outside the %.0f%% window; not learnt from",
                 static_cast<double>(npos), static_cast<double>(kAcEvoLineWindow * 100));
}

void fillLapPosition(SimFrame& out, const AcEvoPages& pages, double now, AcEvoMemory& memory) {
    const AcEvoGraphics& graphics = pages.graphics;
    const float npos = clamp01(graphics.lapPosition);
    const AcEvoLineStep step =
        acEvoLineStep(memory.line, npos, graphics.completedLaps, out.isOnTrack && !out.onPitRoad);
    logLine(memory.line, step, npos, out.trackLength);
    noteLap(memory, pages, step.lapDone);
    const bool ahead = out.isOnTrack && out.trackLength > 1 && !step.held;
    const float rate = ahead ? out.speed / out.trackLength : 0;
    out.lapDistPct = acEvoPlaceNow(memory.place, step.position, now, static_cast<double>(rate));
}

void fillDynamics(SimFrame& out, const AcPhysics& physics, double seconds, AcEvoMemory& memory) {
    fillSlip(out, memory.slip, static_cast<double>(physics.localVelocity[0]),
             static_cast<double>(physics.localVelocity[2]), seconds);
    fillAcAxles(out, physics.slipAngle);
    out.dynamicsFromYaw = 1;
    out.dynamicsSpeed = out.speed;
    out.dynamicsOk = 1;
    if (std::all_of(std::begin(physics.slipRatio), std::end(physics.slipRatio),
                    [](float ratio) { return std::isfinite(ratio); })) {
        std::copy_n(physics.slipRatio, 4, out.wheelSlipRatio);
        out.wheelSlipSource = 2;
    }
    out.absActive = physics.absActive != 0;
    out.dynamicsMask = 4;
    if (out.slipSource == 2) {
        out.latVelocity = physics.localVelocity[0];
        out.latVelocitySource = 2;
        out.dynamicsMask |= 2;
    }
}

void fillPlace(SimFrame& out, const AcPhysics& physics, const AcEvoGeometry& geometry, double now,
               AcEvoMemory& memory) {
    if (acEvoVote(memory.axes, geometry))
        coachLog("acevo frame: up axis %d, map axes %d/%d, flip %+.0f", memory.axes.up,
                 memory.axes.a, memory.axes.b, static_cast<double>(memory.axes.flip));
    acEvoFillWorld(out, memory.axes, geometry);
    if (acEvoLearnYaw(memory.yaw, out, physics.yawRate, now))
        coachLog("acevo yaw: sign %+.0f (%d agree / %d disagree)",
                 static_cast<double>(memory.yaw.sign), memory.yaw.agree, memory.yaw.disagree);
    if (memory.yaw.sign == 0 || !std::isfinite(physics.yawRate)) return;
    out.yawRate = physics.yawRate * memory.yaw.sign;
    out.dynamicsMask |= 1;
}

int32_t surfaceOf(const SimFrame& frame, int32_t tyresOut) {
    if (frame.inPitStall) return 1;
    if (frame.onPitRoad) return 2;
    return tyresOut == 3 || tyresOut == 4 ? 0 : 3;
}

} // namespace

uint32_t acEvoFlagBits(int32_t flag, int32_t globalFlag, bool whiteMarker) {
    return flagBits(flag) | flagBits(globalFlag) | (whiteMarker ? kFlagWhite : 0u);
}

void fillAcEvoFrame(SimFrame& out, const AcEvoPages& pages, double now, double sessionTime,
                    AcEvoMemory& memory) {
    const double seconds = memory.last < 0 ? 0 : now - memory.last;
    memory.last = now;
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kSimAcEvo;
    out.sessionTime = sessionTime;
    updateNames(memory, pages.graphics);
    followTrack(memory, pages);
    fillCar(out, pages.physics, pages.graphics);
    fillSession(out, pages, memory);
    fillLearned(out, pages, memory);
    fillLapPosition(out, pages, now, memory);
    fillDynamics(out, pages.physics, seconds, memory);
    const AcEvoGeometry geometry = acEvoGeometry(pages.physics.contactPoint);
    fillPlace(out, pages.physics, geometry, now, memory);
    out.trackSurface = surfaceOf(out, pages.physics.tyresOut);
    acEvoTimeSectors(out, memory.sectors, seconds, out.onPitRoad || !out.isOnTrack);
    acEvoFillRows(out, memory.cars, pages.graphics, geometry, memory.sectors.timing,
                  memory.texts.driver);
}

} // namespace vt
