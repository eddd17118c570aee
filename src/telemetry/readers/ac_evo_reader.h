// The reader behind `makeAcEvoReader`.
#pragma once
#include "telemetry/readers/ac_evo.h"
#include "telemetry/readers/ac_evo_frame.h"

#include <string>

namespace vt {

struct AcEvoNames {
    std::string physics = kAcEvoPhysicsName;
    std::string graphics = kAcEvoGraphicsName;
    std::string statics = kAcEvoStaticName;
};

class AcEvoReader final : public SimReader {
public:
    explicit AcEvoReader(ReaderContext& context, AcEvoNames names = {});

    bool open() override;
    bool isConnected() override { return physics_.isOpen() && !gone_; }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimAcEvo; }
    bool waitForData(int) override { return false; }

private:
    bool takePages();
    void takeStatic();
    void noteMiss();

    ReaderContext& context_;
    const AcEvoNames names_;
    SharedMap physics_, graphics_, statics_;
    AcEvoPages pages_;
    AcEvoMemory memory_;
    AcEvoClock clock_;
    int32_t lastId_ = 0;
    bool packetSeen_ = false; // since `open`
    int misses_ = 0;
    int staticTries_ = 0;
    bool gone_ = false;
};

} // namespace vt
