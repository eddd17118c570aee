#include "telemetry/readers/acc_reader.h"

namespace vt {

namespace {

constexpr uint32_t kAccAppId = 805550; // the game's number in the shop
constexpr uint32_t kBroadcastOffers = kOffersCars | kOffersGaps;

} // namespace

AccReader::AccReader(ReaderContext& context, AcNames names)
    : context_(context), attachment_(context, kSimAcc, kAccSizes, std::move(names)) {}

bool AccReader::open() {
    close();
    if (!attachment_.open()) return false;
    client_.start(context_.documents(kAccAppId, "Assetto Corsa Competizione"));
    return true;
}

void AccReader::close() {
    client_.stop();
    attachment_.close();
    memory_ = {};
    accBroadcastLive = 0;
}

bool AccReader::poll(SimFrame& out) {
    if (!attachment_.next(&graphics_, sizeof graphics_)) {
        if (!isConnected()) out.connected = 0;
        return false;
    }
    const AcInput input{attachment_.physics, attachment_.statics, attachment_.seconds,
                        context_.steer};
    const bool live = fillAccFrame(out, input, graphics_, memory_, client_.latest());
    accBroadcastLive = live ? kBroadcastOffers : 0u;
    return true;
}

std::unique_ptr<SimReader> makeAccReader(ReaderContext& context) {
    return std::make_unique<AccReader>(context);
}

} // namespace vt
