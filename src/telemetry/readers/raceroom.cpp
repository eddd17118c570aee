#include "telemetry/readers/raceroom.h"

#include "telemetry/coach_log.h"
#include "telemetry/readers/raceroom_reader.h"

#include <cstddef>
#include <limits>

namespace vt {

namespace {

constexpr int64_t kNoTick = std::numeric_limits<int64_t>::max(); // ticks have 32 bits

} // namespace

RaceRoomReader::RaceRoomReader(RaceRoomNames names)
    : names_(std::move(names)), page_(std::make_unique<RaceRoomPage>()) {}

/// A sim of another version shows as not connected rather than as garbage.
bool RaceRoomReader::fits() {
    if (!map_.read(0, *page_)) return false;
    if (!raceRoomUsable(*page_)) {
        if (refusedVersion_ != page_->versionMajor)
            coachLog("RaceRoom: version %d, table %d, record %d are not read", page_->versionMajor,
                     page_->driverTableOffset, page_->driverRecordSize);
        refusedVersion_ = page_->versionMajor;
        return false;
    }
    return page_->numCars >= 1;
}

bool RaceRoomReader::open() {
    close();
    connected_ = map_.open(names_.map) && fits();
    if (!connected_) close();
    return connected_;
}

void RaceRoomReader::close() {
    map_.close();
    connected_ = false;
    lastTick_ = kNoTick;
    misses_.hit();
}

/// Copies the page when its tick is a new one.
bool RaceRoomReader::copyNew() {
    int32_t major = 0, tick = 0;
    if (!map_.read(offsetof(RaceRoomPage, versionMajor), major) || major != kRaceRoomMajor ||
        !map_.read(offsetof(RaceRoomPage, tick), tick) || tick == lastTick_ ||
        !map_.read(0, *page_))
        return false;
    lastTick_ = tick;
    return true;
}

bool RaceRoomReader::poll(SimFrame& out) {
    if (!connected_) {
        out.connected = 0;
        return false;
    }
    if (!copyNew()) {
        if (misses_.miss() || !map_.writerAlive()) connected_ = false;
        return false;
    }
    misses_.hit();
    fillRaceRoomFrame(out, *page_);
    return true;
}

std::unique_ptr<SimReader> makeRaceRoomReader(ReaderContext&) {
    return std::make_unique<RaceRoomReader>();
}

} // namespace vt
