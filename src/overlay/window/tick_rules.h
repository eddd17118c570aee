// What a tick decides, as functions of settings and frame alone.
#pragma once
#include "overlay/frame/strips.h"
#include "overlay/settings/app_config.h"
#include "telemetry/sim_frame.h"

#include <cstdint>

namespace vt {

/// Where the driver is, as the show-when switches mean it.
struct SimState {
    bool frameAtHand = false; // there is a frame, of a sim or an empty one
    bool live = false;        // a sim is connected
    bool inCar = false, outOfCar = false, inGarage = false;
    bool spotting = false; // a car is alongside
};
SimState simStateOf(const SimFrame* frame);

/// The last two answers are the overlay's own to give: its extra reason to show, then its gate.
enum class ShowDecision { hide, show, askGate, askExtraThenGate };
ShowDecision decideShow(const OverlayConfig& common, bool editMode, bool showsWithoutSim,
                        const SimState& sim);

/// Draws a second: 10 while unlocked, else the setting within 1..60.
int drawRateHz(const OverlayConfig& common, bool editMode);

/// False when the frame's sim lacks what the overlay of that slot cannot do without. Without a sim
/// there is nothing to lack.
bool slotSupported(int slot, const SimFrame* frame);

/// Everything beside its own content that an overlay's picture depends on. Null texts are strips
/// that do not show. Never 0.
uint64_t mixContentHash(uint64_t content, const AppConfig& config, int slot,
                        const OverlayConfig& common, bool supported, const StripTexts* header,
                        const StripTexts* footer);

/// The opacities that apply: the overlay's own or the program's.
float effectiveBgOpacity(const AppConfig& config, const OverlayConfig& common);
float effectiveContentOpacity(const AppConfig& config, const OverlayConfig& common);

/// A multiplier of the settings within 0.25..4; 1 for what is no number.
float clampMultiplier(float multiplier);

} // namespace vt
