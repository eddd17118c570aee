// The reader behind `makeRaceRoomReader`, for tests and measurements with objects of their own.
#pragma once
#include "platform/shared_map.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/raceroom.h"
#include "telemetry/readers/raceroom_frame.h"

#include <memory>
#include <string>

namespace vt {

struct RaceRoomNames {
    std::string map = kRaceRoomMapName;
};

class RaceRoomReader final : public SimReader {
public:
    explicit RaceRoomReader(RaceRoomNames names = {});

    bool open() override;
    bool isConnected() override { return connected_; }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimRaceRoom; }
    bool waitForData(int) override { return false; }

private:
    bool fits();
    bool copyNew();

    const RaceRoomNames names_;
    SharedMap map_;
    std::unique_ptr<RaceRoomPage> page_; // too large for the stack of a thread
    bool connected_ = false;
    int64_t lastTick_ = 0;
    int64_t refusedVersion_ = -1; // the one that the log has told; -1 = none
    MissCounter misses_;
};

} // namespace vt
