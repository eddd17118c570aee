#include "platform/linux/drawing/parts.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

struct Opened {
    bool layer = false;
    float opacity = 1;
    PathRef mask;
    Matrix at;                 // the transform under which the layer was opened
    RectI freeOutside;         // what the clip left untouched before
    bool exactOutside = false; // whether it cut whole pixels only
};

bool usable(RectF r) {
    return std::isfinite(r.left) && std::isfinite(r.top) && std::isfinite(r.right) &&
           std::isfinite(r.bottom) && r.right > r.left && r.bottom > r.top;
}

bool usable(PointF p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

} // namespace

Matrix combine(const Matrix& a, const Matrix& b) {
    return {a.xx * b.xx + a.yx * b.xy,        a.xx * b.yx + a.yx * b.yy,
            a.xy * b.xx + a.yy * b.xy,        a.xy * b.yx + a.yy * b.yy,
            a.dx * b.xx + a.dy * b.xy + b.dx, a.dx * b.yx + a.dy * b.yy + b.dy};
}

struct Canvas::State {
    cairo_t* cr = nullptr;
    BitmapRef target;
    double scale = 1; // pixels per design unit
    Matrix matrix;
    std::vector<Opened> opened;
    std::vector<double> dashes;
    DirectTarget direct;

    void open(Opened&& entry) {
        entry.freeOutside = direct.free;
        entry.exactOutside = direct.exact;
        opened.push_back(std::move(entry));
    }

    /// Narrows what may be written directly to the whole pixels inside of `rect`.
    void narrow(RectF rect) {
        const bool upright = matrix.xy == 0 && matrix.yx == 0 && matrix.xx > 0 && matrix.yy > 0;
        if (!upright || !usable(rect)) {
            direct.free = {};
            direct.exact = false;
            return;
        }
        const double left = (rect.left * matrix.xx + matrix.dx) * scale;
        const double right = (rect.right * matrix.xx + matrix.dx) * scale;
        const double top = (rect.top * matrix.yy + matrix.dy) * scale;
        const double bottom = (rect.bottom * matrix.yy + matrix.dy) * scale;
        const auto pixel = [](double v) { return static_cast<int>(std::clamp(v, -1e6, 1e6)); };
        direct.free = intersect(direct.free, {pixel(std::ceil(left)), pixel(std::ceil(top)),
                                              pixel(std::floor(right)), pixel(std::floor(bottom))});
        const auto whole = [](double v) { return v == std::floor(v); };
        direct.exact = direct.exact && whole(left) && whole(right) && whole(top) && whole(bottom);
    }

    void applyMatrix() {
        cairo_matrix_t m;
        cairo_matrix_init(&m, matrix.xx * scale, matrix.yx * scale, matrix.xy * scale,
                          matrix.yy * scale, matrix.dx * scale, matrix.dy * scale);
        cairo_set_matrix(cr, &m);
    }

    void fill(const Brush* brush) {
        if (useBrush(cr, brush))
            cairo_fill(cr);
        else
            cairo_new_path(cr);
        cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
    }

    void stroke(const Brush* brush, float width, const StrokeStyle* style) {
        if (!(width > 0) || !useBrush(cr, brush)) {
            cairo_new_path(cr);
            return;
        }
        cairo_set_line_width(cr, width);
        if (style) setStyle(*style);
        cairo_stroke(cr);
        if (style) setStyle({});
    }

    void setStyle(const StrokeStyle& style) {
        constexpr cairo_line_cap_t caps[] = {CAIRO_LINE_CAP_BUTT, CAIRO_LINE_CAP_SQUARE,
                                             CAIRO_LINE_CAP_ROUND};
        constexpr cairo_line_join_t joins[] = {CAIRO_LINE_JOIN_MITER, CAIRO_LINE_JOIN_BEVEL,
                                               CAIRO_LINE_JOIN_ROUND};
        cairo_set_line_cap(cr, caps[static_cast<int>(style.cap)]);
        cairo_set_line_join(cr, joins[static_cast<int>(style.join)]);
        // A dash list that is negative or all zero would put the context into its error state.
        dashes.clear();
        double sum = 0;
        for (float d : style.dashes) {
            dashes.push_back(std::isfinite(d) ? std::max(0.0f, d) : 0.0f);
            sum += dashes.back();
        }
        cairo_set_dash(cr, dashes.data(), sum > 0 ? static_cast<int>(dashes.size()) : 0,
                       style.dashOffset);
    }

    void closeOne() {
        Opened last = std::move(opened.back());
        opened.pop_back();
        if (last.layer) {
            cairo_pop_group_to_source(cr);
            if (last.mask) {
                const Matrix now = matrix;
                matrix = last.at;
                applyMatrix();
                matrix = now;
                appendPath(cr, *last.mask);
                if (last.opacity >= 1) {
                    cairo_fill(cr);
                } else {
                    cairo_clip(cr);
                    cairo_paint_with_alpha(cr, last.opacity);
                }
            } else {
                cairo_paint_with_alpha(cr, last.opacity);
            }
        }
        cairo_restore(cr);
        applyMatrix();
        direct.free = last.freeOutside;
        direct.exact = last.exactOutside;
    }
};

