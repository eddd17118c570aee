// Track Strip: the field on one flat line, and the cars within five seconds below it.
#pragma once
#include "overlay/overlays/list_paint.h"
#include "overlay/overlays/track_strip_view.h"
#include "overlay/window/overlay_window.h"

namespace vt {

class TrackStripOverlay : public OverlayWindow {
public:
    explicit TrackStripOverlay(OverlayHost& host);

    void buildPage(const PageBuilder& page) override;
    void layoutForStyle() override;
    uint64_t contentHash() override;
    void draw(Canvas& target, RectF rect) override;
    void discardDeviceResources() override;
    bool rebuildDeviceResources() override;

private:
    TrackStripView view_;
    int captionPlace_ = -1; // of the pit lane's caption in the last picture
    TextShelf shelf_;
    StampShelf stamps_;
};

} // namespace vt
