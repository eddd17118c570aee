#include "telemetry/readers/iracing_frame.h"

#include "base/utf8.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace vt {

namespace {

constexpr float kNoValue = -1000;
constexpr float kNotThere = std::numeric_limits<float>::quiet_NaN();
constexpr int32_t kUnlimitedLaps = 32767;
constexpr double kUnknownTime = 86400;

float pedal(float value) {
    return std::clamp(value, 0.0f, 1.0f);
}

void fillText(SimFrame& out, const IrSessionText& text) {
    out.maxRpm = text.maxRpm;
    out.shiftFirstRpm = text.shiftFirstRpm;
    out.shiftRpm = text.shiftRpm;
    out.shiftBlinkRpm = text.shiftBlinkRpm;
    out.fuelCapacity = text.fuelCapacity;
    out.pitLimitSpeed = text.pitLimitSpeed;
    out.pitStallPct = text.pitStallPct;
    out.trackLength = text.trackLength;
    out.trackId = text.trackId;
    out.trackTurns = text.trackTurns;
    out.timeOfDay = text.timeOfDay;
    out.seasonId = text.seasonId;
    out.raceWeek = text.raceWeek;
    out.fixedSetup = text.fixedSetup;
    out.setupHash = text.setupHash;
    out.setupUpdateCount = text.setupUpdateCount;
    out.classPowerAdjust = text.classPowerAdjust;
    out.classWeightPenalty = text.classWeightPenalty;
    out.incidentLimit = text.incidentLimit;
    static_assert(sizeof out.trackName == sizeof text.trackName);
    static_assert(sizeof out.trackConfig == sizeof text.trackConfig);
    static_assert(sizeof out.buildVersion == sizeof text.buildVersion);
    static_assert(sizeof out.sessionDate == sizeof text.sessionDate);
    static_assert(sizeof out.setupText == sizeof text.setupText);
    static_assert(sizeof out.carModel == sizeof text.carModel);
    static_assert(sizeof out.carName == sizeof text.carName);
    std::memcpy(out.trackName, text.trackName, sizeof out.trackName);
    std::memcpy(out.trackConfig, text.trackConfig, sizeof out.trackConfig);
    std::memcpy(out.buildVersion, text.buildVersion, sizeof out.buildVersion);
    std::memcpy(out.sessionDate, text.sessionDate, sizeof out.sessionDate);
    std::memcpy(out.setupText, text.setupText, strnlen(text.setupText, sizeof text.setupText - 1));
    std::memcpy(out.carModel, text.carModel, sizeof out.carModel);
    std::memcpy(out.carName, text.carName, sizeof out.carName);
    out.sectorStarts.assign(text.sectorStarts.begin(), text.sectorStarts.end());
    out.playerCarIdx = text.playerCarIdx;
}

void fillDriving(SimFrame& out, const IrSample& s) {
    out.isOnTrack = s.flag("IsOnTrack", 1);
    out.inGarage = s.flag("IsInGarage");
    out.trackSurface = s.elementInt(s.find("CarIdxTrackSurface"), out.playerCarIdx, -1);
    out.throttle = pedal(s.real("Throttle"));
    out.brake = pedal(s.real("Brake"));
    out.clutch = pedal(1 - s.real("Clutch", 1));       // the sim's 1 is a released pedal
    out.steerAngle = 0 - s.real("SteeringWheelAngle"); // the sim's positive is to the left
    out.gear = s.integer("Gear");
    out.rpm = s.real("RPM");
    out.speed = std::max(s.real("Speed"), 0.0f);
    out.latAccel = s.real("LatAccel");
    out.longAccel = s.real("LongAccel");
    out.fuelLevel = s.real("FuelLevel");
    out.onPitRoad = s.flag("OnPitRoad");
    out.inPitStall = s.flag("PlayerCarInPitStall");
    out.pitLimiterOn = s.flag("dcPitSpeedLimiterToggle");
    out.carLeftRight = s.integer("CarLeftRight");
    out.radioCarIdx = s.integer("RadioTransmitCarIdx", -1);
}

void fillEngine(SimFrame& out, const IrSample& s) {
    out.waterTemp = s.real("WaterTemp", kNoValue);
    out.oilTemp = s.real("OilTemp", kNoValue);
    out.oilPressure = s.real("OilPress", kNoValue);
    out.batteryVolts = s.real("Voltage", kNoValue);
    out.brakeBias = s.real("dcBrakeBias", kNoValue);
    out.tcLevel = s.real("dcTractionControl", kNoValue);
    out.absLevel = s.real("dcABS", kNoValue);
    out.engineWarnings = s.bits("EngineWarnings");
}

void fillDelta(const IrSample& s, const char* name, const char* okName, float& value, uint8_t& ok) {
    value = s.elementReal(s.find(name), 0, kNotThere);
    const bool there = std::isfinite(value);
    if (!there) value = 0;
    ok = there && s.flag(okName, 1);
}

void fillDeltas(SimFrame& out, const IrSample& s) {
    fillDelta(s, "LapDeltaToBestLap", "LapDeltaToBestLap_OK", out.deltaBest, out.deltaBestOk);
    fillDelta(s, "LapDeltaToOptimalLap", "LapDeltaToOptimalLap_OK", out.deltaOptimal,
              out.deltaOptimalOk);
    fillDelta(s, "LapDeltaToSessionBestLap", "LapDeltaToSessionBestLap_OK", out.deltaSessionBest,
              out.deltaSessionBestOk);
    // The sim spells this name with an l too many.
    fillDelta(s, "LapDeltaToSessionLastlLap", "LapDeltaToSessionLastlLap_OK", out.deltaLast,
              out.deltaLastOk);
}

void fillLaps(SimFrame& out, const IrSample& s) {
    out.lapDistPct = s.real("LapDistPct");
    out.sessionTime = s.number("SessionTime");
    out.lap = s.integer("Lap", -1);
    out.lastLapTime = std::max(s.real("LapLastLapTime"), 0.0f);
    out.bestLapTime = std::max(s.real("LapBestLapTime"), 0.0f);
    out.currentLapTime = std::max(s.real("LapCurrentLapTime"), 0.0f);
    out.incidents = s.integer("PlayerCarMyIncidentCount", -1);
    const double remain = s.number("SessionTimeRemain");
    out.timeRemain = remain >= kUnknownTime ? -1 : remain;
    const int32_t total = s.integer("SessionLapsTotal");
    out.timedSession = total < 1 || total >= kUnlimitedLaps;
    out.lapsRemain = out.timedSession ? -1 : s.integer("SessionLapsRemainEx", -1);
}

void fillPosition(SimFrame& out, const IrSample& s) {
    constexpr const char* kRumble[4] = {"TireLF_RumblePitch", "TireRF_RumblePitch",
                                        "TireLR_RumblePitch", "TireRR_RumblePitch"};
    out.latitude = s.number("Lat");
    out.longitude = s.number("Lon");
    out.velX = s.real("VelocityX");
    out.velY = s.real("VelocityY");
    out.yawNorth = s.real("YawNorth");
    for (int i = 0; i < 4; ++i)
        out.tyreRumble[i] = s.real(kRumble[i]);
}

void fillMotion(SimFrame& out, const IrSample& s) {
    out.yawRate = s.real("YawRate");
    out.latVelocity = s.real("VelocityY");
    out.absActive = s.flag("BrakeABSactive");
    out.dynamicsMask = (s.has("YawRate") ? 1u : 0u) | (s.has("VelocityY") ? 2u : 0u) |
                       (s.has("BrakeABSactive") ? 4u : 0u);
    out.latVelocitySource = s.has("VelocityY") ? 2 : 0;
}

void fillWeather(SimFrame& out, const IrSample& s) {
    out.airTemp = s.real("AirTemp");
    out.trackTemp = s.real("TrackTempCrew");
    out.precipitation = s.real("Precipitation");
    out.wetnessLevel = s.integer("TrackWetness");
    out.wetness =
        out.wetnessLevel >= 1 ? std::min(static_cast<float>(out.wetnessLevel - 1) / 6, 1.0f) : 0;
}

/// Mean of those of `names` that exist; false when none does.
bool meanOf(const IrSample& s, const char* const (&names)[3], float& out) {
    double sum = 0;
    int count = 0;
    bool any = false;
    for (const char* name : names) {
        const IrVar* var = s.find(name);
        any = any || var;
        const float value = s.elementReal(var, 0, kNotThere);
        if (!std::isfinite(value)) continue;
        sum += static_cast<double>(value);
        count += 1;
    }
    if (count > 0) out = static_cast<float>(sum / count);
    return any;
}

void fillTyres(SimFrame& out, const IrSample& s) {
    struct Corner {
        const char* temp[3];
        const char* wear[3];
        const char* pressure;
    };
    static constexpr Corner kCorners[4] = {
        {{"LFtempCL", "LFtempCM", "LFtempCR"}, {"LFwearL", "LFwearM", "LFwearR"}, "LFcoldPressure"},
        {{"RFtempCL", "RFtempCM", "RFtempCR"}, {"RFwearL", "RFwearM", "RFwearR"}, "RFcoldPressure"},
        {{"LRtempCL", "LRtempCM", "LRtempCR"}, {"LRwearL", "LRwearM", "LRwearR"}, "LRcoldPressure"},
        {{"RRtempCL", "RRtempCM", "RRtempCR"}, {"RRwearL", "RRwearM", "RRwearR"}, "RRcoldPressure"},
    };
    bool any = false;
    for (size_t i = 0; i < 4; ++i) {
        any |= meanOf(s, kCorners[i].temp, out.tyreTemp[i]);
        any |= meanOf(s, kCorners[i].wear, out.tyreWear[i]);
        any |= s.has(kCorners[i].pressure);
        out.tyrePressure[i] = s.real(kCorners[i].pressure, out.tyrePressure[i]);
    }
    out.tyreDataLevel = any ? 2 : 0; // the sim measures tyres at the pit stop only
}

/// Session number and what the text says about it. Gives the number that indexes the text's
/// tables, or -1.
int32_t fillSession(SimFrame& out, const IrSample& s, const IrSessionText& text, IrMemory& memory) {
    const IrVar* var = s.find("SessionNum");
    if (!var) return -1;
    const int32_t number = s.elementInt(var, 0);
    out.sessionNum = number;
    memory.currentSession = number;
    if (number < 0 || static_cast<size_t>(number) >= text.sessions.size()) return number;
    const IrSession& session = text.sessions[static_cast<size_t>(number)];
    static_assert(sizeof out.sessionName == sizeof session.name);
    std::memcpy(out.sessionName, session.name, sizeof out.sessionName);
    out.isRace = session.isRace;
    out.timeTotal = session.length;
    return number;
}

void fillFlags(SimFrame& out, uint32_t simFlags) {
    out.sessionFlags = irFlagsToFrame(simFlags);
    out.blackFlag = simFlags & kIrFlagDisqualify ? 2 : simFlags & kIrFlagBlack ? 1 : 0;
}

void fillPhases(SimFrame& out, const IrSample& s, uint32_t simFlags) {
    if (!frameIsRace(out)) return;
    constexpr int32_t phases[] = {0, 1, 1, 1, 2, 3, 3}; // by SessionState
    if (out.sessionState >= 0 && out.sessionState <= 6) out.racePhase = phases[out.sessionState];
    if (!(simFlags & kIrAnyYellow)) return;
    if (simFlags & kIrFlagOneLapToGreen)
        out.cautionPhase = 5;
    else
        out.cautionPhase = s.has("PitsOpen") ? 2 + 2 * s.flag("PitsOpen") : 1;
}

void fillGrid(SimFrame& out, int32_t position, const IrSessionText& text, IrMemory& memory) {
    if (memory.gridSessionNum != out.sessionNum) {
        memory.gridSessionNum = out.sessionNum;
        memory.gridPosition = -1;
        memory.gridSeen = 0;
    }
    if (out.racePhase == 1 && out.playerCarIdx >= 0) {
        memory.gridSeen = 1;
        if (position > 0) memory.gridPosition = position;
    }
    if (memory.gridPosition >= 1)
        out.gridPosition = memory.gridPosition;
    else
        out.gridPosition = memory.gridSeen ? text.qualifyFallback : -1;
}

void fillPositionsGained(SimFrame& out, int32_t position, IrMemory& memory) {
    if (memory.startSessionNum != out.sessionNum) {
        memory.startSessionNum = out.sessionNum;
        memory.startPosition = -1;
    }
    if (memory.startPosition < 1 && position >= 1 && out.sessionState == 4 &&
        containsNoCase(out.sessionName, "race"))
        memory.startPosition = position;
    if (memory.startPosition < 1 || position < 1) return;
    out.positionsGained = memory.startPosition - position;
    out.positionsGainedOk = 1;
}

} // namespace

