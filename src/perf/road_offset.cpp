#include "perf/road_offset.h"

#include "base/lap.h"
#include "perf/bin_line.h"
#include "perf/road_offset_fold.h"
#include "perf/session_commit.h"
#include "platform/thread_name.h"
#include "telemetry/sim_registry.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace vt {

namespace {

constexpr int kBinsMin = 500, kBinsMax = 26000;
constexpr size_t kMapPointsMin = 64;
constexpr double kStepMax = 1;      // s between two samples
constexpr uint32_t kFurled = 0x800; // the sim calls the lap invalid
constexpr int32_t kOnTrack = 3;     // of trackSurface
constexpr float kLengthChange = 1;  // m, of a track's length, that makes it another
constexpr double kPctMax = 0.999999;

/// Writes calibrations on a thread of its own: the disk may take longer than the pump has. Of
/// several that wait only the last of a track is written.
class CalSaver {
public:
    explicit CalSaver(std::string baseDir) : baseDir_(std::move(baseDir)) {
        thread_ = std::thread([this] { run(); });
    }
    ~CalSaver() {
        {
            const std::lock_guard guard(mutex_);
            stop_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    CalSaver(const CalSaver&) = delete;
    CalSaver& operator=(const CalSaver&) = delete;

    void store(const TrackCal& cal) {
        {
            const std::lock_guard guard(mutex_);
            const auto same =
                std::find_if(waiting_.begin(), waiting_.end(),
                             [&](const auto& other) { return other.trackId == cal.trackId; });
            if (same == waiting_.end())
                waiting_.push_back(cal);
            else
                *same = cal;
        }
        changed_.notify_all();
    }
    /// Until all is written: the next reader is to find it.
    void drain() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return waiting_.empty() && !writing_; });
    }

private:
    void run() {
        nameThisThread("vt-trackcal");
        lowerThisThread();
        std::unique_lock lock(mutex_);
        while (true) {
            changed_.wait(lock, [this] { return stop_ || !waiting_.empty(); });
            if (waiting_.empty()) return;
            const TrackCal cal = waiting_.back();
            waiting_.pop_back();
            writing_ = true;
            lock.unlock();
            {
                const std::lock_guard files(trackMapLock());
                saveTrackCal(baseDir_, cal);
            }
            lock.lock();
            writing_ = false;
            changed_.notify_all();
        }
    }

    std::string baseDir_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<TrackCal> waiting_; // under the mutex
    bool writing_ = false, stop_ = false;
    std::thread thread_;
};

/// What the files know of a track.
struct KnownTrack {
    TrackCal cal;
    MetreLine map;
};

/// Reads them on a thread of its own: the pump must wait neither for the disk nor for a map that is
/// being built. One track at a time.
class TrackLoader {
public:
    ~TrackLoader() { join(); }

    void begin(std::function<KnownTrack()> read) {
        join();
        ready_ = false;
        thread_ = std::thread([this, read = std::move(read)] {
            nameThisThread("vt-trackload");
            known_ = read();
            ready_ = true;
        });
    }
    void wait() { join(); }
    /// True once, when it is there.
    bool take(KnownTrack& out) {
        if (!ready_.exchange(false)) return false;
        join();
        out = std::move(known_);
        return true;
    }

private:
    void join() {
        if (thread_.joinable()) thread_.join();
    }
    std::thread thread_;
    std::atomic<bool> ready_{false};
    KnownTrack known_;
};

/// The car's velocity in the plane of the map, x east and y north. `yawNorth` is a compass heading:
/// 0 is north and it grows clockwise (checked against positions in a recording of the sim); velX
/// points ahead, velY to the left.
PointF worldVelocity(const RoadOffsetSample& s) {
    const float sine = std::sin(s.yawNorth), cosine = std::cos(s.yawNorth);
    return {s.velX * sine - s.velY * cosine, s.velX * cosine + s.velY * sine};
}

bool wholeSample(const RoadOffsetSample& s) {
    return s.trackId > 0 && s.trackLength > 1 && std::isfinite(s.trackLength) &&
           std::isfinite(s.sessionTime) && std::isfinite(s.lapDistPct) && std::isfinite(s.speed) &&
           std::isfinite(s.velX) && std::isfinite(s.velY) && std::isfinite(s.yawNorth);
}

} // namespace

