// Small overlays that are one card: a sheet in the colours of the style, and what the overlay puts
// on it.
#pragma once
#include "overlay/overlays/list_paint.h"
#include "overlay/window/overlay_window.h"

namespace vt {

/// Colours and measures of a card.
struct CardLook {
    bool apex = false;
    Color sheet, text, dim, line, accent, onAccent;
    Color good, caution, alarm;
    float corner = 6;
    float unit = 1;     // of the overlay's base height
    float textSize = 1; // the user's multiplier
};

class CardOverlay : public OverlayWindow {
public:
    CardOverlay(OverlayHost& host, int slot, int width, int height);

    void layoutForStyle() override;
    void draw(Canvas& target, RectF rect) override;
    void discardDeviceResources() override;
    bool rebuildDeviceResources() override;

protected:
    /// The sheet is painted already; nothing leaves `rect`.
    virtual void paint(ListPainter& painter, RectF rect, const CardLook& look) = 0;
    /// Height of the whole card in base units.
    virtual int cardHeight() const { return height_; }
    /// The rows that every card's page begins with.
    void addStyleRow(const PageBuilder& page, const char* hint);

private:
    const int width_, height_;
    TextShelf shelf_;
    StampShelf stamps_;
};

} // namespace vt
