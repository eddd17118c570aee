#include "platform/linux/desktop/x11_state.h"

#include <xcb/xcbext.h>

#include <algorithm>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace vt {

struct ShmSegment {
    uint8_t* pixels = nullptr;
    xcb_shm_seg_t id = 0;
    uint32_t generation = 0;

    ~ShmSegment() {
        // Whoever kept the picture may outlive the connection that knew the segment.
        if (id && generation == x11.generation && x11.connection && !x11.lost)
            xcb_shm_detach(x11.connection, id);
        if (pixels) shmdt(pixels);
    }
};

namespace {

std::shared_ptr<ShmSegment> makeSegment(size_t bytes) {
    if (!x11.hasShm) return nullptr;
    const int handle = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (handle < 0) return nullptr;
    auto segment = std::make_shared<ShmSegment>();
    void* const memory = shmat(handle, nullptr, 0);
    if (memory != reinterpret_cast<void*>(-1)) {
        segment->pixels = static_cast<uint8_t*>(memory);
        const xcb_shm_seg_t id = xcb_generate_id(x11.connection);
        const auto cookie =
            xcb_shm_attach_checked(x11.connection, id, static_cast<uint32_t>(handle), 1);
        // A server on another machine, or in another container, cannot attach.
        const Reply<xcb_generic_error_t> error(xcb_request_check(x11.connection, cookie));
        if (!error && x11Alive()) {
            segment->id = id;
            segment->generation = x11.generation;
        }
    }
    shmctl(handle, IPC_RMID, nullptr); // goes with the last one attached, crash or not
    if (segment->id) return segment;
    x11.hasShm = false;
    return nullptr;
}

xcb_gcontext_t contextFor(const X11Window& window) {
    return window.depth == 32 ? x11.alphaGc : x11.plainGc;
}

void putShared(X11Window& window, X11Surface& surface, RectI area) {
    const PixelView view = bitmapPixels(*surface.bitmap);
    xcb_shm_put_image(x11.connection, window.handle, contextFor(window),
                      static_cast<uint16_t>(view.stride / 4), static_cast<uint16_t>(view.height),
                      static_cast<uint16_t>(area.left), static_cast<uint16_t>(area.top),
                      static_cast<uint16_t>(area.width()), static_cast<uint16_t>(area.height()),
                      static_cast<int16_t>(area.left), static_cast<int16_t>(area.top), window.depth,
                      XCB_IMAGE_FORMAT_Z_PIXMAP, 1, surface.segment->id, 0);
    ++surface.inFlight;
}

/// Whole rows, in as many requests as the server's limit asks for; then a question whose answer
/// tells that they arrived.
void putPlain(X11Window& window, X11Surface& surface, RectI area) {
    const PixelView view = bitmapPixels(*surface.bitmap);
    const size_t limit = size_t{xcb_get_maximum_request_length(x11.connection)} * 4 - 64;
    const int rows = std::max(1, static_cast<int>(limit / static_cast<size_t>(view.stride)));
    for (int y = area.top; y < area.bottom; y += rows) {
        const int count = std::min(rows, area.bottom - y);
        xcb_put_image(x11.connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window.handle, contextFor(window),
                      static_cast<uint16_t>(view.stride / 4), static_cast<uint16_t>(count), 0,
                      static_cast<int16_t>(y), 0, window.depth,
                      static_cast<uint32_t>(view.stride * count),
                      view.data + ptrdiff_t{y} * view.stride);
    }
    if (surface.fenced) xcb_discard_reply(x11.connection, surface.fence.sequence);
    surface.fence = xcb_get_input_focus(x11.connection);
    surface.fenced = true;
}

void put(X11Window& window, X11Surface& surface, RectI area) {
    if (area.empty()) return;
    if (surface.segment)
        putShared(window, surface, area);
    else
        putPlain(window, surface, area);
}

/// True when nothing of the surface is on its way any more. Never blocks.
bool arrived(X11Surface& surface) {
    if (surface.inFlight > 0) {
        xcb_flush(x11.connection);
        x11ReadAhead();
    }
    if (surface.fenced) {
        xcb_flush(x11.connection);
        void* reply = nullptr;
        xcb_generic_error_t* error = nullptr;
        if (xcb_poll_for_reply(x11.connection, surface.fence.sequence, &reply, &error)) {
            surface.fenced = false;
            std::free(reply);
            std::free(error);
        }
    }
    return surface.inFlight == 0 && !surface.fenced;
}

X11Surface& partOf(Surface& surface) {
    return *static_cast<X11Surface*>(surface.native.get());
}

} // namespace

