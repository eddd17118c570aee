// Track Map: the circuit to scale with the cars on it, or the road ahead of the player.
#pragma once
#include "overlay/overlays/list_paint.h"
#include "overlay/overlays/track_map_plates.h"
#include "overlay/overlays/track_map_view.h"
#include "overlay/window/overlay_window.h"
#include "perf/live_map.h"

namespace vt {

class TrackMapOverlay : public OverlayWindow {
public:
    explicit TrackMapOverlay(OverlayHost& host);

    int* styleField() override { return &config.trackmap.tmStyle; }
    void buildPage(const PageBuilder& page) override;
    void layoutForStyle() override;
    void prepareFrame(const SimFrame* newFrame) override;
    void draw(Canvas& target, RectF rect) override;
    void discardDeviceResources() override;
    bool rebuildDeviceResources() override;

    const TrackShape& shape() const { return shape_; }

private:
    struct Source {
        int sim = -1, track = 0;
        bool demo = false;
        bool operator==(const Source&) const = default;
    };
    void follow(const SimFrame& shown);
    void drawLap(ListPainter& p, RectF rect, const SimFrame& shown, float textScale);
    bool drawAhead(ListPainter& p, RectF rect, const SimFrame& shown, float textScale);
    void drawTurns(ListPainter& p, RectF rect, PointF middle, float off, float text);
    void drawCars(ListPainter& p, RectF bounds, PointF away, float playerPct, float size);

    TrackShape shape_;
    Source source_;
    LiveMap learner_;
    uint32_t learnedSeen_ = 0;
    int surveyedSeen_ = -1;
    uint64_t nextLookMs_ = 0;
    std::vector<MapCar> cars_;
    std::vector<MapDot> dots_;
    std::vector<RectF> taken_; // where no plate may stand
    MapPlates plates_;

    // The outline fitted into the window, kept until the window or the track changes.
    PathRef outline_, pitLane_;
    RectF outlineRect_;
    MapFit fit_;

    TextShelf shelf_;
    StampShelf stamps_;
};

} // namespace vt
