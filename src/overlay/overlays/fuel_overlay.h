// Fuel: what is in the tank, what a lap burns, whether it reaches the finish, and the plan.
#pragma once
#include "overlay/overlays/fuel_view.h"
#include "overlay/overlays/list_paint.h"
#include "overlay/window/overlay_window.h"

namespace vt {

class FuelOverlay : public OverlayWindow {
public:
    explicit FuelOverlay(OverlayHost& host);

    int* styleField() override { return &config.fuel.fuelStyle; }
    bool supportsStrips() const override { return true; }
    bool supportsFieldOptions() const override { return true; }
    bool hasChrome() const override;
    void buildPage(const PageBuilder& page) override;
    void layoutForStyle() override;
    void prepareFrame(const SimFrame* newFrame) override;
    void whileDisabled() override;
    uint64_t contentHash() override;
    void draw(Canvas& target, RectF rect) override;
    void discardDeviceResources() override;
    bool rebuildDeviceResources() override;

    FuelLapRing& ring() { return ring_; } // for tests and pictures

private:
    void build(const SimFrame* from);
    void publish(const FuelView* view);

    FuelLapRing ring_;
    CarTrackStore ownStore_; // where the host has none
    FuelPicture shown_;
    int lastPhase_ = -1;
    uint64_t callMs_ = 0; // when the present pit call began
    TextShelf shelf_;
    StampShelf stamps_;
};

/// What a face is drawn with.
struct FuelFace {
    ListPainter& p;
    const FuelPicture& shown;
    const FuelConfig& config;
    const FuelLapRing& ring;
    float unit = 1; // design units per unit of the base size
};
struct FuelRow { // a visible row of an Apex face
    enum Kind { heroes, word, bar, stats, spark, plan, footer } kind;
    int height; // at scale 1
};
/// The visible rows of the Apex layouts Blocks, Tri-Hero and Compact.
std::vector<FuelRow> fuelRows(const FuelConfig& config);
int fuelRowsHeight(const FuelConfig& config);
/// Width of the Apex blocks that are visible, at scale 1.
int fuelBlocksWidth(const FuelConfig& config);

void drawFuelApex(FuelFace& face, RectF rect);
void drawFuelClassic(FuelFace& face, RectF rect);
void drawFuelFull(FuelFace& face, RectF rect);
void drawFuelCompact(FuelFace& face, RectF rect);
void drawFuelPlanner(FuelFace& face, RectF rect);
void drawFuelRange(FuelFace& face, RectF rect);

// Pieces that the faces share.

Color fuelStatusColour(const FuelPicture& shown);
struct FuelCell {
    const char* label = "";
    const char* value = "";
    Color colour{0, 0, 0, 0}; // transparent: the theme's text
};
void drawFuelCell(FuelFace& face, RectF box, const FuelCell& cell, float valueSize,
                  TextAlign align = TextAlign::leading);
void drawFuelBar(FuelFace& face, RectF box);
void drawFuelSpark(FuelFace& face, RectF box, bool axis);
void drawFuelBadge(FuelFace& face, RectF box, const char* text);

} // namespace vt
