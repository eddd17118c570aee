// The reader behind `makeEts2Reader`, for tests and measurements with objects of their own.
#pragma once
#include "platform/shared_map.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/ets2.h"
#include "telemetry/readers/ets2_frame.h"

#include <string>

namespace vt {

struct Ets2Names {
    std::string map = kEts2MapName;
};

class Ets2Reader final : public SimReader {
public:
    explicit Ets2Reader(ReaderContext& context, Ets2Names names = {});

    bool open() override;
    bool isConnected() override { return connected_; }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimEts2; }
    bool waitForData(int) override { return false; }

private:
    bool copyUsable();
    bool isNews() const;

    ReaderContext& context_;
    const Ets2Names names_;
    SharedMap map_;
    Ets2Page page_;
    bool connected_ = false;
    bool seen_ = false; // the two below hold what the last new frame had
    uint64_t lastTime_ = 0;
    uint8_t lastPaused_ = 0;
    int32_t refusedVersion_ = kEts2Version; // the one that the log has told
    MissCounter misses_;
};

} // namespace vt
