#include "iracing_variables.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

namespace player {

namespace {

using model::Car;
using model::Wheel;
using vt::kIrBits, vt::kIrBool, vt::kIrDouble, vt::kIrFloat, vt::kIrInt;
using M = IrMoment;

constexpr double kUnlimitedTime = 604800; // s
constexpr int kUnlimitedLaps = 32767;
constexpr int kCars = vt::kIrMaxCars;

bool isRace(const M& m) {
    return m.race.settings.session == model::SessionKind::race;
}

int surfaceOf(const M& m, const Car& car) {
    if (car.index == 0 && m.away) return -1;
    if (car.pit == model::PitPlace::stall) return 1;
    if (car.pit == model::PitPlace::lane) return 2;
    const double toEntry = m.race.circuit.pitEntry - car.pct;
    if (car.stopping && m.race.circuit.pitEntry > 0 && toEntry > 0 && toEntry < 0.02) return 2;
    return car.offTrack ? 0 : 3;
}

int materialOf(const Car& car) {
    if (car.pit != model::PitPlace::none) return 5; // concrete
    if (car.offTrack) return 15;                    // grass
    return car.wheels[0].onKerb || car.wheels[1].onKerb ? 11 : 1;
}

/// A lap fraction as a float that stays below 1.
double fraction(double pct) {
    return std::min(pct, 0.99999994);
}

double flagsOf(const M& m) {
    uint32_t flags = 0x10040000; // start lights hidden, service allowed
    if (m.race.yellow) flags |= vt::kIrFlagCaution;
    if (m.race.lastLap) flags |= vt::kIrFlagWhite;
    if (m.race.chequered) flags |= vt::kIrFlagCheckered;
    const bool green = m.race.started && !m.race.yellow && !m.race.chequered;
    if (green && m.race.time - m.race.startTime < 10) flags |= vt::kIrFlagGreen;
    if (m.furled) flags |= vt::kIrFlagFurled;
    return flags;
}

/// 1 nobody beside the player's car, 2 left, 3 right, 4 both, 5 and 6 two of them.
int carsBeside(const M& m) {
    if (m.away) return 0;
    int left = 0, right = 0;
    for (const Car& car : m.race.cars) {
        if (&car == &m.me || car.pit != m.me.pit) continue;
        double way = std::abs(car.s - m.me.s);
        if (m.race.circuit.closed) way = std::min(way, m.race.circuit.length - way);
        if (way > 4.6) continue;
        (car.lateral < m.me.lateral ? left : right) += 1;
    }
    if (left > 0 && right > 0) return 4;
    if (left > 0) return left > 1 ? 5 : 2;
    if (right > 0) return right > 1 ? 6 : 3;
    return 1;
}

double yawNorth(const M& m) {
    const double turn = 2 * std::numbers::pi;
    const double yaw = std::numbers::pi / 2 - m.me.heading; // clockwise from north
    return yaw - turn * std::floor(yaw / turn);
}

double lapsLeft(const M& m) {
    if (m.race.settings.laps == 0) return kUnlimitedLaps;
    const int led = m.race.cars[static_cast<size_t>(m.race.leader)].lap;
    return std::max(0, m.race.settings.laps - std::max(led, 0));
}

double timeTo(const M& m, const Car& car) {
    const std::vector<double>& times = m.lapTimes[static_cast<size_t>(car.classIndex)];
    const double last = static_cast<double>(times.size() - 1) - 1e-9;
    const double at = std::clamp(car.s / m.race.circuit.step, 0.0, last);
    const auto i = static_cast<size_t>(at);
    return std::lerp(times[i], times[i + 1], at - static_cast<double>(i));
}

double orNone(double seconds) {
    return seconds > 0 ? seconds : -1;
}

enum class In { both, live, file };

bool holds(In in, IrTable table) {
    return in == In::both || (in == In::live) == (table == IrTable::live);
}

struct One {
    const char* name;
    int32_t type;
    const char *unit, *description;
    double (*value)(const M&);
    In in = In::both;
};

/// Of each wheel: the name is the wheel's two letters between `before` and `behind`.
struct OfWheel {
    const char *before, *behind, *unit, *description;
    double (*value)(const M&, const Wheel& now, const Wheel& measured);
};

/// Of each car; `none` stands for those that are not there.
struct OfCar {
    const char* name;
    int32_t type;
    const char* description;
    double none;
    double (*value)(const M&, const Car&);
    bool whenAway = false; // also of a car whose driver has left it
};

constexpr const char* kWheels[4] = {"LF", "RF", "LR", "RR"};

const One kOnes[] = {
    {"SessionTime", kIrDouble, "s", "Seconds since session start",
     [](const M& m) { return m.time; }},
    {"SessionTick", kIrInt, "", "Current update number", [](const M& m) { return 0.0 + m.tick; }},
    {"SessionNum", kIrInt, "", "Session number", [](const M& m) { return 0.0 + m.session; }},
    {"SessionState", kIrInt, "irsdk_SessionState", "Session state",
     [](const M& m) { return m.race.chequered ? 5.0
                             : m.race.started ? 4.0
                                              : 3.0; }},
    {"SessionUniqueID", kIrInt, "", "Session ID", [](const M& m) { return 1.0 + m.session; }},
    {"SessionFlags", kIrBits, "irsdk_Flags", "Session flags", flagsOf},
    {"SessionTimeRemain", kIrDouble, "s", "Seconds left till session ends",
     [](const M& m) { return m.race.settings.laps > 0 ? kUnlimitedTime : m.race.remaining; }},
    {"SessionLapsRemain", kIrInt, "", "Old laps left till session ends", lapsLeft},
    {"SessionLapsRemainEx", kIrInt, "", "New improved laps left till session ends", lapsLeft},
    {"SessionTimeTotal", kIrDouble, "s", "Total number of seconds in session",
     [](const M& m) {
         return m.race.settings.laps > 0 ? kUnlimitedTime : m.race.settings.minutes * 60;
     }},
    {"SessionLapsTotal", kIrInt, "", "Total number of laps in session",
     [](const M& m) {
         return 0.0 + (m.race.settings.laps > 0 ? m.race.settings.laps : kUnlimitedLaps);
     }},
    {"SessionTimeOfDay", kIrFloat, "s", "Time of day in seconds",
     [](const M& m) { return 43200 + m.time; }},
    {"RadioTransmitCarIdx", kIrInt, "", "The car index of the current person speaking",
     [](const M&) { return -1.0; }, In::live},
    {"IsOnTrack", kIrBool, "", "1=Car on track physics running with player in car",
     [](const M& m) { return m.away ? 0.0 : 1.0; }},
    {"IsReplayPlaying", kIrBool, "", "0=replay not playing  1=replay playing",
     [](const M&) { return 0.0; }, In::live},
    {"PlayerCarPosition", kIrInt, "", "Players position in race",
     [](const M& m) { return 0.0 + m.me.position; }},
    {"PlayerCarClassPosition", kIrInt, "", "Players class position in race",
     [](const M& m) { return 0.0 + m.me.classPosition; }},
    {"PlayerCarClass", kIrInt, "", "Player car class id",
     [](const M& m) { return 4000.0 + m.me.classIndex; }},
    {"PlayerTrackSurface", kIrInt, "irsdk_TrkLoc", "Players car track surface type",
     [](const M& m) { return 0.0 + surfaceOf(m, m.me); }},
    {"PlayerTrackSurfaceMaterial", kIrInt, "irsdk_TrkSurf",
     "Players car track surface material type", [](const M& m) { return 0.0 + materialOf(m.me); }},
    {"PlayerCarIdx", kIrInt, "", "Players carIdx", [](const M& m) { return 0.0 + m.me.index; }},
    {"PlayerCarTeamIncidentCount", kIrInt, "", "Players team incident count for this session",
     [](const M& m) { return 0.0 + m.me.incidents; }},
    {"PlayerCarMyIncidentCount", kIrInt, "", "Players own incident count for this session",
     [](const M& m) { return 0.0 + m.me.incidents; }},
    {"PlayerCarDriverIncidentCount", kIrInt, "",
     "Teams current drivers incident count for this session",
     [](const M& m) { return 0.0 + m.me.incidents; }},
    {"PlayerCarWeightPenalty", kIrFloat, "kg", "Players weight penalty",
     [](const M&) { return 0.0; }},
    {"PlayerCarPowerAdjust", kIrFloat, "%", "Players power adjust", [](const M&) { return 0.0; }},
    {"PlayerCarTowTime", kIrFloat, "s", "Players car is being towed if time is greater than zero",
     [](const M&) { return 0.0; }},
    {"PlayerCarInPitStall", kIrBool, "", "Players car is properly in their pitstall",
     [](const M& m) { return m.me.pit == model::PitPlace::stall ? 1.0 : 0.0; }},
    {"PlayerTireCompound", kIrInt, "", "Players car current tire compound",
     [](const M&) { return 0.0; }},
    {"OnPitRoad", kIrBool, "", "Is the player car on pit road between the cones",
     [](const M& m) { return m.me.pit != model::PitPlace::none ? 1.0 : 0.0; }},
    {"SteeringWheelAngle", kIrFloat, "rad", "Steering wheel angle",
     [](const M& m) { return -m.me.wheelAngle; }},
    {"Throttle", kIrFloat, "%", "0=off throttle to 1=full throttle",
     [](const M& m) { return m.me.throttle; }},
    {"Brake", kIrFloat, "%", "0=brake released to 1=max pedal force",
     [](const M& m) { return m.me.brake; }},
    {"Clutch", kIrFloat, "%", "0=disengaged to 1=fully engaged",
     [](const M& m) { return 1 - m.me.clutch; }},
    {"Gear", kIrInt, "", "-1=reverse  0=neutral  1..n=current gear",
     [](const M& m) { return 0.0 + m.me.gear; }},
    {"RPM", kIrFloat, "revs/min", "Engine rpm", [](const M& m) { return m.me.rpm; }},
    {"Lap", kIrInt, "", "Laps started count", [](const M& m) { return m.me.lap + 1.0; }},
    {"LapCompleted", kIrInt, "", "Laps completed count", [](const M& m) { return 0.0 + m.me.lap; }},
    {"LapDist", kIrFloat, "m", "Meters traveled from S/F this lap",
     [](const M& m) { return m.me.s; }},
    {"LapDistPct", kIrFloat, "%", "Percentage distance around lap",
     [](const M& m) { return fraction(m.me.pct); }},
    {"LapBestLap", kIrInt, "", "Players best lap number",
     [](const M& m) { return 0.0 + m.bestLapNumber; }},
    {"LapBestLapTime", kIrFloat, "s", "Players best lap time",
     [](const M& m) { return m.me.bestLap; }},
    {"LapLastLapTime", kIrFloat, "s", "Players last lap time",
     [](const M& m) { return m.lastLap; }},
    {"LapCurrentLapTime", kIrFloat, "s", "Estimate of players current lap time as shown in F3 box",
     [](const M& m) { return m.me.lapTime; }},
    {"LapDeltaToBestLap", kIrFloat, "s", "Delta time for best lap",
     [](const M& m) { return m.delta; }},
    {"LapDeltaToBestLap_OK", kIrBool, "", "Delta time for best lap is valid",
     [](const M& m) { return m.deltaOk ? 1.0 : 0.0; }},
    {"LapDeltaToOptimalLap", kIrFloat, "s", "Delta time for optimal lap",
     [](const M&) { return 0.0; }},
    {"LapDeltaToOptimalLap_OK", kIrBool, "", "Delta time for optimal lap is valid",
     [](const M&) { return 0.0; }},
    {"LapDeltaToSessionBestLap", kIrFloat, "s", "Delta time for session best lap",
     [](const M& m) { return m.delta; }},
    {"LapDeltaToSessionBestLap_OK", kIrBool, "", "Delta time for session best lap is valid",
     [](const M& m) { return m.deltaOk ? 1.0 : 0.0; }},
    {"LapDeltaToSessionLastlLap", kIrFloat, "s", "Delta time for session last lap",
     [](const M&) { return 0.0; }},
    {"LapDeltaToSessionLastlLap_OK", kIrBool, "", "Delta time for session last lap is valid",
     [](const M&) { return 0.0; }},
    {"Speed", kIrFloat, "m/s", "GPS vehicle speed", [](const M& m) { return m.me.speed; }},
    {"Yaw", kIrFloat, "rad", "Yaw orientation",
     [](const M& m) { return model::wrapAngle(m.me.heading); }},
    {"YawNorth", kIrFloat, "rad", "Yaw orientation relative to north", yawNorth},
    {"Pitch", kIrFloat, "rad", "Pitch orientation",
     [](const M& m) { return -0.002 * m.me.longAccel; }},
    {"Roll", kIrFloat, "rad", "Roll orientation", [](const M& m) { return 0.002 * m.me.latAccel; }},
    {"CarLeftRight", kIrInt, "irsdk_CarLeftRight",
     "Notify if car is to the left or right of driver",
     [](const M& m) { return 0.0 + carsBeside(m); }, In::live},
    {"IsInGarage", kIrBool, "", "1=Car in garage physics running", [](const M&) { return 0.0; },
     In::live},
    {"Lat", kIrDouble, "deg", "Latitude in decimal degrees",
     [](const M& m) { return irPlaceAt(m.origin, m.me.x, m.me.y).latitude; }, In::file},
    {"Lon", kIrDouble, "deg", "Longitude in decimal degrees",
     [](const M& m) { return irPlaceAt(m.origin, m.me.x, m.me.y).longitude; }, In::file},
    {"Alt", kIrFloat, "m", "Altitude in meters", [](const M&) { return 180.0; }, In::file},
    {"TrackTemp", kIrFloat, "C", "Deprecated  set to TrackTempCrew",
     [](const M& m) { return m.race.settings.trackTemp; }},
    {"TrackTempCrew", kIrFloat, "C", "Temperature of track measured by crew around track",
     [](const M& m) { return m.race.settings.trackTemp; }},
    {"AirTemp", kIrFloat, "C", "Temperature of air at start/finish line",
     [](const M& m) { return m.race.settings.airTemp; }},
    {"TrackWetness", kIrInt, "irsdk_TrackWetness", "How wet is the average track surface",
     [](const M& m) { return 1 + std::round(6 * m.race.settings.rain); }},
    {"Precipitation", kIrFloat, "%", "Precipitation at start/finish line",
     [](const M& m) { return m.race.settings.rain; }},
    {"WeatherDeclaredWet", kIrBool, "", "The steward says rain tires can be used",
     [](const M& m) { return m.race.settings.rain > 0 ? 1.0 : 0.0; }},
    {"PitsOpen", kIrBool, "", "True if pit stop is allowed for the current player",
     [](const M&) { return 1.0; }},
    {"PitstopActive", kIrBool, "", "Is the player getting pit stop service",
     [](const M& m) {
         return m.me.pit == model::PitPlace::stall && m.me.pitStops > 0 ? 1.0 : 0.0;
     }},
    {"IsOnTrackCar", kIrBool, "", "1=Car on track physics running",
     [](const M& m) { return m.away ? 0.0 : 1.0; }},
    {"SteeringWheelAngleMax", kIrFloat, "rad", "Steering wheel max angle",
     [](const M& m) {
         return model::classOf(m.race, m.me).wheelRotation / 180 * std::numbers::pi;
     }},
    {"ThrottleRaw", kIrFloat, "%", "Raw throttle input 0=off throttle to 1=full throttle",
     [](const M& m) { return m.me.throttle; }},
    {"BrakeRaw", kIrFloat, "%", "Raw brake input 0=brake released to 1=max pedal force",
     [](const M& m) { return m.me.brake; }},
    {"BrakeABSactive", kIrBool, "", "true if abs is currently reducing brake force pressure",
     [](const M& m) { return m.me.absActive ? 1.0 : 0.0; }},
    {"EngineWarnings", kIrBits, "irsdk_EngineWarnings", "Bitfield for warning lights",
     [](const M& m) { return (m.me.limiter ? 16.0 : 0.0) + (m.me.stalled ? 8.0 : 0.0); }},
    {"VelocityZ", kIrFloat, "m/s", "Z velocity", [](const M&) { return 0.0; }},
    {"VelocityY", kIrFloat, "m/s", "Y velocity",
     [](const M& m) { return -m.me.speed * std::sin(m.me.slip); }}, // positive to the left
    {"VelocityX", kIrFloat, "m/s", "X velocity",
     [](const M& m) { return m.me.speed * std::cos(m.me.slip); }},
    {"YawRate", kIrFloat, "rad/s", "Yaw rate", [](const M& m) { return m.me.yawRate; }},
    {"VertAccel", kIrFloat, "m/s^2", "Vertical acceleration (including gravity)",
     [](const M&) { return 9.80665; }},
    {"LatAccel", kIrFloat, "m/s^2", "Lateral acceleration (including gravity)",
     [](const M& m) { return -m.me.latAccel; }}, // positive to the left
    {"LongAccel", kIrFloat, "m/s^2", "Longitudinal acceleration (including gravity)",
     [](const M& m) { return m.me.longAccel; }},
    {"dcPitSpeedLimiterToggle", kIrBool, "", "In car traction control active",
     [](const M& m) { return m.me.limiter ? 1.0 : 0.0; }},
    {"dcBrakeBias", kIrFloat, "", "In car brake bias adjustment", [](const M&) { return 54.5; }},
    {"dcTractionControl", kIrFloat, "", "In car traction control adjustment",
     [](const M&) { return 4.0; }},
    {"dcABS", kIrFloat, "", "In car abs adjustment", [](const M&) { return 3.0; }},
    {"Voltage", kIrFloat, "V", "Engine voltage",
     [](const M& m) { return m.me.stalled ? 12.4 : 13.8; }},
    {"WaterTemp", kIrFloat, "C", "Engine coolant temp", [](const M& m) { return m.me.waterTemp; }},
    {"OilTemp", kIrFloat, "C", "Engine oil temperature", [](const M& m) { return m.me.oilTemp; }},
    {"OilPress", kIrFloat, "bar", "Engine oil pressure",
     [](const M& m) { return m.me.oilPressure; }},
    {"FuelLevel", kIrFloat, "l", "Liters of fuel remaining", [](const M& m) { return m.me.fuel; }},
    {"FuelLevelPct", kIrFloat, "%", "Percent fuel remaining",
     [](const M& m) { return m.me.fuel / model::classOf(m.race, m.me).fuelCapacity; }},
};

const OfWheel kOfWheels[] = {
    {"Tire", "_RumblePitch", "Hz", "Players %s Tire Sound rumblestrip pitch",
     // Ribs of a kerb, 0.35 m apart.
     [](const M& m, const Wheel& w, const Wheel&) { return w.onKerb ? m.me.speed / 0.35 : 0.0; }},
    {"", "speed", "m/s", "%s wheel speed",
     [](const M& m, const Wheel& w, const Wheel&) { return m.me.speed * (1 + w.slipRatio); }},
    {"", "pressure", "kPa", "%s tire pressure",
     [](const M&, const Wheel& w, const Wheel&) { return w.pressure; }},
    {"", "coldPressure", "kPa", "%s tire cold pressure  as set in the garage",
     [](const M&, const Wheel&, const Wheel&) { return 160.0; }},
    {"", "tempL", "C", "%s tire left surface temperature",
     [](const M&, const Wheel& w, const Wheel&) { return w.tempC; }},
    {"", "tempM", "C", "%s tire middle surface temperature",
     [](const M&, const Wheel& w, const Wheel&) { return w.tempC; }},
    {"", "tempR", "C", "%s tire right surface temperature",
     [](const M&, const Wheel& w, const Wheel&) { return w.tempC; }},
    {"", "tempCL", "C", "%s tire left carcass temperature",
     [](const M&, const Wheel&, const Wheel& w) { return w.tempC; }},
    {"", "tempCM", "C", "%s tire middle carcass temperature",
     [](const M&, const Wheel&, const Wheel& w) { return w.tempC; }},
    {"", "tempCR", "C", "%s tire right carcass temperature",
     [](const M&, const Wheel&, const Wheel& w) { return w.tempC; }},
    {"", "wearL", "%", "%s tire left percent tread remaining",
     [](const M&, const Wheel&, const Wheel& w) { return w.wear; }},
    {"", "wearM", "%", "%s tire middle percent tread remaining",
     [](const M&, const Wheel&, const Wheel& w) { return w.wear; }},
    {"", "wearR", "%", "%s tire right percent tread remaining",
     [](const M&, const Wheel&, const Wheel& w) { return w.wear; }},
};

const OfCar kOfCars[] = {
    {"CarIdxLap", kIrInt, "Laps started by car index", -1,
     [](const M&, const Car& c) { return c.lap + 1.0; }},
    {"CarIdxLapCompleted", kIrInt, "Laps completed by car index", -1,
     [](const M&, const Car& c) { return 0.0 + c.lap; }},
    {"CarIdxLapDistPct", kIrFloat, "Percentage distance around lap by car index", -1,
     [](const M&, const Car& c) { return fraction(c.pct); }},
    {"CarIdxTrackSurface", kIrInt, "Track surface type by car index", -1,
     [](const M& m, const Car& c) { return 0.0 + surfaceOf(m, c); }},
    {"CarIdxTrackSurfaceMaterial", kIrInt, "Track surface material type by car index", -1,
     [](const M&, const Car& c) { return 0.0 + materialOf(c); }},
    {"CarIdxOnPitRoad", kIrBool, "On pit road between the cones by car index", 0,
     [](const M&, const Car& c) { return c.pit != model::PitPlace::none ? 1.0 : 0.0; }},
    {"CarIdxPosition", kIrInt, "Cars position in race by car index", 0,
     [](const M&, const Car& c) { return 0.0 + c.position; }, true},
    {"CarIdxClassPosition", kIrInt, "Cars class position in race by car index", 0,
     [](const M&, const Car& c) { return 0.0 + c.classPosition; }, true},
    {"CarIdxClass", kIrInt, "Cars class id by car index", -1,
     [](const M&, const Car& c) { return 4000.0 + c.classIndex; }, true},
    {"CarIdxF2Time", kIrFloat, "Race time behind leader or fastest lap time otherwise", 0,
     [](const M& m, const Car& c) { return isRace(m) ? c.gapToLeader : c.bestLap; }, true},
    {"CarIdxEstTime", kIrFloat, "Estimated time to reach current location on track", 0, timeTo},
    {"CarIdxLastLapTime", kIrFloat, "Cars last lap time", -1,
     [](const M& m, const Car& c) { return orNone(c.index == 0 ? m.lastLap : c.lastLap); }, true},
    {"CarIdxBestLapTime", kIrFloat, "Cars best lap time", -1,
     [](const M&, const Car& c) { return orNone(c.bestLap); }, true},
    {"CarIdxTireCompound", kIrInt, "Cars current tire compound", -1,
     [](const M&, const Car&) { return 0.0; }},
    {"CarIdxSteer", kIrFloat, "Steering wheel angle by car index", 0,
     [](const M&, const Car& c) { return -c.wheelAngle; }},
    {"CarIdxRPM", kIrFloat, "Engine rpm by car index", -1,
     [](const M&, const Car& c) { return c.rpm; }},
    {"CarIdxGear", kIrInt, "-1=reverse  0=neutral  1..n=current gear by car index", -1,
     [](const M&, const Car& c) { return 0.0 + c.gear; }},
};

template <class T>
void store(uint8_t*& at, T value) {
    std::memcpy(at, &value, sizeof value);
    at += sizeof value;
}

/// `at` moves on.
void put(uint8_t*& at, int32_t type, double value) {
    switch (type) {
    case kIrBool:
        return store(at, static_cast<uint8_t>(value != 0));
    case kIrInt:
        return store(at, static_cast<int32_t>(value));
    case kIrBits:
        return store(at, static_cast<uint32_t>(value));
    case kIrFloat:
        return store(at, static_cast<float>(value));
    default:
        return store(at, value);
    }
}

void addVariable(std::vector<vt::IrVarHeader>& out, const std::string& name, int32_t type,
                 int32_t count, const std::string& unit, const std::string& description) {
    vt::IrVarHeader entry;
    entry.type = type;
    entry.count = count;
    if (!out.empty())
        entry.offset = out.back().offset + out.back().count * vt::irElementSize(out.back().type);
    constexpr size_t unitPlace = 64; // behind the description
    name.copy(entry.name, sizeof entry.name - 1);
    description.copy(entry.description, unitPlace - 1);
    unit.copy(entry.description + unitPlace, sizeof entry.description - unitPlace - 1);
    out.push_back(entry);
}

const Car* carThere(const M& m, const OfCar& variable, int index) {
    if (index >= kIrModelCars || index >= static_cast<int>(m.race.cars.size())) return nullptr;
    if (index == 0 && m.away && !variable.whenAway) return nullptr;
    return &m.race.cars[static_cast<size_t>(index)];
}

} // namespace

std::vector<vt::IrVarHeader> irVariables(IrTable table) {
    std::vector<vt::IrVarHeader> out;
    for (const One& one : kOnes)
        if (holds(one.in, table))
            addVariable(out, one.name, one.type, 1, one.unit, one.description);
    for (const OfWheel& v : kOfWheels)
        for (const char* wheel : kWheels) {
            std::string description = v.description;
            description.replace(description.find("%s"), 2, wheel);
            addVariable(out, std::string(v.before) + wheel + v.behind, kIrFloat, 1, v.unit,
                        description);
        }
    if (table == IrTable::live)
        for (const OfCar& v : kOfCars)
            addVariable(out, v.name, v.type, kCars, "", v.description);
    return out;
}

void fillIrSample(const IrMoment& moment, IrTable table, uint8_t* sample) {
    uint8_t* at = sample;
    for (const One& one : kOnes)
        if (holds(one.in, table)) put(at, one.type, one.value(moment));
    for (const OfWheel& v : kOfWheels)
        for (int wheel = 0; wheel < 4; ++wheel)
            put(at, kIrFloat, v.value(moment, moment.me.wheels[wheel], moment.measured[wheel]));
    if (table != IrTable::live) return;
    for (const OfCar& v : kOfCars)
        for (int index = 0; index < kCars; ++index) {
            const Car* car = carThere(moment, v, index);
            put(at, v.type, car ? v.value(moment, *car) : v.none);
        }
}

} // namespace player