Canvas::Canvas() : state_(std::make_unique<State>()) {}

Canvas::~Canvas() {
    if (active()) end();
}

bool Canvas::begin(BitmapRef target) {
    if (active()) end();
    if (!target) return false;
    cairo_t* cr = cairo_create(target->surface);
    if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
        cairo_destroy(cr);
        return false;
    }
    state_->cr = cr;
    state_->scale = target->dpi / 96.0;
    state_->target = std::move(target);
    state_->matrix = {};
    state_->opened.clear();
    state_->applyMatrix();
    const Bitmap& bitmap = *state_->target;
    state_->direct = {bitmap.surface, {0, 0, bitmap.width, bitmap.height}, true};
    return true;
}

DrawResult Canvas::end() {
    if (!active()) return {DrawStatus::failed, kDrawFailed};
    while (!state_->opened.empty())
        state_->closeOne();
    const cairo_status_t status = cairo_status(state_->cr);
    cairo_destroy(state_->cr);
    state_->cr = nullptr;
    state_->target.reset();
    if (deviceLost()) return {DrawStatus::lost, kDrawDeviceLost};
    if (status == CAIRO_STATUS_NO_MEMORY) return {DrawStatus::failed, kDrawOutOfMemory};
    if (status != CAIRO_STATUS_SUCCESS) return {DrawStatus::failed, kDrawFailed};
    return {};
}

bool Canvas::active() const {
    return state_->cr != nullptr;
}

RectF Canvas::bounds() const {
    if (!active()) return {};
    return {0, 0, static_cast<float>(state_->target->width / state_->scale),
            static_cast<float>(state_->target->height / state_->scale)};
}

void Canvas::clear(Color color) {
    if (!active()) return;
    const BrushRef brush = solidBrush(color);
    cairo_set_operator(state_->cr, CAIRO_OPERATOR_SOURCE);
    cairo_set_source_rgba(state_->cr, brush->r, brush->g, brush->b, brush->a);
    cairo_paint(state_->cr);
    cairo_set_operator(state_->cr, CAIRO_OPERATOR_OVER);
}

Matrix Canvas::transform() const {
    return state_->matrix;
}

void Canvas::setTransform(const Matrix& m) {
    if (!active()) return;
    // A matrix that cannot be inverted would put the context into its error state for good.
    const float determinant = m.xx * m.yy - m.xy * m.yx;
    if (!std::isfinite(determinant) || determinant == 0 || !std::isfinite(m.dx) ||
        !std::isfinite(m.dy))
        return;
    state_->matrix = m;
    state_->applyMatrix();
}

void Canvas::fillRect(RectF rect, const Brush* brush) {
    if (!active() || !brush || !usable(rect)) return;
    cairo_rectangle(state_->cr, rect.left, rect.top, rect.width(), rect.height());
    state_->fill(brush);
}

void Canvas::strokeRect(RectF rect, const Brush* brush, float width, const StrokeStyle* style) {
    if (!active() || !brush || !usable(rect)) return;
    cairo_rectangle(state_->cr, rect.left, rect.top, rect.width(), rect.height());
    state_->stroke(brush, width, style);
}

void Canvas::fillRoundedRect(RectF rect, float radius, const Brush* brush) {
    if (!active() || !brush || !usable(rect)) return;
    appendRoundedRect(state_->cr, rect, radius);
    state_->fill(brush);
}

void Canvas::strokeRoundedRect(RectF rect, float radius, const Brush* brush, float width,
                               const StrokeStyle* style) {
    if (!active() || !brush || !usable(rect)) return;
    appendRoundedRect(state_->cr, rect, radius);
    state_->stroke(brush, width, style);
}

namespace {

void appendEllipse(cairo_t* cr, PointF center, float radiusX, float radiusY) {
    cairo_matrix_t before;
    cairo_get_matrix(cr, &before);
    cairo_translate(cr, center.x, center.y);
    cairo_scale(cr, radiusX, radiusY);
    cairo_new_path(cr);
    cairo_arc(cr, 0, 0, 1, 0, 6.283185307179586);
    cairo_close_path(cr);
    cairo_set_matrix(cr, &before);
}

bool usableEllipse(PointF center, float radiusX, float radiusY) {
    return usable(center) && radiusX > 0 && radiusY > 0 && std::isfinite(radiusX + radiusY);
}

} // namespace

void Canvas::fillEllipse(PointF center, float radiusX, float radiusY, const Brush* brush) {
    if (!active() || !brush || !usableEllipse(center, radiusX, radiusY)) return;
    appendEllipse(state_->cr, center, radiusX, radiusY);
    state_->fill(brush);
}

