#include "platform/udp_socket.h"

#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vt {

namespace {

sockaddr_in addressOf(uint32_t host, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    return address;
}

} // namespace

bool UdpSocket::open(uint16_t port, bool allInterfaces, bool shareAddress) {
    close();
    fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd_ < 0) return false;
    const int one = 1;
    if (shareAddress) setsockopt(fd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
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
    pollfd readable{fd_, POLLIN, 0};
    return poll(&readable, 1, milliseconds) > 0 && (readable.revents & POLLIN) != 0;
}

bool UdpSocket::send(uint16_t port, const void* data, size_t length) {
    if (fd_ < 0) return false;
    const sockaddr_in address = addressOf(INADDR_LOOPBACK, port);
    return sendto(fd_, data, length, MSG_DONTWAIT | MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&address),
                  sizeof address) == static_cast<ssize_t>(length);
}

} // namespace vt
