#include "driver_model/circuit.h"

#include "driver_model/polyline.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <numbers>

namespace model {

namespace {

constexpr double kBends = 1.0 / 300;   // 1/m: what counts as a corner
constexpr double kCornerTurn = 0.2;    // rad that a corner turns at least
constexpr double kPitReach = 360;      // m of pit lane before and after the line, at most
constexpr double kPitShortest = 140;   // and at least
constexpr double kPitBend = 1.0 / 140; // 1/m: the pit lane ends where the road bends more
constexpr double kMostPoints = 200'000;

size_t wrapIndex(const std::vector<CircuitPoint>& points, long i, bool closed) {
    const auto n = static_cast<long>(points.size());
    if (!closed) return static_cast<size_t>(std::clamp(i, 0l, n - 1));
    return static_cast<size_t>(((i % n) + n) % n);
}

double distance(const CircuitPoint& a, const CircuitPoint& b) {
    return std::hypot(b.x - a.x, b.y - a.y);
}

CircuitPoint mix(const CircuitPoint& a, const CircuitPoint& b, double t) {
    CircuitPoint p;
    p.x = std::lerp(a.x, b.x, t);
    p.y = std::lerp(a.y, b.y, t);
    p.widthRight = std::lerp(a.widthRight, b.widthRight, t);
    p.widthLeft = std::lerp(a.widthLeft, b.widthLeft, t);
    return p;
}

/// Evenly spaced points along straight pieces.
std::vector<CircuitPoint> resample(const std::vector<CircuitPoint>& in, bool closed, double& step) {
    const size_t pieces = closed ? in.size() : in.size() - 1;
    double length = 0;
    for (size_t i = 0; i < pieces; ++i)
        length += distance(in[i], in[(i + 1) % in.size()]);
    const auto count = static_cast<size_t>(std::max(8.0, std::round(length)));
    step = length / static_cast<double>(count);

    std::vector<CircuitPoint> out;
    out.reserve(count + 1);
    double begins = 0;
    for (size_t i = 0; i < pieces; ++i) {
        const CircuitPoint &a = in[i], &b = in[(i + 1) % in.size()];
        const double piece = distance(a, b);
        for (; out.size() < count;) {
            const double at = static_cast<double>(out.size()) * step - begins;
            if (at >= piece) break;
            out.push_back(mix(a, b, at / piece));
        }
        begins += piece;
    }
    if (!closed) out.push_back(in.back());
    return out;
}

/// A curve through all points, four pieces for each of the old ones.
std::vector<CircuitPoint> curved(const std::vector<CircuitPoint>& in, bool closed) {
    std::vector<CircuitPoint> out;
    out.reserve(in.size() * 4 + 1);
    const size_t pieces = closed ? in.size() : in.size() - 1;
    for (size_t i = 0; i < pieces; ++i) {
        const auto at = static_cast<long>(i);
        const CircuitPoint& p0 = in[wrapIndex(in, at - 1, closed)];
        const CircuitPoint &p1 = in[i], &p2 = in[wrapIndex(in, at + 1, closed)];
        const CircuitPoint& p3 = in[wrapIndex(in, at + 2, closed)];
        for (int k = 0; k < 4; ++k) {
            const double t = k / 4.0;
            CircuitPoint p = mix(p1, p2, t);
            const auto spline = [&](double a, double b, double c, double d) {
                return b +
                       t / 2 *
                           (c - a + t * (2 * a - 5 * b + 4 * c - d + t * (3 * (b - c) + d - a)));
            };
            p.x = spline(p0.x, p1.x, p2.x, p3.x);
            p.y = spline(p0.y, p1.y, p2.y, p3.y);
            out.push_back(p);
        }
    }
    if (!closed) out.push_back(in.back());
    return out;
}

void smooth(std::vector<CircuitPoint>& points, bool closed, double sigma) {
    std::vector<double> values(points.size());
    for (double CircuitPoint::*member : {&CircuitPoint::x, &CircuitPoint::y,
                                         &CircuitPoint::widthRight, &CircuitPoint::widthLeft}) {
        for (size_t i = 0; i < points.size(); ++i)
            values[i] = points[i].*member;
        smoothValues(values, closed, sigma);
        for (size_t i = 0; i < points.size(); ++i)
            points[i].*member = values[i];
    }
}

void setHeadings(std::vector<CircuitPoint>& points, bool closed, double step) {
    const auto n = static_cast<long>(points.size());
    for (long i = 0; i < n; ++i) {
        const CircuitPoint& a = points[wrapIndex(points, i - 1, closed)];
        const CircuitPoint& b = points[wrapIndex(points, i + 1, closed)];
        points[static_cast<size_t>(i)].heading = std::atan2(b.y - a.y, b.x - a.x);
    }
    for (long i = 0; i < n; ++i) {
        const CircuitPoint& a = points[wrapIndex(points, i - 1, closed)];
        const CircuitPoint& b = points[wrapIndex(points, i + 1, closed)];
        const bool end = !closed && (i == 0 || i == n - 1);
        points[static_cast<size_t>(i)].curvature =
            wrapAngle(b.heading - a.heading) / (end ? step : 2 * step);
    }
}

/// How far a pit lane can follow the road from the line.
double straightFrom(const Circuit& circuit, int direction) {
    double s = 0;
    while (s < kPitReach &&
           (s < kPitShortest ||
            std::abs(circuitAt(circuit, direction * (s + 70)).curvature) < kPitBend))
        s += 5;
    return std::min(s, circuit.length / 8);
}

} // namespace

double wrapAngle(double a) {
    constexpr double pi = std::numbers::pi;
    // Nearly always one turn too far at most; the library's remainder is slow.
    if (a > pi) a -= 2 * pi;
    if (a < -pi) a += 2 * pi;
    return a > pi || a < -pi ? std::remainder(a, 2 * pi) : a;
}

void smoothValues(std::vector<double>& values, bool closed, double sigma) {
    const auto n = static_cast<long>(values.size());
    const long reach = std::min(static_cast<long>(std::ceil(3 * sigma)), n / 2 - 1);
    std::vector<double> weights;
    double sum = 0;
    for (long k = 0; k <= reach; ++k) {
        const double z = static_cast<double>(k) / sigma;
        weights.push_back(std::exp(-0.5 * z * z));
        sum += weights.back() * (k ? 2 : 1);
    }
    const std::vector<double> old = values;
    const auto at = [&](long i) {
        if (closed) return old[static_cast<size_t>(((i % n) + n) % n)];
        // An open end goes on as it comes in, mirrored in the end point.
        if (i < 0) return 2 * old.front() - old[static_cast<size_t>(-i)];
        if (i >= n) return 2 * old.back() - old[static_cast<size_t>(2 * (n - 1) - i)];
        return old[static_cast<size_t>(i)];
    };
    for (long i = 0; i < n; ++i) {
        double value = old[static_cast<size_t>(i)] * weights[0];
        for (long k = 1; k <= reach; ++k)
            value += (at(i - k) + at(i + k)) * weights[static_cast<size_t>(k)];
        values[static_cast<size_t>(i)] = value / sum;
    }
}

Circuit circuitThrough(std::string name, std::vector<CircuitPoint> points, bool closed,
                       double sigma) {
    Circuit out;
    out.name = std::move(name);
    out.closed = closed;
    points = resample(points, closed, out.step);
    smooth(points, closed, sigma);
    out.points = resample(curved(points, closed), closed, out.step);
    setHeadings(out.points, closed, out.step);
    out.length = out.step * static_cast<double>(out.points.size() - (closed ? 0 : 1));
    out.sectorStarts[1] = 0.32;
    out.sectorStarts[2] = 0.67;
    if (closed) {
        out.pitEntry = 1 - straightFrom(out, -1) / out.length;
        out.pitExit = straightFrom(out, 1) / out.length;
        out.pitStallFirst = std::min(20 / out.length, out.pitExit / 4);
    }
    return out;
}

CircuitPoint circuitAt(const Circuit& circuit, double s) {
    const auto n = static_cast<long>(circuit.points.size());
    if (n == 0) return {};
    double at = s / circuit.step;
    if (!circuit.closed) at = std::clamp(at, 0.0, static_cast<double>(n - 1) - 1e-9);
    const double floor = std::floor(at);
    const double t = at - floor;
    long i = static_cast<long>(floor);
    if (i < 0 || i >= n) i = ((i % n) + n) % n;
    const CircuitPoint& a = circuit.points[static_cast<size_t>(i)];
    const CircuitPoint& b = circuit.points[wrapIndex(circuit.points, i + 1, circuit.closed)];
    CircuitPoint p = mix(a, b, t);
    // A cubic that leaves and arrives along the headings, so that places agree with directions.
    const double h00 = (1 + 2 * t) * (1 - t) * (1 - t), h10 = t * (1 - t) * (1 - t);
    const double h01 = 1 - h00, h11 = t * t * (t - 1), h = circuit.step;
    p.x = h00 * a.x + h01 * b.x + h * (h10 * std::cos(a.heading) + h11 * std::cos(b.heading));
    p.y = h00 * a.y + h01 * b.y + h * (h10 * std::sin(a.heading) + h11 * std::sin(b.heading));
    const double turn = wrapAngle(b.heading - a.heading);
    // The heading whose slope is the curvature, as far as its ends allow.
    p.heading = wrapAngle(a.heading + h01 * turn + h * (h10 * a.curvature + h11 * b.curvature));
    p.curvature = std::lerp(a.curvature, b.curvature, t);
    return p;
}

std::vector<Corner> findCorners(const Circuit& circuit) {
    const size_t n = circuit.points.size();
    std::vector<double> bend(n);
    for (size_t i = 0; i < n; ++i)
        bend[i] = circuit.points[i].curvature;
    smoothValues(bend, circuit.closed, 6);

    size_t first = 0; // a closed lap is searched from a straight on
    while (circuit.closed && first + 1 < n && std::abs(bend[first]) > kBends)
        first += 1;
    std::vector<Corner> corners;
    const auto place = [&](size_t i) {
        return static_cast<double>((first + i) % n) * circuit.step;
    };
    for (size_t i = 0; i < n;) {
        const double sign = bend[(first + i) % n] > 0 ? 1 : -1;
        size_t end = i, apex = i;
        double turn = 0;
        for (; end < n && sign * bend[(first + end) % n] > kBends; ++end) {
            turn += bend[(first + end) % n] * circuit.step;
            if (std::abs(bend[(first + end) % n]) > std::abs(bend[(first + apex) % n])) apex = end;
        }
        if (std::abs(turn) > kCornerTurn)
            corners.push_back({place(i), place(apex), place(end), bend[(first + apex) % n]});
        i = std::max(end, i + 1);
    }
    std::sort(corners.begin(), corners.end(),
              [](const Corner& a, const Corner& b) { return a.apex < b.apex; });
    return corners;
}

bool loadCircuit(const std::string& csvPath, Circuit& out, std::string& error) {
    std::ifstream in(csvPath);
    if (!in) {
        error = "cannot read " + csvPath;
        return false;
    }
    std::vector<CircuitPoint> points;
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.empty() || line[0] == '#' || line[0] == '\r') continue;
        CircuitPoint p;
        const int read =
            std::sscanf(line.c_str(), "%lf,%lf,%lf,%lf", &p.x, &p.y, &p.widthRight, &p.widthLeft);
        const bool good = read == 4 && std::abs(p.x) < 1e5 && std::abs(p.y) < 1e5 &&
                          p.widthRight > 0.5 && p.widthRight < 100 && p.widthLeft > 0.5 &&
                          p.widthLeft < 100;
        if (!good) {
            error = csvPath + ": line " + std::to_string(number) +
                    " is not \"x,y,width right,width left\"";
            return false;
        }
        if (points.empty() || distance(points.back(), p) > 0.2) points.push_back(p);
    }
    double length = 0;
    for (size_t i = 0; i < points.size(); ++i)
        length += distance(points[i], points[(i + 1) % points.size()]);
    if (points.size() < 8 || length < 200 || length > kMostPoints) {
        error = csvPath + ": a lap is 200 m to 200 km and 8 points or more";
        return false;
    }
    const size_t slash = csvPath.find_last_of("/\\");
    std::string name = csvPath.substr(slash == std::string::npos ? 0 : slash + 1);
    name = name.substr(0, name.find_last_of('.'));
    out = circuitThrough(name, curved(points, true), true, 6);
    return true;
}

} // namespace model
