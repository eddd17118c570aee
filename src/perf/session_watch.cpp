#include "perf/session_watch.h"

#include "base/utf8.h"
#include "perf/perf_paths.h"
#include "platform/thread_name.h"
#include "telemetry/sim_registry.h"

#include <cstring>

namespace vt {

SessionSaver::SessionSaver(PerfStore& store) : store_(store), thread_([this] { run(); }) {}

SessionSaver::~SessionSaver() {
    {
        const std::lock_guard lock(lock_);
        stop_ = true;
    }
    woken_.notify_one();
    thread_.join();
}

void SessionSaver::store(StintData&& stint, const SessionMeta& meta, const std::string& date,
                         int limit) {
    {
        const std::lock_guard lock(lock_);
        jobs_.push_back({std::move(stint), meta, date, limit});
        ++waiting_;
    }
    woken_.notify_one();
}

bool SessionSaver::take(CommitResult& out) {
    if (finished_ == 0) return false;
    const std::lock_guard lock(lock_);
    if (results_.empty()) return false;
    out = std::move(results_.front());
    results_.pop_front();
    --finished_;
    return true;
}

void SessionSaver::run() {
    nameThisThread("session saver");
    std::unique_lock lock(lock_);
    for (;;) {
        woken_.wait(lock, [this] { return stop_ || !jobs_.empty(); });
        if (jobs_.empty()) return; // and to stop
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        CommitResult result =
            commitSession(store_, std::move(job.stint), job.meta, job.date, job.limit);
        lock.lock();
        results_.push_back(std::move(result));
        ++finished_;
        --waiting_;
    }
}

namespace {

bool sameIdentity(const SessionWatch& watch, const SimFrame& frame) {
    return watch.latched && watch.trackId == frame.trackId && watch.meta.simId == frame.simKind &&
           std::strcmp(watch.carModel, frame.carModel) == 0 &&
           std::strcmp(watch.sessionName, frame.sessionName) == 0;
}

void latchIdentity(SessionWatch& watch, const SimFrame& frame) {
    watch.latched = true;
    watch.trackId = frame.trackId;
    copyText(watch.carModel, frame.carModel);
    copyText(watch.sessionName, frame.sessionName);
    watch.meta = {};
    watch.meta.simId = frame.simKind;
}

void takeMeta(SessionMeta& meta, const SimFrame& frame) {
    meta.carName = frame.carName[0] != '\0' ? frame.carName : frame.carModel;
    meta.trackName = frame.trackName;
    meta.trackId = frame.trackId;
    meta.trackLengthM = frame.trackLength;
    meta.sessionType = frame.sessionName;
    meta.trackConfig = frame.trackConfig;
    meta.simVersion = frame.buildVersion;
    meta.simDate = frame.sessionDate;
    meta.timeOfDaySec = frame.timeOfDay;
    meta.seasonId = frame.seasonId;
    meta.raceWeek = frame.raceWeek;
    meta.fixedSetup = frame.fixedSetup;
    meta.trackNumTurns = frame.trackTurns;
    meta.powerAdjustPct = frame.classPowerAdjust;
    meta.weightPenaltyKg = frame.classWeightPenalty;
    if (frame.setupHash == 0) return;
    if (meta.setupHash == 0) {
        meta.setupHash = frame.setupHash;
        meta.setupText = frame.setupText;
    } else if (meta.setupHash != frame.setupHash) {
        meta.setupChangedMidStint = true;
    }
}

void endStint(SessionWatch& watch, const WatchSettings& settings) {
    const bool keep = !watch.forbidden && settings.loggingEnabled && watch.tracker.lapCount() > 0;
    if (keep)
        watch.saver.store(watch.tracker.take(), watch.meta, recordDate(settings.nowUnix),
                          settings.limit);
    else
        watch.tracker.reset();
    const int32_t simId = watch.meta.simId;
    watch.meta = {};
    watch.meta.simId = simId;
    watch.forbidden = false;
    watch.live = false;
}

void drainRing(SessionWatch& watch) {
    PerfSample sample;
    while (watch.ring.pop(sample))
        if (sample.trackId == watch.trackId) trackerTick(watch.tracker, sample);
}

} // namespace

void trackerDrain(SessionWatch& watch, const SimFrame& frame, const WatchSettings& settings) {
    if (watch.synthetic != settings.synthetic) {
        // What was driven up to here goes by what was true up to here.
        if (watch.live) endStint(watch, settings);
        watch.tracker.reset();
        watch.synthetic = settings.synthetic;
    }
    const bool recorded = frame.connected && simIsRecorded(frame.simKind);
    if (recorded && !sameIdentity(watch, frame)) {
        drainRing(watch); // samples of the session that ended; those of another track drop out
        endStint(watch, settings);
        watch.tracker.reset();
        latchIdentity(watch, frame);
    }
    drainRing(watch);
    const bool live = recorded && frame.isOnTrack;
    if (live) {
        takeMeta(watch.meta, frame);
        watch.forbidden |= watch.synthetic || !settings.loggingEnabled;
    }
    if (watch.live && !live) endStint(watch, settings);
    watch.live = live;
    if (watch.gpsLearnWanted)
        *watch.gpsLearnWanted = live && frame.simKind == kSimIRacing && !watch.synthetic ? 1 : 0;
}

void finishWatch(SessionWatch& watch, const WatchSettings& settings) {
    drainRing(watch);
    if (watch.live) endStint(watch, settings);
}

} // namespace vt
