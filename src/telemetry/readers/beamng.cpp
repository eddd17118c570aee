#include "telemetry/readers/beamng_reader.h"

namespace vt {

BeamNgReader::BeamNgReader(ReaderContext& context, const UdpPlace& place)
    : context_(context), stage_(context, {"BeamNG", kSiblingBeamNg, validBeamNg}, place) {}

bool BeamNgReader::poll(SimFrame& out) {
    if (stage_.poll() != UdpStage::Look::packet) return false;
    fillBeamNgFrame(out, stage_.packet(), context_.steer);
    return true;
}

std::unique_ptr<SimReader> makeBeamNgReader(ReaderContext& context) {
    return std::make_unique<BeamNgReader>(context);
}

} // namespace vt
