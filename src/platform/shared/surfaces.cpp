#include "platform/shared/backend.h"
#include "platform/window.h"

#include <algorithm>

namespace vt {

SurfaceRef createSurface(WindowId id, bool alpha, bool waitable) {
    const WindowRef window = findWindow(id);
    if (!window || window->spec.kind == WindowKind::message || deviceLost()) return nullptr;
    auto surface = std::make_shared<Surface>();
    surface->window = id;
    surface->alpha = alpha;
    surface->waitable = waitable;
    if (!backend()->createSurface(*window, *surface)) return nullptr;
    const RectI rect = window->rect;
    return resizeSurface(*surface, rect.width(), rect.height()) ? surface : nullptr;
}

bool resizeSurface(Surface& surface, int width, int height) {
    const WindowRef window = findWindow(surface.window);
    if (!window || deviceLost()) return false;
    if (!backend()->resizeSurface(surface, std::max(width, 1), std::max(height, 1))) return false;
    setBitmapDpi(*surface.bitmap, window->dpi);
    return true;
}

BitmapRef surfaceBitmap(const Surface& surface) {
    return surface.bitmap;
}

bool surfaceBeginFrame(Surface& surface) {
    return backend() && surface.bitmap && findWindow(surface.window) &&
           backend()->beginFrame(surface);
}

DrawResult presentSurface(Surface& surface) {
    if (deviceLost()) return {DrawStatus::lost, kDrawDeviceLost};
    const WindowRef window = findWindow(surface.window);
    if (!window || !backend() || !surface.bitmap) return {DrawStatus::failed, kDrawFailed};
    return backend()->present(*window, surface);
}

} // namespace vt
