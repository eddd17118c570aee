#include "perf/trace_file.h"

#include "perf/trace_codec.h"
#include "platform/file.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

bool writeOrLeaveNothing(const std::string& path, const std::string& bytes) {
    if (!bytes.empty() && writeFileAtomic(path, bytes)) return true;
    if (!bytes.empty()) removeFile(path + ".tmp");
    return false;
}

/// Values of `from` brought to `bins` bins, the nearest one each.
void takeBins(const std::vector<float>& from, uint32_t bins, std::vector<float>& out) {
    out.resize(bins);
    for (uint32_t i = 0; i < bins; ++i)
        out[i] = from[std::min<size_t>(size_t{i} * from.size() / bins, from.size() - 1)];
}

} // namespace

void sizeLapTrace(LapTrace& trace, uint32_t binCount) {
    for (auto* channel :
         {&trace.speed, &trace.throttle, &trace.brake, &trace.steer, &trace.latG, &trace.longG,
          &trace.elapsed, &trace.x, &trace.y, &trace.lateral, &trace.yawRate, &trace.latVelocity})
        channel->assign(binCount, 0);
    trace.gear.assign(binCount, 0);
    trace.rpm.assign(binCount, 0);
    trace.absActive.assign(binCount, 0);
    trace.have.assign(binCount, 0);
}

void sizeEventGrid(TrackEventGrid& grid, uint32_t binCount) {
    grid.binCount = binCount;
    for (auto* counts : {&grid.kerbL, &grid.kerbR, &grid.offEnter, &grid.offExit,
                         &grid.offEnterLatN, &grid.offExitLatN, &grid.furl})
        counts->assign(binCount, 0);
    grid.offEnterLatSum.assign(binCount, 0);
    grid.offExitLatSum.assign(binCount, 0);
    grid.approachEnter = grid.approachExit = grid.conesEnter = grid.conesExit = -1;
}

bool traceRead(const std::string& path, TraceFile& out) {
    std::string bytes;
    if (!readFile(path, bytes, kMaxTraceFileBytes)) {
        out = {};
        return false;
    }
    return traceDecode({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, out);
}

bool traceWrite(const std::string& path, const TraceFile& trace, bool compress) {
    return writeOrLeaveNothing(path, traceEncode(trace, compress));
}

bool traceWriteOneLap(const std::string& path, const TraceFile& trace, size_t lapIndex) {
    if (lapIndex >= trace.laps.size()) return false;
    TraceFile one;
    one.binCount = trace.binCount;
    one.laps.push_back(trace.laps[lapIndex]);
    one.originLat = trace.originLat;
    one.originLon = trace.originLon;
    one.lateralCalVersion = trace.lateralCalVersion;
    one.dynamicsMask = trace.dynamicsMask;
    one.latVelocitySource = trace.latVelocitySource;
    one.airTempAvg = trace.airTempAvg;
    one.trackTempAvg = trace.trackTempAvg;
    one.wetnessMax = trace.wetnessMax;
    LapTrace& lap = one.laps.front();
    one.hasLateral = lap.hasLateral;
    if (lap.x.size() != one.binCount || lap.y.size() != one.binCount) {
        lap.x.clear();
        lap.y.clear();
        one.originLat = one.originLon = 0;
    }
    return traceWrite(path, one, false);
}

bool tracePatchLapTimes(const std::string& path, const std::vector<float>& times) {
    std::string bytes;
    return readFile(path, bytes, kMaxTraceFileBytes) && tracePatchTimes(bytes, times) &&
           writeOrLeaveNothing(path, bytes);
}

bool traceTakePositions(TraceFile& trace, const TraceFile& from, const std::vector<int>& lapOf) {
    const auto source = [&](size_t lap) -> const LapTrace* {
        const int index = lapOf[lap];
        if (index < 0 || static_cast<size_t>(index) >= from.laps.size()) return nullptr;
        const LapTrace& found = from.laps[static_cast<size_t>(index)];
        return found.x.size() == from.binCount && found.y.size() == from.binCount ? &found
                                                                                  : nullptr;
    };
    const double difference = std::abs(static_cast<double>(trace.binCount) - from.binCount);
    if (lapOf.size() != trace.laps.size() || trace.binCount == 0 || from.binCount == 0 ||
        difference > 0.01 * trace.binCount)
        return false;
    bool any = false;
    for (size_t i = 0; i < lapOf.size(); ++i)
        any = any || source(i) != nullptr;
    if (!any) return false;
    for (size_t i = 0; i < lapOf.size(); ++i) {
        LapTrace& lap = trace.laps[i];
        lap.x.clear();
        lap.y.clear();
        if (const LapTrace* taken = source(i)) {
            takeBins(taken->x, trace.binCount, lap.x);
            takeBins(taken->y, trace.binCount, lap.y);
        }
    }
    trace.originLat = from.originLat;
    trace.originLon = from.originLon;
    return true;
}

} // namespace vt
