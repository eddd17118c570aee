#include "import/ibt_replay.h"

#include "base/utf8.h"
#include "perf/gps_map.h"
#include "perf/road_offset.h"
#include "platform/clock.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>

namespace vt {

namespace {

constexpr int kSessionProbes = 64;
constexpr int kGpsProbes = 8;
constexpr size_t kMostStints = 256; // the sim has 64 sessions at most: more are noise
constexpr double kMostClock = 1e9;  // s; no drive lasts that long
constexpr int32_t kLookEvery = 4096;
constexpr int kSettleSteps = 14;                    // of a quarter of a second
constexpr float kPitSpeed = 2, kPitEntrySpeed = 15; // m/s
constexpr const char* kNotParsed =
    "could not open or parse .ibt file (short, truncated, or malformed)";
constexpr const char* kBusy = "the file is still being written";
constexpr const char* kChanged = "the file changed or was cut short while it was read";

bool cancelled(const ImportContext& context) {
    return context.cancel && *context.cancel != 0;
}

/// Where the file was written a moment ago, and nobody seems to write it now, waits until it has
/// been left alone for a while.
bool openSettled(IbtFile& file, const std::string& path, const ImportContext& context,
                 std::string& message) {
    message = kNotParsed;
    if (!file.open(path)) return false;
    bool waited = false;
    for (int step = 0; file.busy(clockUnixSeconds({}) * 1'000'000'000); ++step) {
        message = kBusy;
        // At the beginning of time only a writer makes it busy.
        if (file.busy(0) || step >= kSettleSteps || cancelled(context)) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        waited = true;
    }
    message = kNotParsed;
    return !waited || file.open(path);
}

int32_t sessionNumAt(IbtFile& file, const IbtColumns& columns, int32_t index) {
    return file.probe(index).elementInt(columns.sessionNum, 0);
}

bool sessionNumRises(IbtFile& file, const IbtColumns& columns) {
    const int64_t last = file.header().sampleCount - 1;
    int32_t before = INT32_MIN;
    for (int64_t k = 0; k <= kSessionProbes; ++k) {
        const int32_t number =
            sessionNumAt(file, columns, static_cast<int32_t>(k * last / kSessionProbes));
        if (number < before) return false;
        before = number;
    }
    return true;
}

int32_t lastOfRun(IbtFile& file, const IbtColumns& columns, int32_t first, bool rises) {
    const int32_t end = file.header().sampleCount - 1;
    const int32_t number = sessionNumAt(file, columns, first);
    if (!rises) {
        int32_t last = first;
        while (last < end && file.sample(last + 1).elementInt(columns.sessionNum, 0) == number)
            ++last;
        return last;
    }
    int32_t lo = first, hi = end;
    while (lo < hi) {
        const int32_t mid = lo + (hi - lo + 1) / 2;
        if (sessionNumAt(file, columns, mid) == number)
            lo = mid;
        else
            hi = mid - 1;
    }
    return lo;
}

SessionMeta metaOf(const IrSessionText& text, const std::string& fileName) {
    SessionMeta meta;
    meta.carName = text.carName;
    meta.trackName = text.trackName;
    meta.trackConfig = text.trackConfig;
    meta.simVersion = text.buildVersion;
    meta.simDate = text.sessionDate;
    meta.trackId = text.trackId;
    meta.trackLengthM = text.trackLength;
    meta.timeOfDaySec = text.timeOfDay;
    meta.seasonId = text.seasonId;
    meta.raceWeek = text.raceWeek;
    meta.fixedSetup = text.fixedSetup;
    meta.trackNumTurns = text.trackTurns;
    meta.setupText.assign(text.setupText, strnlen(text.setupText, sizeof text.setupText));
    meta.setupHash = text.setupHash;
    meta.powerAdjustPct = text.classPowerAdjust;
    meta.weightPenaltyKg = text.classWeightPenalty;
    meta.source = "ibt";
    meta.sourceFile = fileName;
    return meta;
}

void addToPitPath(PitPath& path, const PerfSample& sample, bool wasOnPitRoad) {
    if (!sample.onPitRoad) return;
    if (!wasOnPitRoad && sample.speed > kPitEntrySpeed) ++path.passes;
    const bool placed = sample.latitude != 0 || sample.longitude != 0;
    if (sample.speed <= kPitSpeed || !placed || !(sample.lapPct >= 0 && sample.lapPct <= 1)) return;
    const auto bin = std::min(static_cast<size_t>(sample.lapPct * kPitPathBins),
                              static_cast<size_t>(kPitPathBins - 1));
    path.bins[bin].latitude += sample.latitude;
    path.bins[bin].longitude += sample.longitude;
    ++path.bins[bin].count;
}

void solveOffset(RoadOffsetSolver& solver, PerfSample& sample) {
    const RoadOffset offset = solver.solve({
        .trackId = sample.trackId,
        .trackLength = sample.trackLength,
        .sessionTime = sample.sessionTime,
        .lapDistPct = sample.lapPct,
        .speed = sample.speed,
        .velX = sample.velX,
        .velY = sample.velY,
        .yawNorth = sample.yaw,
        .trackSurface = sample.trackSurface,
        .sessionFlags = sample.sessionFlags,
        .incidents = sample.incidents,
    });
    sample.lateralM = offset.lateralM;
    sample.lateralOk = offset.lateralOk;
    sample.lateralCalVersion = offset.lateralCalVersion;
}

/// The store has all of it, and there is nothing to give: told from a few samples.
bool nothingToDo(IbtReplay& r) {
    const bool gps = ibtHasGps(r.file, r.columns);
    for (const IbtStint& stint : r.stints)
        r.stintEnds.push_back(r.identity(stint).end);
    bool allRecorded = !r.stints.empty(), gpsTarget = false;
    for (const IbtStint& stint : r.stints) {
        const ImportStint asked = r.identity(stint);
        int match = -1;
        const ImportVerdict verdict =
            classifyStint(asked, r.replacePreFix, r.context.redoTracks, r.index, match);
        allRecorded = allRecorded && verdict == ImportVerdict::leave;
        if (verdict == ImportVerdict::fresh || match < 0 || !gps) continue;
        const auto& sessions = r.index.of(asked.car, asked.track, asked.trackId);
        gpsTarget = gpsTarget || sessions[static_cast<size_t>(match)].canTakeGps;
    }
    if (gpsTarget || !(r.gpsOnly || allRecorded)) return false;
    r.result.skippedRecorded = static_cast<int32_t>(r.stints.size());
    return true;
}

/// False when it was told to stop.
bool replay(IbtReplay& r) {
    r.tracker = std::make_unique<SessionTracker>();
    RoadOffsetSolver solver(r.context.dataDir, r.context.store.base(), false);
    const auto pits = std::make_unique<PitPath>();
    PerfSample sample = sampleOfText(*r.text, r.columns);
    IbtStint stint;
    bool begun = false;
    for (int32_t i = 0; i < r.file.header().sampleCount; ++i) {
        if (i % kLookEvery == 0 && cancelled(r.context)) return false;
        const IrSample record = r.file.sample(i);
        if (r.file.damaged()) break;
        const int32_t number = record.elementInt(r.columns.sessionNum, 0);
        const bool wasOnPitRoad = i == 0 || sample.onPitRoad;
        readSample(record, r.columns, sample);
        if (!begun || number != stint.sessionNum) {
            if (begun) flushStint(r, stint);
            stint = {number, sample.sessionTime, sample.sessionTime};
            solver.reset();
            begun = true;
        }
        stint.last = sample.sessionTime;
        solveOffset(solver, sample);
        r.tracker->tick(sample);
        addToPitPath(*pits, sample, wasOnPitRoad);
    }
    flushStint(r, stint);
    if (!r.spoilt() && r.text->trackId > 0 && pits->any())
        storePitPath(r.context.store.base(), r.text->trackId, *pits);
    return true;
}

void importOpened(IbtReplay& r, const std::string& path) {
    r.text = std::make_unique<IrSessionText>();
    parseSessionText(*r.text, r.file.header().sessionText);
    r.columns = bindColumns(r.file.vars());
    r.meta = metaOf(*r.text, foreignToUtf8(path.substr(path.rfind('/') + 1)));
    r.result.parsed = true;
    r.result.trackId = r.text->trackId;
    r.result.trackLength = r.text->trackLength;
    const int32_t samples = r.file.header().sampleCount;
    r.clock = {fileTimeOf(r.file.header().modifiedNs),
               r.file.probe(samples - 1).element(r.columns.sessionTime, 0, 0)};
    r.stints = findStints(r.file, r.columns);
    if (r.stints.size() > kMostStints) {
        r.result.parsed = false;
        r.result.message = kNotParsed;
        return;
    }
    if (!r.named() || samples < 1) {
        if (r.gpsOnly) return;
    } else if (nothingToDo(r)) {
        r.spoilt();
        return;
    }
    if (!replay(r)) r.result.attempted = false;
}

} // namespace

int64_t IbtClock::at(double sessionTime) const {
    const double away = std::clamp(sessionTime - last, -kMostClock, kMostClock);
    return end + static_cast<int64_t>(away * 1e7);
}

bool IbtReplay::spoilt() {
    if (!result.message.empty()) return true;
    if (!file.damaged() && !file.changed()) return false;
    result.parsed = false;
    result.message = kChanged;
    return true;
}

ImportStint IbtReplay::identity(const IbtStint& stint) const {
    return {.car = meta.carName,
            .track = meta.trackName,
            .trackId = meta.trackId,
            .start = clock.at(stint.first + stint.shift),
            .end = clock.at(stint.last + stint.shift),
            .fileEnds = &stintEnds,
            .fileDates = &storedDates};
}

std::vector<IbtStint> findStints(IbtFile& file, const IbtColumns& columns) {
    std::vector<IbtStint> stints;
    const int32_t count = file.header().sampleCount;
    const bool rises = !columns.sessionNum || sessionNumRises(file, columns);
    for (int32_t first = 0; first < count && !file.damaged() && stints.size() <= kMostStints;) {
        const int32_t last =
            columns.sessionNum ? lastOfRun(file, columns, first, rises) : count - 1;
        IbtStint stint;
        stint.sessionNum = sessionNumAt(file, columns, first);
        stint.first = file.probe(first).element(columns.sessionTime, 0, 0);
        stint.last = file.probe(last).element(columns.sessionTime, 0, 0);
        stints.push_back(stint);
        first = last + 1;
    }
    for (size_t i = stints.size(); i-- > 1;) {
        IbtStint& before = stints[i - 1];
        before.shift = stints[i].shift + std::min(stints[i].first - before.last, 0.0);
    }
    return stints;
}

bool ibtHasGps(IbtFile& file, const IbtColumns& columns) {
    if (!columns.positions) return false;
    const int64_t last = file.header().sampleCount - 1;
    for (int64_t k = 1; k <= kGpsProbes; ++k) {
        const IrSample record = file.probe(static_cast<int32_t>(k * last / (kGpsProbes + 1)));
        if (record.element(columns.latitude, 0, 0) != 0 ||
            record.element(columns.longitude, 0, 0) != 0)
            return true;
    }
    return false;
}

IbtImportResult importFile(ImportContext& context, const std::string& path, bool replacePreFix,
                           SessionIndex& index, bool gpsOnly) {
    IbtImportResult failed;
    failed.attempted = failed.parsed = true;
    try {
        IbtReplay r{
            .context = context, .index = index, .replacePreFix = replacePreFix, .gpsOnly = gpsOnly};
        r.result.attempted = true;
        if (openSettled(r.file, path, context, r.result.message)) {
            r.result.message.clear();
            importOpened(r, path);
        }
        return r.result;
    } catch (const std::exception& problem) {
        failed.message = std::string("exception while importing: ") + problem.what();
    } catch (...) {
        failed.message = "unknown exception while importing";
    }
    return failed;
}

} // namespace vt
