#include "overlay/window/tick_rules.h"

#include "base/hash.h"
#include "overlay/frame/sim_support.h"
#include "overlay/frame/theme.h"
#include "overlay/settings/slots.h"

#include <algorithm>
#include <cmath>

namespace vt {

SimState simStateOf(const SimFrame* frame) {
    SimState s;
    if (!frame) return s;
    s.frameAtHand = true;
    s.live = frame->connected != 0;
    s.inGarage = frame->inGarage != 0;
    s.inCar = frame->isOnTrack && !s.inGarage;
    s.outOfCar = s.live && !s.inCar && !s.inGarage;
    s.spotting = frame->carLeftRight >= 2;
    return s;
}

ShowDecision decideShow(const OverlayConfig& common, bool editMode, bool showsWithoutSim,
                        const SimState& sim) {
    if (!common.enabled) return ShowDecision::hide;
    if (editMode || (showsWithoutSim && !sim.live)) return ShowDecision::show;
    if (!sim.live) return ShowDecision::hide;
    const bool wanted = (common.showInCar && sim.inCar) || (common.showOutOfCar && sim.outOfCar) ||
                        (common.showInGarage && sim.inGarage) ||
                        (common.showSpotting && sim.spotting);
    return wanted ? ShowDecision::askGate : ShowDecision::askExtraThenGate;
}

int drawRateHz(const OverlayConfig& common, bool editMode) {
    return editMode ? 10 : std::clamp(common.refreshHz, 1, 60);
}

bool slotSupported(int slot, const SimFrame* frame) {
    static constexpr struct {
        int slot;
        uint32_t bits;
    } kNeeds[] = {
        {kSlotRelative, kOffersCars}, {kSlotStandings, kOffersCars}, {kSlotTraining, kOffersSlip}};
    if (!frame || !frame->connected) return true;
    for (const auto& need : kNeeds)
        if (need.slot == slot) return simOffers(frame->simKind, need.bits);
    return true;
}

uint64_t mixContentHash(uint64_t content, const AppConfig& config, int slot,
                        const OverlayConfig& common, bool supported, const StripTexts* header,
                        const StripTexts* footer) {
    Fnv64 h{content};
    h.number(config.accentTheme);
    h.number(config.overlayBgColor);
    h.number(effectiveTheme(config, slot));
    h.scaled(effectiveBgOpacity(config, common), 255);
    h.scaled(effectiveContentOpacity(config, common), 255);
    h.scaled(common.widthMul, 100);
    h.scaled(common.heightMul, 100);
    h.scaled(common.textScale, 100);
    h.flag(common.showHeader);
    h.flag(common.showFooter);
    h.flag(supported);
    for (const StripTexts* strip : {header, footer}) {
        if (!strip) continue;
        h.text(strip->left);
        h.text(strip->center);
        h.text(strip->right);
    }
    return h.value == 0 ? 1 : h.value;
}

float effectiveBgOpacity(const AppConfig& config, const OverlayConfig& common) {
    return common.useGeneralOpacity ? config.defaultBgOpacity : common.bgOpacity;
}

float effectiveContentOpacity(const AppConfig& config, const OverlayConfig& common) {
    return common.useGeneralOpacity ? config.defaultTextOpacity : common.contentOpacity;
}

float clampMultiplier(float multiplier) {
    return std::isfinite(multiplier) ? std::clamp(multiplier, 0.25f, 4.0f) : 1.0f;
}

} // namespace vt
