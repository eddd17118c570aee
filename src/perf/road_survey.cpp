#include "perf/road_survey.h"

#include "base/utf8.h"
#include "telemetry/coach_log.h"
#include "telemetry/sim_capabilities.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr float kGateMetres = 25.0f;
constexpr int kFillMax = 25;       // bins between two samples of one pass
constexpr float kSideSpeed = 5.0f; // m/s

void soil(RoadRun& run, const char* reason) {
    if (!run.dirty) run.dirtyReason = reason;
    run.dirty = true;
}

void saveDirty(RoadSurvey& survey) {
    if (!survey.mapDirty) return;
    const RoadMap& map = survey.map;
    if (survey.save ? survey.save(map) : roadMapSave(map, survey.baseDir)) {
        coachLog("road survey: map saved, track %d, %d lap(s)", map.trackId, map.laps);
        survey.mapDirty = false;
        survey.runsSinceSave = 0;
    } else {
        coachLog("road survey: map SAVE FAILED, track %d", map.trackId);
    }
}

void leaveTrack(RoadSurvey& survey) {
    if (survey.isStage && survey.run.hasSamples) foldRun(survey);
    saveDirty(survey);
}

void beginTrack(RoadSurvey& survey, const SimFrame& frame) {
    leaveTrack(survey);
    survey.simSeen = frame.simKind;
    survey.trackSeen = frame.trackId;
    survey.runsSinceSave = 0;
    survey.mapDirty = false;
    survey.isStage = simOffers(frame.simKind, kOffersStage);
    survey.lateralOk = false;
    survey.lastValid = frame.lapValidity;
    RoadMap& map = survey.map;
    const bool known = roadMapLoad(map, survey.baseDir, frame.simKind, frame.trackId);
    if (!known && frame.trackLength > 1.0f) {
        map.simKind = frame.simKind;
        map.trackId = frame.trackId;
        map.trackName = frame.trackName;
        map.length = frame.trackLength;
        map.bins.resize(static_cast<size_t>(roadBinCount(frame.trackLength)));
    }
    map.lineOnly = survey.isStage;
    map.usedRoad = !survey.isStage && frame.simKind == kSimAcEvo;
    survey.run.previousPct = -1;
    survey.run.gate = 0;
    clearRun(survey);
    if (!survey.isStage || frame.lapDistPct > 0.05f)
        soil(survey.run, "part lap only, joined mid-lap");
    // A track whose length is not told yet is tried again.
    if (map.bins.empty()) survey.trackSeen = 0;
}

struct Sample {
    int bin = 0;
    float x = 0, y = 0, edge = 0, time = -1;
    bool hasEdge = false;
};

void addPoint(RoadRunBin& bin, const Sample& sample) {
    bin.sumX += sample.x;
    bin.sumY += sample.y;
    bin.count++;
    if (sample.hasEdge) {
        bin.sumEdge += sample.edge;
        bin.edgeCount++;
    }
    if (bin.time < 0) bin.time = sample.time;
}

void fillGap(RoadRun& run, const Sample& now) {
    const int gap = now.bin - run.previousBin;
    if (run.previousBin < 0 || gap < 2 || gap > kFillMax) return;
    for (int i = 1; i < gap; ++i) {
        const float part = static_cast<float>(i) / static_cast<float>(gap);
        const auto between = [part](float from, float to) { return from + (to - from) * part; };
        Sample point;
        point.x = between(run.previousX, now.x);
        point.y = between(run.previousY, now.y);
        point.hasEdge = run.previousHasEdge && now.hasEdge;
        point.edge = between(run.previousEdge, now.edge);
        if (run.previousTime >= 0 && now.time >= 0)
            point.time = between(run.previousTime, now.time);
        addPoint(run.bins[static_cast<size_t>(run.previousBin + i)], point);
    }
}

void addInputs(RoadRunBin& bin, const SimFrame& frame) {
    bin.sumThrottle += frame.throttle;
    bin.sumBrake += frame.brake;
    bin.sumSpeed += frame.speed;
    bin.inputCount++;
    bin.gear = frame.gear < -1 ? 255 : static_cast<uint8_t>(std::min(frame.gear, 12));
}

void takeSample(RoadSurvey& survey, const SimFrame& frame, int bin) {
    RoadRun& run = survey.run;
    Sample now{bin, frame.worldX, frame.worldY, 0, -1, false};
    if (frame.pathLateralOk) {
        now.x -= frame.pathLateral * frame.rightX;
        now.y -= frame.pathLateral * frame.rightY;
        now.hasEdge = frame.trackEdgeOk != 0;
        now.edge = frame.trackEdge;
    }
    if (!std::isfinite(now.x) || !std::isfinite(now.y) || !std::isfinite(now.edge)) return;
    if (frame.currentLapTime > 0) now.time = frame.currentLapTime;
    fillGap(run, now);
    RoadRunBin& here = run.bins[static_cast<size_t>(bin)];
    if (here.count == UINT16_MAX) return; // stands still for hours
    addPoint(here, now);
    addInputs(here, frame);
    run.hasSamples = true;
    run.previousBin = bin;
    run.previousX = now.x;
    run.previousY = now.y;
    run.previousEdge = now.edge;
    run.previousHasEdge = now.hasEdge;
    run.previousTime = now.time;
    if (frame.speed <= kSideSpeed) return;
    const float side = frame.rightX * frame.forwardY - frame.rightY * frame.forwardX;
    if (side > 0.2f) run.sideVotes++;
    if (side < -0.2f) run.sideVotes--;
}

