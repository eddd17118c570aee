// Candidate plans for the rest of a race.
#include "base/translate.h"
#include "race/pit_strategy.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace vt {

namespace {

constexpr double kSpareLitres = 0.5;        // on the last leg, and at each stop
constexpr double kAddMin = 1;               // litres; less is no stop
constexpr double kSaveMax = 0.15;           // share of the burn that a driver can save
constexpr double kSecondsPerPercent = 0.06; // a lap, of one percent saved
constexpr double kGallonsPerLitre = 0.264172;
// Sums of floats: 15 % exactly must stay within the limit.
constexpr double kRounding = 1e-6;

struct Legs {
    double added = 0, missing = 0;
};

/// Positions of the stops in laps from now, the finish behind them; false when they do not rise.
bool legEnds(const PlanInput& in, std::array<int, 3>& ends) {
    int before = 0;
    for (int i = 0; i < in.stops; ++i) {
        const auto at = static_cast<size_t>(i);
        ends[at] = std::clamp(in.stopLap[at] - in.lap, 1, std::max(in.lapsToGo, 1));
        if (ends[at] <= before) return false;
        before = ends[at];
    }
    ends[static_cast<size_t>(in.stops)] = in.lapsToGo;
    return true;
}

Legs walk(const PlanInput& in, const std::array<int, 3>& ends, StrategyOption& out) {
    Legs legs;
    const double burn = static_cast<double>(in.burn);
    double fuel = static_cast<double>(in.fuel);
    for (int leg = 0, from = 0; leg <= in.stops; ++leg) {
        const auto at = static_cast<size_t>(leg);
        const double need = (ends[at] - from) * burn + (leg == in.stops ? kSpareLitres : 0);
        legs.missing += std::max(0.0, need - fuel);
        const double left = std::max(0.0, fuel - need);
        from = ends[at];
        if (leg == in.stops) break;
        const double next = (ends[at + 1] - from) * burn + kSpareLitres;
        const double add = std::max(0.0, std::min(static_cast<double>(in.capacity) - left, next));
        out.addFuel[at] = static_cast<float>(add);
        legs.added += add;
        fuel = left + add;
    }
    return legs;
}

void writeTexts(const PlanInput& in, double added, StrategyOption& out) {
    if (in.stops == 0)
        std::snprintf(out.title, sizeof out.title, "%s", Translate("NO STOP"));
    else if (in.stops == 1)
        std::snprintf(out.title, sizeof out.title, Translate("1 STOP - LAP %d"), out.stopLap[0]);
    else
        std::snprintf(out.title, sizeof out.title, Translate("2 STOPS - LAP %d/%d"), out.stopLap[0],
                      out.stopLap[1]);
    char add[24] = "", save[28] = "";
    const double unit = in.imperial ? kGallonsPerLitre : 1;
    const double saving = static_cast<double>(out.saveLitresPerLap);
    if (in.stops > 0)
        std::snprintf(add, sizeof add,
                      in.imperial ? Translate("ADD %.1f gal") : Translate("ADD %.0f L"),
                      added * unit);
    if (saving > 0.004)
        std::snprintf(save, sizeof save,
                      in.imperial ? Translate("SAVE %.2f gal/lap") : Translate("SAVE %.2f L/lap"),
                      saving * unit);
    if (add[0] && save[0])
        std::snprintf(out.detail, sizeof out.detail, "%s - %s", add, save);
    else
        std::snprintf(out.detail, sizeof out.detail, "%s",
                      add[0]    ? add
                      : save[0] ? save
                                : Translate("TANK COVERS IT"));
}

} // namespace

bool evaluatePlan(const PlanInput& in, StrategyOption& out) {
    out = {};
    if (!(in.burn > 0.01f) || in.lapsToGo < 0 || !(in.capacity > 0) || in.stops < 0 || in.stops > 2)
        return false;
    std::array<int, 3> ends{};
    if (!legEnds(in, ends)) return false;
    out.stops = in.stops;
    for (int i = 0; i < in.stops; ++i)
        out.stopLap[static_cast<size_t>(i)] = in.stopLap[static_cast<size_t>(i)];
    const Legs legs = walk(in, ends, out);
    if (in.stops > 0 && legs.added < kAddMin) return false;
    double savePercent = 0;
    if (legs.missing > 0 && in.lapsToGo > 0) {
        const double save = legs.missing / in.lapsToGo;
        if (save / static_cast<double>(in.burn) > kSaveMax + kRounding) return false;
        const double rounded = std::floor(save * 100 + 0.5) / 100;
        out.saveLitresPerLap = static_cast<float>(rounded);
        savePercent = rounded / static_cast<double>(in.burn) * 100;
    }
    const double lap = std::max(0.0, static_cast<double>(in.avgLap));
    out.costSec =
        static_cast<float>(std::floor((savePercent * kSecondsPerPercent + lap) * in.lapsToGo +
                                      in.stops * static_cast<double>(in.pitLossSec) + 0.5));
    writeTexts(in, legs.added, out);
    return true;
}

int rankPlans(const PlanInput& race, std::array<StrategyOption, 4>& out) {
    const int n = race.lapsToGo;
    std::array<PlanInput, 4> candidates;
    candidates.fill(race);
    size_t count = 1;
    candidates[0].stops = 0;
    const auto oneStop = [&](int after) {
        candidates[count].stops = 1;
        candidates[count++].stopLap = {race.lap + after, 0};
    };
    if (n >= 2) {
        const int half = std::clamp(n / 2, 1, n - 1);
        oneStop(half);
        const double reach = (static_cast<double>(race.fuel) - kSpareLitres) /
                             std::max(static_cast<double>(race.burn), 0.01);
        const int dry = static_cast<int>(std::clamp(std::floor(reach), 1.0, n - 1.0));
        if (dry != half) oneStop(dry);
    }
    if (n >= 3) {
        candidates[count].stops = 2;
        candidates[count++].stopLap = {race.lap + std::clamp(n / 3, 1, n - 2),
                                       race.lap + std::clamp(2 * n / 3, 2, n - 1)};
    }
    int kept = 0;
    for (size_t i = 0; i < count; ++i) {
        StrategyOption option;
        if (!evaluatePlan(candidates[i], option)) continue;
        int at = kept++;
        for (; at > 0 && out[static_cast<size_t>(at - 1)].costSec > option.costSec; --at)
            out[static_cast<size_t>(at)] = out[static_cast<size_t>(at - 1)];
        out[static_cast<size_t>(at)] = option;
    }
    return kept;
}

} // namespace vt
