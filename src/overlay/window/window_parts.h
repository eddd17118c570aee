// What the files of this folder share with each other; nobody else includes it.
#pragma once
#include "overlay/window/overlay_window.h"
#include "overlay/window/tick_rules.h"

namespace vt {

inline bool dragging(const OverlayWindow& overlay) {
    return overlay.dragMove || overlay.dragRight || overlay.dragBottom;
}

inline PointI clientSize(const OverlayWindow& overlay) {
    const RectI r = windowRect(overlay.window);
    return {r.width(), r.height()};
}

// ---- size and place ----

/// Height of the visible strips in design units.
float stripsHeight(const OverlayWindow& overlay, const OverlayConfig& common);
void applyScale(OverlayWindow& overlay, const OverlayConfig& common);
PointI overlayPixelSize(const OverlayWindow& overlay, const OverlayConfig& common);
/// Gives the window the size that the settings ask for. True when it changed.
bool syncWindowSize(OverlayWindow& overlay, const OverlayConfig& common);
/// Writes the window's place into the settings and marks them changed.
void storePlacement(OverlayWindow& overlay);
/// Pushes a window that touches no monitor into the nearest one's work area and stores that.
void bringOnScreen(OverlayWindow& overlay);
void saveNow(OverlayHost& host);
/// Writes the last nudge once its half second is over.
void savePendingNudge(OverlayWindow& overlay);

// ---- drawing ----

struct DrawPlan {
    const OverlayConfig& common;
    bool supported = true;
    bool editing = false; // draw the edit mode's outline, handles and caption
};

/// Records the whole picture into a canvas that has begun.
void drawOverlay(OverlayWindow& overlay, Canvas& canvas, const DrawPlan& plan);

// ---- mouse ----

bool handleWindowEvent(OverlayWindow& overlay, const WindowEvent& event);
void beginDrag(OverlayWindow& overlay, const WindowEvent& event);
void dragTo(OverlayWindow& overlay, PointI cursor);
/// Stores where the drag led, and saves.
void endDrag(OverlayWindow& overlay);
void showGripCursor(OverlayWindow& overlay, PointI client);
/// Drops a drag without storing it.
void cancelDrag(OverlayWindow& overlay);
/// Tells the window which parts of it take the mouse.
void updateInputRegion(OverlayWindow& overlay);

// ---- edit mode ----

/// As `setEditMode`, without the save and without telling anybody.
void applyEditMode(OverlayWindow& overlay, bool on);

} // namespace vt
