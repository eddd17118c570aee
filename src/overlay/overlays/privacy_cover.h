// Privacy Cover: a striped panel that hides the setup screen from viewers while the driver is in
// the garage.
#pragma once
#include "overlay/overlays/card_overlay.h"

namespace vt {

class PrivacyCoverOverlay : public CardOverlay {
public:
    explicit PrivacyCoverOverlay(OverlayHost& host);
    int* styleField() override { return &config.cover.coverStyle; }
    void buildPage(const PageBuilder& page) override;
    uint64_t contentHash() override;

protected:
    void paint(ListPainter& painter, RectF rect, const CardLook& look) override;
};

} // namespace vt
