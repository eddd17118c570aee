// The program's side of what viewers of a stream see: when the browser source runs, and which
// pictures it is given.
#pragma once
#include "overlay/window/overlay_window.h"
#include "streaming/browser_source.h"
#include "streaming/stream_mirror.h"

namespace vt {

/// Main thread. Starts with `startStreaming` once the overlays exist.
struct Streaming {
    explicit Streaming(OverlayHost& overlays) : host(overlays) {}
    ~Streaming() { BrowserSourceStop(browser); }
    Streaming(const Streaming&) = delete;
    Streaming& operator=(const Streaming&) = delete;

    OverlayHost& host;
    BrowserSource browser;
    StreamMirror mirrors{host};
};

/// Enters the captures with the host, serves what the settings ask for, and opens the mirrors that
/// were open.
void startStreaming(Streaming& streaming);
/// Before the overlays go.
void stopStreaming(Streaming& streaming);
/// Follows changed settings, and gives the first viewer of an overlay the picture that stands.
void streamingTick(Streaming& streaming);

} // namespace vt
