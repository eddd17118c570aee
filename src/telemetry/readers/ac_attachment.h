// Holds on to the three mappings that Assetto Corsa, ACC and AC Rally share by name, and says when
// there is a new frame and when the sim is gone, or another one of them sits behind the names.
#pragma once
#include "telemetry/reader_context.h"
#include "telemetry/reader_parts.h"
#include "telemetry/readers/ac_pages.h"
#include "telemetry/sim_registry.h"

#include <string>

namespace vt {

struct AcNames {
    std::string physics = kAcPhysicsName;
    std::string graphics = kAcGraphicsName;
    std::string statics = kAcStaticName;
};

class AcAttachment {
public:
    AcAttachment(ReaderContext& context, SimKind kind, const AcPageSizes& sizes, AcNames names);

    /// Closes first. The static page may be missing.
    bool open();
    void close();
    bool isConnected() const { return physics_.isOpen() && !gone_; }

    /// True when the physics have moved on: then `physics` and `statics` hold the new pages and
    /// `graphics`, which has `room`, is filled as well.
    bool next(void* graphics, size_t room);

    AcPhysics physics;
    AcStatic statics;
    double seconds = 0; // between the last two frames; 0 for the first

private:
    void noteMiss();
    bool resized() const;
    bool otherSimRuns();
    void readStatic();

    ReaderContext& context_;
    const SimKind kind_;
    const AcPageSizes sizes_;
    const AcNames names_;
    SharedMap physics_, graphics_, statics_;
    size_t physicsSize_ = 0, graphicsSize_ = 0; // of the objects, when they were opened
    MissCounter misses_;
    int staticTries_ = 0;
    bool gone_ = false;
    bool haveId_ = false;
    int32_t lastId_ = 0;
    int64_t lastTicks_ = 0;
};

} // namespace vt
