#include "perf/turn_finder.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr float kStep = 2.0f;  // m between the points that are looked at
constexpr int kChord = 8;      // steps to each side
constexpr int kSmooth = 3;     // steps to each side
constexpr int kPeakReach = 12; // steps to each side within which a peak is the highest
constexpr float kPeak = 1 / 220.0f;
constexpr float kOpen = 0.45f * kPeak; // below it the road is straight
constexpr float kSplit = 0.55f; // two peaks are two when it falls below this share between them
constexpr float kPieceAngle = 0.1f * 3.14159265f / 180; // rad
constexpr float kMerge = 140.0f;                        // m
constexpr float kTurnAngle = 16 * 3.14159265f / 180;    // rad

std::vector<PointF> resample(const std::vector<PointF>& line, size_t count) {
    std::vector<PointF> out(count);
    for (size_t i = 0; i < count; ++i) {
        const double at =
            static_cast<double>(i) * static_cast<double>(line.size()) / static_cast<double>(count);
        const auto from = static_cast<size_t>(at);
        const auto part = static_cast<float>(at - static_cast<double>(from));
        const PointF a = line[from % line.size()], b = line[(from + 1) % line.size()];
        out[i] = {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
    }
    return out;
}

std::vector<float> curvature(const std::vector<PointF>& line) {
    const auto n = static_cast<int>(line.size());
    const auto at = [&](int i) { return line[static_cast<size_t>((i + n) % n)]; };
    std::vector<float> raw(line.size()), smooth(line.size());
    for (int i = 0; i < n; ++i) {
        const PointF a = at(i - kChord), b = at(i), c = at(i + kChord);
        const float x1 = b.x - a.x, y1 = b.y - a.y, x2 = c.x - b.x, y2 = c.y - b.y;
        const float way = (std::hypot(x1, y1) + std::hypot(x2, y2)) / 2;
        raw[static_cast<size_t>(i)] =
            way > 0.1f ? std::atan2(x1 * y2 - y1 * x2, x1 * x2 + y1 * y2) / way : 0;
    }
    for (int i = 0; i < n; ++i) {
        float sum = 0;
        for (int j = -kSmooth; j <= kSmooth; ++j)
            sum += raw[static_cast<size_t>((i + j + n) % n)];
        smooth[static_cast<size_t>(i)] = sum / (2 * kSmooth + 1);
    }
    return smooth;
}

/// One peak of a bend, places in steps from the start of the search.
struct Piece {
    int apex = 0;
    float curvature = 0, angle = 0;
    int last = 0; // apex of the last piece that was joined to it
};

/// The peaks of one bend, `bend` being curvatures of one sign from place `start` on.
void addPieces(std::vector<Piece>& out, const std::vector<float>& bend, int start) {
    const auto n = static_cast<int>(bend.size());
    const auto size = [&](int i) { return std::abs(bend[static_cast<size_t>(i)]); };
    std::vector<int> peaks;
    for (int i = 0; i < n; ++i) {
        bool highest = size(i) >= kPeak;
        for (int j = std::max(0, i - kPeakReach); highest && j <= std::min(n - 1, i + kPeakReach);
             ++j)
            highest = size(i) >= size(j);
        if (!highest) continue;
        if (!peaks.empty()) {
            float least = size(i);
            for (int j = peaks.back(); j <= i; ++j)
                least = std::min(least, size(j));
            if (least > kSplit * std::min(size(i), size(peaks.back()))) {
                if (size(i) > size(peaks.back())) peaks.back() = i;
                continue;
            }
        }
        peaks.push_back(i);
    }
    int from = 0;
    for (size_t p = 0; p < peaks.size(); ++p) {
        int to = n;
        if (p + 1 < peaks.size()) {
            to = peaks[p];
            for (int j = peaks[p]; j <= peaks[p + 1]; ++j)
                if (size(j) < size(to)) to = j;
        }
        float angle = 0;
        for (int j = from; j < to; ++j)
            angle += size(j) * kStep;
        if (angle >= kPieceAngle)
            out.push_back(
                {start + peaks[p], bend[static_cast<size_t>(peaks[p])], angle, start + peaks[p]});
        from = to;
    }
}

std::vector<Piece> findPieces(const std::vector<float>& bends, int start) {
    const auto n = static_cast<int>(bends.size());
    std::vector<Piece> pieces;
    std::vector<float> bend;
    int bendStart = 0;
    for (int i = 0; i <= n; ++i) {
        const float k = i < n ? bends[static_cast<size_t>((start + i) % n)] : 0;
        const bool bent = std::abs(k) > kOpen;
        if (!bend.empty() && (!bent || k * bend.back() < 0)) {
            addPieces(pieces, bend, bendStart);
            bend.clear();
        }
        if (!bent) continue;
        if (bend.empty()) bendStart = i;
        bend.push_back(k);
    }
    return pieces;
}

std::vector<Piece> joined(const std::vector<Piece>& pieces) {
    std::vector<Piece> turns;
    for (const Piece& piece : pieces) {
        const bool same = !turns.empty() && turns.back().curvature * piece.curvature > 0 &&
                          static_cast<float>(piece.apex - turns.back().last) * kStep < kMerge;
        if (!same) {
            turns.push_back(piece);
            continue;
        }
        Piece& turn = turns.back();
        turn.angle += piece.angle;
        turn.last = piece.apex;
        if (std::abs(piece.curvature) <= std::abs(turn.curvature)) continue;
        turn.apex = piece.apex;
        turn.curvature = piece.curvature;
    }
    return turns;
}

} // namespace

std::vector<FoundTurn> findTurns(const std::vector<PointF>& line, float length) {
    if (line.size() < 50 || !(length > 200) || !(length < 100000)) return {};
    const auto count = static_cast<size_t>(length / kStep);
    const std::vector<float> bends = curvature(resample(line, count));
    // The search begins on a straight, so that no turn is cut in two by the line.
    const auto straight = std::min_element(
        bends.begin(), bends.end(), [](float a, float b) { return std::abs(a) < std::abs(b); });
    const auto start = static_cast<int>(straight - bends.begin());
    std::vector<FoundTurn> turns;
    for (const Piece& turn : joined(findPieces(bends, start))) {
        if (turn.angle < kTurnAngle) continue;
        const auto place = static_cast<size_t>(start + turn.apex) % count;
        turns.push_back({static_cast<float>(place) / static_cast<float>(count), 1 / turn.curvature,
                         turn.angle});
    }
    std::sort(turns.begin(), turns.end(),
              [](const FoundTurn& a, const FoundTurn& b) { return a.apex < b.apex; });
    return turns;
}

} // namespace vt
