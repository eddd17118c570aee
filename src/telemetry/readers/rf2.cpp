#include "telemetry/readers/rf2.h"

#include "telemetry/readers/rf2_reader.h"

namespace vt {

namespace {

constexpr int kCopyTries = 8;
constexpr uint64_t kWriterCheckMs = 500; // between two looks whether the sim's process lives

/// Copies what no writer has touched meanwhile: the version words are the same before and after.
bool copyVersioned(const SharedMap& map, size_t offset, void* out, size_t length) {
    for (int i = 0; i < kCopyTries; ++i) {
        Rf2Version before, after;
        if (!map.read(0, before)) return false;
        if (before.begin != before.end) continue;
        if (!map.copyOut(offset, out, length) || !map.read(0, after)) return false;
        if (after.begin == before.begin && after.end == before.end) return true;
    }
    return false;
}

} // namespace

Rf2Reader::Rf2Reader(ReaderContext& context, Rf2Names names)
    : names_(std::move(names)), clock_(context.clock) {}

bool Rf2Reader::attach() {
    if (!telemetryMap_.open(names_.telemetry) || !scoringMap_.open(names_.scoring) ||
        telemetryMap_.size() < sizeof(Rf2TelemetryPage) ||
        scoringMap_.size() < sizeof(Rf2ScoringPage))
        return false;
    scoring_ = std::make_unique<Rf2Scoring>();
    return copyScoring() && rf2Player(*scoring_);
}

bool Rf2Reader::open() {
    close();
    connected_ = attach();
    if (!connected_) close();
    return connected_;
}

void Rf2Reader::close() {
    telemetryMap_.close();
    scoringMap_.close();
    scoring_.reset();
    carIndex_ = 0;
    connected_ = false;
    lastMs_ = -1;
    misses_.hit();
    writerChecked_ = 0;
    memory_ = {};
}

bool Rf2Reader::copyScoring() {
    return copyVersioned(scoringMap_, offsetof(Rf2ScoringPage, scoring), scoring_.get(),
                         sizeof *scoring_);
}

bool Rf2Reader::copyVehicle(size_t index) {
    const size_t offset = offsetof(Rf2TelemetryPage, vehicles) + index * sizeof(VehicleTelemetry);
    return copyVersioned(telemetryMap_, offset, &car_, sizeof car_);
}

/// The player's record: where it was last time, or wherever his id stands now.
bool Rf2Reader::takeTelemetry(int32_t id) {
    int32_t told = 0;
    if (!copyVersioned(telemetryMap_, offsetof(Rf2TelemetryPage, numVehicles), &told, sizeof told))
        return false;
    const size_t count = clampedCount(told, kRf2Cars);
    if (carIndex_ < count && copyVehicle(carIndex_) && car_.id == id) return true;
    for (size_t i = 0; i < count; ++i) {
        const size_t offset = offsetof(Rf2TelemetryPage, vehicles) + i * sizeof(VehicleTelemetry);
        int32_t there = 0;
        if (!telemetryMap_.read(offset, there)) return false;
        if (there != id) continue;
        carIndex_ = i;
        return copyVehicle(i) && car_.id == id;
    }
    return false;
}

void Rf2Reader::noteMiss() {
    if (misses_.miss()) connected_ = false;
    const uint64_t now = clockMs(clock_);
    if (now - writerChecked_ < kWriterCheckMs) return;
    writerChecked_ = now;
    if (!telemetryMap_.writerAlive() || !scoringMap_.writerAlive()) connected_ = false;
}

bool Rf2Reader::poll(SimFrame& out) {
    if (!connected_) {
        out.connected = 0;
        return false;
    }
    const VehicleScoring* player = copyScoring() ? rf2Player(*scoring_) : nullptr;
    const int32_t ms = player && takeTelemetry(player->id) ? sampleMs(car_) : lastMs_;
    if (ms == lastMs_ || ms < 0) {
        noteMiss();
        return false;
    }
    lastMs_ = ms;
    misses_.hit();
    fillRf2Frame(out, *scoring_, car_, memory_);
    return true;
}

std::unique_ptr<SimReader> makeRf2Reader(ReaderContext& context) {
    return std::make_unique<Rf2Reader>(context);
}

} // namespace vt
