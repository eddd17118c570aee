#include "telemetry/readers/udp_stage.h"

#include "base/log.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace vt {

namespace {

constexpr uint64_t kSilenceMs = 2001;
constexpr uint64_t kGraceMs = 6000; // after a new binding
constexpr int kStopLookMs = 50;
constexpr std::chrono::milliseconds kStrangerPause{5};

} // namespace

bool wantForwarded(ReaderContext& context, SiblingLink& link, int32_t game) {
    if (!context.scan.siblingRunning) return false;
    SiblingState state;
    return !siblingRead(link, state) || state.gameId == game;
}

void PortTrouble::note(const char* sim, uint16_t port, bool bound) {
    if (!bound && !said)
        logStatus("[udp] %s: port %u is in use by another program\n", sim,
                  static_cast<unsigned>(port));
    said = !bound;
}

bool waitForDatagram(UdpSocket& socket, const ReaderContext& context, int milliseconds,
                     bool (*drain)(void* user), void* user) {
    // Waits run on the system's time even where the logic's clock is turned by hand.
    const Clock system;
    const int64_t end = clockTicks(system) + milliseconds * (kTicksPerSecond / 1000);
    while (!context.stopping()) {
        const int64_t left = end - clockTicks(system);
        if (left <= 0) return false;
        const int leftMs = static_cast<int>(left / (kTicksPerSecond / 1000)) + 1;
        if (!socket.wait(std::min(leftMs, kStopLookMs))) continue;
        if (drain(user)) return true;
        std::this_thread::sleep_for(kStrangerPause);
    }
    return false;
}

UdpStage::UdpStage(ReaderContext& context, const Rules& rules, const UdpPlace& place)
    : context_(context), rules_(rules), place_(place) {
    sibling_.name = place.siblingMap;
}

UdpStage::Binding UdpStage::wanted(bool allInterfaces) {
    const bool forwarded = wantForwarded(context_, sibling_, rules_.siblingGame);
    return {forwarded, allInterfaces && !forwarded};
}

bool UdpStage::bind(Binding binding) {
    const uint16_t port = binding.forwarded ? place_.forwardedPort : place_.port;
    const bool bound = socket_.open(port, binding.allInterfaces);
    trouble_.note(rules_.sim, port, bound);
    bound_ = binding;
    graceUntilMs_ = clockMs(context_.clock) + kGraceMs;
    return bound;
}

bool UdpStage::drain() {
    bool found = false;
    for (int i = 0; i < kUdpDrainLimit; ++i) {
        auto& spare = buffers_[1 - newest_];
        const int received = socket_.receive(spare.data(), spare.size());
        if (received < 0) break;
        const auto size = static_cast<size_t>(received);
        if (size > spare.size() || !rules_.valid({spare.data(), size})) continue;
        newest_ = 1 - newest_;
        packetSize_ = size;
        found = true;
    }
    return found;
}

bool UdpStage::open(bool allInterfaces) {
    close();
    if (!bind(wanted(allInterfaces))) return false;
    const auto drainOf = [](void* stage) { return static_cast<UdpStage*>(stage)->drain(); };
    if (!waitForDatagram(socket_, context_, place_.openWaitMs, drainOf, this)) {
        close();
        return false;
    }
    lastPacketMs_ = graceUntilMs_ = clockMs(context_.clock);
    return connected_ = true;
}

UdpStage::Look UdpStage::poll(bool allInterfaces) {
    if (!connected_) return Look::gone;
    const uint64_t now = clockMs(context_.clock);
    // The sibling may come and go while we are connected, when nobody else looks for it.
    if (context_.lister) processScan(context_.scan, now, context_.lister);
    const Binding binding = wanted(allInterfaces);
    if (binding != bound_ && !bind(binding)) {
        close();
        return Look::gone;
    }
    if (drain()) {
        lastPacketMs_ = now;
        return Look::packet;
    }
    if (now - lastPacketMs_ < kSilenceMs || now <= graceUntilMs_) return Look::silence;
    close();
    return Look::gone;
}

void UdpStage::close() {
    socket_.close();
    bound_ = {};
    connected_ = false;
    packetSize_ = 0;
}

} // namespace vt
