#include "platform/udp_socket.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <ctime>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vt {

namespace {

// A sim's burst and a flood of strangers must fit between two looks of a reader that comes 30 times
// a second. The kernel doubles the figure for its own records and cuts it to its limit.
constexpr int kReceiveBuffer = 256 * 1024;

sockaddr_in addressOf(uint32_t host, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    return address;
}

int64_t monotonicMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

} // namespace

bool UdpSocket::open(uint16_t port, bool allInterfaces, bool shareAddress) {
    close();
    fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd_ < 0) return false;
    const int one = 1;
    if (shareAddress) setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &kReceiveBuffer, sizeof kReceiveBuffer);
    sockaddr_in address = addressOf(allInterfaces ? INADDR_ANY : INADDR_LOOPBACK, port);
    socklen_t length = sizeof address;
    if (bind(fd_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        getsockname(fd_, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        close();
        return false;
    }
    port_ = ntohs(address.sin_port);
    return true;
}

void UdpSocket::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    port_ = 0;
}

int UdpSocket::receive(void* out, size_t capacity) {
    if (fd_ < 0) return -1;
    for (;;) {
        const ssize_t n = recv(fd_, out, capacity, MSG_DONTWAIT | MSG_TRUNC);
        if (n >= 0) return static_cast<int>(n);
        // An earlier send to a closed port may be reported here; what waits behind it still counts.
        if (errno != EINTR && errno != ECONNREFUSED) return -1;
    }
}

bool UdpSocket::wait(int milliseconds) {
    if (fd_ < 0) return false;
    const int64_t end = monotonicMs() + std::max(milliseconds, 0);
    for (;;) {
        pollfd readable{fd_, POLLIN, 0};
        const int64_t left = end - monotonicMs();
        const int n = poll(&readable, 1, static_cast<int>(std::max<int64_t>(left, 0)));
        if (n > 0) return (readable.revents & POLLIN) != 0;
        if (n == 0 || errno != EINTR) return false;
    }
}

bool UdpSocket::send(uint16_t port, const void* data, size_t length) {
    if (fd_ < 0) return false;
    const sockaddr_in address = addressOf(INADDR_LOOPBACK, port);
    return sendto(fd_, data, length, MSG_DONTWAIT | MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&address),
                  sizeof address) == static_cast<ssize_t>(length);
}

} // namespace vt
