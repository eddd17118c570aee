// Delta Trace: gain and loss against a reference lap, drawn over the lap.
#pragma once
#include "overlay/overlays/delta_trace_view.h"
#include "overlay/overlays/list_paint.h"
#include "overlay/window/overlay_window.h"

namespace vt {

class DeltaTraceOverlay : public OverlayWindow {
public:
    explicit DeltaTraceOverlay(OverlayHost& host);

    int* styleField() override { return &config.deltatrace.dtStyle; }
    void buildPage(const PageBuilder& page) override;
    void layoutForStyle() override;
    void prepareFrame(const SimFrame* newFrame) override;
    void draw(Canvas& target, RectF rect) override;
    void discardDeviceResources() override;
    bool rebuildDeviceResources() override;

private:
    DeltaTrace trace_;
    DeltaTraceView view_;
    TextShelf shelf_;
    StampShelf stamps_;
};

} // namespace vt
