// The reader behind `makeAccReader`.
#pragma once
#include "telemetry/readers/ac.h"
#include "telemetry/readers/ac_attachment.h"
#include "telemetry/readers/acc_broadcast.h"
#include "telemetry/readers/acc_frame.h"

namespace vt {

class AccReader final : public SimReader {
public:
    explicit AccReader(ReaderContext& context, AcNames names = {});
    ~AccReader() override { AccReader::close(); }

    bool open() override;
    bool isConnected() override { return attachment_.isConnected(); }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimAcc; }
    bool waitForData(int) override { return false; }

    const AccBroadcastClient& client() const { return client_; }

private:
    ReaderContext& context_;
    AcAttachment attachment_;
    AccGraphics graphics_;
    AccMemory memory_;
    AccBroadcastClient client_;
};

} // namespace vt
