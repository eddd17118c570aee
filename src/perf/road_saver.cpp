#include "perf/road_saver.h"

#include "telemetry/coach_log.h"

#include <algorithm>
#include <chrono>

namespace vt {

namespace {

constexpr std::chrono::seconds kRetry{30};

void put(std::vector<RoadMap>& waiting, RoadMap map, bool newer) {
    const auto same = std::find_if(waiting.begin(), waiting.end(), [&](const RoadMap& other) {
        return other.simKind == map.simKind && other.trackId == map.trackId;
    });
    if (same == waiting.end())
        waiting.push_back(std::move(map));
    else if (newer)
        *same = std::move(map);
}

} // namespace

RoadSaver::RoadSaver(std::string baseDir)
    : baseDir_(std::move(baseDir)), thread_([this] { run(); }) {}

RoadSaver::~RoadSaver() {
    {
        const std::lock_guard guard(mutex_);
        stop_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void RoadSaver::store(const RoadMap& map) {
    RoadMap copy = map;
    {
        const std::lock_guard guard(mutex_);
        put(waiting_, std::move(copy), true);
    }
    changed_.notify_all();
}

bool RoadSaver::flush(int milliseconds) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                             [this] { return waiting_.empty() && !writing_; });
}

void RoadSaver::run() {
    std::unique_lock lock(mutex_);
    bool failed = false;
    while (true) {
        if (failed && !stop_)
            changed_.wait_for(lock, kRetry);
        else
            changed_.wait(lock, [this] { return stop_ || !waiting_.empty(); });
        if (waiting_.empty() && stop_) return;
        if (waiting_.empty()) continue;
        RoadMap map = std::move(waiting_.back());
        waiting_.pop_back();
        writing_ = true;
        lock.unlock();
        failed = !roadMapSave(map, baseDir_);
        lock.lock();
        writing_ = false;
        if (failed) {
            coachLog("road survey: map SAVE FAILED, track %d", map.trackId);
            if (stop_) return; // once more would not help
            put(waiting_, std::move(map), false);
        }
        changed_.notify_all();
    }
}

} // namespace vt
