// Learns the road of every sim that tells a position, while it is driven: each lap or stage run
// that was clean is folded into the track's `RoadMap`. Pump's thread; iRacing is not surveyed.
#pragma once
#include "perf/road_map.h"
#include "telemetry/sim_frame.h"

#include <functional>
#include <string>
#include <vector>

namespace vt {

/// What one pass gathered in one bin.
struct RoadRunBin {
    double sumX = 0, sumY = 0;
    float sumEdge = 0; // signed, positive to the right
    float sumThrottle = 0, sumBrake = 0, sumSpeed = 0;
    float time = -1; // s, first time at the bin; -1 = none
    uint16_t count = 0, edgeCount = 0, inputCount = 0;
    uint8_t gear = 0;
};

struct RoadRun {
    std::vector<RoadRunBin> bins;
    float maxPct = 0;
    float lastLapClock = 0;
    float gate = 0; // m still to wait after leaving the road
    float offMetres = 0, totalMetres = 0;
    bool dirty = false;
    std::string dirtyReason;
    bool hasSamples = false;
    int sideVotes = 0;
    float previousPct = -1;
    // The sample before this one; bin -1 = none.
    int previousBin = -1;
    float previousX = 0, previousY = 0, previousEdge = 0, previousTime = -1;
    bool previousHasEdge = false;
};

struct RoadSurvey {
    std::string baseDir; // the program's data folder; empty = nothing is kept
    /// Stores a finished map: at once where empty; the program hands in a worker, since a long
    /// track takes longer to write than the pump may wait. False when it could not be stored.
    std::function<bool(const RoadMap&)> save;

    RoadMap map;
    RoadRun run;
    bool connected = false;
    int simSeen = -1, trackSeen = 0;
    bool isStage = false;
    bool mapDirty = false;
    int runsSinceSave = 0;
    int lastValid = -1; // `lapValidity` of the last tick
    float lateral = 0;  // m from the centre line
    bool lateralOk = false;
    bool restarted = false; // a stage began anew on this tick
    char statusText[48] = "";
};

/// Each frame of any sim. Sets `lateral`, `lateralOk`, `statusText`, and `restarted` for the
/// caller.
void roadSurveyTick(RoadSurvey& survey, const SimFrame& frame);

/// The pump starts over: what was driven so far is folded on a stage, the map saved, and nothing is
/// surveyed until the next frame.
void roadSurveyRestart(RoadSurvey& survey);

/// Tick, and the frame's own survey fields. True when the recorder should start over.
bool roadSurveyFrame(RoadSurvey& survey, SimFrame& frame);

/// Begins a new pass; position and gate go on.
void clearRun(RoadSurvey& survey);

/// The end of a pass; `roadSurveyTick` calls it.
void foldRun(RoadSurvey& survey);

/// Banks the quickest passage of each corner of a stage from the present run.
void foldStageCorners(RoadSurvey& survey);

} // namespace vt
