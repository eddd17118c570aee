#include "iracing_image.h"

#include "support/iracing_image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>

namespace player {

namespace {

constexpr auto npos = std::string_view::npos;

bool usable(const vt::IrHeader& h, size_t size) {
    const auto inside = [&](int32_t offset, int64_t length) {
        return offset >= 0 && length >= 0 &&
               vt::rangeInside(static_cast<uint64_t>(offset), 1, static_cast<uint64_t>(length),
                               size);
    };
    if (h.numVars < 0 || h.numVars > vt::kIrMaxVars || h.numBuf < 1 || h.numBuf > vt::kIrMaxBuffers)
        return false;
    for (int32_t i = 0; i < h.numBuf; ++i)
        if (!inside(h.varBuf[i].bufOffset, h.bufLen)) return false;
    return inside(h.sessionInfoOffset, h.sessionInfoLen) &&
           inside(h.varHeaderOffset, h.numVars * static_cast<int64_t>(sizeof(vt::IrVarHeader)));
}

/// The variables that a driven sample needs, for recordings of the session text alone.
std::vector<uint8_t> withVariables(const std::string& text, int32_t tick) {
    vt::IracingImage image;
    image.text = text;
    image.tick = tick;
    for (const char* name : {"SessionTime", "SessionTimeRemain"})
        image.add(name, vt::kIrDouble);
    for (const char* name :
         {"SessionNum", "SessionState", "SessionLapsTotal", "SessionLapsRemainEx", "Lap",
          "LapCompleted", "Gear", "PlayerCarIdx", "PlayerCarPosition", "PlayerCarClassPosition",
          "PlayerTrackSurface", "CarLeftRight", "RadioTransmitCarIdx", "PlayerCarMyIncidentCount",
          "TrackWetness"})
        image.add(name, vt::kIrInt);
    for (const char* name : {"SessionFlags", "EngineWarnings"})
        image.add(name, vt::kIrBits);
    for (const char* name : {"IsOnTrack", "IsInGarage", "OnPitRoad", "PlayerCarInPitStall",
                             "dcPitSpeedLimiterToggle", "LapDeltaToBestLap_OK"})
        image.add(name, vt::kIrBool);
    for (const char* name : {"LapDistPct",
                             "LapDist",
                             "Speed",
                             "Throttle",
                             "Brake",
                             "Clutch",
                             "RPM",
                             "SteeringWheelAngle",
                             "LatAccel",
                             "LongAccel",
                             "VelocityX",
                             "VelocityY",
                             "YawRate",
                             "LapCurrentLapTime",
                             "LapLastLapTime",
                             "LapBestLapTime",
                             "LapDeltaToBestLap",
                             "FuelLevel",
                             "FuelLevelPct",
                             "WaterTemp",
                             "OilTemp",
                             "OilPress",
                             "Voltage",
                             "AirTemp",
                             "TrackTempCrew"})
        image.add(name, vt::kIrFloat);
    for (const char* name : {"CarIdxLap", "CarIdxLapCompleted", "CarIdxTrackSurface",
                             "CarIdxPosition", "CarIdxClassPosition", "CarIdxTireCompound"})
        image.add(name, vt::kIrInt, vt::kIrMaxCars);
    image.add("CarIdxOnPitRoad", vt::kIrBool, vt::kIrMaxCars);
    for (const char* name : {"CarIdxLapDistPct", "CarIdxEstTime", "CarIdxF2Time",
                             "CarIdxLastLapTime", "CarIdxBestLapTime"})
        image.add(name, vt::kIrFloat, vt::kIrMaxCars);
    image.set("SessionState", 4);
    image.set("SessionTime", 600);
    image.set("SessionTimeRemain", 3000);
    image.set("SessionLapsTotal", 32767);
    image.set("SessionLapsRemainEx", 32767);
    image.set("RadioTransmitCarIdx", -1);
    image.set("FuelLevel", 40);
    image.set("WaterTemp", 82);
    image.set("OilTemp", 95);
    image.set("OilPress", 4.2);
    image.set("Voltage", 13.8);
    image.set("AirTemp", 21);
    image.set("TrackTempCrew", 29);
    image.set("TrackWetness", 1);
    for (int32_t car = 0; car < vt::kIrMaxCars; ++car)
        for (const char* name : {"CarIdxLap", "CarIdxLapDistPct", "CarIdxTrackSurface",
                                 "CarIdxLastLapTime", "CarIdxBestLapTime"})
            image.set(name, -1, car);
    return image.build();
}

bool takeApart(IrImage& image) {
    image.header = vt::readAt<vt::IrHeader>(image.bytes, 0);
    const vt::IrHeader& h = image.header;
    if (image.bytes.size() < sizeof h || !usable(h, image.bytes.size())) return false;
    const vt::ByteView bytes = image.bytes;
    const auto part = [&](int32_t offset, int32_t length) {
        return bytes.subspan(static_cast<size_t>(offset), static_cast<size_t>(length));
    };
    const vt::ByteView text = part(h.sessionInfoOffset, h.sessionInfoLen);
    image.rawText.assign(text.begin(), std::find(text.begin(), text.end(), 0));
    vt::parseSessionText(image.text, image.rawText);
    image.vars.build(bytes.subspan(static_cast<size_t>(h.varHeaderOffset)), h.numVars, h.bufLen);
    const vt::IrVarBuf& newest =
        *std::max_element(h.varBuf, h.varBuf + h.numBuf,
                          [](const auto& a, const auto& b) { return a.tickCount < b.tickCount; });
    const vt::ByteView sample = part(newest.bufOffset, h.bufLen);
    image.sample.assign(sample.begin(), sample.end());
    image.tick = newest.tickCount;
    return true;
}

} // namespace

bool loadIrImage(const std::string& path, IrImage& out, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    out.bytes.assign(std::istreambuf_iterator<char>(in), {});
    if (out.bytes.empty()) {
        error = "cannot read " + path;
        return false;
    }
    if (takeApart(out) && out.header.numVars == 0) {
        out.bytes = withVariables(out.rawText, out.tick);
        takeApart(out);
    }
    if (out.sample.empty()) error = path + " is no image of iRacing's shared memory";
    return !out.sample.empty();
}

void IrSampleWriter::put(std::string_view name, double value, int32_t index) {
    const vt::IrVar* var = vars.find(name);
    if (!var || index < 0 || index >= var->count) return;
    uint8_t* at = sample.data() + var->offset + index * vt::irElementSize(var->type);
    const auto store = [&](auto typed) { std::memcpy(at, &typed, sizeof typed); };
    switch (var->type) {
    case vt::kIrChar:
    case vt::kIrBool:
        store(static_cast<uint8_t>(value != 0));
        break;
    case vt::kIrInt:
        store(static_cast<int32_t>(std::lround(value)));
        break;
    case vt::kIrBits:
        store(static_cast<uint32_t>(value));
        break;
    case vt::kIrFloat:
        store(static_cast<float>(value));
        break;
    case vt::kIrDouble:
        store(value);
        break;
    default:
        break;
    }
}

double driverNumber(std::string_view text, int32_t carIdx, std::string_view key) {
    const size_t drivers = text.find("Drivers:");
    if (drivers == npos) return 0;
    const std::string marker = "- CarIdx: " + std::to_string(carIdx) + "\n";
    const size_t at = text.find(marker, drivers);
    if (at == npos) return 0;
    const size_t end = text.find("- CarIdx: ", at + 1);
    double out = 0;
    vt::irNumber(vt::irFind(text.substr(at, end == npos ? npos : end - at), key), out);
    return out;
}

} // namespace player
