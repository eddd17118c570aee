// Compares pictures with a tolerance. A failure leaves the actual picture and the differences in
// the working folder of the test, as PNG.
#pragma once
#include "platform/picture_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

namespace vt::test {

struct Tolerance {
    int channel = 8;      // a channel may differ by so much
    double share = 0.002; // of the pixels that may differ by more
};

/// Blue, green, red, alpha, premultiplied.
struct Pixel {
    int b = 0, g = 0, r = 0, a = 0;
    bool operator==(const Pixel&) const = default;
};

inline Pixel pixelAt(const Bitmap& bitmap, int x, int y) {
    const PixelView view = bitmapPixels(bitmap);
    const uint8_t* p =
        view.data + static_cast<size_t>(y) * view.stride + static_cast<size_t>(x) * 4;
    return {p[0], p[1], p[2], p[3]};
}

inline std::ostream& operator<<(std::ostream& out, const Pixel& p) {
    return out << "rgba(" << p.r << ", " << p.g << ", " << p.b << ", " << p.a << ")";
}

inline int channelDifference(Pixel a, Pixel b) {
    return std::max(
        {std::abs(a.b - b.b), std::abs(a.g - b.g), std::abs(a.r - b.r), std::abs(a.a - b.a)});
}

/// `name` names the PNGs of a failure.
inline testing::AssertionResult samePicture(const Bitmap& actual, const Bitmap& expected,
                                            const std::string& name, Tolerance tolerance = {}) {
    const int width = bitmapWidth(actual), height = bitmapHeight(actual);
    if (width != bitmapWidth(expected) || height != bitmapHeight(expected)) {
        savePng(actual, name + ".actual.png");
        return testing::AssertionFailure()
               << name << " is " << width << " x " << height << ", expected "
               << bitmapWidth(expected) << " x " << bitmapHeight(expected);
    }
    BitmapRef differences = createBitmap(width, height);
    uint8_t* out = bitmapWritablePixels(*differences);
    int wrong = 0, largest = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x, out += 4) {
            const int d = channelDifference(pixelAt(actual, x, y), pixelAt(expected, x, y));
            largest = std::max(largest, d);
            wrong += d > tolerance.channel ? 1 : 0;
            out[0] = out[1] = 0;
            out[2] = static_cast<uint8_t>(d > tolerance.channel ? 255 : d);
            out[3] = 255;
        }
    }
    bitmapChanged(*differences);
    if (wrong <= static_cast<int>(tolerance.share * width * height))
        return testing::AssertionSuccess();
    savePng(actual, name + ".actual.png");
    savePng(*differences, name + ".difference.png");
    return testing::AssertionFailure()
           << name << ": " << wrong << " of " << width * height << " pixels differ, by up to "
           << largest << "; see " << name << ".actual.png and " << name << ".difference.png";
}

/// Like the above, with a PNG file.
inline testing::AssertionResult sameAsFile(const Bitmap& actual, const std::string& path,
                                           const std::string& name, Tolerance tolerance = {}) {
    const BitmapRef expected = loadPicture(path);
    if (!expected) {
        savePng(actual, name + ".actual.png");
        return testing::AssertionFailure() << "no picture at " << path;
    }
    return samePicture(actual, *expected, name, tolerance);
}

} // namespace vt::test
