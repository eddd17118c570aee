#include "perf/turn_finder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace vt {
namespace {

/// Evenly spaced points of a recorded centre line, every metre.
bool loadLine(const std::string& name, std::vector<PointF>& line, float& length) {
    std::ifstream file(std::string(VT_SOURCE_DIR "/../shared/realdata/circuits/") + name + ".csv");
    std::vector<PointF> raw;
    for (std::string row; std::getline(file, row);) {
        PointF p;
        if (std::sscanf(row.c_str(), "%f,%f", &p.x, &p.y) == 2) raw.push_back(p);
    }
    if (raw.size() < 100) return false;
    std::vector<float> at{0};
    for (size_t i = 0; i < raw.size(); ++i) {
        const PointF a = raw[i], b = raw[(i + 1) % raw.size()];
        at.push_back(at.back() + std::hypot(b.x - a.x, b.y - a.y));
    }
    length = at.back();
    const auto count = static_cast<size_t>(length);
    size_t piece = 0;
    for (size_t i = 0; i < count; ++i) {
        const float s = length * static_cast<float>(i) / static_cast<float>(count);
        while (at[piece + 1] < s)
            ++piece;
        const float part = (s - at[piece]) / (at[piece + 1] - at[piece]);
        const PointF a = raw[piece], b = raw[(piece + 1) % raw.size()];
        line.push_back({a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part});
    }
    return true;
}

TEST(TurnFinder, CountsTheTurnsOfKnownCircuits) {
    struct Known {
        const char* name;
        size_t found, published;
        float first, last; // lap fractions of the first and the last turn, measured on the plan
    };
    // Spa: the two apices of Pouhon count as one; Zandvoort: so does the open bend behind the first
    // corner, which has no number.
    constexpr Known circuits[] = {
        {"BrandsHatch", 9, 9, 0.077f, 0.879f},   {"Monza", 11, 11, 0.161f, 0.888f},
        {"Silverstone", 18, 18, 0.067f, 0.981f}, {"Spa", 18, 19, 0.057f, 0.971f},
        {"Zandvoort", 15, 14, 0.086f, 0.907f},
    };
    for (const Known& circuit : circuits) {
        std::vector<PointF> line;
        float length = 0;
        if (!loadLine(circuit.name, line, length)) GTEST_SKIP() << "no recorded circuits";
        const std::vector<FoundTurn> turns = findTurns(line, length);
        ASSERT_EQ(turns.size(), circuit.found) << circuit.name;
        EXPECT_NEAR(turns.front().apex, circuit.first, 0.01f) << circuit.name;
        EXPECT_NEAR(turns.back().apex, circuit.last, 0.012f) << circuit.name;

        // A learned line is rough, and may begin in the middle of a turn.
        std::mt19937 random(1);
        std::normal_distribution<float> noise(0, 0.15f);
        std::vector<PointF> rough;
        const size_t shift = static_cast<size_t>(turns[0].apex * static_cast<float>(line.size()));
        for (size_t i = 0; i < line.size(); ++i) {
            const PointF p = line[(i + shift) % line.size()];
            rough.push_back({p.x + noise(random), p.y + noise(random)});
        }
        EXPECT_NEAR(static_cast<double>(findTurns(rough, length).size()),
                    static_cast<double>(circuit.found), 1)
            << circuit.name;
    }
}

TEST(TurnFinder, ShapesThatAreNone) {
    EXPECT_TRUE(findTurns({}, 1000).empty());
    EXPECT_TRUE(findTurns(std::vector<PointF>(100), 1000).empty()) << "one point, a hundred times";
    std::vector<PointF> circle, broken;
    for (int i = 0; i < 2000; ++i) {
        const float a = static_cast<float>(i) * 6.2831853f / 2000;
        circle.push_back({400 * std::cos(a), 400 * std::sin(a)});
        broken.push_back({NAN, INFINITY});
    }
    EXPECT_TRUE(findTurns(circle, 2513).empty()) << "too open to be a turn";
    findTurns(broken, 2513);
}

} // namespace
} // namespace vt
