// Fuel as the driver sees it: a ring of finished laps, and a view that is a pure function of ring,
// rules and frame. Litres, seconds, laps; -1 = unknown. Main thread only.
#pragma once
#include "race/car_track.h"
#include "telemetry/sim_frame.h"

#include <array>
#include <cstdint>
#include <string>

namespace vt {

struct LapFuelSample {
    float fuelUsed = 0; // litres over the lap
    float lapTime = 0;  // s, 0 until the sim tells it
    bool dirty = false; // touched pit road, burnt nothing, or more than any car burns in a lap
};

inline constexpr int kFuelRing = 10;

struct FuelRing {
    std::array<LapFuelSample, kFuelRing> samples{}; // oldest first
    int count = 0;
};
void pushFuelSample(FuelRing& ring, const LapFuelSample& sample);

struct FuelAverages {
    float fuel = 0, lap = 0; // means of the newest clean samples; 0 = none
    int clean = 0;           // clean samples in the whole ring
};
/// Newest to oldest; `window` clean samples for the burn, `window` with a time in 0..600 for the
/// lap.
FuelAverages averageFuel(const FuelRing& ring, int window);

/// Tells laps apart from one frame to the next: shared by the three models that keep a ring.
struct FuelLapWatch {
    int lap = -1;            // remembered lap, -1 = none yet
    float fuelAtLapEnd = -1; // litres
    bool touchedPit = false; // during the lap under way
    bool previousDirty = true;
    bool awaitsTime = false;   // the lap that ended last has no time yet
    bool sampleAwaits = false; // and it gave a sample
    float lapTimeBefore = 0;   // `lastLapTime` before the lap end
};
struct FuelLapEvent {
    bool ended = false;         // the lap rose by one
    bool lapEnd = false;        // so it did, and `sample` is valid; not pushed yet
    bool jumped = false;        // the lap moved by anything but 0 or +1
    bool timeKnown = false;     // `lapTime` is that of the lap that ended last
    bool timeForSample = false; // and belongs to the newest sample of the ring
    bool previousDirty = false; // of the lap before `sample`
    LapFuelSample sample{};
    float lapTime = 0;
};
/// One step with a connected frame. `lap` below 0 does nothing.
FuelLapEvent watchFuelLap(FuelLapWatch& watch, const SimFrame& frame);

/// The Fuel overlay's settings as the model reads them.
struct FuelRules {
    int windowLaps = 5;     // clamped to 3..10 by the model
    float pitBuffer = 1.0f; // litres
    int devPct = 8;         // clamped to 0..25
    int amberLaps = 4, redLaps = 2;
};

enum FuelStatus : int { kFuelSafe, kFuelMarginal, kFuelShort, kFuelLearning, kFuelNoLength };

struct FuelView {
    bool live = false;
    float fuel = 0, capacity = 0;
    bool timed = true;
    double timeRemain = 0;
    int lapsRemain = -1, lap = -1;
    float burn = 0;
    bool burnValid = false;
    int cleanCount = 0;
    int window = 5;
    float lapsInTank = -1, lapsToFinish = -1, fuelToFinish = -1;
    bool toFinishKnown = false;
    float delta = 0;    // fuelToFinish - fuel; above 0 = short
    float addAtPit = 0; // delta plus the buffer, 0 when nothing is needed
    int status = kFuelLearning;
    float avgLap = 0;
    int lapsBeforePit = -1, pitLap = -1; // only when SHORT
    float minutesInTank = -1;
    int finishLap = -1;
    int alertLevel = 0; // 1 amber, 2 red
};

/// Laps left of a timed session, rounded up; -1 otherwise or unknown. With `includeFraction` an
/// estimate that is not exact and ends on .85 or more counts one lap more.
float lapsLeftEstimate(const SimFrame* frame, bool includeFraction);

/// Null frame or a disconnected one: a view that is not live.
FuelView computeFuelView(const FuelRing& ring, const FuelRules& rules, const SimFrame* frame);

/// The ring of the Fuel overlay, with what it knows across frames.
struct FuelLapRing {
    FuelRing ring{};
    FuelLapWatch watch{};
    int simKind = -1;
    std::string car, track; // of the samples; empty = not kept
    int burnFlash = 0;      // +1 the last lap burnt clearly more than the mean, -1 less
    uint64_t burnFlashMs = 0;
};
/// One step a frame; a null or disconnected frame flushes and clears. `uint64_t nowMs` monotonic.
void fuelRingTick(FuelLapRing& ring, CarTrackStore& store, const FuelRules& rules,
                  const SimFrame* frame, uint64_t nowMs);
/// Puts what the ring holds into the store: also at shutdown. Needs two clean samples.
void flushFuelRing(FuelLapRing& ring, CarTrackStore& store);
/// Ten made-up clean laps for pictures.
void fillScreenshotRing(FuelLapRing& ring);

} // namespace vt
