// The reader behind `makeBeamNgReader`, with what tests and measurements look at.
#pragma once
#include "telemetry/readers/beamng.h"
#include "telemetry/readers/beamng_frame.h"
#include "telemetry/readers/udp_stage.h"

namespace vt {

inline constexpr UdpPlace kBeamNgPlace{kBeamNgPort, kBeamNgPort + 1, 200};

class BeamNgReader final : public SimReader {
public:
    explicit BeamNgReader(ReaderContext& context, const UdpPlace& place = kBeamNgPlace);

    bool open() override { return stage_.open(); }
    bool isConnected() override { return stage_.isConnected(); }
    bool poll(SimFrame& out) override;
    void close() override { stage_.close(); }
    SimKind kind() const override { return kSimBeamNg; }
    bool waitForData(int) override { return false; }

    const UdpStage& stage() const { return stage_; }

private:
    ReaderContext& context_;
    UdpStage stage_;
};

} // namespace vt
