#include "driver_model/race_line.h"

#include "driver_model/polyline.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace model {

namespace {

constexpr double kDrivenAxle = 0.62;   // its share of the grip
constexpr double kBrakeUse = 0.72;     // of the grip
constexpr double kSlowestCorner = 4.0; // m/s

constexpr size_t kEvery = 5;     // circuit points per point of the search
constexpr double kPadding = 500; // m that a closed lap is unrolled beyond each end

/// The road as the search sees it: some of the circuit's points with their normals to the right,
/// the room across, and the path so far. A closed lap overlaps itself at both ends.
struct Band {
    std::vector<double> x, y, rx, ry, low, high, n;
    size_t size() const { return n.size(); }
};

Band bandOf(const Circuit& circuit, double margin) {
    Band band;
    const auto count = static_cast<long>(circuit.points.size());
    const auto pad = circuit.closed ? static_cast<long>(kPadding / circuit.step) : 0;
    const long every = kEvery;
    for (long at = -(pad / every) * every; at < count + pad; at += every) {
        const CircuitPoint& p = circuit.points[static_cast<size_t>((at % count + count) % count)];
        band.x.push_back(p.x);
        band.y.push_back(p.y);
        band.rx.push_back(std::sin(p.heading));
        band.ry.push_back(-std::cos(p.heading));
        band.low.push_back(std::min(0.0, -(p.widthLeft - margin)));
        band.high.push_back(std::max(0.0, p.widthRight - margin));
    }
    band.n.assign(band.x.size(), 0);
    return band;
}

/// A symmetric matrix with two side diagonals, and what belongs on its right side.
struct Banded {
    std::vector<double> d0, d1, d2, right;
    explicit Banded(size_t n) : d0(n), d1(n), d2(n), right(n) {}
};

/// Turns a positive definite one into L D L'.
void factor(Banded& m) {
    for (size_t i = 0; i < m.d0.size(); ++i) {
        if (i > 0) m.d0[i] -= m.d1[i - 1] * m.d1[i - 1] * m.d0[i - 1];
        if (i > 1) m.d0[i] -= m.d2[i - 2] * m.d2[i - 2] * m.d0[i - 2];
        if (i > 0) m.d1[i] -= m.d2[i - 1] * m.d0[i - 1] * m.d1[i - 1];
        m.d1[i] /= m.d0[i];
        m.d2[i] /= m.d0[i];
    }
}

void solve(const Banded& m, std::vector<double>& x) {
    const size_t n = x.size();
    for (size_t i = 0; i < n; ++i) {
        if (i > 0) x[i] -= m.d1[i - 1] * x[i - 1];
        if (i > 1) x[i] -= m.d2[i - 2] * x[i - 2];
    }
    for (size_t i = n; i-- > 0;) {
        x[i] /= m.d0[i];
        if (i + 1 < n) x[i] -= m.d1[i] * x[i + 1];
        if (i + 2 < n) x[i] -= m.d2[i] * x[i + 2];
    }
}

/// The sum of squared curvatures as a quadratic form of the lateral places, near the path so far. A
/// sharp bend counts for more than its square: slow places cost the most time.
Banded bendForm(const Band& band) {
    const size_t n = band.size();
    Banded m(n);
    std::vector<double> px(n), py(n);
    for (size_t i = 0; i < n; ++i) {
        px[i] = band.x[i] + band.n[i] * band.rx[i];
        py[i] = band.y[i] + band.n[i] * band.ry[i];
    }
    for (size_t j = 1; j + 1 < n; ++j) {
        double tx = px[j + 1] - px[j - 1], ty = py[j + 1] - py[j - 1];
        const double chord = std::hypot(tx, ty), h = std::max(chord / 2, 0.5);
        tx /= chord;
        ty /= chord;
        constexpr double parts[] = {1, -2, 1};
        double row[3], constant = 0, bend = 0;
        for (size_t k = 0; k < 3; ++k) {
            const size_t i = j + k - 1;
            row[k] = parts[k] * (band.rx[i] * ty - band.ry[i] * tx) / (h * h);
            constant += parts[k] * (band.x[i] * ty - band.y[i] * tx) / (h * h);
            bend += parts[k] * (px[i] * ty - py[i] * tx) / (h * h);
        }
        const double weight = h * (0.01 + std::abs(bend));
        for (size_t k = 0; k < 3; ++k) {
            const size_t i = j + k - 1;
            m.d0[i] += weight * row[k] * row[k];
            if (k < 2) m.d1[i] += weight * row[k] * row[k + 1];
            if (k < 1) m.d2[i] += weight * row[k] * row[k + 2];
            m.right[i] -= weight * row[k] * constant;
        }
    }
    return m;
}

/// The path of least bends within the road: solutions without the edges and clippings to them in
/// turn, each pulled towards the other (alternating directions).
void straighten(Band& band) {
    constexpr double pull = 1e-5;
    Banded m = bendForm(band);
    const std::vector<double> right = m.right;
    for (double& d : m.d0)
        d += pull;
    factor(m);
    std::vector<double> z = band.n, u(band.size()), x(band.size());
    for (int round = 0; round < 150; ++round) {
        for (size_t i = 0; i < x.size(); ++i)
            x[i] = right[i] + pull * (z[i] - u[i]);
        solve(m, x);
        for (size_t i = 0; i < x.size(); ++i) {
            const double eager = 1.6 * x[i] - 0.6 * z[i];
            z[i] = std::clamp(eager + u[i], band.low[i], band.high[i]);
            u[i] += eager - z[i];
        }
    }
    // The smooth one of the two, which may miss the edge by a little.
    for (size_t i = 0; i < x.size(); ++i)
        band.n[i] = std::clamp(x[i], band.low[i] - 0.3, band.high[i] + 0.3);
}

/// The lateral places of a band at every point of the circuit.
std::vector<double> spread(const Circuit& circuit, const Band& band) {
    const size_t pad = circuit.closed ? static_cast<size_t>(kPadding / circuit.step) / kEvery : 0;
    std::vector<double> out(circuit.points.size());
    for (size_t i = 0; i < out.size(); ++i) {
        const size_t a = std::min(i / kEvery + pad, band.size() - 1);
        const size_t b = std::min(a + 1, band.size() - 1);
        out[i] = std::lerp(band.n[a], band.n[b], static_cast<double>(i % kEvery) / kEvery);
    }
    return out;
}

/// Slopes, and the curvature of the path itself, from the lateral places.
void complete(const Circuit& circuit, RaceLine& line) {
    const auto n = static_cast<long>(circuit.points.size());
    const auto at = [&](long i) {
        return static_cast<size_t>(circuit.closed ? ((i % n) + n) % n : std::clamp(i, 0l, n - 1));
    };
    const auto count = static_cast<size_t>(n);
    line.slope.assign(count, 0);
    line.bend.assign(count, 0);
    line.stretch.assign(count, 1);
    line.curvature.assign(count, 0);
    const double h = circuit.step;
    std::vector<double> lean(count);
    for (long i = 0; i < n; ++i) {
        const size_t k = at(i);
        const double before = line.lateral[at(i - 1)], after = line.lateral[at(i + 1)];
        line.slope[k] = (after - before) / (2 * h);
        line.bend[k] = (after - 2 * line.lateral[k] + before) / (h * h);
        const double along = 1 + line.lateral[k] * circuit.points[k].curvature;
        line.stretch[k] = std::hypot(along, line.slope[k]);
        lean[k] = std::atan2(line.slope[k], along);
    }
    for (long i = 0; i < n; ++i) {
        const size_t k = at(i);
        const double turn = (lean[at(i + 1)] - lean[at(i - 1)]) / (2 * h);
        line.curvature[k] = (circuit.points[k].curvature - turn) / line.stretch[k];
    }
}

double cornerSpeed(const CarClass& c, double curvature, double rain) {
    const double share = gripAt(c, 0, rain) / (kGravity * c.grip); // what the rain leaves
    const double k = std::abs(curvature) - kGravity * c.downforce * share;
    if (k <= 1e-6) return c.topSpeed;
    return std::clamp(std::sqrt(kGravity * c.grip * share / k), kSlowestCorner, c.topSpeed);
}

/// Share of the grip that is left for going faster or slower.
double longShare(double speed, double curvature, double grip) {
    const double used = std::min(1.0, speed * speed * std::abs(curvature) / grip);
    return std::sqrt(1 - used * used);
}

} // namespace

