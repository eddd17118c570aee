#include "perf/bin_line.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kShortest = 1e-6f;

template <class T, class Add>
std::vector<T> boxMean(const std::vector<T>& values, int reach, Add add) {
    const auto n = static_cast<int>(values.size());
    std::vector<T> out(values.size());
    for (int i = 0; i < n; ++i) {
        T sum{};
        for (int j = -reach; j <= reach; ++j)
            add(sum, values[static_cast<size_t>(((i + j) % n + n) % n)]);
        out[static_cast<size_t>(i)] = sum;
    }
    return out;
}

} // namespace

bool closeGaps(std::vector<PointF>& line, const std::vector<bool>& filled) {
    const size_t n = line.size();
    const auto first = std::find(filled.begin(), filled.end(), true);
    if (filled.size() != n || first == filled.end()) return false;
    const auto start = static_cast<size_t>(first - filled.begin());
    size_t before = 0; // steps from `start` to the last filled bin
    for (size_t step = 1; step <= n; ++step) {
        if (!filled[(start + step) % n]) continue;
        const PointF a = line[(start + before) % n], b = line[(start + step) % n];
        for (size_t gap = before + 1; gap < step; ++gap) {
            const float part = static_cast<float>(gap - before) / static_cast<float>(step - before);
            line[(start + gap) % n] = {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
        }
        before = step;
    }
    return true;
}

std::vector<PointF> lineNormals(const std::vector<PointF>& line, int reach) {
    const size_t n = line.size();
    std::vector<PointF> normals(n);
    if (n < 3) return normals;
    const size_t step = std::min(static_cast<size_t>(std::max(reach, 1)), (n - 1) / 2);
    for (size_t i = 0; i < n; ++i) {
        const PointF a = line[(i + n - step) % n], b = line[(i + step) % n];
        const float dx = b.x - a.x, dy = b.y - a.y, length = std::hypot(dx, dy);
        if (length > kShortest) normals[i] = {dy / length, -dx / length};
    }
    return normals;
}

std::vector<PointF> smoothLine(const std::vector<PointF>& line, int reach) {
    const float share = 1 / static_cast<float>(2 * reach + 1);
    return boxMean(line, reach, [share](PointF& sum, const PointF& p) {
        sum.x += p.x * share;
        sum.y += p.y * share;
    });
}

std::vector<float> smoothValues(const std::vector<float>& values, int reach) {
    const float share = 1 / static_cast<float>(2 * reach + 1);
    return boxMean(values, reach, [share](float& sum, float value) { sum += value * share; });
}

PointF lineAt(const std::vector<PointF>& line, double pct) {
    const size_t n = line.size();
    if (n == 0 || !std::isfinite(pct)) return {};
    const double at = (pct - std::floor(pct)) * static_cast<double>(n);
    const auto whole = static_cast<size_t>(at);
    const auto part = static_cast<float>(at - static_cast<double>(whole));
    const PointF a = line[whole % n], b = line[(whole + 1) % n];
    return {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
}

bool drivenClockwise(const std::vector<PointF>& line) {
    double area = 0;
    for (size_t i = 0; i < line.size(); ++i) {
        const PointF a = line[i], b = line[(i + 1) % line.size()];
        area += static_cast<double>(a.x) * static_cast<double>(b.y) -
                static_cast<double>(b.x) * static_cast<double>(a.y);
    }
    return area < 0;
}

float percentileOf(const std::vector<float>& sorted, double share) {
    if (sorted.empty()) return 0;
    const double at = share * static_cast<double>(sorted.size() - 1);
    const auto low = static_cast<size_t>(at);
    const size_t high = std::min(low + 1, sorted.size() - 1);
    return sorted[low] +
           (sorted[high] - sorted[low]) * static_cast<float>(at - static_cast<double>(low));
}

} // namespace vt
