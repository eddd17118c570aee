// Points, rectangles and colours, in the units that the caller names (design units or pixels).
#pragma once
#include <algorithm>

namespace vt {

/// Straight (not premultiplied) RGBA, each channel 0..1.
struct Color {
    float r = 0, g = 0, b = 0, a = 1;
    bool operator==(const Color&) const = default;
};

inline Color withAlpha(Color c, float a) {
    return {c.r, c.g, c.b, a};
}
inline Color fade(Color c, float factor) {
    return {c.r, c.g, c.b, c.a * factor};
}

struct PointF {
    float x = 0, y = 0;
};

/// y grows downwards. Right and bottom are exclusive.
struct RectF {
    float left = 0, top = 0, right = 0, bottom = 0;
    float width() const { return right - left; }
    float height() const { return bottom - top; }
    float centerX() const { return (left + right) * 0.5f; }
    float centerY() const { return (top + bottom) * 0.5f; }
    bool contains(float x, float y) const {
        return x >= left && x < right && y >= top && y < bottom;
    }
    bool operator==(const RectF&) const = default;
};

inline RectF rectAt(float x, float y, float w, float h) {
    return {x, y, x + w, y + h};
}
inline RectF inset(RectF r, float by) {
    return {r.left + by, r.top + by, r.right - by, r.bottom - by};
}

struct PointI {
    int x = 0, y = 0;
    bool operator==(const PointI&) const = default;
};

/// Whole pixels; right and bottom are exclusive.
struct RectI {
    int left = 0, top = 0, right = 0, bottom = 0;
    int width() const { return right - left; }
    int height() const { return bottom - top; }
    bool empty() const { return right <= left || bottom <= top; }
    bool contains(PointI p) const {
        return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
    }
    bool operator==(const RectI&) const = default;
};

inline RectI intersect(RectI a, RectI b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

} // namespace vt
