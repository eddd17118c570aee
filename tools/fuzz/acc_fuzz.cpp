// Any bytes as ACC's pages, and what is left of them as two messages of its broadcasting port; two
// frames in a row, so that memories count.
#include "ac_images.h"
#include "telemetry/readers/acc_broadcast_state.h"
#include "telemetry/readers/acc_frame.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vt;
    static SimFrame frame;
    SteerWords steer;
    steer.steerRotationDeg = 540;
    AcImages<AccGraphics> images(data, size, kAccSizes);
    const size_t used = std::min(size, kAccSizes.graphics + kAccSizes.physics + sizeof(AcStatic));
    const ByteView rest{data + used, size - used};
    AccBroadcastState state;
    const AccBroadcastOut out{[](const AccMessage&) {}, [](const AccSnapshot&) {}};
    accBroadcastReceive(state, rest.first(rest.size() / 2), 1000, out);
    accBroadcastReceive(state, rest.subspan(rest.size() / 2), 1000, out);
    state.working.registered = size % 2 == 0;
    AccMemory memory;
    for (int i = 0; i < 2; ++i) {
        fillAccFrame(frame, {images.physics, images.statics, 0.03, steer}, images.graphics, memory,
                     state.working);
        expectSaneFrame(frame);
        images.graphics.carPosition[3][0] += 1; // cars move
    }
    return 0;
}
