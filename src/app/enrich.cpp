#include "app/enrich.h"

#include "app/frame_guard.h"
#include "overlay/frame/sim_support.h"

#include <cmath>

namespace vt {

void resetEnrich(EnrichState& state) {
    resetRings(state.rings);
    clearSectorTracker(state.sectors);
    clearLiveDelta(state.live);
    resetLapsEstimate(state.laps);
    state.simKind = -1;
    state.sessionTime = 0;
    state.lapDistPct = 0;
}

EnrichOffers enrichOffers(int32_t simKind) {
    return {.leader = simOffers(simKind, kOffersCars),
            .sectors = simOffers(simKind, kOffersSectors),
            .lapPosition = simOffers(simKind, kOffersLapPosition),
            .stage = simOffers(simKind, kOffersStage)};
}

void admitFrame(EnrichState& state, SimFrame& frame) {
    if (state.simKind != frame.simKind) {
        state.simKind = frame.simKind;
        state.sessionTime = 0;
        state.lapDistPct = 0;
    }
    if (!std::isfinite(frame.lapDistPct)) frame.lapDistPct = state.lapDistPct;
    if (!std::isfinite(frame.sessionTime)) frame.sessionTime = state.sessionTime;
    makeFinite(frame);
    state.lapDistPct = frame.lapDistPct;
    state.sessionTime = frame.sessionTime;
}

void enrichFrame(EnrichState& state, SimFrame& frame, double now, const EnrichOffers& offers) {
    // Only these two give positions fine enough for crossing times.
    const bool measured =
        frame.connected && (frame.simKind == kSimIRacing || frame.simKind == kSimLmu);
    if (measured)
        updateRings(state.rings, frame);
    else
        clearRingFigures(frame);
    const float refLap = referenceLap(frame, state.rings.scratch);
    computeGaps(state.rings, frame, refLap, measured);
    if (rankingApplies(frame)) rankCars(state.ranking, frame, refLap);
    sectorTick(state.sectors, frame, now, offers.sectors);
    liveDeltaTick(state.live, frame, now, offers.lapPosition);
    lapsEstimateTick(state.laps, frame, offers.leader, offers.stage);
}

} // namespace vt
