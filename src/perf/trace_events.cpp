#include "perf/trace_events.h"

#include "perf/trace_layout.h"

#include <algorithm>
#include <cmath>

namespace vt {

namespace {

constexpr uint16_t kBlockVersion = 1;

template <class T>
void append(std::string& out, const T& value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// Grids that were not filled to the end count as empty.
bool has(const std::vector<uint16_t>& counts, uint32_t bin) {
    return bin < counts.size() && counts[bin] > 0;
}

uint16_t listed(const std::vector<uint16_t>& counts, uint32_t bins) {
    const size_t n = std::min<size_t>(counts.size(), bins);
    return static_cast<uint16_t>(
        n - static_cast<size_t>(std::count(counts.begin(), counts.begin() + n, 0)));
}

void appendCounts(std::string& out, const std::vector<uint16_t>& counts, uint32_t bins) {
    for (uint32_t bin = 0; bin < bins; ++bin)
        if (has(counts, bin)) append(out, TraceEventItem{static_cast<uint16_t>(bin), counts[bin]});
}

void appendOffs(std::string& out, const std::vector<uint16_t>& counts,
                const std::vector<float>& sums, const std::vector<uint16_t>& ns, uint32_t bins) {
    for (uint32_t bin = 0; bin < bins; ++bin) {
        if (!has(counts, bin)) continue;
        TraceOffItem item{static_cast<uint16_t>(bin), counts[bin], 0, 0};
        if (bin < sums.size() && has(ns, bin) && std::isfinite(sums[bin])) {
            item.lateralCount = ns[bin];
            const double mean = std::round(static_cast<double>(sums[bin]) / ns[bin] * 100);
            item.meanLateral = static_cast<int16_t>(std::clamp(mean, -32768.0, 32767.0));
        }
        append(out, item);
    }
}

/// Items of one list, `at` moves behind them. The caller has seen that they are all there.
bool readCounts(ByteView block, size_t& at, size_t items, std::vector<uint16_t>& counts) {
    for (size_t i = 0; i < items; ++i, at += sizeof(TraceEventItem)) {
        const auto item = readAt<TraceEventItem>(block, at);
        if (item.bin >= counts.size()) return false;
        counts[item.bin] = item.count;
    }
    return true;
}

bool readOffs(ByteView block, size_t& at, size_t items, std::vector<uint16_t>& counts,
              std::vector<float>& sums, std::vector<uint16_t>& ns) {
    for (size_t i = 0; i < items; ++i, at += sizeof(TraceOffItem)) {
        const auto item = readAt<TraceOffItem>(block, at);
        if (item.bin >= counts.size()) return false;
        counts[item.bin] = item.count;
        ns[item.bin] = item.lateralCount;
        sums[item.bin] = static_cast<float>(item.meanLateral) / 100 * item.lateralCount;
    }
    return true;
}

int32_t mark(int32_t bin, uint32_t bins) {
    return bin >= 0 && static_cast<uint32_t>(bin) < bins ? bin : -1;
}

} // namespace

uint32_t eventsEncode(const TrackEventGrid& grid, std::string& out) {
    const size_t start = out.size();
    const uint32_t bins = grid.binCount;
    TraceEventHead head{};
    head.version = kBlockVersion;
    head.binCount = bins;
    head.kerbL = listed(grid.kerbL, bins);
    head.kerbR = listed(grid.kerbR, bins);
    head.offEnter = listed(grid.offEnter, bins);
    head.offExit = listed(grid.offExit, bins);
    head.furl = listed(grid.furl, bins);
    head.approachEnter = mark(grid.approachEnter, bins);
    head.approachExit = mark(grid.approachExit, bins);
    head.conesEnter = mark(grid.conesEnter, bins);
    head.conesExit = mark(grid.conesExit, bins);
    append(out, head);
    appendCounts(out, grid.kerbL, bins);
    appendCounts(out, grid.kerbR, bins);
    appendOffs(out, grid.offEnter, grid.offEnterLatSum, grid.offEnterLatN, bins);
    appendOffs(out, grid.offExit, grid.offExitLatSum, grid.offExitLatN, bins);
    appendCounts(out, grid.furl, bins);
    return static_cast<uint32_t>(out.size() - start);
}

bool eventsDecode(ByteView block, uint32_t binCount, TrackEventGrid& grid) {
    grid = {};
    if (block.size() < sizeof(TraceEventHead)) return false;
    const auto head = readAt<TraceEventHead>(block, 0);
    const size_t counts = size_t{head.kerbL} + head.kerbR + head.furl;
    const size_t offs = size_t{head.offEnter} + head.offExit;
    if (head.version != kBlockVersion || head.binCount != binCount ||
        block.size() != sizeof head + counts * sizeof(TraceEventItem) + offs * sizeof(TraceOffItem))
        return false;
    sizeEventGrid(grid, binCount);
    size_t at = sizeof head;
    const bool whole =
        readCounts(block, at, head.kerbL, grid.kerbL) &&
        readCounts(block, at, head.kerbR, grid.kerbR) &&
        readOffs(block, at, head.offEnter, grid.offEnter, grid.offEnterLatSum, grid.offEnterLatN) &&
        readOffs(block, at, head.offExit, grid.offExit, grid.offExitLatSum, grid.offExitLatN) &&
        readCounts(block, at, head.furl, grid.furl);
    if (!whole) {
        grid = {};
        return false;
    }
    grid.approachEnter = mark(head.approachEnter, binCount);
    grid.approachExit = mark(head.approachExit, binCount);
    grid.conesEnter = mark(head.conesEnter, binCount);
    grid.conesExit = mark(head.conesExit, binCount);
    return true;
}

} // namespace vt
