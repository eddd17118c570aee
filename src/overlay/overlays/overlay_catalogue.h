// Which overlays exist. One row per built overlay; the driver makes them all.
#pragma once
#include "overlay/window/overlay_window.h"

#include <memory>
#include <vector>

namespace vt {

struct OverlayKind {
    int slot = -1;
    std::unique_ptr<OverlayWindow> (*make)(OverlayHost& host) = nullptr;
};

const std::vector<OverlayKind>& overlayKinds();

/// One place per slot; empty where the overlay is not built. Fills `host.overlays`.
std::vector<std::unique_ptr<OverlayWindow>> makeOverlays(OverlayHost& host);

} // namespace vt
