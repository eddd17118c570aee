// What the Fuel overlay shows, as texts and phases: pure functions of the model, the settings and
// the clock. Main thread.
#pragma once
#include "overlay/settings/overlay_config.h"
#include "race/fuel_save.h"

#include <array>
#include <cstdint>

namespace vt {

/// Alarm of a stop that comes up: -1 no stop needed, 0 far, 1 amber, 2 this lap or the next.
/// `config` may be null.
int pitCountdownPhase(const FuelView& view, const FuelConfig* config);

FuelRules fuelRules(const FuelConfig& config);

using FuelText = std::array<char, 64>;

struct FuelTexts {
    FuelText tank{};       // "42.1"
    FuelText burn{};       // "2.31", "--"
    FuelText lapsInTank{}; // "18.2", "--"
    FuelText minutes{};    // "~27", "--"
    FuelText toFinish{};   // "40.2 L", "--"
    FuelText leftLabel{};  // "Time left" or "Laps left"
    FuelText left{};       // "1:02:03", "24:10", "12 laps", "--"
    FuelText margin{};     // "+1.2 L", "--"
    FuelText add{};        // "+12 L", "None", "est. soon"
    FuelText badge{}, badgeNote{};
    FuelText bigLeft{}, bigValue{}, bigRight{}; // of the big word
    FuelText plan{}, planNote{};                // strategy or saving
    FuelText planTitle{};
    FuelText tip{};
    FuelText strip[3]{};
    FuelText footer{};
};

struct FuelPicture {
    FuelView view{};
    FuelTexts text{};
    int phase = -1;
    bool saving = false;
    int burnFlash = 0;
    bool barOfLaps = false; // the bar tracks laps of the race, else the tank
    float bar = 0;          // 0..1
    float notch = -1;       // 0..1, where the finish needs it; -1 = none
    float flash = 1;        // alpha of a word that flashes
    float pulse = 0;        // alpha of the red ground, 0 = none
    uint64_t motion = 0;    // goes into the hash: changes while something moves
};

/// `callMs`: when the present pit call began, 0 = none.
void buildFuelPicture(FuelPicture& out, const FuelView& view, const FuelConfig& config,
                      const FuelLapRing& ring, const FuelModels* models, uint64_t nowMs,
                      uint64_t callMs);

/// Texts of a stretch of time: "1:02:03", below an hour "24:10".
void clockText(FuelText& out, double seconds);

} // namespace vt