void Canvas::strokeEllipse(PointF center, float radiusX, float radiusY, const Brush* brush,
                           float width, const StrokeStyle* style) {
    if (!active() || !brush || !usableEllipse(center, radiusX, radiusY)) return;
    appendEllipse(state_->cr, center, radiusX, radiusY);
    state_->stroke(brush, width, style);
}

void Canvas::drawLine(PointF from, PointF to, const Brush* brush, float width,
                      const StrokeStyle* style) {
    if (!active() || !brush || !usable(from) || !usable(to)) return;
    cairo_move_to(state_->cr, from.x, from.y);
    cairo_line_to(state_->cr, to.x, to.y);
    state_->stroke(brush, width, style);
}

void Canvas::fillPath(const Path* path, const Brush* brush) {
    if (!active() || !path || !brush) return;
    appendPath(state_->cr, *path);
    state_->fill(brush);
}

void Canvas::strokePath(const Path* path, const Brush* brush, float width,
                        const StrokeStyle* style) {
    if (!active() || !path || !brush) return;
    appendPath(state_->cr, *path);
    state_->stroke(brush, width, style);
}

void Canvas::pushClip(RectF rect) {
    if (!active()) return;
    cairo_save(state_->cr);
    if (usable(rect)) cairo_rectangle(state_->cr, rect.left, rect.top, rect.width(), rect.height());
    cairo_clip(state_->cr); // an empty path cuts everything
    state_->open({});
    state_->narrow(rect);
}

void Canvas::popClip() {
    if (!active() || state_->opened.empty() || state_->opened.back().layer) return;
    state_->closeOne();
}

void Canvas::pushLayer(PathRef mask, float opacity) {
    if (!active()) return;
    cairo_save(state_->cr);
    cairo_push_group(state_->cr);
    // The clip acts once, when the layer is laid over the target; inside it would thin soft edges
    // a second time.
    cairo_reset_clip(state_->cr);
    state_->open(
        {true, std::clamp(opacity, 0.0f, 1.0f), std::move(mask), state_->matrix, {}, false});
    state_->direct.free = {}; // the layer has memory of its own
    state_->direct.exact = false;
}

void Canvas::popLayer() {
    if (!active() || state_->opened.empty() || !state_->opened.back().layer) return;
    state_->closeOne();
}

void Canvas::drawBitmap(const Bitmap* bitmap, RectF destination, const RectF* source, float opacity,
                        Sampling sampling) {
    if (!active() || !bitmap || bitmap == state_->target.get() || !usable(destination) ||
        !(opacity > 0))
        return;
    const double unit = bitmap->dpi / 96.0;
    RectF from{0, 0, static_cast<float>(bitmap->width), static_cast<float>(bitmap->height)};
    if (source) {
        from = {std::max(from.left, static_cast<float>(source->left * unit)),
                std::max(from.top, static_cast<float>(source->top * unit)),
                std::min(from.right, static_cast<float>(source->right * unit)),
                std::min(from.bottom, static_cast<float>(source->bottom * unit))};
        if (!usable(from)) return;
    }
    cairo_t* cr = state_->cr;
    cairo_pattern_t* pattern = nullptr;
    const bool part = from.left != 0 || from.top != 0 ||
                      from.right != static_cast<float>(bitmap->width) ||
                      from.bottom != static_cast<float>(bitmap->height);
    if (part) {
        // A surface of its own keeps the neighbours of the part out of the smoothing.
        cairo_surface_t* view = cairo_surface_create_for_rectangle(
            bitmap->surface, from.left, from.top, from.width(), from.height());
        pattern = cairo_pattern_create_for_surface(view);
        cairo_surface_destroy(view);
    } else {
        pattern = cairo_pattern_create_for_surface(bitmap->surface);
    }
    const double sx = from.width() / destination.width();
    const double sy = from.height() / destination.height();
    cairo_matrix_t toSource;
    cairo_matrix_init(&toSource, sx, 0, 0, sy, -destination.left * sx, -destination.top * sy);
    cairo_pattern_set_matrix(pattern, &toSource);
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    // Plain linear sampling skips pixels when it shrinks by more than a quarter.
    const bool shrinks = std::max(sx, sy) > 1.34 * state_->scale;
    cairo_pattern_set_filter(pattern, sampling == Sampling::nearest ? CAIRO_FILTER_NEAREST
                                      : shrinks                     ? CAIRO_FILTER_GOOD
                                                                    : CAIRO_FILTER_BILINEAR);
    cairo_rectangle(cr, destination.left, destination.top, destination.width(),
                    destination.height());
    cairo_set_source(cr, pattern);
    cairo_pattern_destroy(pattern);
    if (opacity >= 1) {
        cairo_fill(cr);
    } else {
        cairo_save(cr);
        cairo_clip(cr);
        cairo_paint_with_alpha(cr, opacity);
        cairo_restore(cr);
    }
}

void Canvas::drawLayout(const TextLayout& layout, PointF origin, const Brush* brush, bool clip) {
    if (!active() || !brush || !usable(origin)) return;
    drawLayoutOn(state_->cr, state_->direct, layout, origin, *brush, clip);
}

} // namespace vt
