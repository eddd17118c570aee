// The client of ACC's broadcasting port: the only way to the other cars' names, laps and places.
#pragma once
#include "base/triple_buffer.h"
#include "platform/clock.h"
#include "platform/udp_socket.h"
#include "telemetry/readers/acc_broadcast_state.h"

#include <atomic>
#include <string>
#include <thread>

namespace vt {

/// One owner's thread calls `start`, `stop` and `latest`; the client has a thread of its own for
/// the socket.
class AccBroadcastClient {
public:
    AccBroadcastClient() = default;
    ~AccBroadcastClient() { stop(); }
    AccBroadcastClient(const AccBroadcastClient&) = delete;
    AccBroadcastClient& operator=(const AccBroadcastClient&) = delete;

    /// Nothing when it runs. The file that `documentsDir` holds says which port and passwords. A
    /// failure only shows in `state`.
    void start(const std::string& documentsDir);
    void start(AccBroadcastConfig config);

    /// Tells the sim goodbye and waits for the thread, 250 ms at most.
    void stop();

    /// The newest complete round; valid until the next call, and never written meanwhile.
    const AccSnapshot& latest() { return *snapshots_.take(); }

    /// `AccClientPhase`; any thread.
    int32_t state() const { return phase_.load(std::memory_order_relaxed); }
    /// The client's own port while it runs; any thread.
    uint16_t localPort() const { return localPort_.load(std::memory_order_relaxed); }

private:
    void run();
    void publish(const AccSnapshot& snapshot);
    void receiveWaiting(UdpSocket& socket, const AccBroadcastOut& out);

    const Clock clock_{};
    std::thread thread_;
    std::atomic<uint32_t> stop_{0};           // owner -> client's thread
    std::atomic<int32_t> phase_{kAccIdle};    // client's thread -> any
    std::atomic<uint16_t> localPort_{0};      // client's thread -> any
    AccBroadcastState state_;                 // client's thread while it runs
    TripleBufferOf<AccSnapshot> snapshots_{}; // client's thread -> owner
};

} // namespace vt
