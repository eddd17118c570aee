// The reader behind `makeDirtRally2Reader`, with what tests and measurements look at.
#pragma once
#include "telemetry/readers/dirt_rally2.h"
#include "telemetry/readers/dirt_rally2_frame.h"
#include "telemetry/readers/udp_stage.h"

namespace vt {

inline constexpr UdpPlace kDirtRally2Place{kDirtRally2Port, kDirtRally2Port + 1, 250};

class DirtRally2Reader final : public SimReader {
public:
    explicit DirtRally2Reader(ReaderContext& context, const UdpPlace& place = kDirtRally2Place);

    bool open() override;
    bool isConnected() override { return stage_.isConnected(); }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimDirtRally2; }
    bool waitForData(int) override { return false; }

    const UdpStage& stage() const { return stage_; }

private:
    ReaderContext& context_;
    UdpStage stage_;
    DirtRally2Memory memory_;
};

} // namespace vt