RoadOffsetSample roadOffsetSampleOf(const SimFrame& frame) {
    RoadOffsetSample s;
    if (!frame.connected || frame.simKind != kSimIRacing) return s;
    s.trackId = frame.trackId;
    s.trackLength = frame.trackLength;
    s.sessionTime = frame.sessionTime;
    s.lapDistPct = frame.lapDistPct;
    s.speed = frame.speed;
    s.velX = frame.velX;
    s.velY = frame.velY;
    s.yawNorth = frame.yawNorth;
    s.trackSurface = frame.trackSurface;
    s.sessionFlags = frame.sessionFlags;
    s.incidents = frame.incidents;
    return s;
}

struct RoadOffsetSolver::State {
    std::string dataDir, baseDir;
    /// Of a live drive; a replay reads where it stands, and keeps nothing.
    std::optional<CalSaver> saver;
    std::optional<TrackLoader> loader;
    KnownTrack arrived;

    int32_t trackId = 0;
    float trackLength = 0;
    TrackCal cal;
    std::array<float, kCalStations> versionTable{};
    MetreLine map;
    CalLap lap;

    bool begun = false, dirty = true;
    double lastTime = 0, lastPct = 0;
    double offset = 0, x = 0, y = 0; // m
    PointF lastVelocity;             // m/s
    uint32_t lastFlags = 0;
    int32_t lastIncidents = -1;

    bool hasMap() const { return map.length > 1 && map.points.size() >= kMapPointsMin; }

    void clearLap() {
        std::fill(lap.speed.begin(), lap.speed.end(), 0.0f);
        x = y = 0;
    }

    KnownTrack read(int32_t id, float length) {
        if (saver) saver->drain();
        KnownTrack known;
        const std::lock_guard files(trackMapLock());
        loadTrackCal(dataDir, baseDir, id, known.cal);
        loadBestShape(dataDir, baseDir, id, length, known.map);
        return known;
    }

    void adopt(KnownTrack&& known) {
        cal = std::move(known.cal);
        map = std::move(known.map);
        // Another source's centre line lies elsewhere: offsets of before do not compare.
        const auto source = static_cast<int32_t>(map.source);
        if (cal.mapSource != 0 && source != 0 && cal.mapSource != source) {
            ++cal.calVersion;
            cal.mapSource = source;
        }
        versionTable = cal.stationOffsetM;
        offset = 0;
        dirty = true; // the lap so far was not followed
    }

    void load() {
        if (loader)
            loader->begin([this, id = trackId, length = trackLength] { return read(id, length); });
        else
            adopt(read(trackId, trackLength));
    }

    void begin(const RoadOffsetSample& s) {
        trackId = s.trackId;
        trackLength = s.trackLength;
        adopt({});
        load();
        const auto bins =
            static_cast<size_t>(std::clamp(s.trackLength, float{kBinsMin}, float{kBinsMax}));
        lap.heading.assign(bins, 0);
        lap.speed.assign(bins, 0);
        lap.x.assign(bins, 0);
        lap.y.assign(bins, 0);
        offset = x = y = 0;
        begun = false;
    }

    void note(const RoadOffsetSample& s, double pct) {
        lastTime = s.sessionTime;
        lastPct = pct;
        lastVelocity = worldVelocity(s);
        lastFlags = s.sessionFlags;
        lastIncidents = s.incidents;
    }

    /// The reckoned way does not close: what is missing at its end is spread over the lap.
    void removeDrift() {
        size_t first = lap.bins(), last = 0;
        for (size_t i = 0; i < lap.bins(); ++i) {
            if (lap.speed[i] <= 0) continue;
            first = std::min(first, i);
            last = i;
        }
        if (first >= last) return;
        const double dx = lap.x[last] - lap.x[first], dy = lap.y[last] - lap.y[first];
        for (size_t i = first; i <= last; ++i) {
            const double share = static_cast<double>(i - first) / static_cast<double>(last - first);
            lap.x[i] -= dx * share;
            lap.y[i] -= dy * share;
        }
    }

    void closeLap() {
        if (!dirty && hasMap()) {
            removeDrift();
            if (foldCalLap(cal, map, lap, versionTable) && saver) saver->store(cal);
        }
        clearLap();
        dirty = false;
    }

