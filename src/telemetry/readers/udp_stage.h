// What the readers of datagrams share: on which port to listen, for how long to wait, and when the
// sim counts as gone.
//
// Two programs cannot bind one port. While the sibling program serves a sim it holds the sim's port
// and forwards what comes in to the next port up; the reader then listens there.
#pragma once
#include "base/bytes.h"
#include "platform/udp_socket.h"
#include "telemetry/reader_context.h"
#include "telemetry/sibling_state.h"

#include <array>

namespace vt {

/// Where a reader listens. Tests take ports of their own (0 = a free one) and another record.
struct UdpPlace {
    uint16_t port = 0, forwardedPort = 0;
    int openWaitMs = 0;
    const char* siblingMap = kSiblingMapName;
};

inline constexpr size_t kUdpPacketMax = 2048; // longer datagrams are none of ours
/// Datagrams that one poll takes at most; above what the socket's queue holds, so that only a
/// flood that outruns the reading ends at it.
inline constexpr int kUdpDrainLimit = 1024;

/// True when the sibling runs and its record cannot be read or names this game.
bool wantForwarded(ReaderContext& context, SiblingLink& link, int32_t game);

/// Says once that a port is taken, until it could be had again.
struct PortTrouble {
    bool said = false;
    void note(const char* sim, uint16_t port, bool bound);
};

/// Calls `drain` whenever something waits, until it returns true, `milliseconds` are over or the
/// program stops. A flood of strangers costs a look every 5 ms.
bool waitForDatagram(UdpSocket& socket, const ReaderContext& context, int milliseconds,
                     bool (*drain)(void* user), void* user);

/// The socket of DiRT Rally 2.0, EA Sports WRC and BeamNG.
class UdpStage {
public:
    struct Rules {
        const char* sim; // for status lines
        int32_t siblingGame;
        bool (*valid)(ByteView packet);
    };
    /// What a poll found.
    enum class Look { packet, silence, gone };

    UdpStage(ReaderContext& context, const Rules& rules, const UdpPlace& place);

    /// Binds and waits for a valid packet. `allInterfaces` is about the sim's own port.
    bool open(bool allInterfaces = false);
    /// `gone` once; then it is closed and not connected.
    Look poll(bool allInterfaces = false);
    void close();
    bool isConnected() const { return connected_; }
    /// The newest valid packet, after `Look::packet`.
    ByteView packet() const { return {buffers_[newest_].data(), packetSize_}; }
    /// The bound port; 0 when closed.
    uint16_t port() const { return socket_.port(); }
    bool forwarded() const { return bound_.forwarded; }

private:
    struct Binding {
        bool forwarded = false, allInterfaces = false;
        bool operator==(const Binding&) const = default;
    };
    Binding wanted(bool allInterfaces);
    bool bind(Binding binding);
    bool drain();

    ReaderContext& context_;
    const Rules rules_;
    const UdpPlace place_;
    UdpSocket socket_;
    SiblingLink sibling_;
    PortTrouble trouble_;
    Binding bound_;
    bool connected_ = false;
    uint64_t lastPacketMs_ = 0;
    uint64_t graceUntilMs_ = 0; // silence does not count before
    std::array<std::array<uint8_t, kUdpPacketMax>, 2> buffers_{};
    size_t newest_ =
        0; // index of the buffer with the newest packet; the other one is received into
    size_t packetSize_ = 0;
};

} // namespace vt
