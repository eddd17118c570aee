// The reader behind `makeAms2Reader`, for tests and measurements with objects of their own.
#pragma once
#include "platform/shared_map.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/ams2.h"
#include "telemetry/readers/ams2_frame.h"

#include <memory>
#include <string>

namespace vt {

struct Ams2Names {
    std::string map = kAms2MapName;
};

class Ams2Reader final : public SimReader {
public:
    explicit Ams2Reader(ReaderContext& context, Ams2Names names = {});

    bool open() override;
    bool isConnected() override { return connected_; }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimAms2; }
    bool waitForData(int) override { return false; }

private:
    void noteBusy(uint32_t sequence);
    void noteMiss();

    ReaderContext& context_;
    const Ams2Names names_;
    SharedMap map_;
    std::unique_ptr<Ams2Page> page_; // too large for the stack of a thread
    bool connected_ = false;
    int64_t lastSequence_ = -1; // of the last new frame
    MissCounter misses_;
    int64_t busySequence_ = -1; // that the last copies failed on; -1 = the last one did not fail
    uint64_t busySince_ = 0;    // ms
    Ams2Memory memory_;
};

} // namespace vt
