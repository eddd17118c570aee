// Race Info: a lower third with the track, the car, the lap and the time left.
#pragma once
#include "overlay/overlays/card_overlay.h"

namespace vt {

/// What the card says; texts are empty where the sim does not tell.
struct RaceInfoView {
    char track[64] = "", car[96] = "", lap[24] = "", time[32] = "";
    int lapSeverity = 0, timeSeverity = 0; // 1 amber, 2 red
};

/// 0 none, 1 amber, 2 red for what is left against two limits; a limit of 0 is switched off.
int leftSeverity(double left, double amber, double red);
/// Null: no frame.
void buildRaceInfo(RaceInfoView& view, const RaceInfoConfig& config, const SimFrame* frame);

class RaceInfoOverlay : public CardOverlay {
public:
    explicit RaceInfoOverlay(OverlayHost& host);
    int* styleField() override { return &config.raceinfo.riStyle; }
    void buildPage(const PageBuilder& page) override;
    uint64_t contentHash() override;

protected:
    void paint(ListPainter& painter, RectF rect, const CardLook& look) override;

private:
    RaceInfoView view_;
};

} // namespace vt
