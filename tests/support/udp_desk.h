// What tests of the readers of datagrams stand on: ports and a sibling's record of their own, a
// clock turned by hand, and senders.
#pragma once
#include "support/eventually.h"
#include "support/sibling_record.h"
#include "telemetry/readers/udp_stage.h"
#include "telemetry/sim_reader.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vt::test {

using Bytes = std::vector<uint8_t>;

template <class T>
Bytes bytesOf(const T& record) {
    Bytes bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

/// The first of two neighbours that nobody has, and that the system gives to nobody by itself:
/// another test that runs at the same time asks it for any.
inline uint16_t freePorts() {
    static auto next = static_cast<unsigned>(getpid()) * 16;
    for (;; next += 2) {
        const auto port = static_cast<uint16_t>(10000 + next % 10000);
        UdpSocket first, second;
        if (!first.open(port) || !second.open(static_cast<uint16_t>(port + 1))) continue;
        next += 2;
        return port;
    }
}

struct UdpDesk {
    Clock clock = manualClock();
    ProcessScan scan;
    SteerWords steer;
    ReaderContext context{.clock = clock, .scan = scan, .steer = steer, .documentsDir = {}};
    SiblingRecord sibling{"vt_test_sibling_" + std::to_string(getpid())};
    UdpPlace place;
    UdpSocket out, echo;

    UdpDesk() {
        const uint16_t port = freePorts();
        place = {port, static_cast<uint16_t>(port + 1), 300, sibling.name()};
        out.open(0);
        echo.open(0);
    }

    /// Returns when the packet has arrived.
    void send(uint16_t port, const Bytes& packet) {
        out.send(port, packet.data(), packet.size());
        arrive();
    }

    /// A busy machine delivers datagrams late, but in their order: waits for one sent now.
    void arrive() {
        out.send(echo.port(), "e", 1);
        echo.wait(kPatienceMs);
        char byte = 0;
        echo.receive(&byte, 1);
    }

    /// `open` while the packet comes in every 2 ms; over and over where it is `wanted` to succeed.
    bool openWith(SimReader& reader, const Bytes& packet, bool wanted = true) {
        std::atomic<bool> done{false};
        std::thread sender([&] {
            UdpSocket socket;
            socket.open(0);
            while (!done) {
                for (const uint16_t port : {place.port, place.forwardedPort})
                    socket.send(port, packet.data(), packet.size());
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });
        const bool opened = wanted ? eventually([&] { return reader.open(); }) : reader.open();
        done = true;
        sender.join();
        arrive();
        return opened;
    }

    /// One poll into a fresh frame.
    bool poll(SimReader& reader, SimFrame& frame) {
        resetKeepingCapacity(frame);
        return reader.poll(frame);
    }
};

} // namespace vt::test
