#include "telemetry/readers/ams2.h"

#include "telemetry/readers/ams2_reader.h"

#include <cstddef>

namespace vt {

namespace {

constexpr int kCopyTries = 4;
constexpr uint64_t kStuckMs = 5000; // a sim that began to write so long ago died over it

} // namespace

Ams2Reader::Ams2Reader(ReaderContext& context, Ams2Names names)
    : context_(context), names_(std::move(names)), page_(std::make_unique<Ams2Page>()) {}

bool Ams2Reader::open() {
    close();
    connected_ = map_.open(names_.map) && map_.size() >= sizeof(Ams2Page);
    if (!connected_) close();
    return connected_;
}

void Ams2Reader::close() {
    map_.close();
    connected_ = false;
    lastSequence_ = busySequence_ = -1;
    misses_.hit();
    memory_ = {};
}

/// The sequence number is odd while the sim writes and another one afterwards: a copy counts when
/// the number was even and still is the same.
Ams2Reader::Copy Ams2Reader::copyPage() {
    uint32_t sequence = 0, after = 0;
    for (int i = 0; i < kCopyTries; ++i) {
        if (!map_.read(offsetof(Ams2Page, sequence), sequence)) return Copy::old;
        if (sequence % 2 != 0) continue;
        if (sequence == lastSequence_) return Copy::old;
        if (!map_.read(0, *page_) || !map_.read(offsetof(Ams2Page, sequence), after))
            return Copy::old;
        if (after != sequence) continue;
        lastSequence_ = sequence;
        return Copy::fresh;
    }
    if (busySequence_ != sequence) {
        busySequence_ = sequence;
        busySince_ = clockMs(context_.clock);
    }
    return Copy::busy;
}

void Ams2Reader::noteBusy() {
    if (clockMs(context_.clock) - busySince_ >= kStuckMs || !map_.writerAlive()) connected_ = false;
}

void Ams2Reader::noteMiss() {
    if (misses_.miss() || !map_.writerAlive()) connected_ = false;
}

bool Ams2Reader::poll(SimFrame& out) {
    if (!connected_) {
        out.connected = 0;
        return false;
    }
    const Copy copy = copyPage();
    if (copy == Copy::busy) {
        noteBusy();
        return false;
    }
    busySequence_ = -1;
    if (copy == Copy::old) {
        noteMiss();
        return false;
    }
    misses_.hit();
    fillAms2Frame(out, *page_, memory_, context_.steer);
    return true;
}

std::unique_ptr<SimReader> makeAms2Reader(ReaderContext& context) {
    return std::make_unique<Ams2Reader>(context);
}

} // namespace vt
