#include "app/streaming.h"

namespace vt {

namespace {

/// Saves at once: an address that was copied must outlive a crash.
void saveKey(Streaming& streaming) {
    if (streaming.host.saveSettings) streaming.host.saveSettings();
}

void captureFor(Streaming& streaming, OverlayWindow& overlay) {
    if (overlay.picture) BrowserSourceCapture(streaming.browser, overlay.slot, *overlay.picture);
}

} // namespace

void startStreaming(Streaming& streaming) {
    for (const OverlayWindow* overlay : streaming.host.overlays)
        if (overlay) streaming.browser.listed.push_back(overlay->slot);
    streaming.host.afterPaint.push_back(
        [&streaming](OverlayWindow& overlay) { captureFor(streaming, overlay); });
    // Nobody is asked at the start of the program, which may be that of the PC.
    if (BrowserSourceStart(streaming.browser, streaming.host.config, false)) saveKey(streaming);
    addDeviceClient({"mirrors", &streaming.mirrors,
                     [](void* mirrors) { static_cast<StreamMirror*>(mirrors)->ReleaseSurfaces(); },
                     [](void* mirrors) {
                         static_cast<StreamMirror*>(mirrors)->RemakeSurfaces();
                         return true;
                     }});
    streaming.mirrors.OpenSaved();
}

void stopStreaming(Streaming& streaming) {
    BrowserSourceStop(streaming.browser);
    streaming.mirrors.CloseAll(false);
    removeDeviceClient(&streaming.mirrors);
}

void streamingTick(Streaming& streaming) {
    if (BrowserSourceFollow(streaming.browser, streaming.host.config, true)) saveKey(streaming);
    FrameHub& hub = streaming.browser.hub;
    if (!hub.captureWanted.load(std::memory_order_relaxed) || !hub.captureWanted.exchange(false))
        return;
    for (OverlayWindow* overlay : streaming.host.overlays) {
        if (!overlay || !hub.slotWanted[static_cast<size_t>(overlay->slot)].exchange(false))
            continue;
        captureFor(streaming, *overlay);
        overlay->contentValid = false;
    }
}

} // namespace vt