RaceLine findRaceLine(const Circuit& circuit, double margin) {
    Band band = bandOf(circuit, margin);
    for (int round = 0; round < 6; ++round)
        straighten(band);
    RaceLine line;
    line.lateral = spread(circuit, band);
    smoothValues(line.lateral, circuit.closed, 8);
    complete(circuit, line);
    return line;
}

RaceLine centreLine(const Circuit& circuit) {
    RaceLine line;
    line.lateral.assign(circuit.points.size(), 0);
    complete(circuit, line);
    return line;
}

double gripAt(const CarClass& c, double speed, double rain) {
    return kGravity * (c.grip + c.downforce * speed * speed) * (1 - 0.3 * rain);
}

double driveAt(const CarClass& c, double speed, double rain) {
    return std::min(kDrivenAxle * gripAt(c, speed, rain),
                    c.power / (c.mass * std::max(speed, 5.0)));
}

std::vector<double> reachableSpeeds(const Circuit& circuit, const RaceLine& line, const CarClass& c,
                                    double rain) {
    const size_t n = circuit.points.size();
    std::vector<double> v(n);
    for (size_t i = 0; i < n; ++i)
        v[i] = cornerSpeed(c, line.curvature[i], rain);
    const size_t turns = circuit.closed ? 2 : 1;
    const auto limit = [&](size_t from, size_t to, double acceleration) {
        const double way = circuit.step * line.stretch[from];
        const double reach = v[from] * v[from] + 2 * acceleration * way;
        v[to] = std::min(v[to], std::sqrt(std::max(reach, kSlowestCorner * kSlowestCorner)));
    };
    for (size_t k = turns * n; k-- > 1;) { // braking, backwards
        if (!circuit.closed && k == n) continue;
        const size_t from = k % n, to = (k - 1) % n;
        const double grip = gripAt(c, v[from], rain);
        limit(from, to,
              kBrakeUse * grip * longShare(v[from], line.curvature[from], grip) +
                  c.drag * v[from] * v[from]);
    }
    for (size_t k = 0; k + 1 < turns * n; ++k) { // traction and power, forwards
        const size_t from = k % n, to = (k + 1) % n;
        const double grip = gripAt(c, v[from], rain);
        const double pull =
            std::min(driveAt(c, v[from], rain),
                     kDrivenAxle * grip * longShare(v[from], line.curvature[from], grip));
        limit(from, to, pull - c.drag * v[from] * v[from]);
    }
    return v;
}

} // namespace model
