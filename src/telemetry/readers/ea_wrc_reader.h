// The reader behind `makeEaWrcReader`, with what tests and measurements look at.
#pragma once
#include "telemetry/readers/ea_wrc.h"
#include "telemetry/readers/ea_wrc_frame.h"
#include "telemetry/readers/udp_stage.h"

namespace vt {

inline constexpr UdpPlace kEaWrcPlace{kEaWrcPort, kEaWrcPort + 1, 200};

class EaWrcReader final : public SimReader {
public:
    explicit EaWrcReader(ReaderContext& context, const UdpPlace& place = kEaWrcPlace);

    bool open() override;
    bool isConnected() override { return stage_.isConnected(); }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimEaWrc; }
    bool waitForData(int) override { return false; }

    const UdpStage& stage() const { return stage_; }

private:
    ReaderContext& context_;
    UdpStage stage_;
    MapFrame mapFrame_;
    EaWrcIds ids_;
    bool idsRead_ = false;
};

} // namespace vt
