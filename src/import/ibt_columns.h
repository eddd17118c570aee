// The variables of a telemetry file that a replay reads, found once for the whole file.
#pragma once
#include "perf/perf_sample.h"
#include "telemetry/ibt/ibt_file.h"
#include "telemetry/readers/iracing_session_text.h"

namespace vt {

/// Null: the file has none of that name. As long as the file is open.
struct IbtColumns {
    const IrVar *throttle, *brake, *steer, *gear, *rpm, *speed, *latAccel, *longAccel;
    const IrVar *airTemp, *trackTemp, *wetness, *sessionFlags, *sessionState, *sessionNum;
    const IrVar *incidents, *fuel, *lap, *lastLapTime, *trackSurface, *compound;
    const IrVar *brakeBias, *tcLevel, *absLevel, *lapPct, *sessionTime, *isOnTrack, *onPitRoad;
    const IrVar *velX, *velY, *yaw, *yawRate, *absActive, *latitude, *longitude;
    const IrVar* rumble[4];
    bool positions; // latitude and longitude are there as doubles
};
IbtColumns bindColumns(const IrVarTable& vars);

/// What all samples of a file have in common.
PerfSample sampleOfText(const IrSessionText& text, const IbtColumns& columns);

/// One record into `out`, which began as sampleOfText(): the values that the live reader gives for
/// the same record, and the position. Leaves what the road offset solver fills.
void readSample(const IrSample& record, const IbtColumns& columns, PerfSample& out);

} // namespace vt
