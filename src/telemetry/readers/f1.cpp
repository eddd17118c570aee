#include "base/log.h"
#include "telemetry/readers/f1_reader.h"

namespace vt {

namespace {

constexpr uint64_t kFeedLostMs = 5000;     // without a packet
constexpr uint64_t kSiblingStillMs = 2000; // without a change of its sequence

} // namespace

F1Reader::F1Reader(ReaderContext& context, const UdpPlace& place)
    : context_(context), place_(place) {
    sibling_.name = place.siblingMap;
}

bool F1Reader::bindFor(bool forwarded) {
    const uint16_t port = forwarded ? place_.forwardedPort : place_.port;
    // A console sends to the sim's own port over the network; the sibling is on this machine.
    const bool bound = socket_.open(port, !forwarded, true);
    trouble_.note("F1", port, bound);
    forwarded_ = forwarded;
    return bound;
}

bool F1Reader::open() {
    close();
    const uint64_t now = clockMs(context_.clock);
    if (context_.lister) processScan(context_.scan, now, context_.lister);
    bool forwarded = false;
    if (context_.scan.siblingRunning) {
        SiblingState state;
        if (!siblingRead(sibling_, state)) return false;
        forwarded = state.gameId == kSiblingF1;
        if (forwarded && state.serving == 0) return false;
        siblingSequence_ = state.sequence;
        siblingMovedMs_ = now;
    }
    if (!bindFor(forwarded)) return false;
    const auto drainOf = [](void* reader) { return static_cast<F1Reader*>(reader)->drain(); };
    if (!forwarded && !waitForDatagram(socket_, context_, place_.openWaitMs, drainOf, this)) {
        close();
        return false;
    }
    lastPacketMs_ = clockMs(context_.clock);
    return connected_ = true;
}

/// Direct mode: packets come, and the sibling has not taken over.
bool F1Reader::stillFed(uint64_t now) {
    return !wantForwarded(context_, sibling_, kSiblingF1) && now - lastPacketMs_ < kFeedLostMs;
}

/// Forwarded mode: the sibling serves this sim and is alive.
bool F1Reader::stillServed(uint64_t now) {
    SiblingState state;
    if (!siblingRead(sibling_, state) || state.serving == 0 || state.gameId != kSiblingF1)
        return false;
    if (state.sequence != siblingSequence_) {
        siblingSequence_ = state.sequence;
        siblingMovedMs_ = now;
    }
    return now - siblingMovedMs_ < kSiblingStillMs;
}

void F1Reader::store(ByteView packet, uint64_t nowMs) {
    int stride = 0;
    const F1Applied applied = applyF1Packet(state_, packet, stride);
    if (applied == F1Applied::stored) lastPacketMs_ = nowMs;
    if (applied != F1Applied::wrongStride || stridesSaid_[static_cast<size_t>(stride)]) return;
    stridesSaid_.set(static_cast<size_t>(stride));
    logStatus("[f1-overlay] LapData stride %d != expected %d\n", stride,
              static_cast<int>(sizeof(F1LapCar)));
}

/// True when one of the packets was of an accepted format, whatever it held.
bool F1Reader::drain() {
    const uint64_t now = clockMs(context_.clock);
    bool recognised = false;
    for (int i = 0; i < kUdpDrainLimit; ++i) {
        const int received = socket_.receive(buffer_.data(), buffer_.size());
        if (received < 0) break;
        const auto size = static_cast<size_t>(received);
        if (size > buffer_.size()) continue;
        const ByteView packet{buffer_.data(), size};
        if (!f1Recognised(packet)) continue;
        recognised = true;
        store(packet, now);
    }
    return recognised;
}

bool F1Reader::poll(SimFrame& out) {
    if (!connected_) return false;
    const uint64_t now = clockMs(context_.clock);
    // The sibling may come and go while we are connected, when nobody else looks for it.
    if (context_.lister) processScan(context_.scan, now, context_.lister);
    if (forwarded_ ? !stillServed(now) : !stillFed(now)) {
        close();
        return false;
    }
    drain();
    fillF1Frame(out, state_, clockMs(context_.clock) - lastPacketMs_);
    return true;
}

void F1Reader::close() {
    socket_.close();
    connected_ = false;
    forwarded_ = false;
    state_ = {};
}

std::unique_ptr<SimReader> makeF1Reader(ReaderContext& context) {
    return std::make_unique<F1Reader>(context);
}

} // namespace vt
