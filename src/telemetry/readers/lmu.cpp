#include "telemetry/readers/lmu.h"

#include "telemetry/readers/lmu_reader.h"

#include <algorithm>
#include <cstring>

namespace vt {

namespace {

constexpr uint64_t kStaleMs = 5001;      // without a new sample the sim counts as gone
constexpr uint64_t kWriterCheckMs = 500; // between two looks whether the sim's process lives

} // namespace

bool lmuCopyPage(const SharedMap& map, LmuPage& page) {
    LmuHead head;
    if (!map.read(0, head)) return false;
    std::memcpy(page.head.events, head.events, sizeof head.events);
    if (head.events[kLmuScoringUpdated]) {
        page.head.scoring = head.scoring;
        const size_t cars = clampedCount(head.scoring.numVehicles, kLmuCars);
        if (!map.copyOut(offsetof(LmuPage, scoring), page.scoring, cars * sizeof(VehicleScoring)))
            return false;
    }
    if (head.events[kLmuTelemetryUpdated]) {
        constexpr size_t from = offsetof(LmuPage, activeVehicles);
        if (!map.copyOut(from, &page.activeVehicles, offsetof(LmuPage, telemetry) - from))
            return false;
        const VehicleTelemetry* player = lmuPlayerTelemetry(page);
        if (!player) return true;
        const auto index = static_cast<size_t>(player - page.telemetry);
        if (!map.copyOut(offsetof(LmuPage, telemetry) + index * sizeof(VehicleTelemetry),
                         &page.telemetry[index], sizeof(VehicleTelemetry)))
            return false;
    }
    return true;
}

LmuReader::LmuReader(ReaderContext& context, LmuNames names)
    : context_(context), names_(std::move(names)) {}

bool LmuReader::attach() {
    if (!map_.open(names_.map) || map_.size() < sizeof(LmuPage) || !event_.open(names_.event))
        return false;
    page_ = std::make_unique<LmuPage>();
    return lock_.open(names_.lock, names_.lockEvent);
}

bool LmuReader::open() {
    close();
    connected_ = attach();
    if (!connected_) close();
    return connected_;
}

void LmuReader::close() {
    map_.close();
    event_.close();
    lock_.close();
    page_.reset();
    connected_ = lockFailed_ = false;
    lastMs_ = -1;
    staleSince_ = writerChecked_ = 0;
    memory_ = {};
}

bool LmuReader::waitForData(int milliseconds) {
    if (!event_.isOpen()) return false;
    event_.wait(milliseconds);
    return true;
}

/// The sim may die with the lock in its hand: then nobody will ever give it back.
bool LmuReader::takeCopy() {
    lockFailed_ = !lock_.take([this] { return context_.stopping() || !map_.writerAlive(); });
    if (lockFailed_) return false;
    const bool copied = lmuCopyPage(map_, *page_);
    lock_.release();
    return copied;
}

void LmuReader::noteNoSample() {
    const uint64_t now = clockMs(context_.clock);
    if (staleSince_ == 0)
        staleSince_ = std::max<uint64_t>(now, 1);
    else if (now - staleSince_ >= kStaleMs)
        connected_ = false;
    if (now - writerChecked_ >= kWriterCheckMs || lockFailed_) {
        writerChecked_ = now;
        if (!map_.writerAlive()) connected_ = false;
    }
    // Somebody else may hold the words as well, such as the sim's next run: it would wait for ever.
    if (!connected_ && lockFailed_ && !context_.stopping()) lock_.freeForsaken();
}

bool LmuReader::poll(SimFrame& out) {
    if (!connected_) {
        out.connected = 0;
        return false;
    }
    const VehicleTelemetry* car = takeCopy() ? lmuPlayerTelemetry(*page_) : nullptr;
    const int32_t ms = car ? sampleMs(*car) : lastMs_;
    if (ms == lastMs_ || ms < 0) {
        noteNoSample();
        return false;
    }
    lastMs_ = ms;
    staleSince_ = 0;
    fillLmuFrame(out, *page_, memory_);
    return true;
}

std::unique_ptr<SimReader> makeLmuReader(ReaderContext& context) {
    return std::make_unique<LmuReader>(context);
}

} // namespace vt
