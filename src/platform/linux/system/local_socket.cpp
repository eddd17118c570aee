#include "platform/linux/system/local_socket.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace vt {

LocalAddress localAddress(std::string_view name) {
    LocalAddress local;
    local.address.sun_family = AF_UNIX;
    char text[sizeof local.address.sun_path - 1];
    const int n =
        std::snprintf(text, sizeof text, "vantorel/%u/%.*s", static_cast<unsigned>(getuid()),
                      static_cast<int>(name.size()), name.data());
    const size_t length = std::min(static_cast<size_t>(std::max(n, 0)), sizeof text - 1);
    std::memcpy(local.address.sun_path + 1, text, length);
    local.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + length);
    return local;
}

} // namespace vt
