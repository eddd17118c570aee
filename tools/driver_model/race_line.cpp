#include "driver_model/race_line.h"

#include "driver_model/polyline.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace model {

namespace {

constexpr double kDrivenAxle = 0.62;   // its share of the grip
constexpr double kBrakeUse = 0.95;     // of the grip
constexpr double kSlowestCorner = 4.0; // m/s

/// Some of the circuit's points, with their normals to the right.
struct Band {
    std::vector<double> x, y, rx, ry, low, high, n;
    bool closed = true;
};

Band bandOf(const Circuit& circuit, size_t every, double margin) {
    Band band;
    band.closed = circuit.closed;
    for (size_t i = 0; i < circuit.points.size(); i += every) {
        const CircuitPoint& p = circuit.points[i];
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

/// Moves each point across the road to where the sum of squared bends is least.
void relax(Band& band, int rounds) {
    const auto n = static_cast<long>(band.n.size());
    const auto wrap = [&](long i) { return static_cast<size_t>(((i % n) + n) % n); };
    std::vector<double> px(band.n.size()), py(band.n.size());
    const auto put = [&](size_t i) {
        px[i] = band.x[i] + band.n[i] * band.rx[i];
        py[i] = band.y[i] + band.n[i] * band.ry[i];
    };
    for (size_t i = 0; i < band.n.size(); ++i)
        put(i);
    const long from = band.closed ? 0 : 2, to = band.closed ? n : n - 2;
    for (int round = 0; round < rounds; ++round)
        for (long at = from; at < to; ++at) {
            const size_t i = static_cast<size_t>(at);
            const size_t a = wrap(at - 2), b = wrap(at - 1), c = wrap(at + 1), d = wrap(at + 2);
            const double gx = px[a] - 4 * px[b] + 6 * px[i] - 4 * px[c] + px[d];
            const double gy = py[a] - 4 * py[b] + 6 * py[i] - 4 * py[c] + py[d];
            const double move = -(gx * band.rx[i] + gy * band.ry[i]) / 6;
            band.n[i] = std::clamp(band.n[i] + 1.4 * move, band.low[i], band.high[i]);
            put(i);
        }
}

/// The lateral places of a band, between its points too.
std::vector<double> spread(const Band& band, size_t every, size_t count) {
    std::vector<double> out(count);
    for (size_t i = 0; i < count; ++i) {
        const size_t a = i / every;
        const size_t b = a + 1 < band.n.size() ? a + 1 : band.closed ? 0 : a;
        const size_t piece = std::min(every, count - a * every);
        out[i] = std::lerp(band.n[a], band.n[b],
                           static_cast<double>(i - a * every) / static_cast<double>(piece));
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
    constexpr size_t steps[] = {64, 32, 16, 8};
    RaceLine line;
    line.lateral.assign(circuit.points.size(), 0);
    for (const size_t every : steps) {
        Band band = bandOf(circuit, every, margin);
        for (size_t i = 0; i < band.n.size(); ++i)
            band.n[i] = std::clamp(line.lateral[i * every], band.low[i], band.high[i]);
        relax(band, every > 8 ? 150 : 250);
        line.lateral = spread(band, every, circuit.points.size());
    }
    smoothValues(line.lateral, circuit.closed, 7);
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
