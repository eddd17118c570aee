// What the driver model's player really did, for comparing with what somebody recorded of it.
#pragma once
#include "driver_model/driver_model.h"

#include <string>
#include <vector>

namespace player {

/// One metre of a lap, or `start + k` metres from the line; m, s, m/s, rad. Right is positive.
struct TruthPoint {
    double elapsed = 0, speed = 0, throttle = 0, brake = 0, steer = 0, rpm = 0, x = 0, y = 0,
           lateral = 0, latAccel = 0, longAccel = 0, yawRate = 0, fuel = 0;
    int gear = 0;
};

struct TruthLap {
    model::LapRecord record;
    int session = 0;
    double start = 0; // s of its session
    bool finished = false;
    int firstMetre = 0;
    std::vector<TruthPoint> metres;
};

/// Keeps the player's laps of one or more sessions.
class Truth {
public:
    /// Another race begins.
    void begin(const model::Race& race);
    /// Call after every step, at most 1/60 s long.
    void note(const model::Race& race);
    /// A file of JSON. False, with a line on standard error, when it cannot be written.
    bool write(const std::string& path, const std::string& sim) const;

private:
    struct State {
        double time = 0, total = 0;
        TruthPoint point;
    };
    void addMetres(const State& from, const State& to, double limit);

    std::vector<TruthLap> laps_;
    model::Circuit circuit_;
    std::string car_;
    TruthLap running_;
    State last_;
    double lapStartTotal_ = 0; // m
    int lap_ = -1, session_ = -1;
    size_t recordsSeen_ = 0;
};

} // namespace player
