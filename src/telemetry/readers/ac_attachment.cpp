#include "telemetry/readers/ac_attachment.h"

namespace vt {

namespace {

constexpr int kWriterCheckMisses = 15; // half a second: time to ask whether the sim still lives
constexpr int kStaticTryPolls = 30;

} // namespace

AcAttachment::AcAttachment(ReaderContext& context, SimKind kind, const AcPageSizes& sizes,
                           AcNames names)
    : context_(context), kind_(kind), sizes_(sizes), names_(std::move(names)) {}

bool AcAttachment::open() {
    close();
    if (!physics_.open(names_.physics) || !graphics_.open(names_.graphics)) {
        close();
        return false;
    }
    statics_.open(names_.statics);
    physicsSize_ = physics_.size();
    graphicsSize_ = graphics_.size();
    if (physicsSize_ >= sizeof physics.packetId) return true;
    close();
    return false;
}

void AcAttachment::close() {
    physics_.close();
    graphics_.close();
    statics_.close();
    physics = {};
    statics = {};
    seconds = 0;
    misses_ = {};
    staticTries_ = 0;
    gone_ = false;
    haveId_ = false;
    lastTicks_ = 0;
}

void AcAttachment::noteMiss() {
    if (misses_.miss())
        gone_ = true;
    else if (misses_.misses % kWriterCheckMisses == 0)
        gone_ = !physics_.writerAlive();
}

// All sims of the family use the same names, and one that starts may take over the objects of one
// that was killed. Another size gives it away.
bool AcAttachment::resized() const {
    return physics_.size() != physicsSize_ || graphics_.size() != graphicsSize_;
}

// So does a packet id that falls, or that moves on after a stop: then the program that runs tells.
// Such looks are rare: a new session, the end of a pause.
bool AcAttachment::otherSimRuns() {
    const bool suspect =
        haveId_ && (physics.packetId < lastId_ || misses_.misses >= kWriterCheckMisses);
    if (!suspect) return false;
    context_.scan.lastScanMs = 0; // what the last scan saw may be over
    processScan(context_.scan, clockMs(context_.clock), context_.lister);
    const int32_t running = context_.scan.acFamilyKind;
    return running >= 0 && running != kind_;
}

void AcAttachment::readStatic() {
    if (!statics_.isOpen() && ++staticTries_ % kStaticTryPolls == 0) statics_.open(names_.statics);
    if (statics_.isOpen()) acCopyPage(statics_, sizes_.statics, &statics, sizeof statics);
}

bool AcAttachment::next(void* graphics, size_t room) {
    if (!isConnected()) return false;
    if (resized()) {
        context_.scan.lastScanMs = 0; // the search that follows must not trust what runs no more
        gone_ = true;
        return false;
    }
    if (!acCopySteady(physics_, sizes_.physics, &physics, sizeof physics) ||
        (haveId_ && physics.packetId == lastId_)) {
        noteMiss();
        return false;
    }
    if (otherSimRuns()) {
        gone_ = true;
        return false;
    }
    misses_.hit();
    haveId_ = true;
    lastId_ = physics.packetId;
    if (!acCopySteady(graphics_, sizes_.graphics, graphics, room)) return false;
    readStatic();
    const int64_t now = clockTicks(context_.clock);
    seconds = lastTicks_ == 0 ? 0 : static_cast<double>(now - lastTicks_) / kTicksPerSecond;
    lastTicks_ = now;
    return true;
}

} // namespace vt
