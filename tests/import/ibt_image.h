// Telemetry files of a car that goes round a circle of 1000 m at 40 m/s.
#pragma once
#include "base/bytes.h"
#include "telemetry/readers/iracing_layout.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace vt::test {

struct IbtImage {
    struct Stint {
        double laps = 3.3;
        int sessionNum = 0;
        double faster = 0; // s a lap, so that two drives differ
    };
    bool doubles = true; // positions as the sim writes them
    bool positions = true;
    bool oneClock = true; // else it begins anew with each stint
    std::string car = "GT3 Car", track = "Some Ring";

    std::vector<uint8_t> build(const std::vector<Stint>& stints) {
        layOut();
        std::vector<uint8_t> records;
        double time = 100, lastLap = 0;
        int32_t count = 0;
        for (const Stint& stint : stints) {
            const double lapTime = 25 - stint.faster;
            if (!oneClock) time = 100;
            for (double at = 0; at < stint.laps * lapTime; at += 1.0 / 60, time += 1.0 / 60) {
                const double lap = std::floor(at / lapTime), pct = at / lapTime - lap;
                if (lap > 0) lastLap = lapTime + 0.001 * lap;
                fill(stint.sessionNum, time, static_cast<int32_t>(lap) + 1, pct, lastLap);
                records.insert(records.end(), sample_.begin(), sample_.end());
                ++count;
            }
        }
        return withHead(records, count);
    }

    static void write(const std::string& path, const std::vector<uint8_t>& bytes,
                      int64_t unixSeconds) {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        using namespace std::chrono;
        std::filesystem::last_write_time(path,
                                         file_clock::from_sys(sys_seconds(seconds(unixSeconds))));
    }

private:
    std::vector<IrVarHeader> vars_;
    std::vector<uint8_t> sample_;

    void add(const char* name, int32_t type) {
        IrVarHeader entry;
        entry.type = type;
        entry.count = 1;
        entry.offset = static_cast<int32_t>(sample_.size());
        std::strncpy(entry.name, name, sizeof entry.name - 1);
        vars_.push_back(entry);
        sample_.resize(sample_.size() + (type == kIrDouble ? 8 : type == kIrBool ? 1 : 4));
    }
    void layOut() {
        vars_.clear();
        sample_.clear();
        const int32_t place = doubles ? kIrDouble : kIrFloat;
        add("SessionTime", kIrDouble);
        if (positions) {
            add("Lat", place);
            add("Lon", place);
        }
        for (const char* name : {"LapDistPct", "Speed", "Throttle", "Brake", "LapLastLapTime",
                                 "FuelLevel", "AirTemp", "YawNorth", "VelocityX"})
            add(name, kIrFloat);
        for (const char* name : {"SessionNum", "Lap", "PlayerTrackSurface", "SessionState",
                                 "PlayerCarMyIncidentCount", "Gear"})
            add(name, kIrInt);
        add("IsOnTrack", kIrBool);
        add("OnPitRoad", kIrBool);
    }
    void put(const char* name, double value) {
        for (const IrVarHeader& var : vars_) {
            if (std::strcmp(var.name, name) != 0) continue;
            uint8_t* at = sample_.data() + var.offset;
            const auto copy = [at](auto typed) { std::memcpy(at, &typed, sizeof typed); };
            if (var.type == kIrDouble) copy(value);
            if (var.type == kIrFloat) copy(static_cast<float>(value));
            if (var.type == kIrInt) copy(static_cast<int32_t>(value));
            if (var.type == kIrBool) copy(static_cast<uint8_t>(value));
        }
    }
    void fill(int session, double time, int32_t lap, double pct, double lastLap) {
        const double angle = pct * 6.283185307179586, radius = 1000 / 6.283185307179586;
        put("SessionNum", session);
        put("SessionTime", time);
        put("Lap", lap);
        put("LapDistPct", pct);
        put("LapLastLapTime", lastLap);
        put("Lat", 47.2 + radius * std::sin(angle) / 111320);
        put("Lon", 14.7 + radius * std::cos(angle) / 75600);
        put("Speed", 40);
        put("VelocityX", 40);
        put("YawNorth", -angle);
        put("Throttle", 0.5);
        put("FuelLevel", 50 - time / 100);
        put("AirTemp", 21.5);
        put("PlayerTrackSurface", 3);
        put("SessionState", 4);
        put("Gear", 4);
        put("IsOnTrack", 1);
    }
    std::vector<uint8_t> withHead(const std::vector<uint8_t>& records, int32_t count) const {
        const std::string text = "---\nWeekendInfo:\n TrackName: ring\n TrackID: 7\n"
                                 " TrackLength: 1.00 km\n TrackDisplayName: " +
                                 track +
                                 "\nDriverInfo:\n DriverCarIdx: 0\n Drivers:\n - CarIdx: 0\n"
                                 "   CarScreenName: " +
                                 car +
                                 "\n   CarPath: gt3\nSplitTimeInfo:\n Sectors:\n"
                                 " - SectorNum: 0\n   SectorStartPct: 0.000000\n"
                                 " - SectorNum: 1\n   SectorStartPct: 0.500000\n"
                                 "SessionInfo:\n Sessions:\n"
                                 " - SessionNum: 0\n   SessionType: Practice\n"
                                 "   SessionName: PRACTICE\n"
                                 " - SessionNum: 1\n   SessionType: Race\n"
                                 "   SessionName: RACE\n...\n";
        IrHeader h;
        h.ver = 2;
        h.status = kIrStatusConnected;
        h.tickRate = 60;
        h.numVars = static_cast<int32_t>(vars_.size());
        h.varHeaderOffset = 144;
        h.sessionInfoOffset = 144 + h.numVars * 144;
        h.sessionInfoLen = static_cast<int32_t>(text.size() + 1);
        h.numBuf = 1;
        h.bufLen = static_cast<int32_t>(sample_.size());
        h.varBuf[0].bufOffset = h.sessionInfoOffset + h.sessionInfoLen;
        IrDiskHeader disk;
        disk.sessionLapCount = 4;
        disk.sessionRecordCount = count;
        std::vector<uint8_t> out(static_cast<size_t>(h.varBuf[0].bufOffset));
        std::memcpy(out.data(), &h, sizeof h);
        std::memcpy(out.data() + 112, &disk, sizeof disk);
        std::memcpy(out.data() + 144, vars_.data(), vars_.size() * sizeof(IrVarHeader));
        std::memcpy(out.data() + h.sessionInfoOffset, text.data(), text.size());
        out.insert(out.end(), records.begin(), records.end());
        return out;
    }
};

} // namespace vt::test