bool x11CreateSurface(WindowRecord& window, Surface& surface) {
    if (!x11Alive()) return false;
    const auto part = std::make_shared<X11Surface>();
    part->window = window.id;
    part->waitable = surface.waitable;
    surface.native = part;
    x11Part(window).surface = part;
    std::erase_if(x11.surfaces, [](const std::weak_ptr<X11Surface>& s) { return s.expired(); });
    x11.surfaces.push_back(part);
    return true;
}

bool x11ResizeSurface(Surface& surface, int width, int height) {
    if (!x11Alive()) return false;
    X11Surface& part = partOf(surface);
    const size_t stride = static_cast<size_t>(width) * 4;
    std::shared_ptr<ShmSegment> segment = makeSegment(stride * static_cast<size_t>(height));
    BitmapRef bitmap =
        segment ? wrapBitmap(segment->pixels, width, height, static_cast<int>(stride), 96, segment)
                : createBitmap(width, height);
    if (!bitmap) return false;
    if (part.fenced) xcb_discard_reply(x11.connection, part.fence.sequence);
    // Completions of the old segment are known by its number and count no more.
    part.segment = std::move(segment);
    part.bitmap = bitmap;
    part.inFlight = 0;
    part.presented = part.fenced = false;
    surface.bitmap = std::move(bitmap);
    return true;
}

bool x11BeginFrame(Surface& surface) {
    if (!x11Alive()) return false;
    X11Surface& part = partOf(surface);
    if (arrived(part)) return true;
    if (part.waitable) return false;
    // Any answer comes after the puts before it.
    const Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(x11.connection, xcb_get_input_focus(x11.connection), nullptr));
    arrived(part);
    return x11Alive();
}

DrawResult x11Present(WindowRecord& window, Surface& surface) {
    if (!x11Alive()) return {DrawStatus::lost, kDrawDeviceLost};
    X11Surface& part = partOf(surface);
    if (part.waitable && !arrived(part)) return {DrawStatus::busy, kDrawStillBusy};
    put(x11Part(window), part, {0, 0, bitmapWidth(*part.bitmap), bitmapHeight(*part.bitmap)});
    part.presented = true;
    xcb_flush(x11.connection);
    if (!x11Alive()) return {DrawStatus::lost, kDrawDeviceLost};
    return {};
}

void x11PutCompleted(uint32_t segment) {
    for (const auto& weak : x11.surfaces)
        if (const auto surface = weak.lock();
            surface && surface->segment && surface->segment->id == segment && surface->inFlight > 0)
            --surface->inFlight;
}

void x11PutsFailed() {
    // The error does not say which segment it was. To count too little costs a torn picture at
    // worst; to count too much would stop the surface for good.
    for (const auto& weak : x11.surfaces)
        if (const auto surface = weak.lock()) surface->inFlight = 0;
}

bool x11Repaint(X11Window& window, RectI area) {
    const auto surface = window.surface.lock();
    if (!surface || !surface->presented || !surface->bitmap) return false;
    put(window, *surface,
        intersect(area, {0, 0, bitmapWidth(*surface->bitmap), bitmapHeight(*surface->bitmap)}));
    return true;
}

} // namespace vt
