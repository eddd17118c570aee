// Relative: the cars around the player on the road.
#pragma once
#include "overlay/overlays/list_overlay.h"

namespace vt {

class RelativeOverlay : public ListOverlay {
public:
    explicit RelativeOverlay(OverlayHost& host);

    ColumnList* columnList() override { return &config.relative.columns; }
    int* styleField() override { return &config.relative.relStyle; }
    void buildPage(const PageBuilder& page) override;
    void layoutForStyle() override;
    uint64_t contentHash() override;

protected:
    float buildView() override;
};

} // namespace vt
