// The readers behind `makeAcReader` and `makeAcRallyReader`: pages in, frame out.
#pragma once
#include "telemetry/readers/ac.h"
#include "telemetry/readers/ac_attachment.h"
#include "telemetry/readers/ac_frame.h"

namespace vt {

template <SimKind kKind, class Graphics, const AcPageSizes& kSizes, auto fill>
class AcPageReader final : public SimReader {
public:
    explicit AcPageReader(ReaderContext& context, AcNames names = {})
        : context_(context), attachment_(context, kKind, kSizes, std::move(names)) {}

    bool open() override {
        memory_ = {};
        return attachment_.open();
    }
    bool isConnected() override { return attachment_.isConnected(); }
    bool poll(SimFrame& out) override {
        if (!attachment_.next(&graphics_, sizeof graphics_)) {
            if (!isConnected()) out.connected = 0;
            return false;
        }
        fill(out, {attachment_.physics, attachment_.statics, attachment_.seconds, context_.steer},
             graphics_, memory_);
        return true;
    }
    void close() override {
        attachment_.close();
        memory_ = {};
    }
    SimKind kind() const override { return kKind; }
    bool waitForData(int) override { return false; }

private:
    ReaderContext& context_;
    AcAttachment attachment_;
    Graphics graphics_;
    AcMemory memory_;
};

using AcReader = AcPageReader<kSimAc, AcGraphics, kAcSizes, fillAcFrame>;
using AcRallyReader = AcPageReader<kSimAcRally, AccGraphics, kAcRallySizes, fillAcRallyFrame>;

} // namespace vt
