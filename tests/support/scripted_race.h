// A race made of numbers, and a reader that plays whatever a test tells it.
#pragma once
#include "base/utf8.h"
#include "telemetry/sim_frame.h"
#include "telemetry/sim_reader.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <functional>

namespace vt {

/// Lap time of car `index` in `raceAt`, seconds.
inline double raceLapTime(int index) {
    return 90.0 + 0.25 * index;
}

/// Way covered by car `index` after `t` seconds, in laps; the field starts 0.004 laps apart.
inline double raceWay(int index, double t) {
    return 2.0 - 0.004 * index + t / raceLapTime(index);
}

/// `t` seconds into a timed race of `cars` cars in four classes; the player is car `player`.
/// Overwrites rows and the fields it needs, leaves the rest.
inline void raceAt(SimFrame& frame, int32_t kind, int cars, int player, double t) {
    resetKeepingCapacity(frame);
    frame.connected = 1;
    frame.simKind = kind;
    frame.isOnTrack = 1;
    frame.sessionTime = t;
    frame.sessionNum = 2;
    frame.sessionState = 4;
    frame.timeRemain = 7200 - t;
    frame.isRace = 1;
    frame.playerCarIdx = player;
    copyText(frame.trackName, "Test Ring");
    copyText(frame.sessionName, "Race");
    frame.sectorStarts.assign({0.0f, 0.31f, 0.66f});
    for (int i = 0; i < cars; ++i) {
        const double way = raceWay(i, t);
        CarRow& row = frame.cars.emplace_back();
        row.carIdx = i;
        row.position = i + 1;
        row.classPosition = i / 4 + 1;
        row.lap = static_cast<int32_t>(way);
        row.lapDistPct = static_cast<float>(way - std::floor(way));
        row.estTime = row.lapDistPct * static_cast<float>(raceLapTime(i));
        row.lastLapTime = row.bestLapTime = static_cast<float>(raceLapTime(i));
        row.trackSurface = 3;
        std::snprintf(row.carClass, sizeof row.carClass, "Class %d", i % 4);
        std::snprintf(row.driverName, sizeof row.driverName, "Driver %d", i);
        if (i != player) continue;
        frame.lap = row.lap;
        frame.lapDistPct = row.lapDistPct;
        frame.lastLapTime = frame.bestLapTime = row.lastLapTime;
        frame.currentSector = row.lapDistPct < 0.31f ? 0 : row.lapDistPct < 0.66f ? 1 : 2;
    }
}

class ScriptedReader : public SimReader {
public:
    explicit ScriptedReader(SimKind kind) : kind_(kind) {}

    bool open() override {
        opens += 1;
        attached = available.load();
        return attached;
    }
    bool isConnected() override { return attached; }
    bool poll(SimFrame& out) override {
        if (!available) attached = false;
        if (!attached || !onPoll || !onPoll(out)) return false;
        polls += 1;
        return true;
    }
    void close() override {
        attached = false;
        closes += 1;
    }
    SimKind kind() const override { return kind_; }
    bool waitForData(int milliseconds) override { return onWait && onWait(milliseconds); }

    std::atomic<bool> available{true}; // the sim runs
    std::atomic<bool> attached{false};
    std::atomic<int> opens{0}, closes{0}, polls{0};
    std::function<bool(SimFrame&)> onPoll; // pump's thread
    std::function<bool(int)> onWait;

private:
    SimKind kind_;
};

} // namespace vt
