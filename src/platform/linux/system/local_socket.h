// Addresses of the program's own local sockets: abstract names, which the kernel drops with their
// owner, marked with the user so that two users of one machine do not meet.
#pragma once
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>

namespace vt {

struct LocalAddress {
    sockaddr_un address{};
    socklen_t length = 0;
};

LocalAddress localAddress(std::string_view name);

} // namespace vt
