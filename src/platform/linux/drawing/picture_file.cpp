#include "platform/picture_file.h"

#include "platform/file.h"

#include <jpeglib.h>
#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

namespace vt {

namespace {

uint8_t scaled(uint8_t channel, uint8_t alpha) {
    return static_cast<uint8_t>((channel * alpha + 127) / 255);
}

void premultiply(Bitmap& bitmap) {
    const PixelView view = bitmapPixels(bitmap);
    uint8_t* rows = bitmapWritablePixels(bitmap);
    for (int y = 0; y < view.height; ++y) {
        uint8_t* p = rows + static_cast<size_t>(y) * view.stride;
        for (int x = 0; x < view.width; ++x, p += 4)
            for (int c = 0; c < 3; ++c)
                p[c] = scaled(p[c], p[3]);
    }
    bitmapChanged(bitmap);
}

std::vector<uint8_t> straightPixels(const PixelView& view) {
    std::vector<uint8_t> out(static_cast<size_t>(view.width) * view.height * 4);
    uint8_t* to = out.data();
    for (int y = 0; y < view.height; ++y) {
        const uint8_t* p = view.data + static_cast<size_t>(y) * view.stride;
        for (int x = 0; x < view.width; ++x, p += 4, to += 4) {
            const int alpha = p[3];
            for (int c = 0; c < 3; ++c)
                to[c] = alpha == 0
                            ? 0
                            : static_cast<uint8_t>(std::min(255, (p[c] * 255 + alpha / 2) / alpha));
            to[3] = p[3];
        }
    }
    return out;
}

BitmapRef decodePng(const std::string& bytes, int maxSide) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) return nullptr;
    BitmapRef bitmap;
    if (image.width >= 1 && image.height >= 1 && image.width <= static_cast<png_uint_32>(maxSide) &&
        image.height <= static_cast<png_uint_32>(maxSide))
        bitmap = createBitmap(static_cast<int>(image.width), static_cast<int>(image.height));
    if (bitmap) {
        image.format = PNG_FORMAT_BGRA;
        if (!png_image_finish_read(&image, nullptr, bitmapWritablePixels(*bitmap),
                                   bitmapPixels(*bitmap).stride, nullptr))
            bitmap = nullptr;
    }
    png_image_free(&image);
    if (bitmap) premultiply(*bitmap);
    return bitmap;
}

struct JpegErrors {
    jpeg_error_mgr base;
    jmp_buf back;
};

[[noreturn]] void jpegFailed(j_common_ptr info) {
    longjmp(reinterpret_cast<JpegErrors*>(info->err)->back, 1);
}

void jpegSilent(j_common_ptr, int) {}

/// Decoding leaves by longjmp on damage, so nothing with a destructor lives in here.
bool readJpegHeader(jpeg_decompress_struct& info, JpegErrors& errors, const std::string& bytes) {
    if (setjmp(errors.back)) return false;
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char*>(bytes.data()),
                 static_cast<unsigned long>(bytes.size()));
    return jpeg_read_header(&info, TRUE) == JPEG_HEADER_OK;
}

bool readJpegRows(jpeg_decompress_struct& info, JpegErrors& errors, uint8_t* pixels, int stride) {
    if (setjmp(errors.back)) return false;
    info.out_color_space = JCS_EXT_BGRA;
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height) {
        JSAMPROW row = pixels + static_cast<size_t>(info.output_scanline) * stride;
        jpeg_read_scanlines(&info, &row, 1);
    }
    jpeg_finish_decompress(&info);
    return true;
}

BitmapRef decodeJpeg(const std::string& bytes, int maxSide) {
    jpeg_decompress_struct info;
    std::memset(&info, 0, sizeof info);
    JpegErrors errors;
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = jpegFailed;
    errors.base.emit_message = jpegSilent;
    BitmapRef bitmap;
    if (readJpegHeader(info, errors, bytes)) {
        const int width = static_cast<int>(info.image_width);
        const int height = static_cast<int>(info.image_height);
        if (width <= maxSide && height <= maxSide) bitmap = createBitmap(width, height);
        if (bitmap && !readJpegRows(info, errors, bitmapWritablePixels(*bitmap),
                                    bitmapPixels(*bitmap).stride))
            bitmap = nullptr;
    }
    jpeg_destroy_decompress(&info);
    if (bitmap) bitmapChanged(*bitmap);
    return bitmap;
}

} // namespace

bool savePng(const Bitmap& bitmap, const std::string& path) {
    const PixelView view = bitmapPixels(bitmap);
    const std::vector<uint8_t> pixels = straightPixels(view);
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(view.width);
    image.height = static_cast<png_uint_32>(view.height);
    image.format = PNG_FORMAT_BGRA;
    image.flags = PNG_IMAGE_FLAG_FAST;
    std::string bytes(PNG_IMAGE_PNG_SIZE_MAX(image), '\0');
    png_alloc_size_t size = bytes.size();
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr))
        return false;
    bytes.resize(size);
    return writeFileAtomic(path, bytes);
}

BitmapRef loadPicture(const std::string& path, int maxSide) {
    std::string bytes;
    if (!readFile(path, bytes)) return nullptr;
    if (bytes.size() >= 8 && std::memcmp(bytes.data(), "\x89PNG\r\n\x1a\n", 8) == 0)
        return decodePng(bytes, maxSide);
    if (bytes.size() >= 3 && std::memcmp(bytes.data(), "\xFF\xD8\xFF", 3) == 0)
        return decodeJpeg(bytes, maxSide);
    return nullptr;
}

} // namespace vt
