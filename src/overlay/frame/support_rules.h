// What every overlay and widget needs of a sim, as rows of data.
#pragma once
#include "overlay/frame/sim_support.h"

#include <initializer_list>

namespace vt {

using SimMask = uint16_t;

constexpr SimMask maskOf(std::initializer_list<SimKind> sims) {
    SimMask mask = 0;
    for (const SimKind sim : sims)
        mask = static_cast<SimMask>(mask | 1u << sim);
    return mask;
}

inline constexpr SimMask kEverySim = (1u << kSimCount) - 1;
inline constexpr const char* kWorksFully = "Works fully on this sim.";

/// What one overlay or widget needs. Tested in the order of the members; the first that speaks
/// decides.
struct SupportRule {
    // One sim that breaks the rule.
    SimKind oddSim = kSimNone;
    uint8_t oddState = 0;
    const char* oddNote = "";
    // State 0 with `none`: not among these sims, a bit of `needs` missing, all of `needsAny`
    // missing.
    SimMask sims = kEverySim;
    uint32_t needs = 0;
    uint32_t needsAny = 0;
    const char* none = "";
    // State 2 with a note of its own.
    uint32_t bestBits = 0;
    const char* bestNote = "";
    // State 1 with `partial`: a bit of `full` missing, or one of these sims.
    uint32_t full = 0;
    SimMask partialSims = 0;
    const char* partial = "";
    // State 2.
    const char* works = kWorksFully;
    const char* summary = "";
};

/// Null for slots without a row: widgets, custom panels, numbers that are no slot.
const SupportRule* overlayRule(int slot);
/// By `wgtVisual`.
const SupportRule& visualRule(int type);
/// By `wgtBar`; sources 1 and 2 are the sim's own references, optimal and session best.
const SupportRule& barRule(int barKind, int source);

} // namespace vt
