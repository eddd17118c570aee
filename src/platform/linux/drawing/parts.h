// What the files of this folder share: the insides of the opaque types.
#pragma once
#include "platform/canvas.h"
#include "platform/text.h"

#include <cairo.h>

#include <vector>

namespace vt {

struct Bitmap {
    cairo_surface_t* surface = nullptr;
    int width = 0, height = 0, stride = 0;
    float dpi = 96;
    std::shared_ptr<void> keepAlive; // of foreign memory

    Bitmap() = default;
    Bitmap(const Bitmap&) = delete;
    Bitmap& operator=(const Bitmap&) = delete;
    ~Bitmap() {
        if (surface) cairo_surface_destroy(surface);
    }
};

/// A solid colour stays a record; only gradients hold a pattern.
struct Brush {
    double r = 0, g = 0, b = 0, a = 0;
    cairo_pattern_t* gradient = nullptr;

    Brush() = default;
    Brush(const Brush&) = delete;
    Brush& operator=(const Brush&) = delete;
    ~Brush() {
        if (gradient) cairo_pattern_destroy(gradient);
    }
};

struct Path {
    std::vector<cairo_path_data_t> data;
    bool evenOdd = false;
    PointF current;        // where the pen stands
    bool hasPoint = false; // whether it stands anywhere
};

/// Appends the path to the context's own.
void appendPath(cairo_t* cr, const Path& path);
void appendRoundedRect(cairo_t* cr, RectF rect, float radius);
/// False when the brush has nothing to paint with.
bool useBrush(cairo_t* cr, const Brush* brush);

/// Where pixels may be written past Cairo: no layer is open, and of the clip the whole pixels are
/// known.
struct DirectTarget {
    cairo_surface_t* surface = nullptr; // null = not at all
    RectI free;                         // the pixels that the clip leaves untouched
    bool exact = false; // the clip cuts no pixel in two: outside of `free` nothing shows
};

/// Draws with the context's present matrix.
void drawLayoutOn(cairo_t* cr, const DirectTarget& direct, const TextLayout& layout, PointF origin,
                  const Brush& brush, bool clip);
/// False when it must go through the context.
bool blitMask(const DirectTarget& target, cairo_surface_t* mask, int x, int y, const Brush& brush);

} // namespace vt
