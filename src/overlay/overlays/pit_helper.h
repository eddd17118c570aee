// Pit Helper: the speed against the pit lane's limit, and the way to the own box.
#pragma once
#include "overlay/overlays/card_overlay.h"

namespace vt {

enum class PitBand { unknown, below, hold, over };

struct PitHelperView {
    bool works = false;     // the sim tells what the overlay needs
    bool onPitRoad = false; // or in the stall, or with the limiter on
    PitBand band = PitBand::unknown;
    float kph = 0, limitKph = 0;
    const char* place = ""; // "PIT LANE", "APPROACH" or "IN BOX"
    bool limiter = false;
    char speed[16] = "", limit[24] = "", delta[24] = "", unit[8] = "";
    char box[40] = "";   // way to the box, "STOP", or why there is none; empty: nothing to say
    float boxShare = -1; // 0 far .. 1 at the box; below 0 without a distance
};

/// Speeds are compared in km/h and shown in the unit that is asked for. Null: no frame.
void buildPitHelper(PitHelperView& view, const PitHelperConfig& config, bool imperial,
                    const SimFrame* frame);

class PitHelperOverlay : public CardOverlay {
public:
    explicit PitHelperOverlay(OverlayHost& host);
    int* styleField() override { return &config.pithelper.pitStyle; }
    void buildPage(const PageBuilder& page) override;
    void prepareFrame(const SimFrame* newFrame) override;
    uint64_t contentHash() override;
    bool visibilityGate() override;

protected:
    void paint(ListPainter& painter, RectF rect, const CardLook& look) override;
    int cardHeight() const override;

private:
    void build();
    bool flashOn() const;

    PitHelperView view_;
};

} // namespace vt
