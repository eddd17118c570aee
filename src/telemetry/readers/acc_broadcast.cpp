#include "telemetry/readers/acc_broadcast.h"

#include "platform/thread_name.h"

#include <system_error>
#include <utility>

namespace vt {

namespace {

constexpr int kWaitMs = 200;
constexpr int kDatagramsAtOnce = 64; // then time to look at the stop word and at what is due

} // namespace

void AccBroadcastClient::start(const std::string& documentsDir) {
    if (!thread_.joinable()) start(accLoadBroadcastConfig(documentsDir));
}

void AccBroadcastClient::start(AccBroadcastConfig config) {
    if (thread_.joinable()) return;
    state_ = {};
    state_.config = std::move(config);
    state_.working.state = kAccStarted;
    stop_ = 0;
    publish(state_.working);
    try {
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        state_.working.state = kAccFailed;
        publish(state_.working);
    }
}

void AccBroadcastClient::stop() {
    if (!thread_.joinable()) return;
    stop_ = 1;
    thread_.join();
}

void AccBroadcastClient::publish(const AccSnapshot& snapshot) {
    snapshots_.writable() = snapshot;
    snapshots_.publish();
    phase_.store(snapshot.state, std::memory_order_relaxed);
}

void AccBroadcastClient::receiveWaiting(UdpSocket& socket, const AccBroadcastOut& out) {
    uint8_t bytes[8192];
    for (int i = 0; i < kDatagramsAtOnce; ++i) {
        const int length = socket.receive(bytes, sizeof bytes);
        if (length < 0) return;
        // Longer than any message is: cut off, it would be dropped in any case.
        if (static_cast<size_t>(length) > sizeof bytes) continue;
        accBroadcastReceive(state_, {bytes, static_cast<size_t>(length)}, clockMs(clock_), out);
    }
}

void AccBroadcastClient::run() {
    nameThisThread("vt-acc-client");
    UdpSocket socket;
    if (!socket.open(0)) {
        state_.working.state = kAccFailed;
        publish(state_.working);
        return;
    }
    localPort_ = socket.port();
    const auto port = static_cast<uint16_t>(state_.config.port);
    const AccBroadcastOut out{
        [&](const AccMessage& message) {
            if (message.size > 0) socket.send(port, message.bytes, message.size);
        },
        [this](const AccSnapshot& snapshot) { publish(snapshot); },
    };
    while (!stop_) {
        accBroadcastDue(state_, clockMs(clock_), out);
        if (socket.wait(kWaitMs)) receiveWaiting(socket, out);
    }
    if (state_.working.registered)
        out.send(accPlainMessage(kAccUnregister, state_.working.connectionId));
    localPort_ = 0;
}

} // namespace vt
