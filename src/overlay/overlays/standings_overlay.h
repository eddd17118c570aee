// Standings: the running order, class by class.
#pragma once
#include "overlay/overlays/list_overlay.h"

namespace vt {

class StandingsOverlay : public ListOverlay {
public:
    explicit StandingsOverlay(OverlayHost& host);

    ColumnList* columnList() override { return &config.standings.columns; }
    int* styleField() override { return &config.standings.stdStyle; }
    void buildPage(const PageBuilder& page) override;
    void layoutForStyle() override;
    uint64_t contentHash() override;

protected:
    float buildView() override;

private:
    ClassRotation rotation_; // survives hiding
    int turns_ = 0;          // classes that take turns
    int lastTurn_ = -1;
    StandingsExtent lastExtent_; // of the last live frame
};

} // namespace vt
