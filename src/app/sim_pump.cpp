#include "app/sim_pump.h"

#include "app/enrich.h"
#include "base/log.h"
#include "base/pacing.h"
#include "telemetry/demo_feed.h"

namespace vt {

namespace {

constexpr int64_t kPeriod = kTicksPerSecond / 30; // 100/3 ms
constexpr int64_t kSearchPause = kTicksPerSecond;
constexpr int kSignalWaitMs = 100;
constexpr double kUpdateCheckSeconds = 24 * 3600.0;
constexpr double kOldTick = 2.0; // s: time that is not counted as driven
constexpr int kF1GameId = 9;     // the sibling's number for F1

/// The thread's own state.
struct PumpRun {
    SimPump& pump;
    EnrichState enrich;
    SimReader* reader = nullptr; // the attached one
    bool inDemo = false;
    int64_t deadline = 0;
    double lastUpdateCheck = -1;
    double lastTick = 0;
};

/// Waits run on the system's time even where the logic's clock is turned by hand.
int64_t systemTicks() {
    static const Clock system;
    return clockTicks(system);
}

bool interrupted(const SimPump& pump) {
    return pump.words.pumpStop || pump.words.demoOn;
}

void waitForPeriod(PumpRun& run) {
    const int64_t last = run.deadline;
    run.deadline = nextDeadline(last, kPeriod, systemTicks());
    if (!run.pump.timer.waitUntil(run.deadline)) run.deadline = last; // woken: the grid stays
}

void checkForUpdates(PumpRun& run) {
    if (run.reader || !run.pump.words.updateCheckOn) return;
    const double now = clockSeconds(run.pump.clock);
    const bool first = run.lastUpdateCheck < 0;
    if (!first && now - run.lastUpdateCheck < kUpdateCheckSeconds) return;
    run.lastUpdateCheck = now;
    if (!first && run.pump.hooks.checkForUpdate) run.pump.hooks.checkForUpdate();
}

// ---- demo ---------------------------------------------------------------------------------------

void demoTurn(PumpRun& run) {
    SimPump& pump = run.pump;
    if (!run.inDemo) resetEnrich(run.enrich);
    run.inDemo = true;
    SimFrame& frame = pump.buffer.writable();
    resetKeepingCapacity(frame);
    demoFrame(frame, clockSeconds(pump.clock));
    if (pump.hooks.pushSample) pump.hooks.pushSample(frame, false);
    pump.buffer.publish();
    waitForPeriod(run);
}

void endDemo(PumpRun& run) {
    run.inDemo = false;
    if (run.pump.hooks.demoEnded) run.pump.hooks.demoEnded();
    if (!run.reader || !run.reader->isConnected())
        publishEmpty(run.pump.buffer, run.reader ? run.reader->kind() : kSimNone);
}

// ---- searching ----------------------------------------------------------------------------------

void updateF1Word(SimPump& pump, int gameId) {
    const bool forwarded = pump.scan.siblingRunning && gameId == kF1GameId;
    pump.words.f1WithoutFeed = pump.scan.f1Running && !forwarded;
}

SimReader* openFirst(SimPump& pump, int gameId) {
    const int32_t familyKind = pump.scan.acFamilyKind;
    for (const auto& reader : pump.readers) {
        if (interrupted(pump)) return nullptr;
        if (familyMayOpen(reader->kind(), familyKind, gameId) && reader->open())
            return reader.get();
    }
    return nullptr;
}

/// False when no sim runs.
bool searchSim(PumpRun& run) {
    SimPump& pump = run.pump;
    if (pump.lister) processScan(pump.scan, clockMs(pump.clock), pump.lister);
    const int gameId = pump.hooks.siblingGameId ? pump.hooks.siblingGameId() : -1;
    updateF1Word(pump, gameId);
    run.reader = openFirst(pump, gameId);
    if (!run.reader) return false;
    pump.words.f1WithoutFeed = 0;
    pump.words.connectedSim = run.reader->kind();
    logStatus("[sim] %s connected\n", simShortName(run.reader->kind()));
    if (pump.hooks.simConnected) pump.hooks.simConnected(run.reader->kind());
    return true;
}

void pauseSearch(PumpRun& run) {
    if (interrupted(run.pump)) return;
    publishEmpty(run.pump.buffer, kSimNone);
    run.pump.timer.waitUntil(systemTicks() + kSearchPause);
}

// ---- polling ------------------------------------------------------------------------------------

void dropSim(PumpRun& run) {
    SimPump& pump = run.pump;
    const SimKind kind = run.reader->kind();
    logStatus("[sim] disconnected -- waiting for sim\n");
    if (pump.hooks.simDisconnected) pump.hooks.simDisconnected(kind);
    publishEmpty(pump.buffer, kind);
    run.reader->close();
    run.reader = nullptr;
    pump.words.connectedSim = kSimNone;
    resetEnrich(run.enrich);
}

void pollSim(PumpRun& run) {
    SimPump& pump = run.pump;
    SimFrame& frame = pump.buffer.writable();
    resetKeepingCapacity(frame);
    const bool ofFamily = !familyMayOpen(run.reader->kind(), kSimNone, -1);
    if (pump.lister && ofFamily) processScan(pump.scan, clockMs(pump.clock), pump.lister);
    if (familyStolen(run.reader->kind(), pump.scan.acFamilyKind)) {
        dropSim(run);
        return;
    }
    if (!run.reader->poll(frame)) {
        if (!run.reader->isConnected()) dropSim(run);
        return;
    }
    const double now = clockSeconds(pump.clock);
    admitFrame(run.enrich, frame);
    const bool reset = pump.hooks.survey && pump.hooks.survey(frame, false);
    enrichFrame(run.enrich, frame, now, enrichOffers(frame.simKind));
    if (pump.hooks.usage) {
        const double sinceTick = now - run.lastTick;
        pump.hooks.usage(frame, sinceTick <= kOldTick ? sinceTick : 0);
    }
    run.lastTick = now;
    if (pump.hooks.pushSample) pump.hooks.pushSample(frame, reset);
    pump.buffer.publish();
}

void turn(PumpRun& run) {
    checkForUpdates(run);
    if (run.pump.words.demoOn) {
        demoTurn(run);
        return;
    }
    if (run.inDemo) endDemo(run);
    if (!run.reader && !searchSim(run)) {
        pauseSearch(run);
        return;
    }
    pollSim(run);
    if (!run.reader || !run.reader->waitForData(kSignalWaitMs)) waitForPeriod(run);
}

} // namespace

const SimFrame* frameRead(TripleBuffer& buffer) {
    return buffer.take();
}

void publishEmpty(TripleBuffer& buffer, int32_t kind) {
    SimFrame& frame = buffer.writable();
    resetKeepingCapacity(frame);
    frame.simKind = kind;
    buffer.publish();
}

namespace {

struct FamilyMember {
    int32_t kind;
    int gameId;
};
constexpr FamilyMember kFamily[] = {{kSimAcc, 1}, {kSimAc, 4}, {kSimAcRally, 5}};

const FamilyMember* familyMember(int32_t kind) {
    for (const FamilyMember& member : kFamily)
        if (member.kind == kind) return &member;
    return nullptr;
}

} // namespace

bool familyMayOpen(int32_t kind, int32_t familyKind, int gameId) {
    const FamilyMember* member = familyMember(kind);
    if (!member) return true;
    return familyKind >= 0 ? familyKind == kind : gameId == member->gameId;
}

bool familyStolen(int32_t kind, int32_t familyKind) {
    return familyMember(kind) && familyKind >= 0 && familyKind != kind;
}

void simPumpMain(SimPump& pump) {
    const auto run = std::make_unique<PumpRun>(PumpRun{.pump = pump, .enrich = {}});
    while (!pump.words.pumpStop)
        turn(*run);
    if (run->reader) run->reader->close();
    pump.words.connectedSim = kSimNone;
    while (!pump.readers.empty())
        pump.readers.pop_back();
}

void wakePump(SimPump& pump) {
    pump.timer.wake();
}

} // namespace vt
