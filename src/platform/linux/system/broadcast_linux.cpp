#include "platform/broadcast.h"
#include "platform/linux/system/local_socket.h"

#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace vt {

namespace {
std::string socketName(std::string_view message) {
    return "broadcast/" + std::string(message);
}
} // namespace

bool sendBroadcast(std::string_view message, BroadcastMessage payload) {
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return false;
    const LocalAddress local = localAddress(socketName(message));
    const ssize_t n = sendto(fd, &payload, sizeof payload, 0,
                             reinterpret_cast<const sockaddr*>(&local.address), local.length);
    ::close(fd);
    return n == static_cast<ssize_t>(sizeof payload);
}

bool BroadcastListener::listen(std::string_view message) {
    close();
    socket_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket_ < 0) return false;
    const LocalAddress local = localAddress(socketName(message));
    if (bind(socket_, reinterpret_cast<const sockaddr*>(&local.address), local.length) == 0)
        return true;
    close();
    return false;
}

bool BroadcastListener::take(BroadcastMessage& out) {
    return socket_ >= 0 && recv(socket_, &out, sizeof out, 0) == static_cast<ssize_t>(sizeof out);
}

void BroadcastListener::close() {
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
}

} // namespace vt
