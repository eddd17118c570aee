#include "telemetry/readers/ams2.h"

#include "telemetry/readers/ams2_copy.h"
#include "telemetry/readers/ams2_reader.h"

#include <utility>

namespace vt {

namespace {

constexpr uint64_t kStuckMs = 5000;

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

/// No sim writes for seconds: the number of one that died over its page stays odd for ever.
void Ams2Reader::noteBusy(uint32_t sequence) {
    const uint64_t now = clockMs(context_.clock);
    if (busySequence_ != sequence) busySince_ = now;
    busySequence_ = sequence;
    if (now - busySince_ >= kStuckMs || !map_.writerAlive()) connected_ = false;
}

void Ams2Reader::noteMiss() {
    if (misses_.miss() || !map_.writerAlive()) connected_ = false;
}

bool Ams2Reader::poll(SimFrame& out) {
    if (!connected_) {
        out.connected = 0;
        return false;
    }
    uint32_t sequence = 0;
    const Ams2Copy copy = ams2Copy(map_, *page_, lastSequence_, sequence);
    if (copy == Ams2Copy::busy) {
        noteBusy(sequence);
        return false;
    }
    busySequence_ = -1;
    if (copy == Ams2Copy::old) {
        noteMiss();
        return false;
    }
    lastSequence_ = sequence;
    misses_.hit();
    fillAms2Frame(out, *page_, memory_, context_.steer);
    return true;
}

std::unique_ptr<SimReader> makeAms2Reader(ReaderContext& context) {
    return std::make_unique<Ams2Reader>(context);
}

} // namespace vt
