// Mirrors: plain windows that show what overlays show, for streaming programs that capture windows
// and cannot see the transparent ones. Main thread only.
#pragma once
#include "overlay/settings/slots.h"
#include "overlay/window/overlay_window.h"

#include <array>
#include <cstdint>

namespace vt {

/// One overlay's mirror. No window: closed. A window without a surface waits for the device.
struct MirrorRecord {
    WindowId window = 0;
    SurfaceRef surface;
    int slotId = 0;
    int width = 0, height = 0; // pixels
    uint64_t lastFrameId = 0;  // the overlay's frame counter when it was last shown
    bool drawn = false;        // the surface holds a picture that still holds
    bool overlayVisible = false;
    bool dragging = false;
    PointI dragStart, windowStart; // screen pixels
};

/// Mirrors of all overlays of a host, which outlives this.
class StreamMirror {
public:
    explicit StreamMirror(OverlayHost& host);
    ~StreamMirror(); // closes the windows, keeps the settings
    StreamMirror(const StreamMirror&) = delete;
    StreamMirror& operator=(const StreamMirror&) = delete;

    /// The overlay may have a mirror: its setting "Show on stream".
    bool IsWanted(int slot) const;
    bool IsOpen(int slot) const;
    /// Opens the mirror of an overlay and keeps that it is open. Nothing when it is open already;
    /// when no window can be had it stays closed.
    void OpenMirror(int slot);
    /// Closes the window; the settings stay.
    void CloseMirror(int slot);
    /// The button of an overlay: opens it, or closes it for good.
    void ToggleMirror(int slot);
    /// Every overlay that is wanted.
    void OpenAll();
    /// `clearSettings`: they are not opened again at the next start.
    void CloseAll(bool clearSettings);
    /// Those that were open when the program ended. Once the overlays exist.
    void OpenSaved();

    /// From the main tick: at most 30 pictures a second each, and only new ones.
    void Tick();

    /// Around a rebuild of the drawing device.
    void ReleaseSurfaces();
    void RemakeSurfaces();

    const MirrorRecord& record(int slot) const { return records_[static_cast<size_t>(slot)]; }

private:
    OverlayWindow* OverlayOf(int slot) const;
    bool Handle(MirrorRecord& record, const WindowEvent& event);
    void Drag(MirrorRecord& record, const WindowEvent& event);
    /// True when the window's size had to change.
    bool ResizeToOverlay(MirrorRecord& record);
    void DrawMirror(MirrorRecord& record, bool force);
    void Present(MirrorRecord& record, OverlayWindow* overlay);
    void Store(int slot, bool open);

    OverlayHost& host_;
    std::array<MirrorRecord, kSlotCount> records_;
    int open_ = 0;
    int64_t nextDue_ = 0;
    Canvas canvas_;
};

} // namespace vt
