#include "telemetry/readers/dirt_rally2_reader.h"

namespace vt {

DirtRally2Reader::DirtRally2Reader(ReaderContext& context, const UdpPlace& place)
    : context_(context),
      stage_(context, {"DiRT Rally 2.0", kSiblingDirtRally2, validDirtRally2}, place) {}

bool DirtRally2Reader::open() {
    close();
    return stage_.open(context_.dr2ListenLanOn != 0);
}

bool DirtRally2Reader::poll(SimFrame& out) {
    const UdpStage::Look look = stage_.poll(context_.dr2ListenLanOn != 0);
    if (look == UdpStage::Look::packet)
        fillDirtRally2Frame(out, stage_.packet(), memory_, context_.steer);
    else if (look == UdpStage::Look::gone)
        close();
    return look == UdpStage::Look::packet;
}

void DirtRally2Reader::close() {
    stage_.close();
    memory_ = {};
}

std::unique_ptr<SimReader> makeDirtRally2Reader(ReaderContext& context) {
    return std::make_unique<DirtRally2Reader>(context);
}

} // namespace vt
