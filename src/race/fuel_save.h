// Saving fuel: the target a lap, what the last lap saved against it, the running bank. Main thread,
// once a frame, after the strategy. Litres.
#pragma once
#include "race/pit_strategy.h"

#include <array>

namespace vt {

struct LiftTip {
    char corner[40] = "";
    float saveLitres = 0, costSec = 0;
};

struct FuelSaveModel {
    bool active = false;
    float targetPerLap = 0; // litres a lap to save
    bool lastLapValid = false, onTarget = false;
    float lastSaved = 0;
    float bank = 0; // sum of lastSaved - target
    int tipCount = 0;
    std::array<LiftTip, 2> tips{};
    uint32_t generation = 0; // rises with every visible change (1/1000 litre)
    float baseline = -1;     // burn when saving began; -1 = could not be taken
    FuelRing laps{};
    FuelLapWatch watch{};
    bool wasLive = false;
    int simKind = -1, sessionNum = -1, trackId = -1;
    std::string car, track;
};

/// What the Fuel overlay tells the other models; it writes them in `prepareFrame`.
struct FuelPublished {
    float shortLitres = 0; // the missing litres while known, else 0
    float lapsToFinish = -1;
};

void fuelSaveTick(FuelSaveModel& model, const PitStrategyEngine& engine,
                  const FuelPublished& published, const FuelRules& rules, const SimFrame* frame);

/// All that the program knows of fuel; one, owned by the driver, handed to the overlays.
struct FuelModels {
    CarTrackStore store{};
    PitStrategyEngine strategy{};
    FuelSaveModel save{};
    FuelPublished published{};
};

} // namespace vt
