// Any bytes as the pages of Assetto Corsa and AC Rally, two frames in a row.
#include "ac_images.h"
#include "telemetry/readers/ac_frame.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vt;
    static SimFrame frame;
    SteerWords steer;
    steer.steerRotationDeg = 540;
    const AcImages<AcGraphics> ac(data, size, kAcSizes);
    const AcImages<AccGraphics> rally(data, size, kAcRallySizes);
    AcMemory acMemory, rallyMemory;
    for (int i = 0; i < 2; ++i) {
        fillAcFrame(frame, {ac.physics, ac.statics, 0.03, steer}, ac.graphics, acMemory);
        expectSaneFrame(frame);
        fillAcRallyFrame(frame, {rally.physics, rally.statics, 0.03, steer}, rally.graphics,
                         rallyMemory);
        expectSaneFrame(frame);
    }
    return 0;
}
