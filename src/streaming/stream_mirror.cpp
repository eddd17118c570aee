#include "streaming/stream_mirror.h"

#include "base/log.h"
#include "base/pacing.h"

namespace vt {

namespace {

constexpr double kPicturesPerSecond = 30, kEarlyMs = 8;
constexpr int kBareWidth = 320, kBareHeight = 160;       // while the overlay has no size
constexpr Color kBackdrop{0.043f, 0.051f, 0.047f, 1.0f}; // near black, easily keyed out
constexpr const char* kClassName = "VTStreamMirrorWindow";
constexpr const char* kPlace = "streamMirror";
constexpr int kFirstPlace = 80, kCascade = 32;

PointI sizeOf(const OverlayWindow* overlay) {
    PointI size;
    if (overlay && overlay->picture)
        size = {bitmapWidth(*overlay->picture), bitmapHeight(*overlay->picture)};
    else if (overlay && overlay->window)
        size = {windowRect(overlay->window).width(), windowRect(overlay->window).height()};
    return size.x > 0 && size.y > 0 ? size : PointI{kBareWidth, kBareHeight};
}

bool isVisible(const OverlayWindow* overlay) {
    return overlay && overlay->window && windowVisible(overlay->window);
}

void noteFailure(const DrawResult& result, const OverlayHost& host) {
    if (result.status == DrawStatus::lost || isDeviceLost(result.code))
        raiseDeviceLost();
    else
        reportDrawFailure(kPlace, result.code, clockMs(host.clock));
}

} // namespace

StreamMirror::StreamMirror(OverlayHost& host) : host_(host) {
    for (size_t slot = 0; slot < records_.size(); ++slot)
        records_[slot].slotId = static_cast<int>(slot);
}

StreamMirror::~StreamMirror() {
    CloseAll(false);
}

OverlayWindow* StreamMirror::OverlayOf(int slot) const {
    const auto at = static_cast<size_t>(slot);
    return slot >= 0 && at < host_.overlays.size() ? host_.overlays[at] : nullptr;
}

bool StreamMirror::IsWanted(int slot) const {
    OverlayWindow* overlay = OverlayOf(slot);
    const OverlayConfig* common = overlay ? overlay->configBase() : nullptr;
    return common && common->mirrorOnStream;
}

bool StreamMirror::IsOpen(int slot) const {
    return slot >= 0 && slot < kSlotCount && record(slot).window != 0;
}

void StreamMirror::Store(int slot, bool open) {
    OverlayWindow* overlay = OverlayOf(slot);
    OverlayConfig* common = overlay ? overlay->configBase() : nullptr;
    if (!common || common->mirrorWindowOpen == open) return;
    common->mirrorWindowOpen = open;
    host_.config.settingsDirty = true;
}

void StreamMirror::OpenMirror(int slot) {
    OverlayWindow* overlay = OverlayOf(slot);
    if (!overlay || IsOpen(slot)) return;
    MirrorRecord& mirror = records_[static_cast<size_t>(slot)];
    const int place = kFirstPlace + kCascade * (open_ % 12);
    WindowSpec spec;
    spec.kind = WindowKind::mirror;
    spec.title = std::string("VT Mirror - ") + overlay->name;
    spec.className = kClassName;
    spec.rect = {place, place, place + kBareWidth, place + kBareHeight};
    mirror.window = createWindow(
        spec, [this, &mirror](const WindowEvent& event) { return Handle(mirror, event); });
    if (mirror.window) mirror.surface = createSurface(mirror.window, false, true);
    if (!mirror.surface) {
        logStatus("[mirror] no window for \"%s\"\n", overlay->name);
        if (mirror.window) destroyWindow(mirror.window);
        mirror.window = 0;
        return;
    }
    ++open_;
    setCursor(mirror.window, CursorShape::sizeAll);
    mirror.drawn = false;
    ResizeToOverlay(mirror);
    showWindow(mirror.window, true);
    Store(slot, true);
}

void StreamMirror::CloseMirror(int slot) {
    if (!IsOpen(slot)) return;
    MirrorRecord& mirror = records_[static_cast<size_t>(slot)];
    const WindowId window = mirror.window;
    mirror = {};
    mirror.slotId = slot;
    --open_;
    destroyWindow(window);
}

void StreamMirror::ToggleMirror(int slot) {
    if (!IsOpen(slot)) return OpenMirror(slot);
    CloseMirror(slot);
    Store(slot, false);
}

void StreamMirror::OpenAll() {
    for (int slot = 0; slot < kSlotCount; ++slot)
        if (IsWanted(slot)) OpenMirror(slot);
    host_.config.streamMirrorsOpen = true;
    host_.config.settingsDirty = true;
}

void StreamMirror::CloseAll(bool clearSettings) {
    for (int slot = 0; slot < kSlotCount; ++slot) {
        CloseMirror(slot);
        if (clearSettings) Store(slot, false);
    }
    if (!clearSettings) return;
    host_.config.streamMirrorsOpen = false;
    host_.config.settingsDirty = true;
}

void StreamMirror::OpenSaved() {
    for (int slot = 0; slot < kSlotCount; ++slot) {
        OverlayWindow* overlay = OverlayOf(slot);
        const OverlayConfig* common = overlay ? overlay->configBase() : nullptr;
        if (common && common->mirrorWindowOpen) OpenMirror(slot);
    }
}

void StreamMirror::Tick() {
    if (open_ == 0 ||
        !paceDue(nextDue_, kPicturesPerSecond, kEarlyMs, clockTicks(host_.clock), kTicksPerSecond))
        return;
    for (MirrorRecord& mirror : records_)
        if (mirror.window) DrawMirror(mirror, false);
}

bool StreamMirror::ResizeToOverlay(MirrorRecord& mirror) {
    const PointI size = sizeOf(OverlayOf(mirror.slotId));
    if (size.x == mirror.width && size.y == mirror.height) return false;
    mirror.width = size.x;
    mirror.height = size.y;
    const RectI old = windowRect(mirror.window);
    setWindowRect(mirror.window, {old.left, old.top, old.left + size.x, old.top + size.y});
    return true;
}

void StreamMirror::DrawMirror(MirrorRecord& mirror, bool force) {
    if (!mirror.surface) return;
    if (ResizeToOverlay(mirror)) force = true;
    OverlayWindow* overlay = OverlayOf(mirror.slotId);
    const bool visible = isVisible(overlay);
    const uint64_t frameId = overlay ? overlay->frameCounter : 0;
    if (!force && mirror.drawn && frameId == mirror.lastFrameId && visible == mirror.overlayVisible)
        return;
    mirror.drawn = false; // a busy window is tried again, also where nothing else asks for it
    if (!surfaceBeginFrame(*mirror.surface)) return;
    mirror.lastFrameId = frameId;
    mirror.drawn = true;
    mirror.overlayVisible = visible;
    Present(mirror, overlay);
}

void StreamMirror::Present(MirrorRecord& mirror, OverlayWindow* overlay) {
    const BitmapRef target = surfaceBitmap(*mirror.surface);
    if (!target || !canvas_.begin(target)) {
        mirror.drawn = false;
        if (deviceLost()) return;
        return noteFailure({DrawStatus::failed, kDrawFailed}, host_);
    }
    canvas_.clear(kBackdrop);
    if (mirror.overlayVisible && overlay->picture) {
        // Pixel on pixel, whatever the two take an inch to be.
        const Bitmap& picture = *overlay->picture;
        const float unit = 96 / bitmapDpi(*target);
        canvas_.drawBitmap(&picture, {0, 0, static_cast<float>(bitmapWidth(picture)) * unit,
                                      static_cast<float>(bitmapHeight(picture)) * unit});
    }
    DrawResult result = canvas_.end();
    if (result.ok()) result = presentSurface(*mirror.surface);
    if (result.ok()) return;
    mirror.drawn = false; // the same picture is tried again
    if (result.status != DrawStatus::busy) noteFailure(result, host_);
}

void StreamMirror::Drag(MirrorRecord& mirror, const WindowEvent& event) {
    if (event.kind == EventKind::mouseDown) {
        mirror.dragging = true;
        mirror.dragStart = event.screen;
        const RectI rect = windowRect(mirror.window);
        mirror.windowStart = {rect.left, rect.top};
        captureMouse(mirror.window);
    } else if (event.kind == EventKind::mouseMove && mirror.dragging) {
        const int x = mirror.windowStart.x + event.screen.x - mirror.dragStart.x;
        const int y = mirror.windowStart.y + event.screen.y - mirror.dragStart.y;
        setWindowRect(mirror.window, {x, y, x + mirror.width, y + mirror.height});
    } else if (event.kind != EventKind::mouseMove && mirror.dragging) {
        mirror.dragging = false;
        if (event.kind == EventKind::mouseUp) releaseMouse();
    }
}

bool StreamMirror::Handle(MirrorRecord& mirror, const WindowEvent& event) {
    switch (event.kind) {
    case EventKind::paint:
        DrawMirror(mirror, true);
        return true;
    case EventKind::resized:
        if (!mirror.surface) return true;
        resizeSurface(*mirror.surface, event.rect.width(), event.rect.height());
        mirror.drawn = false;
        return true;
    case EventKind::close: {
        const int slot = mirror.slotId;
        CloseMirror(slot);
        Store(slot, false);
        return true;
    }
    case EventKind::mouseDown:
    case EventKind::mouseUp:
        if (event.button == 0) Drag(mirror, event);
        return true;
    case EventKind::mouseMove:
    case EventKind::captureLost:
        Drag(mirror, event);
        return true;
    default:
        return false;
    }
}

void StreamMirror::ReleaseSurfaces() {
    for (MirrorRecord& mirror : records_) {
        mirror.surface.reset();
        mirror.drawn = false;
    }
}

void StreamMirror::RemakeSurfaces() {
    for (MirrorRecord& mirror : records_)
        if (mirror.window) mirror.surface = createSurface(mirror.window, false, true);
}

} // namespace vt
