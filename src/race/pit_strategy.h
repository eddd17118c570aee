// When to stop and what to add: candidate plans for the rest of the race, ranked by the time they
// take, with what a stop costs measured on the own car or on others. Main thread, once a frame,
// before the saving model. Litres, seconds.
#pragma once
#include "race/fuel_model.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vt {

struct StrategyOption {
    int stops = 0;
    std::array<int, 2> stopLap{};   // absolute lap numbers
    std::array<float, 2> addFuel{}; // litres at each stop
    float saveLitresPerLap = 0;     // what the plan needs saved, rounded to 0.01
    float costSec = 0;              // whole seconds the rest of the race takes
    char title[48] = "";
    char detail[56] = "";
    bool operator==(const StrategyOption&) const = default;
};

enum PitLossSource : int { kPitLossNone, kPitLossObserved, kPitLossOwn };

/// In-lap and out-lap of one car, told from its pit road and its lap times.
struct PitLossWatch {
    int state = 0; // 1 on the in-lap, 2 on the out-lap
    bool armed = false, endedOnPitRoad = false, yellow = false;
    float reference = 0, inLap = 0; // s
    bool wasOnPitRoad = false;
    int lap = -1;
    float lastTime = 0; // last lap time seen
    float lastClean = 0;
    bool lapTouchedPit = false;
    bool awaitsTime = false, awaitedTouchedPit = false; // of the lap that ended last
};

struct PitSettings {
    bool strategyEnabled = true;
    bool writeEnabled = false; // the plan's litres may be sent to the sim
    bool imperial = false;
    bool screenshots = false; // a fixed cost of a stop, and nothing learned
};

struct PitStrategyEngine {
    std::array<StrategyOption, 4> options{}; // by costSec
    int optionCount = 0, selected = 0;
    uint32_t generation = 0; // rises with every visible change
    float pitLossSec = 0;
    int pitLossSource = kPitLossNone;
    FuelRing laps{};
    FuelLapWatch watch{};
    int lastWrittenFuel = -1; // litres
    uint64_t lastWriteMs = 0;
    std::array<PitLossWatch, 64> observers{}; // by carIdx
    double observedSum = 0;
    int observedCount = 0;
    PitLossWatch own{};
    int announcedStops = -1, announcedLap = -1, announcedAtLap = -100000;
    float announcedFuel = 0;
    int candidateStops = -1, candidateLap = -1, candidateCount = 0;
    float candidateFuel = 0;
    bool bannerOn = false;
    uint64_t bannerStartMs = 0;
    bool wasLive = false;
    int simKind = -1;
    std::string car, track;
};

/// One step. Null frame: not live. Allocates nothing while car and track stay.
void strategyTick(PitStrategyEngine& engine, CarTrackStore& store, const PitSettings& settings,
                  const SimFrame* frame, uint64_t nowMs);
void resetStrategy(PitStrategyEngine& engine); // forgets what was announced, too
/// The next plan becomes the driver's.
void cycleStrategy(PitStrategyEngine& engine);
/// The litres of the selected plan's next stop go to the sim by `send(user, commandWord, litres)`.
/// Only where the sim takes them (iRacing, on track) and twice a second at most. True when sent.
bool commitStrategy(PitStrategyEngine& engine, const PitSettings& settings, const SimFrame* frame,
                    uint64_t nowMs, void (*send)(void* user, uint32_t word, int litres),
                    void* user);

struct PlanInput {
    int stops = 0;
    std::array<int, 2> stopLap{};
    int lap = 0, lapsToGo = 0;
    float fuel = 0, capacity = 0, burn = 0, avgLap = 0, pitLossSec = 0;
    bool imperial = false;
};
/// False when the plan cannot be driven: more than 15 % of the burn to save, less than a litre to
/// add.
bool evaluatePlan(const PlanInput& input, StrategyOption& out);

/// The candidates that can be driven, by the time they take; returns their count. `lapsToGo`
/// from 1.
int rankPlans(const PlanInput& race, std::array<StrategyOption, 4>& out);

/// What one step of a car's stop machine is told.
struct PitLossStep {
    bool onPitRoad = false, yellow = false;
    bool lapEnded = false, jumped = false;
    bool timeKnown = false; // `time` is that of the lap that ended last
    float time = 0;         // s
    float reference = 0;    // s, a lap without a stop, should the stop begin now
};
/// The cost of a stop in s when this step completed a measurement of 5 to 180 s; else 0.
float pitLossStep(PitLossWatch& watch, const PitLossStep& step);
/// Another car's row, with laps and late times told apart here.
float observePitLoss(PitLossWatch& watch, const CarRow& row, bool yellow);

} // namespace vt
