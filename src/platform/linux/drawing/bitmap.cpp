#include "platform/linux/drawing/parts.h"

#include <cstring>
#include <new>

namespace vt {

namespace {

constexpr int kMaxSide = 16384;

bool sideFits(int width, int height) {
    return width >= 1 && height >= 1 && width <= kMaxSide && height <= kMaxSide;
}

BitmapRef adopt(cairo_surface_t* surface, float dpi) {
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->surface = surface;
    bitmap->width = cairo_image_surface_get_width(surface);
    bitmap->height = cairo_image_surface_get_height(surface);
    bitmap->stride = cairo_image_surface_get_stride(surface);
    setBitmapDpi(*bitmap, dpi);
    return bitmap;
}

} // namespace

BitmapRef createBitmap(int width, int height, float dpi) {
    if (!sideFits(width, height)) return nullptr;
    return adopt(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height), dpi);
}

BitmapRef wrapBitmap(uint8_t* pixels, int width, int height, int stride, float dpi,
                     std::shared_ptr<void> keepAlive) {
    if (!pixels || !sideFits(width, height) || stride < width * 4 || stride % 4 != 0)
        return nullptr;
    BitmapRef bitmap = adopt(
        cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, width, height, stride),
        dpi);
    if (bitmap) bitmap->keepAlive = std::move(keepAlive);
    return bitmap;
}

BitmapRef copyBitmap(const Bitmap& source) {
    BitmapRef copy = createBitmap(source.width, source.height, source.dpi);
    if (!copy) return nullptr;
    PixelView from = bitmapPixels(source);
    uint8_t* to = bitmapWritablePixels(*copy);
    for (int y = 0; y < from.height; ++y)
        std::memcpy(to + static_cast<size_t>(y) * copy->stride,
                    from.data + static_cast<size_t>(y) * from.stride,
                    static_cast<size_t>(from.width) * 4);
    bitmapChanged(*copy);
    return copy;
}

int bitmapWidth(const Bitmap& bitmap) {
    return bitmap.width;
}

int bitmapHeight(const Bitmap& bitmap) {
    return bitmap.height;
}

float bitmapDpi(const Bitmap& bitmap) {
    return bitmap.dpi;
}

void setBitmapDpi(Bitmap& bitmap, float dpi) {
    bitmap.dpi = dpi > 0 ? dpi : 96;
}

PixelView bitmapPixels(const Bitmap& bitmap) {
    cairo_surface_flush(bitmap.surface);
    return {cairo_image_surface_get_data(bitmap.surface), bitmap.width, bitmap.height,
            bitmap.stride};
}

uint8_t* bitmapWritablePixels(Bitmap& bitmap) {
    cairo_surface_flush(bitmap.surface);
    return cairo_image_surface_get_data(bitmap.surface);
}

void bitmapChanged(Bitmap& bitmap) {
    cairo_surface_mark_dirty(bitmap.surface);
}

} // namespace vt
