#include "telemetry/readers/ac_evo.h"

#include "telemetry/readers/ac_evo_reader.h"

#include <cstring>

namespace vt {

namespace {

// Polls without news until it is asked whether the sim still runs: it stands still in its menus.
constexpr int kMissesWhileDriven = kMissLimit - 1;
constexpr int kMissesBefore = 30;
constexpr int kWriterCheckMisses = 15; // half a second
constexpr int kStaticTryPolls = 30;

} // namespace

AcEvoReader::AcEvoReader(ReaderContext& context, AcEvoNames names)
    : context_(context), names_(std::move(names)) {}

bool AcEvoReader::open() {
    close();
    processScan(context_.scan, clockMs(context_.clock), context_.lister);
    if (context_.scan.acEvoRunning == 0) return false;
    if (!physics_.open(names_.physics) || !graphics_.open(names_.graphics) ||
        !acCopyPage(physics_, kAcEvoSizes.physics, &pages_.physics, sizeof pages_.physics)) {
        close();
        return false;
    }
    statics_.open(names_.statics);
    lastId_ = pages_.physics.packetId; // a sim in its menus gives no frame
    return true;
}

void AcEvoReader::close() {
    physics_.close();
    graphics_.close();
    statics_.close();
    pages_ = {};
    memory_ = {};
    clock_ = {};
    lastId_ = 0;
    packetSeen_ = false;
    misses_ = 0;
    staticTries_ = 0;
    gone_ = false;
}

void AcEvoReader::noteMiss() {
    misses_ += 1;
    if (misses_ % kWriterCheckMisses == 0 && !physics_.writerAlive()) {
        gone_ = true;
        return;
    }
    if (misses_ <= (packetSeen_ ? kMissesWhileDriven : kMissesBefore)) return;
    processScan(context_.scan, clockMs(context_.clock), context_.lister);
    gone_ = context_.scan.acEvoRunning == 0;
}

// The static page has no packet id: one that changed is believed when it reads the same twice.
void AcEvoReader::takeStatic() {
    if (!statics_.isOpen() && ++staticTries_ % kStaticTryPolls == 0) statics_.open(names_.statics);
    if (!statics_.isOpen()) return;
    AcEvoStatic first, second;
    if (!acCopyPage(statics_, kAcEvoSizes.statics, &first, sizeof first)) return;
    if (pages_.haveStatic && std::memcmp(&first, &pages_.statics, sizeof first) == 0) return;
    if (!acCopyPage(statics_, kAcEvoSizes.statics, &second, sizeof second) ||
        std::memcmp(&first, &second, sizeof first) != 0)
        return;
    pages_.statics = first;
    pages_.haveStatic = true;
}

/// False when there is no new frame.
bool AcEvoReader::takePages() {
    int32_t id = 0;
    if (!physics_.read(0, id) || id == lastId_) return false;
    if (!acCopySteady(physics_, kAcEvoSizes.physics, &pages_.physics, sizeof pages_.physics) ||
        !acCopySteady(graphics_, kAcEvoSizes.graphics, &pages_.graphics, sizeof pages_.graphics))
        return false;
    lastId_ = pages_.physics.packetId;
    takeStatic();
    return true;
}

bool AcEvoReader::poll(SimFrame& out) {
    if (!isConnected()) {
        out.connected = 0;
        return false;
    }
    const double now = clockSeconds(context_.clock);
    const bool taken = takePages();
    if (taken) {
        misses_ = 0;
        packetSeen_ = true;
    } else {
        noteMiss();
    }
    acEvoClockTick(clock_, now, pages_.graphics.status == kAcLive, misses_);
    if (!taken) {
        if (gone_) out.connected = 0;
        return false;
    }
    fillAcEvoFrame(out, pages_, now, clock_.session, memory_);
    return true;
}

std::unique_ptr<SimReader> makeAcEvoReader(ReaderContext& context) {
    return std::make_unique<AcEvoReader>(context);
}

} // namespace vt
