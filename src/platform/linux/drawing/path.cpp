#include "platform/linux/drawing/parts.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vt {

namespace {

cairo_path_data_t header(cairo_path_data_type_t type, int length) {
    cairo_path_data_t d;
    d.header.type = type;
    d.header.length = length;
    return d;
}

cairo_path_data_t point(float x, float y) {
    cairo_path_data_t d;
    d.point.x = std::isfinite(x) ? x : 0;
    d.point.y = std::isfinite(y) ? y : 0;
    return d;
}

/// Control distance of a cubic that follows a circle's segment of that angle.
double circleKappa(double angle) {
    return 4.0 / 3.0 * std::tan(angle / 4.0);
}

struct Box {
    double left = INFINITY, top = INFINITY, right = -INFINITY, bottom = -INFINITY;
    void add(double x, double y) {
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
};

double cubicAt(double a, double b, double c, double d, double t) {
    const double s = 1 - t;
    return s * s * s * a + 3 * s * s * t * b + 3 * s * t * t * c + t * t * t * d;
}

/// Where one coordinate of a cubic turns back, inside 0..1.
int cubicTurns(double a, double b, double c, double d, double out[2]) {
    const double qa = -a + 3 * b - 3 * c + d;
    const double qb = 2 * (a - 2 * b + c);
    const double qc = b - a;
    int n = 0;
    const auto take = [&](double t) {
        if (t > 0 && t < 1) out[n++] = t;
    };
    if (std::abs(qa) < 1e-12) {
        if (std::abs(qb) > 1e-12) take(-qc / qb);
        return n;
    }
    const double root = qb * qb - 4 * qa * qc;
    if (root < 0) return 0;
    take((-qb + std::sqrt(root)) / (2 * qa));
    take((-qb - std::sqrt(root)) / (2 * qa));
    return n;
}

} // namespace

PathBuilder::PathBuilder() : path_(std::make_shared<Path>()) {}

PathBuilder::~PathBuilder() = default;

PathBuilder& PathBuilder::moveTo(float x, float y) {
    path_->data.push_back(header(CAIRO_PATH_MOVE_TO, 2));
    path_->data.push_back(point(x, y));
    path_->current = {x, y};
    path_->hasPoint = true;
    return *this;
}

PathBuilder& PathBuilder::lineTo(float x, float y) {
    if (!path_->hasPoint) return moveTo(x, y);
    path_->data.push_back(header(CAIRO_PATH_LINE_TO, 2));
    path_->data.push_back(point(x, y));
    path_->current = {x, y};
    return *this;
}

PathBuilder& PathBuilder::bezierTo(PointF control1, PointF control2, PointF to) {
    if (!path_->hasPoint) moveTo(control1.x, control1.y);
    path_->data.push_back(header(CAIRO_PATH_CURVE_TO, 4));
    path_->data.push_back(point(control1.x, control1.y));
    path_->data.push_back(point(control2.x, control2.y));
    path_->data.push_back(point(to.x, to.y));
    path_->current = to;
    return *this;
}

PathBuilder& PathBuilder::arc(PointF center, float radius, float fromAngle, float toAngle) {
    const double sweep = static_cast<double>(toAngle) - fromAngle;
    if (!std::isfinite(sweep) || std::abs(sweep) > 64) return *this;
    const auto at = [&](double angle) {
        return PointF{static_cast<float>(center.x + radius * std::cos(angle)),
                      static_cast<float>(center.y + radius * std::sin(angle))};
    };
    const PointF start = at(fromAngle);
    lineTo(start.x, start.y);
    const int parts =
        std::max(1, static_cast<int>(std::ceil(std::abs(sweep) * 2 / std::numbers::pi - 1e-6)));
    const double step = sweep / parts;
    const double k = circleKappa(step) * radius;
    for (int i = 0; i < parts; ++i) {
        const double a = fromAngle + i * step, b = a + step;
        const PointF from = at(a), to = at(b);
        bezierTo({static_cast<float>(from.x - k * std::sin(a)),
                  static_cast<float>(from.y + k * std::cos(a))},
                 {static_cast<float>(to.x + k * std::sin(b)),
                  static_cast<float>(to.y - k * std::cos(b))},
                 to);
    }
    return *this;
}

PathBuilder& PathBuilder::close() {
    if (!path_->hasPoint) return *this;
    path_->data.push_back(header(CAIRO_PATH_CLOSE_PATH, 1));
    path_->hasPoint = false;
    return *this;
}

PathBuilder& PathBuilder::rect(RectF r) {
    return moveTo(r.left, r.top)
        .lineTo(r.right, r.top)
        .lineTo(r.right, r.bottom)
        .lineTo(r.left, r.bottom)
        .close();
}

PathBuilder& PathBuilder::roundedRect(RectF r, float radius) {
    radius = std::min({radius, r.width() / 2, r.height() / 2});
    if (!(radius > 0)) return rect(r);
    constexpr float quarter = std::numbers::pi_v<float> / 2;
    moveTo(r.left + radius, r.top);
    arc({r.right - radius, r.top + radius}, radius, -quarter, 0);
    arc({r.right - radius, r.bottom - radius}, radius, 0, quarter);
    arc({r.left + radius, r.bottom - radius}, radius, quarter, 2 * quarter);
    arc({r.left + radius, r.top + radius}, radius, 2 * quarter, 3 * quarter);
    return close();
}

PathRef PathBuilder::build(bool evenOdd) {
    path_->evenOdd = evenOdd;
    PathRef done = std::move(path_);
    path_ = std::make_shared<Path>();
    return done;
}

RectF pathBounds(const Path& path) {
    Box box;
    double x = 0, y = 0;
    for (size_t i = 0; i < path.data.size(); i += path.data[i].header.length) {
        const cairo_path_data_t* d = &path.data[i];
        if (d->header.type == CAIRO_PATH_CLOSE_PATH) continue;
        if (d->header.type == CAIRO_PATH_CURVE_TO) {
            double t[2];
            for (int n = cubicTurns(x, d[1].point.x, d[2].point.x, d[3].point.x, t); n-- > 0;)
                box.add(cubicAt(x, d[1].point.x, d[2].point.x, d[3].point.x, t[n]), d[3].point.y);
            for (int n = cubicTurns(y, d[1].point.y, d[2].point.y, d[3].point.y, t); n-- > 0;)
                box.add(d[3].point.x, cubicAt(y, d[1].point.y, d[2].point.y, d[3].point.y, t[n]));
        }
        const cairo_path_data_t& last = d[d->header.length - 1];
        x = last.point.x;
        y = last.point.y;
        box.add(x, y);
    }
    if (box.left > box.right) return {};
    return {static_cast<float>(box.left), static_cast<float>(box.top),
            static_cast<float>(box.right), static_cast<float>(box.bottom)};
}

void appendPath(cairo_t* cr, const Path& path) {
    if (path.data.empty()) return;
    cairo_path_t view;
    view.status = CAIRO_STATUS_SUCCESS;
    view.data = const_cast<cairo_path_data_t*>(path.data.data()); // only read
    view.num_data = static_cast<int>(path.data.size());
    cairo_append_path(cr, &view);
    cairo_set_fill_rule(cr, path.evenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
}

void appendRoundedRect(cairo_t* cr, RectF r, float radius) {
    radius = std::min({radius, r.width() / 2, r.height() / 2});
    if (!(radius > 0)) {
        cairo_rectangle(cr, r.left, r.top, r.width(), r.height());
        return;
    }
    const double rad = radius, c = rad * (1 - circleKappa(std::numbers::pi / 2));
    cairo_move_to(cr, r.left + rad, r.top);
    cairo_line_to(cr, r.right - rad, r.top);
    cairo_curve_to(cr, r.right - c, r.top, r.right, r.top + c, r.right, r.top + rad);
    cairo_line_to(cr, r.right, r.bottom - rad);
    cairo_curve_to(cr, r.right, r.bottom - c, r.right - c, r.bottom, r.right - rad, r.bottom);
    cairo_line_to(cr, r.left + rad, r.bottom);
    cairo_curve_to(cr, r.left + c, r.bottom, r.left, r.bottom - c, r.left, r.bottom - rad);
    cairo_line_to(cr, r.left, r.top + rad);
    cairo_curve_to(cr, r.left, r.top + c, r.left + c, r.top, r.left + rad, r.top);
    cairo_close_path(cr);
}

} // namespace vt
