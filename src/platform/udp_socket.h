// Datagrams over IPv4. Non-blocking but for `wait`. One thread each.
#pragma once
#include <cstddef>
#include <cstdint>

namespace vt {

class UdpSocket {
public:
    UdpSocket() = default;
    ~UdpSocket() { close(); }
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    /// Closes first. `port` 0 takes a free one. On 127.0.0.1 unless `allInterfaces`. `shareAddress`
    /// lets several programs that all ask for it bind one port. False when the port is taken.
    bool open(uint16_t port, bool allInterfaces = false, bool shareAddress = false);
    void close();
    bool isOpen() const { return fd_ >= 0; }
    /// The bound port; 0 when closed.
    uint16_t port() const { return port_; }

    /// Takes the oldest datagram that waits, at most `capacity` bytes of it. Returns its true
    /// length, which may be above `capacity` (the rest is lost) or 0; -1 when none waits.
    int receive(void* out, size_t capacity);

    /// True when a datagram waits, at the latest after `milliseconds`.
    bool wait(int milliseconds);

    /// To 127.0.0.1. False when it was not handed to the system. A port that nobody listens on is
    /// no error, now or later.
    bool send(uint16_t port, const void* data, size_t length);

private:
    int fd_ = -1;
    uint16_t port_ = 0;
};

} // namespace vt
