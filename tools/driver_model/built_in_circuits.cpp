#include "driver_model/polyline.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace model {

namespace {

/// Straight lines that meet here, rounded with a radius; the first one is where the lap starts.
struct Vertex {
    double x, y, radius; // m
};

constexpr Vertex kClub[] = {
    {0, 0, 0},       {420, 0, 34},    {470, -230, 60},  {660, -300, 52},  {620, -540, 22},
    {330, -400, 90}, {120, -570, 40}, {-250, -520, 45}, {-330, -190, 85}, {-280, 0, 40},
};
constexpr Vertex kGrand[] = {
    {0, 0, 0},         {560, 0, 30},     {600, -170, 26},  {1120, -160, 120}, {1420, -420, 75},
    {1330, -760, 20},  {1010, -560, 45}, {800, -720, 60},  {860, -1010, 38},  {480, -1130, 160},
    {120, -980, 55},   {90, -760, 32},   {-160, -690, 48}, {-330, -860, 28},  {-620, -700, 95},
    {-560, -330, 140}, {-760, -160, 42}, {-640, 0, 36},
};
constexpr Vertex kOval[] = {
    {0, 0, 0},           {409.15, 0, 159.1}, {409.15, 318.3, 159.1}, {-409.15, 318.3, 159.1},
    {-409.15, 0, 159.1},
};

void addArc(std::vector<CircuitPoint>& out, const Vertex& a, const Vertex& b, const Vertex& c,
            double width) {
    const double in = std::atan2(b.y - a.y, b.x - a.x), to = std::atan2(c.y - b.y, c.x - b.x);
    const double turn = std::remainder(to - in, 2 * std::numbers::pi);
    const double tangent = b.radius * std::tan(std::abs(turn) / 2);
    double x = b.x - tangent * std::cos(in), y = b.y - tangent * std::sin(in);
    const int pieces = std::max(1, static_cast<int>(b.radius * std::abs(turn)));
    const double chord = 2 * b.radius * std::sin(std::abs(turn) / pieces / 2);
    for (int i = 0; i <= pieces; ++i) {
        CircuitPoint p;
        p.x = x;
        p.y = y;
        p.widthRight = p.widthLeft = width;
        out.push_back(p);
        const double heading = in + turn * (i + 0.5) / pieces;
        x += chord * std::cos(heading);
        y += chord * std::sin(heading);
    }
}

/// Scaled to a length in metres.
template <size_t N>
Circuit closedCircuit(const char* name, const Vertex (&vertices)[N], double length, double width,
                      double sigma) {
    std::vector<CircuitPoint> points(1);
    points[0].x = vertices[0].x;
    points[0].y = vertices[0].y;
    points[0].widthRight = points[0].widthLeft = width;
    for (size_t i = 1; i < N; ++i)
        addArc(points, vertices[i - 1], vertices[i], vertices[(i + 1) % N], width);
    double drawn = 0;
    for (size_t i = 0; i < points.size(); ++i) {
        const CircuitPoint& next = points[(i + 1) % points.size()];
        drawn += std::hypot(next.x - points[i].x, next.y - points[i].y);
    }
    for (CircuitPoint& p : points) {
        p.x *= length / drawn;
        p.y *= length / drawn;
    }
    return circuitThrough(name, std::move(points), true, sigma);
}

/// A narrow road that winds to the north-east. The numbers come from one fixed row.
Circuit stage() {
    std::vector<Vertex> vertices{{0, 0, 0}};
    uint32_t seed = 20240;
    const auto next = [&] {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 8) / 16777216.0;
    };
    double heading = 0.4, length = 0;
    while (length < 8300) {
        const double straight = 70 + 190 * next() * next();
        Vertex v = vertices.back();
        v.x += straight * std::cos(heading);
        v.y += straight * std::sin(heading);
        const double size = 0.25 + 1.3 * next() * next();
        const double turn = (next() < 0.5 - 0.3 * (heading - 0.7) ? 1 : -1) * size;
        // The arcs at both ends of a straight must fit on it.
        v.radius = std::min(18 + 110 * next(), 30 / std::tan(size / 2));
        heading += turn;
        length += straight;
        vertices.push_back(v);
    }
    std::vector<CircuitPoint> points(1);
    points[0].widthRight = points[0].widthLeft = 3;
    for (size_t i = 1; i + 1 < vertices.size(); ++i)
        addArc(points, vertices[i - 1], vertices[i], vertices[i + 1], 3);
    Circuit out = circuitThrough("stage", std::move(points), false, 4);
    out.pitLimit = 0;
    return out;
}

} // namespace

Circuit builtInCircuit(const std::string& name) {
    if (name == "club") return closedCircuit("club", kClub, 3000, 5.5, 7);
    if (name == "grand") return closedCircuit("grand", kGrand, 5050, 6.5, 8);
    if (name == "oval") return closedCircuit("oval", kOval, 2000, 7.5, 12);
    if (name == "stage") return stage();
    return {};
}

std::vector<std::string> builtInCircuitNames() {
    return {"club", "grand", "oval", "stage"};
}

} // namespace model
