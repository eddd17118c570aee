// Sessions and traces for tests of what is kept of a drive.
#pragma once
#include "base/format.h"
#include "base/utf8.h"
#include "perf/perf_paths.h"
#include "perf/session_record.h"
#include "perf/trace_file.h"
#include "telemetry/sim_registry.h"

#include <cmath>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace vt::test {

/// A folder of its own, gone at the end.
struct ScratchFolder {
    std::filesystem::path path;
    explicit ScratchFolder(const char* name)
        : path(std::filesystem::temp_directory_path() /
               (std::string(name) + "_" + std::to_string(getpid()))) {
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }
    ~ScratchFolder() { std::filesystem::remove_all(path); }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    std::string text() const { return path.string(); }
};

/// A smooth lap with braking, on a circle; values as the file's resolution can hold them.
inline LapTrace sampleLap(uint32_t bins, float lapTime) {
    LapTrace lap;
    sizeLapTrace(lap, bins);
    lap.lapTime = lapTime;
    lap.valid = true;
    lap.brakeBias = 54.5f;
    lap.fuelStart = 40.25f;
    for (uint32_t i = 0; i < bins; ++i) {
        const double at = 6.283185307 * i / bins;
        const auto wave = static_cast<float>(std::sin(at * 3));
        lap.speed[i] = std::round((50 + 20 * wave) * 100) / 100;
        lap.throttle[i] = wave > 0 ? 1.0f : 0.0f;
        lap.brake[i] = wave < -0.8f ? 204 / 255.0f : 0.0f;
        lap.steer[i] = std::round(wave * 500) / 1000;
        lap.latG[i] = std::round(wave * 2000) / 1000;
        lap.longG[i] = std::round(wave * -900) / 1000;
        lap.elapsed[i] = static_cast<float>(std::round(lapTime * 1000.0 * i / bins) / 1000);
        lap.gear[i] = static_cast<int8_t>(wave < 0 ? 2 : 5);
        lap.rpm[i] = static_cast<uint16_t>(6000 + 1500 * wave);
        lap.x[i] = static_cast<float>(std::round(std::cos(at) * 40000) / 100);
        lap.y[i] = static_cast<float>(std::round(std::sin(at) * 40000) / 100);
        lap.yawRate[i] = std::round(wave * 300) / 1000;
        lap.latVelocity[i] = std::round(wave * 50) / 100;
        lap.absActive[i] = wave < -0.9f;
        lap.have[i] = i % 97 != 5;
    }
    return lap;
}

inline TraceFile sampleTrace(uint32_t bins, int laps) {
    TraceFile trace;
    trace.binCount = bins;
    trace.originLat = 50.4372;
    trace.originLon = 5.9714;
    trace.dynamicsMask = 7;
    trace.latVelocitySource = 2;
    trace.airTempAvg = 21.5f;
    trace.trackTempAvg = 30.25f;
    trace.wetnessMax = 0.25f;
    for (int i = 0; i < laps; ++i)
        trace.laps.push_back(sampleLap(bins, 100 + static_cast<float>(i) / 4));
    return trace;
}

inline TrackEventGrid sampleEvents(uint32_t bins) {
    TrackEventGrid grid;
    sizeEventGrid(grid, bins);
    grid.kerbL[3] = 12;
    grid.kerbR[bins - 1] = 65535;
    grid.offEnter[7] = 2;
    grid.offEnterLatSum[7] = -8.5f;
    grid.offEnterLatN[7] = 1;
    grid.offExit[9] = 1;
    grid.furl[11] = 4;
    grid.approachEnter = 20;
    grid.conesExit = 21;
    return grid;
}

inline SessionRecord sampleSession(const char* date, int laps = 3, int trackId = 7) {
    SessionRecord record;
    copyText(record.carName, "GT3 Car");
    copyText(record.trackName, "Some Ring");
    copyText(record.date, date);
    copyText(record.sessionType, "Practice");
    record.trackId = trackId;
    record.simId = kSimIRacing;
    for (int i = 0; i < laps; ++i) {
        LapRecord lap;
        lap.lapTime = 100 + static_cast<float>(i) / 4;
        lap.sectorCount = 3;
        lap.sectorSec[0] = 30;
        lap.sectorSec[1] = 30;
        lap.sectorSec[2] = lap.lapTime - 60;
        record.laps.push_back(lap);
    }
    record.totalLaps = laps;
    summariseLapTimes(record.laps, record.summary);
    return record;
}

/// 2026-03-01T12:00:00Z and `n` seconds.
inline std::string dateAfter(int n) {
    return recordDate(1772366400 + n);
}

} // namespace vt::test
