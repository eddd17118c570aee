// AC EVO's normalised position does not begin where the sim counts laps, and it moves only as often
// as the graphics page is written. Here it becomes a position from the line, learned at the first
// lap that is counted, and runs on smoothly between two pages.
#pragma once
#include <cstdint>

namespace vt {

/// How far from the position's own wrap a counted lap is believed, as a share of the lap.
inline constexpr float kAcEvoLineWindow = 0.05f;

struct AcEvoLine {
    bool known = false;
    float offset = 0; // position word at the line; -0.05..0.05
    bool refused = false;
    bool started = false; // the two below hold the last page's
    int32_t laps = 0;
    float position = 0;     // as it was given out
    bool heldEnd = false;   // the position wrapped, the lap count did not yet
    bool heldStart = false; // the other way round
};

struct AcEvoLineStep {
    float position = 0; // 0..1 from the line
    bool held = false;
    bool lapDone = false; // the lap count rose by one
    bool learned = false; // the offset, just now
    bool refused = false; // a lap was counted too far off, for the first time on this track
};

/// One page. `npos`: the position word. `learnable`: live and not on pit road.
AcEvoLineStep acEvoLineStep(AcEvoLine& line, float npos, int32_t laps, bool learnable);

/// What is shown between two pages.
struct AcEvoPlace {
    bool known = false;
    float page = 0;   // the last page's position
    double since = 0; // s: when it was first seen
    float shown = 0;
};

/// The position to show `now`. Goes on at `pctPerSecond` for up to 0.15 s after a new page and
/// never back, unless the page itself does; 0 shows the page's.
float acEvoPlaceNow(AcEvoPlace& place, float position, double now, double pctPerSecond);

} // namespace vt
