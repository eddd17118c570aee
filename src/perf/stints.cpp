#include "perf/session_record.h"

#include <algorithm>
#include <cmath>

namespace vt {

bool lapIsClean(const LapRecord& lap) {
    return lap.lapTime > 1.0f && lap.invalid == 0 && !lap.outLap && !lap.inLap;
}

std::vector<StintSpan> splitStints(const SessionRecord& record) {
    std::vector<StintSpan> stints;
    const int count = static_cast<int>(std::min<size_t>(record.laps.size(), kMaxLaps));
    bool open = false;
    const auto close = [&](int lastLap) {
        stints.back().lastLap = lastLap;
        stints.back().qualifies = stints.back().cleanLaps >= 5;
        open = false;
    };
    for (int i = 0; i < count; ++i) {
        const LapRecord& lap = record.laps[static_cast<size_t>(i)];
        if (open && lap.outLap && i > stints.back().firstLap) close(i - 1);
        if (!open) {
            stints.push_back({i, static_cast<int32_t>(stints.size()), i, 0, false});
            open = true;
        }
        if (lapIsClean(lap)) ++stints.back().cleanLaps;
        if (lap.inLap) close(i);
    }
    if (open) close(count - 1);
    return stints;
}

void summariseLapTimes(const std::vector<LapRecord>& laps, SessionSummary& summary) {
    double sum = 0, squares = 0;
    float best = 0, worst = 0;
    int count = 0;
    for (const LapRecord& lap : laps) {
        if (lap.invalid != 0) continue;
        best = count == 0 ? lap.lapTime : std::min(best, lap.lapTime);
        worst = std::max(worst, lap.lapTime);
        sum += lap.lapTime;
        ++count;
    }
    const double mean = count > 0 ? sum / count : 0;
    for (const LapRecord& lap : laps)
        if (lap.invalid == 0) squares += (lap.lapTime - mean) * (lap.lapTime - mean);
    summary.bestLapTime = best;
    summary.worstLapTime = worst;
    summary.avgLapTime = static_cast<float>(mean);
    summary.lapStdDev = count < 2 ? 0 : static_cast<float>(std::sqrt(squares / count));
}

} // namespace vt
