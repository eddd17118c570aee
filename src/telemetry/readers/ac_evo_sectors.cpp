#include "telemetry/readers/ac_evo_sectors.h"

#include <algorithm>

namespace vt {

namespace {

constexpr float kSectorLength = 2000; // m
constexpr double kLongestAgo = 0.25;  // s

// A position is seen up to a tenth of a second after the car was there: how long ago it passed the
// start of the sector that it is in.
double enteredAgo(const SimFrame& frame) {
    if (!(frame.speed > 1)) return 0;
    const float start = frame.sectorStarts[static_cast<size_t>(frame.currentSector)];
    const double metres = static_cast<double>((frame.lapDistPct - start) * frame.trackLength);
    return std::clamp(metres / static_cast<double>(frame.speed), 0.0, kLongestAgo);
}

} // namespace

int acEvoSectorCount(float trackLength) {
    if (!(trackLength > 1)) return 0;
    return static_cast<int>(std::clamp(trackLength / kSectorLength + 0.5f, 3.0f, 16.0f));
}

void acEvoTimeSectors(SimFrame& out, AcEvoSectors& sectors, double seconds, bool interrupted) {
    const int count = acEvoSectorCount(out.trackLength);
    if (count == 0) return;
    if (sectors.trackId != out.trackId || sectors.count != count)
        sectors = {out.trackId, count, {}};
    for (int i = 0; i < count; ++i)
        out.sectorStarts.push_back(static_cast<float>(i) / static_cast<float>(count));
    out.currentSector = sectorAt(out.sectorStarts, out.lapDistPct);
    timeSectors(sectors.timing, out.sectorStarts, out.lapDistPct, out.sessionTime,
                maxLapStep(seconds, out.trackLength), interrupted, enteredAgo(out));
}

} // namespace vt
