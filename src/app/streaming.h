// The program's side of what viewers of a stream see: when the browser source runs, and which
// pictures it is given.
#pragma once
#include "overlay/window/overlay_window.h"
#include "streaming/browser_source.h"

namespace vt {

/// Main thread. Starts with `startStreaming` once the overlays exist.
struct Streaming {
    explicit Streaming(OverlayHost& overlays) : host(overlays) {}
    ~Streaming() { BrowserSourceStop(browser); }
    Streaming(const Streaming&) = delete;
    Streaming& operator=(const Streaming&) = delete;

    OverlayHost& host;
    BrowserSource browser;
};

/// Enters the captures with the host and serves what the settings ask for.
void startStreaming(Streaming& streaming);
/// Follows changed settings, and gives the first viewer of an overlay the picture that stands.
void streamingTick(Streaming& streaming);

} // namespace vt
