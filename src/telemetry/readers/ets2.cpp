#include "telemetry/readers/ets2.h"

#include "telemetry/coach_log.h"
#include "telemetry/readers/ets2_reader.h"

namespace vt {

Ets2Reader::Ets2Reader(ReaderContext& context, Ets2Names names)
    : context_(context), names_(std::move(names)) {}

/// A new copy, active and of the version that is read.
bool Ets2Reader::copyUsable() {
    if (!map_.read(0, page_) || page_.active == 0) return false;
    if (page_.version == kEts2Version) return true;
    if (refusedVersion_ != page_.version)
        coachLog("ETS2: version %d of the telemetry plug-in is not read, %d is", page_.version,
                 kEts2Version);
    refusedVersion_ = page_.version;
    return false;
}

bool Ets2Reader::open() {
    close();
    connected_ = map_.open(names_.map) && copyUsable();
    if (!connected_) close();
    return connected_;
}

void Ets2Reader::close() {
    map_.close();
    connected_ = false;
    seen_ = false;
    misses_.hit();
}

/// The game's time stands still with the pause, which is news all the same.
bool Ets2Reader::isNews() const {
    return !seen_ || page_.simulatedTime != lastTime_ || page_.paused != lastPaused_;
}

bool Ets2Reader::poll(SimFrame& out) {
    if (!connected_ || !copyUsable()) {
        connected_ = false;
        out.connected = 0;
        return false;
    }
    if (!isNews()) {
        // A game that stands paused is still there.
        const bool expected = page_.paused != 0;
        if ((!expected && misses_.miss()) || !map_.writerAlive()) connected_ = false;
        return false;
    }
    seen_ = true;
    lastTime_ = page_.simulatedTime;
    lastPaused_ = page_.paused;
    misses_.hit();
    fillEts2Frame(out, page_, context_.steer);
    return true;
}

std::unique_ptr<SimReader> makeEts2Reader(ReaderContext& context) {
    return std::make_unique<Ets2Reader>(context);
}

} // namespace vt
