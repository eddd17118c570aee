// A finished pass becomes part of the map.
#include "perf/road_survey.h"
#include "telemetry/coach_log.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr float kGate = 25.0f;  // m off the stored centre that a sample may lie
constexpr float kStray = 50.0f; // m to both neighbours: a bad point
constexpr float kEdgeMin = 1.5f, kEdgeMax = 40.0f;
constexpr float kUsedEdgeMin = 4.0f; // m
constexpr float kLineMargin = 0.75f; // half a car, m
constexpr int kStageBinsMin = 100;
constexpr int kRunsPerSave = 5;

float squared(float x, float y) {
    return x * x + y * y;
}

const char* roadWord(const RoadSurvey& survey) {
    return survey.isStage ? "STAGE" : "LAP";
}

void foldMean(float& mean, uint8_t& count, float sample) {
    const int n = std::min<int>(count, kRoadWindow) + 1;
    mean += (sample - mean) / static_cast<float>(n);
    count = static_cast<uint8_t>(std::min<int>(count + 1, kRoadWindow));
}

void bankBestRun(RoadSurvey& survey) {
    const RoadRun& run = survey.run;
    RoadMap& map = survey.map;
    const auto driven = std::count_if(run.bins.begin(), run.bins.end(),
                                      [](const RoadRunBin& bin) { return bin.inputCount > 0; });
    if (driven < kStageBinsMin) return;
    const bool complete = run.maxPct >= 0.9f;
    const bool timed = map.hasBest && map.bestSeconds > 0;
    const auto stored = std::count_if(map.best.begin(), map.best.end(),
                                      [](const RoadBestBin& bin) { return bin.have != 0; });
    if (complete && run.lastLapClock > 1) {
        if (timed && map.bestSeconds <= run.lastLapClock) return;
    } else if (timed || (map.hasBest && driven <= stored)) {
        return;
    }
    map.hasBest = true;
    map.bestSeconds = complete && run.lastLapClock > 1 ? run.lastLapClock : 0;
    map.best.assign(map.bins.size(), {});
    const auto rounded = [](float value, float limit) {
        return std::clamp(std::round(value), 0.0f, limit);
    };
    for (size_t i = 0; i < run.bins.size(); ++i) {
        const RoadRunBin& from = run.bins[i];
        if (from.inputCount == 0) continue;
        const auto n = static_cast<float>(from.inputCount);
        RoadBestBin& to = map.best[i];
        to.have = 1;
        to.throttle = static_cast<uint8_t>(rounded(from.sumThrottle / n * 100, 100));
        to.brake = static_cast<uint8_t>(rounded(from.sumBrake / n * 100, 100));
        to.speed = static_cast<uint16_t>(rounded(from.sumSpeed / n * 100, 65535));
        to.gear = from.gear;
    }
    coachLog("stage best run: %s, %d m, %.1fs, track %d", complete ? "complete" : "partial",
             static_cast<int>(driven), map.bestSeconds, map.trackId);
    survey.mapDirty = true;
}

/// Where a new point would have to lie, seen from the last accepted one.
struct LastPoint {
    int bin = -1;
    float x = 0, y = 0;
};

void foldEdge(RoadBin& bin, const RoadRunBin& from) {
    if (from.edgeCount == 0) return;
    const float edge = from.sumEdge / static_cast<float>(from.edgeCount);
    const float size = std::abs(edge);
    if (!(size >= kEdgeMin && size <= kEdgeMax)) return;
    if (edge > 0)
        foldMean(bin.edgeRight, bin.rightCount, size);
    else
        foldMean(bin.edgeLeft, bin.leftCount, size);
}

int foldCentre(RoadMap& map, const RoadRun& run) {
    int accepted = 0;
    LastPoint last;
    for (int i = 0; i < map.binCount(); ++i) {
        const RoadRunBin& from = run.bins[static_cast<size_t>(i)];
        if (from.count == 0) continue;
        RoadBin& bin = map.bins[static_cast<size_t>(i)];
        const auto x = static_cast<float>(from.sumX / from.count);
        const auto y = static_cast<float>(from.sumY / from.count);
        if (bin.count > 0) {
            if (squared(x - bin.x, y - bin.y) > kGate * kGate) continue;
            const int n = std::min<int>(bin.count, kRoadWindow) + 1;
            bin.x += (x - bin.x) / static_cast<float>(n);
            bin.y += (y - bin.y) / static_cast<float>(n);
        } else {
            const float reach = static_cast<float>(i - last.bin) + kGate;
            if (last.bin >= 0 && squared(x - last.x, y - last.y) > reach * reach) continue;
            bin.x = x;
            bin.y = y;
        }
        bin.count = static_cast<uint8_t>(std::min<int>(bin.count + 1, kRoadWindow));
        last = {i, bin.x, bin.y};
        foldEdge(bin, from);
        ++accepted;
    }
    return accepted;
}

