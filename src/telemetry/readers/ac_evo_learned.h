// Single values that AC EVO does not publish and that what it does publish adds up to.
#pragma once

namespace vt {

/// The session clock: real time while the player drives, from 1 s on. A stutter of more than a
/// quarter of a second and a sim that stands still do not count.
struct AcEvoClock {
    double session = 1.0; // s
    double last = -1;     // s on the program's clock; -1 = never asked
};
/// Once a poll. `misses`: polls in a row without a new frame.
void acEvoClockTick(AcEvoClock& clock, double now, bool live, int misses);

/// Litres that the tank holds, from what is in it and which part of it that is.
struct AcEvoTank {
    float capacity = 0;   // litres; 0 = not known yet
    bool percent = false; // the part is told in percent
};
void acEvoLearnTank(AcEvoTank& tank, float litres, float fraction);

/// The pit limit in m/s, or 0, from a speed and how far it lies above the limit, both in km/h, in
/// the pit lane.
float acEvoPitLimit(float kmh, float aboveLimit);

/// The wheel's lock to one side, from the largest angle seen; radians. 0 until it is plausible.
struct AcEvoWheel {
    float largest = 0;
};
float acEvoLearnLock(AcEvoWheel& wheel, float steerAngle);

} // namespace vt
