#include "platform/linux/system/local_socket.h"
#include "platform/named_presence.h"
#include "platform/shared_map.h"

#include <cerrno>
#include <unistd.h>

namespace vt {

namespace {

int localSocket() {
    return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

const sockaddr* addressOf(const LocalAddress& local) {
    return reinterpret_cast<const sockaddr*>(&local.address);
}

} // namespace

// The abstract name of a socket is the one that the kernel takes back by itself when its owner is
// killed.
bool NamedPresence::open(std::string_view name) {
    close();
    const std::string_view bare = sharedObjectName(name);
    if (bare.empty()) return false;
    fd_ = localSocket();
    if (fd_ < 0) return false;
    const LocalAddress local = localAddress(bare);
    if (bind(fd_, addressOf(local), local.length) != 0) {
        close();
        return false;
    }
    // A socket that nobody reads from should not keep what strangers send to it.
    shutdown(fd_, SHUT_RD);
    return true;
}

void NamedPresence::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

bool namedPresenceExists(std::string_view name) {
    const std::string_view bare = sharedObjectName(name);
    const int fd = bare.empty() ? -1 : localSocket();
    if (fd < 0) return false;
    const LocalAddress local = localAddress(bare);
    const bool found = connect(fd, addressOf(local), local.length) == 0;
    ::close(fd);
    return found;
}

} // namespace vt
