#include "telemetry/readers/ea_wrc_reader.h"
#include "telemetry/setup/ea_wrc_setup.h"

namespace vt {

EaWrcReader::EaWrcReader(ReaderContext& context, const UdpPlace& place)
    : context_(context), stage_(context, {"EA Sports WRC", kSiblingEaWrc, validEaWrc}, place) {}

bool EaWrcReader::open() {
    close();
    return stage_.open();
}

bool EaWrcReader::poll(SimFrame& out) {
    const UdpStage::Look look = stage_.poll();
    if (look == UdpStage::Look::gone) close();
    if (look != UdpStage::Look::packet) return false;
    if (!idsRead_) ids_ = loadEaWrcIds(context_.documents(kEaWrcAppId, kEaWrcGameFolder));
    idsRead_ = true;
    fillEaWrcFrame(out, stage_.packet(), mapFrame_, ids_, context_.steer);
    return true;
}

void EaWrcReader::close() {
    stage_.close();
    mapFrame_ = {};
}

std::unique_ptr<SimReader> makeEaWrcReader(ReaderContext& context) {
    return std::make_unique<EaWrcReader>(context);
}

} // namespace vt
