// Writes road maps on a thread of its own: a long track takes tens of milliseconds, which the pump
// does not have.
#pragma once
#include "perf/road_map.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace vt {

class RoadSaver {
public:
    explicit RoadSaver(std::string baseDir);
    /// Writes what waits, then ends.
    ~RoadSaver();

    /// Takes a copy and returns at once; of two maps of one track that wait only the later is
    /// written. One that cannot be written is kept and tried again every half minute.
    void store(const RoadMap& map);

    /// Waits until nothing is left to be written, at most `milliseconds`.
    bool flush(int milliseconds);

private:
    void run();

    std::string baseDir_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<RoadMap> waiting_; // under the mutex
    bool writing_ = false, stop_ = false;
    std::thread thread_;
};

} // namespace vt