uint32_t irFlagsToFrame(uint32_t simFlags) {
    constexpr struct {
        uint32_t sim, frame;
    } map[] = {
        {kIrFlagCheckered, kFlagChequered}, {kIrFlagWhite, kFlagWhite},
        {kIrFlagGreen, kFlagGreen},         {kIrFlagRed, kFlagRed},
        {kIrFlagBlue, kFlagBlue},           {kIrFlagRepair, kFlagRepair},
        {kIrFlagFurled, kFlagWarning},      {kIrAnyYellow, kFlagYellow},
    };
    uint32_t flags = 0;
    for (const auto& entry : map)
        if (simFlags & entry.sim) flags |= entry.frame;
    return flags;
}

void fillIRacingFrame(SimFrame& out, const IrSample& sample, const IrSessionText& text,
                      IrMemory& memory, bool withGps) {
    resetKeepingCapacity(out);
    out.connected = 1;
    out.simKind = kSimIRacing;
    fillText(out, text);
    fillDriving(out, sample);
    fillEngine(out, sample);
    fillDeltas(out, sample);
    fillLaps(out, sample);
    if (withGps) fillPosition(out, sample);
    fillMotion(out, sample);
    fillWeather(out, sample);
    fillTyres(out, sample);

    const uint32_t simFlags = sample.bits("SessionFlags");
    fillFlags(out, simFlags);
    out.sessionState = sample.integer("SessionState");
    const int32_t session = fillSession(out, sample, text, memory);
    fillPhases(out, sample, simFlags);
    const int32_t position = sample.elementInt(sample.find("CarIdxPosition"), out.playerCarIdx);
    fillGrid(out, position, text, memory);
    fillPositionsGained(out, position, memory);
    fillDynamics(out, sample, memory.dynamics);
    fillRows(out, sample, text, session, memory.rows);
}

} // namespace vt
