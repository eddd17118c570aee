#include "app/ranking.h"

#include "base/lap.h"
#include "base/utf8.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vt {

namespace {

// The sims number their phases each in their own way; 4 is a race under way in those that this
// works for.
constexpr int32_t kStateRacing = 4;

int compareClass(const CarRow& a, const CarRow& b) {
    return std::strncmp(a.carClass, b.carClass, sizeof a.carClass);
}

bool placeable(const CarRow& row, int32_t place) {
    return place > 0 && row.lap >= 0 && row.lapDistPct >= 0;
}

/// Hands the places that the given rows hold out in the order of the way covered.
void handOut(Ranking& state, SimFrame& frame, int32_t CarRow::*place) {
    std::sort(state.entries.begin(), state.entries.end(),
              [&](const Ranking::Entry& a, const Ranking::Entry& b) {
                  if (a.covered != b.covered) return a.covered > b.covered;
                  const CarRow& rowA = frame.cars[a.row];
                  const CarRow& rowB = frame.cars[b.row];
                  if (rowA.*place != rowB.*place) return rowA.*place < rowB.*place;
                  return a.row < b.row;
              });
    state.places.clear();
    for (const Ranking::Entry& entry : state.entries)
        state.places.push_back(frame.cars[entry.row].*place);
    std::sort(state.places.begin(), state.places.end());
    for (size_t i = 0; i < state.entries.size(); ++i)
        frame.cars[state.entries[i].row].*place = state.places[i];
}

void addWhenPlaceable(Ranking& state, const SimFrame& frame, uint32_t row, int32_t CarRow::*place) {
    const CarRow& car = frame.cars[row];
    if (!placeable(car, car.*place)) return;
    state.entries.push_back(
        {static_cast<double>(car.lap) + static_cast<double>(car.lapDistPct), row});
}

void gapsToLeader(SimFrame& frame, const uint32_t* rows, size_t count, float refLap) {
    const CarRow* leader = nullptr;
    for (size_t i = 0; i < count && !leader; ++i)
        if (frame.cars[rows[i]].classPosition == 1) leader = &frame.cars[rows[i]];
    if (!leader) return;
    const float lapTime = leader->lapEstimate > 1 ? leader->lapEstimate : refLap;
    for (size_t i = 0; i < count; ++i) {
        CarRow& row = frame.cars[rows[i]];
        row.gapToLeader = 0;
        if (&row == leader) continue;
        const float behind = wrapLapTime(leader->estTime - row.estTime, lapTime);
        double lapsDown = 0;
        if (leader->lap >= 0 && row.lap >= 0)
            lapsDown = std::trunc(static_cast<double>(leader->lap) - row.lap +
                                  static_cast<double>(leader->lapDistPct - row.lapDistPct));
        row.gapToLeader =
            std::max(static_cast<float>(lapsDown * static_cast<double>(lapTime)) + behind, 0.0f);
    }
}

} // namespace

Ranking::Ranking() {
    entries.reserve(64);
    places.reserve(64);
    byClass.reserve(64);
}

bool rankingApplies(const SimFrame& frame) {
    return frame.simKind != kSimIRacing && frame.connected && frame.sessionState == kStateRacing &&
           containsNoCase(frame.sessionName, "race");
}

void rankCars(Ranking& state, SimFrame& frame, float refLap) {
    const auto count = static_cast<uint32_t>(frame.cars.size());
    state.entries.clear();
    for (uint32_t row = 0; row < count; ++row)
        addWhenPlaceable(state, frame, row, &CarRow::position);
    if (state.entries.size() < 2) return;
    handOut(state, frame, &CarRow::position);

    state.byClass.clear();
    for (uint32_t row = 0; row < count; ++row)
        state.byClass.push_back(row);
    std::sort(state.byClass.begin(), state.byClass.end(), [&](uint32_t a, uint32_t b) {
        const int order = compareClass(frame.cars[a], frame.cars[b]);
        return order != 0 ? order < 0 : a < b;
    });
    for (size_t begin = 0, end; begin < count; begin = end) {
        end = begin + 1;
        while (end < count &&
               compareClass(frame.cars[state.byClass[begin]], frame.cars[state.byClass[end]]) == 0)
            ++end;
        state.entries.clear();
        for (size_t i = begin; i < end; ++i)
            addWhenPlaceable(state, frame, state.byClass[i], &CarRow::classPosition);
        if (state.entries.size() >= 2) handOut(state, frame, &CarRow::classPosition);
        gapsToLeader(frame, &state.byClass[begin], end - begin, refLap);
    }
}

} // namespace vt
