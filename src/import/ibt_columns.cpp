#include "import/ibt_columns.h"

#include "telemetry/readers/iracing_frame.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr struct {
    const char* name;
    const IrVar* IbtColumns::*column;
} kColumns[] = {
    {"Throttle", &IbtColumns::throttle},
    {"Brake", &IbtColumns::brake},
    {"SteeringWheelAngle", &IbtColumns::steer},
    {"Gear", &IbtColumns::gear},
    {"RPM", &IbtColumns::rpm},
    {"Speed", &IbtColumns::speed},
    {"LatAccel", &IbtColumns::latAccel},
    {"LongAccel", &IbtColumns::longAccel},
    {"AirTemp", &IbtColumns::airTemp},
    {"TrackTempCrew", &IbtColumns::trackTemp},
    {"TrackWetness", &IbtColumns::wetness},
    {"SessionFlags", &IbtColumns::sessionFlags},
    {"SessionState", &IbtColumns::sessionState},
    {"SessionNum", &IbtColumns::sessionNum},
    {"PlayerCarMyIncidentCount", &IbtColumns::incidents},
    {"FuelLevel", &IbtColumns::fuel},
    {"Lap", &IbtColumns::lap},
    {"LapLastLapTime", &IbtColumns::lastLapTime},
    {"PlayerTrackSurface", &IbtColumns::trackSurface},
    {"PlayerTireCompound", &IbtColumns::compound},
    {"dcBrakeBias", &IbtColumns::brakeBias},
    {"dcTractionControl", &IbtColumns::tcLevel},
    {"dcABS", &IbtColumns::absLevel},
    {"LapDistPct", &IbtColumns::lapPct},
    {"SessionTime", &IbtColumns::sessionTime},
    {"IsOnTrack", &IbtColumns::isOnTrack},
    {"OnPitRoad", &IbtColumns::onPitRoad},
    {"VelocityX", &IbtColumns::velX},
    {"VelocityY", &IbtColumns::velY},
    {"YawNorth", &IbtColumns::yaw},
    {"YawRate", &IbtColumns::yawRate},
    {"BrakeABSactive", &IbtColumns::absActive},
    {"Lat", &IbtColumns::latitude},
    {"Lon", &IbtColumns::longitude},
};
constexpr const char* kRumble[4] = {"TireLF_RumblePitch", "TireRF_RumblePitch",
                                    "TireLR_RumblePitch", "TireRR_RumblePitch"};
constexpr float kNone = -1000;

float pedal(float value) {
    return std::clamp(value, 0.0f, 1.0f);
}

void readDriving(const IrSample& r, const IbtColumns& c, PerfSample& out) {
    out.throttle = pedal(r.elementReal(c.throttle, 0));
    out.brake = pedal(r.elementReal(c.brake, 0));
    out.steer = 0 - r.elementReal(c.steer, 0); // the sim's positive is to the left
    out.gear = r.elementInt(c.gear, 0);
    out.rpm = r.elementReal(c.rpm, 0);
    out.speed = std::max(r.elementReal(c.speed, 0), 0.0f);
    out.latAccel = r.elementReal(c.latAccel, 0);
    out.longAccel = r.elementReal(c.longAccel, 0);
    out.velX = r.elementReal(c.velX, 0);
    out.velY = r.elementReal(c.velY, 0);
    out.yaw = r.elementReal(c.yaw, 0);
    out.yawRate = r.elementReal(c.yawRate, 0);
    out.latVelocity = out.velY;
    out.absActive = r.element(c.absActive, 0, 0) != 0;
    for (size_t i = 0; i < 4; ++i)
        out.rumble[i] = r.elementReal(c.rumble[i], 0);
}

void readPlace(const IrSample& r, const IbtColumns& c, PerfSample& out) {
    out.sessionTime = r.element(c.sessionTime, 0, 0);
    out.lapPct = r.elementReal(c.lapPct, 0);
    out.lap = r.elementInt(c.lap, 0, -1);
    out.lastLapTime = std::max(r.elementReal(c.lastLapTime, 0), 0.0f);
    out.isOnTrack = r.element(c.isOnTrack, 0, 1) != 0;
    out.onPitRoad = r.element(c.onPitRoad, 0, 0) != 0;
    out.trackSurface = r.elementInt(c.trackSurface, 0, -1);
    out.incidents = r.elementInt(c.incidents, 0, -1);
    out.sessionState = r.elementInt(c.sessionState, 0);
    out.latitude = out.longitude = 0;
    if (!c.positions) return;
    // Out of range stands for a value that is not finite.
    const double latitude = r.element(c.latitude, 0, 1000);
    const double longitude = r.element(c.longitude, 0, 1000);
    if (std::abs(latitude) > 90 || std::abs(longitude) > 180) return;
    out.latitude = latitude;
    out.longitude = longitude;
}

void readConditions(const IrSample& r, const IbtColumns& c, PerfSample& out) {
    const double flags = r.element(c.sessionFlags, 0, 0);
    const uint32_t simFlags = c.sessionFlags && c.sessionFlags->type == kIrInt
                                  ? static_cast<uint32_t>(r.elementInt(c.sessionFlags, 0))
                                  : static_cast<uint32_t>(std::clamp(flags, 0.0, 4294967295.0));
    out.sessionFlags = irFlagsToFrame(simFlags);
    out.airTemp = r.elementReal(c.airTemp, 0);
    out.trackTemp = r.elementReal(c.trackTemp, 0);
    const int32_t wetness = r.elementInt(c.wetness, 0);
    out.wetness = wetness >= 1 ? std::min(static_cast<float>(wetness - 1) / 6, 1.0f) : 0;
    out.fuel = r.elementReal(c.fuel, 0);
    out.brakeBias = r.elementReal(c.brakeBias, 0, kNone);
    out.tcLevel = r.elementReal(c.tcLevel, 0, kNone);
    out.absLevel = r.elementReal(c.absLevel, 0, kNone);
    out.compound = r.elementInt(c.compound, 0, -1);
}

} // namespace

IbtColumns bindColumns(const IrVarTable& vars) {
    IbtColumns columns{};
    const IrSample finder{vars, {}};
    for (const auto& entry : kColumns)
        columns.*entry.column = finder.find(entry.name);
    for (size_t i = 0; i < 4; ++i)
        columns.rumble[i] = finder.find(kRumble[i]);
    columns.positions = columns.latitude && columns.longitude &&
                        columns.latitude->type == kIrDouble && columns.longitude->type == kIrDouble;
    return columns;
}

PerfSample sampleOfText(const IrSessionText& text, const IbtColumns& columns) {
    PerfSample sample;
    sample.trackId = text.trackId;
    sample.trackLength = text.trackLength;
    if (text.sectorStarts.size() <= sample.sectorStarts.size()) {
        std::copy(text.sectorStarts.begin(), text.sectorStarts.end(), sample.sectorStarts.begin());
        sample.sectorCount = static_cast<int32_t>(text.sectorStarts.size());
    }
    sample.dynamicsMask =
        (columns.yawRate ? 1u : 0u) | (columns.velY ? 2u : 0u) | (columns.absActive ? 4u : 0u);
    sample.latVelocitySource = columns.velY ? 2 : 0;
    sample.noGapData = true; // a file tells of the own car alone
    return sample;
}

void readSample(const IrSample& record, const IbtColumns& columns, PerfSample& out) {
    readDriving(record, columns, out);
    readPlace(record, columns, out);
    readConditions(record, columns, out);
}

} // namespace vt
