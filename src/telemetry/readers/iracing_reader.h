// The reader behind `makeIRacingReader`, with what tests and measurements look at.
#pragma once
#include "platform/named_event.h"
#include "platform/shared_map.h"
#include "telemetry/readers/iracing.h"
#include "telemetry/readers/iracing_frame.h"

#include <string>
#include <vector>

namespace vt {

/// Names of the sim's objects.
struct IRacingNames {
    std::string map = kIrMapName;
    std::string event = kIrEventName;
};

class IRacingReader final : public SimReader {
public:
    /// What happened since `open`.
    struct Counters {
        uint64_t textParses = 0;
        uint64_t tornCopies = 0; // copies thrown away since the sim wrote into them
        uint64_t restarts = 0;   // another layout or falling ticks: the sim began anew
    };

    IRacingReader(const Clock& clock, const IRacingWants& wants, IRacingNames names = {});

    bool open() override;
    bool isConnected() override;
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimIRacing; }
    bool waitForData(int milliseconds) override;

    const Counters& counters() const { return counters_; }

private:
    bool attach(const IrHeader& header);
    bool restart(const IrHeader& header);
    bool followRestart(const IrHeader& header);
    bool writerLives();
    void readText(const IrHeader& header);
    void noteNoSample();

    const Clock& clock_;
    const IRacingWants& wants_;
    const IRacingNames names_;

    SharedMap map_;
    NamedEvent event_;
    size_t viewSize_ = 0; // of the object, when it was opened
    IrHeader layout_;     // the header that `vars_` and `sample_` were made for
    IrVarTable vars_;
    std::vector<uint8_t> sample_;
    int32_t lastTick_ = -1;
    uint64_t staleSince_ = 0; // ms of the first poll without a new sample; 0 = the last had one
    bool stale_ = false;
    uint64_t writerChecked_ = 0; // ms of the last look
    bool writerGone_ = false;

    int32_t lastSessionInfoUpdate_ = -1;
    std::string rawText_; // as the sim wrote it
    std::string newText_;
    bool textParsed_ = false;
    IrSessionText text_;
    IrMemory memory_;
    Counters counters_;
};

} // namespace vt
