#include "platform/linux/drawing/parts.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

double toByte(double channel) {
    return std::floor(std::clamp(channel, 0.0, 1.0) * 255.0 + 0.5);
}

float finite(float value) {
    return std::isfinite(value) ? value : 0.0f;
}

void addStops(cairo_pattern_t* pattern, std::initializer_list<GradientStop> stops) {
    for (const GradientStop& stop : stops)
        cairo_pattern_add_color_stop_rgba(pattern, stop.position, stop.color.r, stop.color.g,
                                          stop.color.b, stop.color.a);
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
}

} // namespace

BrushRef solidBrush(Color color) {
    auto brush = std::make_shared<Brush>();
    // The rasteriser cuts a premultiplied channel to its byte where rounding is wanted. Channels
    // that are whole bytes after the multiplication come through unchanged.
    const double alpha = toByte(finite(color.a));
    const auto channel = [alpha](float c) {
        return alpha > 0 ? std::min(1.0, toByte(finite(c) * alpha / 255.0) / alpha) : 0.0;
    };
    brush->r = channel(color.r);
    brush->g = channel(color.g);
    brush->b = channel(color.b);
    brush->a = alpha / 255.0;
    return brush;
}

BrushRef linearGradient(PointF from, PointF to, std::initializer_list<GradientStop> stops) {
    auto brush = std::make_shared<Brush>();
    brush->gradient = cairo_pattern_create_linear(from.x, from.y, to.x, to.y);
    addStops(brush->gradient, stops);
    return brush;
}

BrushRef radialGradient(PointF center, float radiusX, float radiusY,
                        std::initializer_list<GradientStop> stops) {
    auto brush = std::make_shared<Brush>();
    radiusX = std::max(finite(radiusX), 0.001f);
    radiusY = std::max(finite(radiusY), 0.001f);
    brush->gradient = cairo_pattern_create_radial(0, 0, 0, 0, 0, 1);
    cairo_matrix_t toUnit;
    cairo_matrix_init(&toUnit, 1.0 / radiusX, 0, 0, 1.0 / radiusY, -center.x / radiusX,
                      -center.y / radiusY);
    cairo_pattern_set_matrix(brush->gradient, &toUnit);
    addStops(brush->gradient, stops);
    return brush;
}

bool useBrush(cairo_t* cr, const Brush* brush) {
    if (!brush) return false;
    if (brush->gradient) {
        cairo_set_source(cr, brush->gradient);
        return true;
    }
    if (brush->a <= 0) return false;
    cairo_set_source_rgba(cr, brush->r, brush->g, brush->b, brush->a);
    return true;
}

} // namespace vt
