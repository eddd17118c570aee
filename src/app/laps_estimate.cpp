#include "app/laps_estimate.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

constexpr double kNewSessionRise = 30.0; // s of time left
constexpr double kMostLaps = 1e6;        // beyond it a lap time was not one

void startOverWhenChanged(LapsEstimate& state, const SimFrame& frame) {
    const bool same =
        state.simKind == frame.simKind && state.sessionNum == frame.sessionNum &&
        std::strncmp(state.sessionName, frame.sessionName, sizeof state.sessionName) == 0 &&
        frame.timeRemain - state.timeRemain <= kNewSessionRise;
    if (!same) {
        resetLapsEstimate(state);
        state.simKind = frame.simKind;
        state.sessionNum = frame.sessionNum;
        std::memcpy(state.sessionName, frame.sessionName, sizeof state.sessionName);
    }
    state.timeRemain = frame.timeRemain;
    if (frame.timeRemain > 0) state.timeSeen = 1;
}

void runSamplers(LapsEstimate& state, const SimFrame& frame, const CarRow* player) {
    for (const CarRow& row : frame.cars)
        if (row.carIdx >= 0 && row.carIdx < kTrackedCars)
            samplerTick(state.cars[static_cast<size_t>(row.carIdx)], row.lastLapTime, row.lap,
                        row.onPitRoad != 0);
    samplerTick(state.player, frame.lastLapTime, frame.lap,
                frame.onPitRoad || (player && player->onPitRoad));
}

bool onLap(float pct) {
    return pct >= 0 && pct <= 1;
}

struct Pace {
    bool isPlayer = true;
    double lap = 0; // s
    double pct = 0;
};

/// The leader's pace; false when it is not known.
bool leaderPace(const LapsEstimate& state, const SimFrame& frame, const Pace& own, bool tellsLeader,
                Pace& lead) {
    lead = own;
    if (!tellsLeader) return lead.lap > 0;
    const auto row = std::find_if(frame.cars.begin(), frame.cars.end(),
                                  [](const CarRow& car) { return car.position == 1; });
    if (row == frame.cars.end() || !onLap(row->lapDistPct)) return false;
    lead.isPlayer = row->carIdx == frame.playerCarIdx;
    lead.pct = static_cast<double>(row->lapDistPct);
    lead.lap = 0;
    if (row->carIdx >= 0 && row->carIdx < kTrackedCars)
        lead.lap =
            static_cast<double>(samplerEstimate(state.cars[static_cast<size_t>(row->carIdx)],
                                                row->bestFromEarlier ? 0.0f : row->bestLapTime));
    if (lead.isPlayer && !(lead.lap > 0)) lead.lap = own.lap;
    return lead.lap > 0;
}

void giveEstimate(SimFrame& frame, const Pace& lead, const Pace& own) {
    const double timeLeft = std::max(frame.timeRemain, 0.0);
    const double end = timeLeft / lead.lap + lead.pct;
    const double lastLap = std::floor(end) + 1;
    double result = lastLap;
    if (!lead.isPlayer)
        result = std::max(std::ceil((lastLap - lead.pct) * lead.lap / own.lap + own.pct), 1.0);
    if (!(result <= kMostLaps)) return;
    if (timeLeft > 0)
        result -= lastLap - end; // the part of the last lap that is driven after time has run out
    else
        frame.lapsEstimateIsExact = 1;
    frame.lapsEstimate = static_cast<float>(result);
}

} // namespace

void resetLapsEstimate(LapsEstimate& state) {
    state = LapsEstimate{};
}

void lapsEstimateTick(LapsEstimate& state, SimFrame& frame, bool tellsLeader, bool stage) {
    frame.lapsEstimate = -1;
    frame.lapsEstimateIsExact = 0;
    if (!frame.connected) return;
    startOverWhenChanged(state, frame);
    const CarRow* player = playerRow(frame);
    runSamplers(state, frame, player);

    if (!frame.timedSession || !frameIsRace(frame) || stage ||
        (frame.sessionFlags & kFlagChequered) || !state.timeSeen)
        return;
    const float pct = player ? player->lapDistPct : frame.lapDistPct;
    if (!onLap(pct)) return;
    Pace own = {.lap = static_cast<double>(samplerEstimate(state.player, frame.bestLapTime)),
                .pct = static_cast<double>(pct)};
    Pace lead;
    if (!leaderPace(state, frame, own, tellsLeader, lead)) return;
    if (!(own.lap > 0)) own.lap = lead.lap;
    giveEstimate(frame, lead, own);
}

} // namespace vt
