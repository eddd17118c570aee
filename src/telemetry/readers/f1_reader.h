// The reader behind `makeF1Reader`, with what tests and measurements look at.
#pragma once
#include "telemetry/readers/f1.h"
#include "telemetry/readers/f1_frame.h"
#include "telemetry/readers/udp_stage.h"

#include <bitset>

namespace vt {

inline constexpr UdpPlace kF1Place{kF1Port, kF1Port + 1, 250};

class F1Reader final : public SimReader {
public:
    explicit F1Reader(ReaderContext& context, const UdpPlace& place = kF1Place);

    bool open() override;
    bool isConnected() override { return connected_; }
    bool poll(SimFrame& out) override;
    void close() override;
    SimKind kind() const override { return kSimF1; }
    bool waitForData(int) override { return false; }

    uint16_t port() const { return socket_.port(); }
    bool forwarded() const { return forwarded_; }

private:
    bool bindFor(bool forwarded);
    bool stillServed(uint64_t now);
    bool stillFed(uint64_t now);
    bool drain();
    void store(ByteView packet, uint64_t nowMs);

    ReaderContext& context_;
    const UdpPlace place_;
    UdpSocket socket_;
    SiblingLink sibling_;
    PortTrouble trouble_;
    F1State state_;
    bool connected_ = false, forwarded_ = false;
    uint64_t lastPacketMs_ = 0;
    uint32_t siblingSequence_ = 0;
    uint64_t siblingMovedMs_ = 0; // when its sequence changed last
    std::array<uint8_t, kUdpPacketMax> buffer_{};
    std::bitset<kUdpPacketMax> stridesSaid_; // of lap data that could not be read
};

} // namespace vt
