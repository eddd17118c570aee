#include "overlay/overlays/overlay_catalogue.h"

#include "overlay/overlays/delta_trace_overlay.h"
#include "overlay/overlays/fuel_overlay.h"
#include "overlay/overlays/pit_helper.h"
#include "overlay/overlays/privacy_cover.h"
#include "overlay/overlays/race_info.h"
#include "overlay/overlays/relative_overlay.h"
#include "overlay/overlays/spotter_overlay.h"
#include "overlay/overlays/standings_overlay.h"
#include "overlay/overlays/track_map_overlay.h"
#include "overlay/overlays/track_strip_overlay.h"
#include "overlay/settings/slots.h"

namespace vt {

namespace {

template <class Overlay>
std::unique_ptr<OverlayWindow> make(OverlayHost& host) {
    return std::make_unique<Overlay>(host);
}

} // namespace

const std::vector<OverlayKind>& overlayKinds() {
    static const std::vector<OverlayKind> kinds = {
        {kSlotRelative, make<RelativeOverlay>},
        {kSlotStandings, make<StandingsOverlay>},
        {kSlotTrackMap, make<TrackMapOverlay>},
        {kSlotDeltaTrace, make<DeltaTraceOverlay>},
        {kSlotTrackStrip, make<TrackStripOverlay>},
        {kSlotSpotter, make<SpotterOverlay>},
        {kSlotFuel, make<FuelOverlay>},
        {kSlotPitHelper, make<PitHelperOverlay>},
        {kSlotRaceInfo, make<RaceInfoOverlay>},
        {kSlotCover, make<PrivacyCoverOverlay>},
    };
    return kinds;
}

std::vector<std::unique_ptr<OverlayWindow>> makeOverlays(OverlayHost& host) {
    std::vector<std::unique_ptr<OverlayWindow>> all(kSlotCount);
    host.overlays.assign(kSlotCount, nullptr);
    for (const OverlayKind& kind : overlayKinds()) {
        const auto slot = static_cast<size_t>(kind.slot);
        all[slot] = kind.make(host);
        host.overlays[slot] = all[slot].get();
    }
    return all;
}

} // namespace vt
