// The reader behind `makeLmuReader`, for tests and measurements with objects of their own.
#pragma once
#include "platform/named_event.h"
#include "platform/shared_map.h"
#include "telemetry/readers/lmu.h"
#include "telemetry/readers/lmu_frame.h"
#include "telemetry/readers/lmu_lock.h"

#include <memory>
#include <string>

namespace vt {

/// Names of the sim's objects.
struct LmuNames {
    std::string map = kLmuMapName;
    std::string event = kLmuEventName;
    std::string lock = kLmuLockName;
    std::string lockEvent = kLmuLockEventName;
};

/// Brings a private copy up to date, under the lock: only what the sim says it has written anew,
/// and of that only what is read here, since the sim waits meanwhile. Of telemetry that is the
/// player's record: 2 KB in place of 196. False, with a mixture in `page`, when the object is too
/// short.
bool lmuCopyPage(const SharedMap& map, LmuPage& page);

class LmuReader final : public SimReader {
public:
    explicit LmuReader(ReaderContext& context, LmuNames names = {});

    bool open() override;
    bool isConnected() override { return connected_; }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimLmu; }
    bool waitForData(int milliseconds) override;

private:
    bool attach();
    bool takeCopy();
    void noteNoSample();

    ReaderContext& context_;
    const LmuNames names_;
    SharedMap map_;
    NamedEvent event_;
    LmuLock lock_;
    std::unique_ptr<LmuPage> page_; // kept from poll to poll: each brings only what is new
    bool connected_ = false;
    bool lockFailed_ = false; // the last poll could not take the lock
    int32_t lastMs_ = -1;     // of the last delivered sample
    uint64_t staleSince_ = 0; // ms of the first poll without a new sample; 0 = the last had one
    uint64_t writerChecked_ = 0;
    LmuMemory memory_;
};

} // namespace vt