void repair(RoadMap& map) {
    std::vector<int> points;
    for (int i = 0; i < map.binCount(); ++i)
        if (map.bins[static_cast<size_t>(i)].count > 0) points.push_back(i);
    const size_t count = points.size();
    if (count < 3) return;
    const auto apart = [&](size_t a, size_t b) {
        const RoadBin& p = map.bins[static_cast<size_t>(points[a])];
        const RoadBin& q = map.bins[static_cast<size_t>(points[b])];
        return squared(p.x - q.x, p.y - q.y) > kStray * kStray;
    };
    std::vector<int> bad;
    for (size_t i = 0; i < count; ++i) {
        if (map.lineOnly && (i == 0 || i == count - 1)) continue;
        if (apart(i, (i + count - 1) % count) && apart(i, (i + 1) % count))
            bad.push_back(points[i]);
    }
    for (const int i : bad)
        map.bins[static_cast<size_t>(i)] = {};
    if (!bad.empty())
        coachLog("road survey: repaired %d bad point(s) in the stored map, track %d",
                 static_cast<int>(bad.size()), map.trackId);
}

/// The road is as wide as the driver's lines spread: nine of ten lie inside.
void foldUsedRoad(RoadMap& map, const RoadRun& run) {
    for (size_t i = 0; i < map.bins.size(); ++i) {
        const RoadRunBin& from = run.bins[i];
        RoadBin& bin = map.bins[i];
        if (from.count > 0 && bin.count > 0 && (bin.normalX != 0 || bin.normalY != 0)) {
            const auto x = static_cast<float>(from.sumX / from.count);
            const auto y = static_cast<float>(from.sumY / from.count);
            const float d = (x - bin.x) * bin.normalX + (y - bin.y) * bin.normalY;
            if (std::isfinite(d) && std::abs(d) <= kGate) {
                const float w = 1.0f / static_cast<float>(std::min(bin.lineCount + 1, kRoadWindow));
                const float e = d - bin.lineMean;
                bin.lineMean += e * w;
                bin.lineVariance = (e * w * e + bin.lineVariance) * (1 - w);
                bin.lineCount = static_cast<uint8_t>(std::min(bin.lineCount + 1, kRoadWindow));
            }
        }
        bin.edgeLeft = bin.edgeRight = 0;
        bin.leftCount = bin.rightCount = bin.lineCount;
        if (bin.lineCount == 0) continue;
        const float spread = 1.645f * std::sqrt(std::max(bin.lineVariance, 0.0f));
        bin.edgeLeft = std::clamp(kLineMargin - (bin.lineMean - spread), kUsedEdgeMin, kEdgeMax);
        bin.edgeRight = std::clamp(bin.lineMean + spread + kLineMargin, kUsedEdgeMin, kEdgeMax);
    }
}

void lose(RoadSurvey& survey) {
    const RoadRun& run = survey.run;
    const char* reason = survey.map.bins.empty()   ? "no bins allocated"
                         : run.dirtyReason.empty() ? "lap marked dirty"
                                                   : run.dirtyReason.c_str();
    std::snprintf(survey.statusText, sizeof survey.statusText, "ROAD %s LOST", roadWord(survey));
    coachLog("road survey: LOST (%s), track %d", reason, survey.trackSeen);
}

void refuse(RoadSurvey& survey, int accepted) {
    const RoadRun& run = survey.run;
    const int off = run.totalMetres > 1
                        ? static_cast<int>(std::lround(run.offMetres * 100 / run.totalMetres))
                        : 0;
    const int mapped = accepted * 100 / survey.map.binCount();
    std::snprintf(survey.statusText, sizeof survey.statusText,
                  "ROAD %s THIN - %d%% MAPPED, %d%% OFF", roadWord(survey), mapped, off);
    coachLog("road survey: THIN, %d%% mapped, %d%% off-surface, track %d", mapped, off,
             survey.map.trackId);
}

void accept(RoadSurvey& survey) {
    RoadMap& map = survey.map;
    map.laps++;
    roadNormals(map);
    if (map.usedRoad) foldUsedRoad(map, survey.run);
    std::snprintf(survey.statusText, sizeof survey.statusText, "ROAD %s OK - %d RUNS",
                  roadWord(survey), map.laps);
    coachLog("road survey: OK, %d run(s) folded, track %d", map.laps, map.trackId);
    survey.mapDirty = true;
    survey.runsSinceSave++;
}

} // namespace

void foldRun(RoadSurvey& survey) {
    RoadRun& run = survey.run;
    RoadMap& map = survey.map;
    if (run.dirty || map.bins.empty()) {
        lose(survey);
        clearRun(survey);
        return;
    }
    if (survey.isStage) bankBestRun(survey);
    if (map.normalSign == 0 && run.sideVotes != 0) map.normalSign = run.sideVotes > 0 ? 1 : -1;
    const int accepted = foldCentre(map, run);
    repair(map);
    const bool enough =
        survey.isStage ? accepted >= kStageBinsMin : accepted * 4 >= map.binCount() * 3;
    if (enough)
        accept(survey);
    else
        refuse(survey, accepted);
    if (survey.isStage) foldStageCorners(survey);
    clearRun(survey);
    if (!enough || survey.runsSinceSave < kRunsPerSave) return;
    if (survey.save ? survey.save(map) : roadMapSave(map, survey.baseDir)) {
        survey.mapDirty = false;
        survey.runsSinceSave = 0;
    }
}

} // namespace vt