    void integrate(const RoadOffsetSample& s, double pct, double dt) {
        const PointF v = worldVelocity(s);
        // Between two samples the velocity changes evenly: braking hard, the last one alone would
        // put the car half a metre off.
        x += static_cast<double>(v.x + lastVelocity.x) / 2 * dt;
        y += static_cast<double>(v.y + lastVelocity.y) / 2 * dt;
        if (hasMap()) {
            const auto sine = static_cast<float>(std::sin(cal.rotationRad));
            const auto cosine = static_cast<float>(std::cos(cal.rotationRad));
            const PointF turned{v.x * cosine - v.y * sine, v.x * sine + v.y * cosine};
            const PointF way = mapWay(map, calStation(cal, pct, static_cast<double>(trackLength)));
            offset += static_cast<double>(turned.x * way.y - turned.y * way.x) * dt;
        }
        if (s.speed < kCalSpeedMin) return;
        const auto bin =
            std::min(static_cast<size_t>(static_cast<double>(lap.bins()) * pct), lap.bins() - 1);
        const bool still = std::abs(v.x) < 1e-6f && std::abs(v.y) < 1e-6f;
        lap.heading[bin] = still ? 0 : std::atan2(v.y, v.x);
        lap.speed[bin] = s.speed;
        lap.x[bin] = x;
        lap.y[bin] = y;
    }

    void step(const RoadOffsetSample& s) {
        if (s.trackId != trackId || std::abs(s.trackLength - trackLength) > kLengthChange) begin(s);
        if (loader && loader->take(arrived)) adopt(std::move(arrived));
        const double turn =
            static_cast<double>(s.lapDistPct) - std::floor(static_cast<double>(s.lapDistPct));
        const double pct = std::clamp(turn, 0.0, kPctMax);
        if (!begun) {
            begun = dirty = true;
            note(s, pct);
            return;
        }
        const double dt = s.sessionTime - lastTime;
        if (dt == 0) return;
        if (dt < 0 || dt > kStepMax) {
            // The place stays: the next step is measured from before the gap, and fails if it is
            // far.
            lastTime = s.sessionTime;
            lastVelocity = worldVelocity(s);
            dirty = true;
            return;
        }
        const double raw = pct - lastPct;
        const double way = std::abs(wrapHalfLap(raw)) * static_cast<double>(trackLength);
        if (way > 2 * (static_cast<double>(s.speed) + 5) * dt + 5) {
            dirty = true;
            offset = 0;
            lastTime = s.sessionTime;
            lastPct = pct;
            lastVelocity = worldVelocity(s);
            return;
        }
        if (raw < -0.5) closeLap();
        integrate(s, pct, dt);
        const bool furled = (s.sessionFlags & ~lastFlags & kFurled) != 0;
        const bool incident = lastIncidents >= 0 && s.incidents > lastIncidents;
        if (s.trackSurface < kOnTrack || furled || incident) dirty = true;
        note(s, pct);
    }
};

RoadOffsetSolver::RoadOffsetSolver(std::string dataDir, std::string baseDir, bool save)
    : state_(std::make_unique<State>()) {
    state_->dataDir = std::move(dataDir);
    state_->baseDir = std::move(baseDir);
    if (!save || state_->baseDir.empty()) return;
    state_->saver.emplace(state_->baseDir);
    state_->loader.emplace();
}

RoadOffsetSolver::~RoadOffsetSolver() = default;

void RoadOffsetSolver::reset() {
    State& state = *state_;
    state.begun = false;
    state.dirty = true;
    state.offset = 0;
    state.clearLap();
    // A map may have been built since the track was entered.
    if (state.trackId > 0 && !state.hasMap()) state.load();
}

RoadOffset RoadOffsetSolver::solve(const RoadOffsetSample& sample) {
    State& state = *state_;
    RoadOffset out;
    if (!wholeSample(sample)) {
        state.begun = false;
        return out;
    }
    state.step(sample);
    out.lateralCalVersion = state.cal.calVersion;
    out.lateralOk = state.hasMap() && !state.dirty;
    if (out.lateralOk) out.lateralM = static_cast<float>(state.offset);
    return out;
}

void RoadOffsetSolver::settle() {
    if (state_->loader) state_->loader->wait();
}

const TrackCal& RoadOffsetSolver::cal() const {
    return state_->cal;
}

} // namespace vt
