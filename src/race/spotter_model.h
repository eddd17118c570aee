// Who is alongside, as the display shows it: two bars, or blips around the car. Positions along the
// car are 0 at the nose, 0.5 level, 1 at the tail; ways are metres, positive ahead and to the
// right. Smoothing is told per step of 33.33 ms. Main thread; allocates nothing.
#pragma once
#include "race/spotter_calls.h"

#include <array>
#include <cstdint>

namespace vt {

struct SpotterSide {
    bool active = false; // a car is alongside
    float alpha = 0;     // fade, 0..1
    float pos = 0.5f, strength = 0;
    int count = 0;
    bool approaching = false; // a car behind comes up fast
    int chaseCarIdx = -1;
    float chaseDist = 0; // m, on the last tick
};

struct SpotterMark {
    float pos = 0.5f, strength = 0;
    bool ambiguous = false; // the sim did not say on which side
};

struct SpotterMarks {
    std::array<SpotterMark, 8> marks{};
    int count = 0;
};

struct SpotterBars {
    std::array<SpotterSide, 2> sides{}; // left, right
    std::array<SpotterMarks, 2> marks{};
};

/// `stepMs` from `spotterStep`. A null frame: nobody is there, and what was fades.
void spotterBarsTick(SpotterBars& bars, const SimFrame* frame, double stepMs);

struct RadarBlip {
    float longitudinal = 0, lateral = 0; // m
    int carNumberValue = 0;
    int side = 0; // -1 left, 0 not known, 1 right
    bool alongside = false;
};

struct SpotterRadar {
    std::array<RadarBlip, 64> blips{};
    int count = 0;
    float alpha = 0;
    float range = 15; // m
    bool lateralKnown = false;
};

void spotterRadarTick(SpotterRadar& radar, float range, const SimFrame* frame, double stepMs);
/// Pulses, because it is alongside or closer than 1.5 m.
bool blipPulses(const RadarBlip& blip);

/// ms since the last call; 33.33 on the first and after a pause above 250 ms, 0 for a clock that
/// runs backwards.
double spotterStep(int64_t& lastTicks, int64_t nowTicks);

} // namespace vt
