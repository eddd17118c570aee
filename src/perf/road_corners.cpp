// The quickest passages of a stage's corners.
#include "perf/road_survey.h"
#include "telemetry/coach_log.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr int kChord = 18;          // bins to each side
constexpr float kCornerTurn = 0.3f; // rad between the two chords
constexpr int kCornerSpan = 6;      // bins at least
constexpr int kTimeSearch = 3;      // bins
constexpr float kCornerSecondsMax = 120;
constexpr int kSameApex = 30; // bins

/// Turn of the road at a bin, rad; 0 where it cannot be told.
float turnAt(const RoadMap& map, int bin) {
    const RoadBin& a = map.bins[static_cast<size_t>(bin - kChord)];
    const RoadBin& b = map.bins[static_cast<size_t>(bin)];
    const RoadBin& c = map.bins[static_cast<size_t>(bin + kChord)];
    if (a.count == 0 || b.count == 0 || c.count == 0) return 0;
    const float x1 = b.x - a.x, y1 = b.y - a.y, x2 = c.x - b.x, y2 = c.y - b.y;
    if (x1 * x1 + y1 * y1 < 1 || x2 * x2 + y2 * y2 < 1) return 0;
    return std::atan2(x1 * y2 - y1 * x2, x1 * x2 + y1 * y2);
}

std::vector<RoadCorner> findStageCorners(const RoadMap& map) {
    std::vector<RoadCorner> corners;
    RoadCorner open;
    float sharpest = 0;
    bool inside = false;
    for (int i = kChord; i < map.binCount() - kChord; ++i) {
        const float turn = std::abs(turnAt(map, i));
        if (turn > kCornerTurn) {
            if (!inside) open = {i, i, i, 0, 0, 0};
            if (!inside || turn > sharpest) {
                open.apex = i;
                sharpest = turn;
            }
            open.exit = i;
            inside = true;
        } else if (inside) {
            inside = false;
            if (open.exit - open.entry + 1 >= kCornerSpan) corners.push_back(open);
        }
    }
    return corners;
}

/// Fills seconds, speed and gear; false when the run's passage does not count.
bool timeCorner(const RoadRun& run, RoadCorner& corner) {
    const auto bin = [&](int i) -> const RoadRunBin& { return run.bins[static_cast<size_t>(i)]; };
    int entry = corner.entry, exit = corner.exit;
    for (int i = 0; i < kTimeSearch && bin(entry).time < 0; ++i)
        ++entry;
    for (int i = 0; i < kTimeSearch && bin(exit).time < 0; ++i)
        --exit;
    if (entry >= exit || bin(entry).time < 0 || bin(exit).time < 0) return false;
    corner.seconds = bin(exit).time - bin(entry).time;
    if (!(corner.seconds > 0 && corner.seconds <= kCornerSecondsMax)) return false;
    const int span = corner.exit - corner.entry;
    int timed = 0, slowest = -1;
    float slowestSpeed = 0;
    for (int i = corner.entry; i <= corner.exit; ++i) {
        const RoadRunBin& here = bin(i);
        if (here.time >= 0) ++timed;
        if (here.inputCount == 0) continue;
        const float speed = here.sumSpeed / static_cast<float>(here.inputCount);
        if (slowest >= 0 && speed >= slowestSpeed) continue;
        slowest = i;
        slowestSpeed = speed;
    }
    if (timed * 10 < span * 7 + 7 || slowest < 0) return false;
    corner.speed = static_cast<int>(std::clamp(std::round(slowestSpeed * 100), 0.0f, 65535.0f));
    corner.gear = bin(slowest).gear;
    return true;
}

/// True when it is a new corner or a quicker passage.
bool bank(std::vector<RoadCorner>& stored, const RoadCorner& corner) {
    for (RoadCorner& other : stored) {
        if (std::abs(other.apex - corner.apex) > kSameApex) continue;
        if (other.seconds <= corner.seconds) return false;
        other = corner;
        return true;
    }
    stored.push_back(corner);
    return true;
}

} // namespace

void foldStageCorners(RoadSurvey& survey) {
    const RoadRun& run = survey.run;
    const bool driven = std::any_of(run.bins.begin(), run.bins.end(), [](const RoadRunBin& bin) {
        return bin.inputCount > 0 && bin.time >= 0;
    });
    if (!driven || run.bins.size() != survey.map.bins.size()) return;
    const std::vector<RoadCorner> corners = findStageCorners(survey.map);
    int banked = 0;
    for (RoadCorner corner : corners)
        if (timeCorner(run, corner) && bank(survey.map.corners, corner)) ++banked;
    if (banked == 0) return;
    survey.mapDirty = true;
    coachLog("stage corners: %d best(s) banked of %d, track %d", banked,
             static_cast<int>(corners.size()), survey.map.trackId);
}

} // namespace vt
