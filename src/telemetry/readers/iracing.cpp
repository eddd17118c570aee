#include "telemetry/readers/iracing.h"

#include "telemetry/readers/iracing_newest.h"
#include "telemetry/readers/iracing_reader.h"

#include <algorithm>
#include <cstring>

namespace vt {

namespace {

constexpr uint64_t kStaleMs = 5001;      // without a new sample the sim counts as gone
constexpr uint64_t kWriterCheckMs = 500; // between two looks whether the sim's process lives
constexpr int32_t kRestartTicks = 60;    // falling by so much, the count began anew

bool headerUsable(const IrHeader& h, size_t viewSize) {
    if (h.numVars < 0 || h.numVars > kIrMaxVars) return false;
    if (h.varHeaderOffset < static_cast<int32_t>(sizeof(IrHeader))) return false;
    if (!rangeInside(static_cast<uint64_t>(h.varHeaderOffset), static_cast<uint64_t>(h.numVars),
                     sizeof(IrVarHeader), viewSize))
        return false;
    if (h.bufLen < 1 || static_cast<size_t>(h.bufLen) > viewSize) return false;
    if (h.sessionInfoLen < 0 || h.sessionInfoOffset < 0) return false;
    return rangeInside(static_cast<uint64_t>(h.sessionInfoOffset), 1,
                       static_cast<uint64_t>(h.sessionInfoLen), viewSize);
}

bool sameLayout(const IrHeader& a, const IrHeader& b) {
    return a.numVars == b.numVars && a.varHeaderOffset == b.varHeaderOffset && a.bufLen == b.bufLen;
}

} // namespace

IRacingReader::IRacingReader(const Clock& clock, const IRacingWants& wants, IRacingNames names)
    : clock_(clock), wants_(wants), names_(std::move(names)) {}

bool IRacingReader::open() {
    close();
    counters_ = {};
    IrHeader header;
    if (!map_.open(names_.map) || !map_.read(0, header) || !(header.status & kIrStatusConnected) ||
        !attach(header)) {
        close();
        return false;
    }
    event_.open(names_.event); // without it the pump paces itself
    writerChecked_ = clockMs(clock_);
    readText(header);
    return true;
}

/// Takes over the variable table of a header and starts from scratch. False when the header cannot
/// be used.
bool IRacingReader::attach(const IrHeader& header) {
    viewSize_ = map_.size();
    if (!headerUsable(header, viewSize_)) return false;
    std::vector<uint8_t> table(static_cast<size_t>(header.numVars) * sizeof(IrVarHeader));
    if (!map_.copyOut(static_cast<size_t>(header.varHeaderOffset), table.data(), table.size()))
        return false;
    vars_.build(table, header.numVars, header.bufLen);
    sample_.resize(static_cast<size_t>(header.bufLen));
    layout_ = header;
    lastTick_ = -1;
    staleSince_ = 0;
    stale_ = false;
    lastSessionInfoUpdate_ = -1;
    textParsed_ = false;
    memory_ = {};
    return true;
}

// A sim that was restarted may take over the object that the last one left behind: then another
// table, or tick counts from the start, belong to names and times that no longer hold.
bool IRacingReader::restart(const IrHeader& header) {
    counters_.restarts += 1;
    if (!attach(header)) stale_ = true;
    return !stale_;
}

bool IRacingReader::followRestart(const IrHeader& header) {
    return sameLayout(header, layout_) || restart(header);
}

void IRacingReader::close() {
    map_.close();
    event_.close();
    viewSize_ = 0;
    layout_ = {};
    vars_.clear();
    sample_.clear();
    lastTick_ = -1;
    staleSince_ = 0;
    stale_ = false;
    writerChecked_ = 0;
    writerGone_ = false;
    lastSessionInfoUpdate_ = -1;
    rawText_.clear();
    newText_.clear();
    textParsed_ = false;
    text_ = {};
    memory_ = {};
}

// A shared object outlives a sim that was killed, and its status word still says "connected".
bool IRacingReader::writerLives() {
    const uint64_t now = clockMs(clock_);
    if (!writerGone_ && now - writerChecked_ >= kWriterCheckMs) {
        writerChecked_ = now;
        writerGone_ = !map_.writerAlive();
    }
    return !writerGone_;
}

bool IRacingReader::isConnected() {
    if (!map_.isOpen() || stale_ || !writerLives()) return false;
    int32_t status = 0;
    return map_.read(offsetof(IrHeader, status), status) && (status & kIrStatusConnected);
}

bool IRacingReader::waitForData(int milliseconds) {
    if (!event_.isOpen()) return false;
    event_.wait(milliseconds);
    return true;
}

void IRacingReader::readText(const IrHeader& header) {
    newText_.clear();
    if (header.sessionInfoLen > 0 && header.sessionInfoOffset >= 0 &&
        rangeInside(static_cast<uint64_t>(header.sessionInfoOffset), 1,
                    static_cast<uint64_t>(header.sessionInfoLen), viewSize_)) {
        newText_.resize(static_cast<size_t>(header.sessionInfoLen));
        if (map_.copyOut(static_cast<size_t>(header.sessionInfoOffset), newText_.data(),
                         newText_.size()))
            newText_.resize(strnlen(newText_.data(), newText_.size()));
        else
            newText_.clear();
    }
    // The sim counts updates that change nothing, and the first poll reads what `open` has read.
    if (textParsed_ && newText_ == rawText_) return;
    rawText_.swap(newText_);
    parseSessionText(text_, rawText_);
    textParsed_ = true;
    counters_.textParses += 1;
}

void IRacingReader::noteNoSample() {
    const uint64_t now = clockMs(clock_);
    if (staleSince_ == 0)
        staleSince_ = std::max<uint64_t>(now, 1);
    else if (now - staleSince_ >= kStaleMs)
        stale_ = true;
}

bool IRacingReader::poll(SimFrame& out) {
    IrHeader header;
    if (!isConnected() || !map_.read(0, header) || !followRestart(header)) {
        out.connected = 0;
        return false;
    }
    IrHeader latest = header;
    int32_t tick = 0;
    const bool taken = irTakeNewest(map_, viewSize_, latest, sample_, tick, counters_.tornCopies);
    if (taken && lastTick_ - static_cast<int64_t>(tick) >= kRestartTicks && !restart(header))
        return false;
    // An empty text may be one that the sim has not written yet.
    if (header.sessionInfoUpdate != lastSessionInfoUpdate_ || rawText_.empty()) {
        lastSessionInfoUpdate_ = header.sessionInfoUpdate;
        readText(header);
    }
    if (!taken || tick == lastTick_) {
        noteNoSample();
        return false;
    }
    lastTick_ = tick;
    staleSince_ = 0;
    const bool withGps = wants_.gpsLearnWanted.load(std::memory_order_relaxed) != 0 ||
                         wants_.trackMapWantsGps.load(std::memory_order_relaxed) != 0;
    fillIRacingFrame(out, {vars_, sample_}, text_, memory_, withGps);
    return true;
}

std::unique_ptr<SimReader> makeIRacingReader(const Clock& clock, const IRacingWants& wants) {
    return std::make_unique<IRacingReader>(clock, wants);
}

} // namespace vt
