// What the pump asks of a simulator. One reader per `SimKind`; all calls come from the pump's
// thread.
#pragma once
#include "telemetry/sim_frame.h"
#include "telemetry/sim_registry.h"

#include <memory>

namespace vt {

class SimReader {
public:
    virtual ~SimReader() = default;

    /// Tries to attach. Closes first, so it may be called again at any time. Returns within a few
    /// hundred milliseconds.
    virtual bool open() = 0;

    /// Still attached.
    virtual bool isConnected() = 0;

    /// True when `out` is a new frame, false when there is no new data. When the sim has gone away
    /// the following `isConnected` says false.
    virtual bool poll(SimFrame& out) = 0;

    /// Releases everything. Safe to call twice.
    virtual void close() = 0;

    virtual SimKind kind() const = 0;

    /// Blocks until the sim signals new data, at most `milliseconds`. False at once where the sim
    /// has no signal: the pump then paces itself.
    virtual bool waitForData(int milliseconds) = 0;
};

} // namespace vt
