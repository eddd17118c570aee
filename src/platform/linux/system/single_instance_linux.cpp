#include "platform/linux/system/local_socket.h"
#include "platform/shared_map.h"
#include "platform/single_instance.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vt {

namespace {

int localSocket() {
    return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

} // namespace

// An abstract socket is the lock as well: it can be bound once, and the kernel drops it when its
// owner dies, so that nothing is left behind to be mistaken for a running program.
bool SingleInstance::acquire(const std::string& name) {
    release();
    name_ = std::string(sharedObjectName(name));
    const int fd = localSocket();
    if (fd < 0) return true; // without sockets there is nobody to ask either
    const LocalAddress local = localAddress(name_);
    if (bind(fd, reinterpret_cast<const sockaddr*>(&local.address), local.length) != 0) {
        const bool taken = errno == EADDRINUSE;
        ::close(fd);
        return !taken;
    }
    socket_ = fd;
    return true;
}

bool SingleInstance::askFirstToShow() const {
    const int fd = localSocket();
    if (fd < 0) return false;
    const LocalAddress local = localAddress(name_);
    bool sent = false;
    for (int attempt = 0; attempt < 20 && !sent; ++attempt) {
        sent = sendto(fd, "show", 4, 0, reinterpret_cast<const sockaddr*>(&local.address),
                      local.length) == 4;
        if (!sent) {
            const timespec pause{0, 50'000'000};
            nanosleep(&pause, nullptr);
        }
    }
    ::close(fd);
    return sent;
}

bool SingleInstance::takeRequest() {
    if (socket_ < 0) return false;
    bool asked = false;
    char text[16];
    ssize_t n = 0;
    while ((n = recv(socket_, text, sizeof text, 0)) > 0)
        asked = asked || std::string_view(text, static_cast<size_t>(n)) == "show";
    return asked;
}

void SingleInstance::release() {
    if (socket_ >= 0) ::close(socket_);
    socket_ = -1;
}

} // namespace vt