/// Metres moved since the last tick; ends the pass where the lap or the stage began anew.
float advance(RoadSurvey& survey, float pct) {
    RoadRun& run = survey.run;
    if (run.previousPct < 0) return 0;
    const float d = pct - run.previousPct;
    if (d < -0.5f) {
        if (survey.map.usedRoad && survey.lastValid == 0)
            soil(run, "the game did not count the lap");
        foldRun(survey);
    } else if (survey.isStage && d < -0.1f) {
        survey.restarted = true;
        if (run.hasSamples)
            foldRun(survey);
        else
            clearRun(survey);
    } else if (std::abs(d) > 0.1f) {
        soil(run, "the car jumped position mid-lap");
    } else if (d > 0 && survey.map.length > 1) {
        return survey.map.length * d;
    }
    return 0;
}

// Where no surface is told (-1) the car counts as on the road: rally sims never tell one.
bool offRoad(const SimFrame& frame) {
    return frame.onPitRoad || frame.inPitStall ||
           (frame.trackSurface >= 0 && frame.trackSurface < 3);
}

/// The first metres back on the road lead onto it and are no part of it.
bool onRoad(RoadRun& run, const SimFrame& frame, float step) {
    run.totalMetres += step;
    if (offRoad(frame)) {
        run.gate = kGateMetres;
    } else {
        run.gate -= step;
        if (run.gate <= 0) {
            run.gate = 0;
            return true;
        }
    }
    run.previousBin = -1;
    run.offMetres += step;
    return false;
}

bool surveyed(const SimFrame& frame) {
    return frame.worldOk && frame.simKind > kSimIRacing && frame.trackId >= 1;
}

} // namespace

void clearRun(RoadSurvey& survey) {
    RoadRun fresh;
    fresh.bins = std::move(survey.run.bins);
    fresh.bins.assign(survey.map.bins.size(), {});
    fresh.previousPct = survey.run.previousPct;
    fresh.gate = survey.run.gate;
    survey.run = std::move(fresh);
}

void roadSurveyTick(RoadSurvey& survey, const SimFrame& frame) {
    survey.restarted = false;
    if (!frame.connected) {
        if (survey.connected) leaveTrack(survey);
        if (survey.connected) clearRun(survey);
        survey.connected = false;
    }
    if (!frame.connected || !surveyed(frame)) {
        survey.lateralOk = false;
        survey.run.previousPct = -1;
        survey.run.previousBin = -1;
        return;
    }
    survey.connected = true;
    if (frame.simKind != survey.simSeen || frame.trackId != survey.trackSeen) {
        beginTrack(survey, frame);
        return;
    }
    RoadRun& run = survey.run;
    const float pct = frame.lapDistPct >= 1 ? 0.999f : std::max(0.0f, frame.lapDistPct);
    const float step = advance(survey, pct);
    run.previousPct = pct;
    survey.lastValid = frame.lapValidity;
    run.maxPct = std::max(run.maxPct, pct);
    if (frame.currentLapTime > 0) run.lastLapClock = frame.currentLapTime;
    const bool road = onRoad(run, frame, step);
    const int bin = roadBin(survey.map, pct);
    if (road && !run.dirty && (frame.pathLateralOk || survey.isStage || survey.map.usedRoad))
        takeSample(survey, frame, bin);

    survey.lateralOk = false;
    if (survey.isStage || survey.map.laps < 1) return;
    const RoadLateral lateral = roadLateral(survey.map, pct, frame.worldX, frame.worldY);
    survey.lateralOk = lateral.ok;
    survey.lateral = lateral.metres;
}

void roadSurveyRestart(RoadSurvey& survey) {
    soil(survey.run, "survey restarted");
    if (survey.isStage && survey.run.hasSamples) {
        survey.run.dirty = false; // what was driven is good
        foldRun(survey);
    }
    saveDirty(survey);
    survey.map = {};
    survey.run.previousPct = -1;
    clearRun(survey);
    survey.simSeen = -1;
    survey.trackSeen = 0;
    survey.mapDirty = false;
    survey.lateralOk = false;
}

bool roadSurveyFrame(RoadSurvey& survey, SimFrame& frame) {
    roadSurveyTick(survey, frame);
    frame.surveyLateral = survey.lateralOk ? survey.lateral : 0;
    frame.surveyLateralOk = survey.lateralOk;
    frame.surveyLaps = survey.map.laps;
    frame.surveyEdgesKnown = survey.map.usedRoad ? 0 : 1;
    copyText(frame.surveyText, survey.statusText);
    return survey.restarted;
}

} // namespace vt
