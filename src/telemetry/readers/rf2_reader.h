// The reader behind `makeRf2Reader`, for tests and measurements with objects of their own.
#pragma once
#include "platform/shared_map.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/rf2.h"
#include "telemetry/readers/rf2_frame.h"

#include <memory>
#include <string>

namespace vt {

struct Rf2Names {
    std::string telemetry = kRf2TelemetryName;
    std::string scoring = kRf2ScoringName;
};

class Rf2Reader final : public SimReader {
public:
    explicit Rf2Reader(ReaderContext& context, Rf2Names names = {});

    bool open() override;
    bool isConnected() override { return connected_; }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimRFactor2; }
    bool waitForData(int) override { return false; }

private:
    bool attach();
    bool copyScoring();
    bool takeTelemetry(int32_t id);
    bool copyVehicle(size_t index);
    void noteMiss();

    const Rf2Names names_;
    const Clock& clock_;
    SharedMap telemetryMap_, scoringMap_;
    std::unique_ptr<Rf2Scoring> scoring_; // too large for the stack of a thread
    VehicleTelemetry car_;
    size_t carIndex_ = 0; // where the player's record was found last
    bool connected_ = false;
    int32_t lastMs_ = -1; // of the last delivered sample
    MissCounter misses_;
    uint64_t writerChecked_ = 0; // ms
    VehicleMemory memory_;
};

} // namespace vt
