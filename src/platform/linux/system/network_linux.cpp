#include "platform/network.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstring>
#include <ifaddrs.h>
#include <map>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vt {

namespace {

std::string textOf(in_addr address) {
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address, text, sizeof text);
    return text;
}

/// Lowest metric by adapter. The kernel's table: a heading, then one route a line.
std::map<std::string, uint32_t> routeMetrics() {
    std::map<std::string, uint32_t> metrics;
    FILE* file = std::fopen("/proc/net/route", "re");
    if (!file) return metrics;
    char line[512];
    while (std::fgets(line, sizeof line, file)) {
        char adapter[64];
        unsigned metric = 0;
        // Iface Destination Gateway Flags RefCnt Use Metric ...
        if (std::sscanf(line, "%63s %*x %*x %*x %*d %*d %u", adapter, &metric) != 2) continue;
        const auto [entry, fresh] = metrics.try_emplace(adapter, metric);
        if (!fresh) entry->second = std::min(entry->second, metric);
    }
    std::fclose(file);
    return metrics;
}

bool isTunnel(const ifaddrs& entry) {
    if (entry.ifa_flags & IFF_POINTOPOINT) return true;
    // Some VPNs present themselves as an ordinary network card.
    for (const char* start : {"tun", "tap", "wg", "ppp", "tailscale", "zt"})
        if (std::strncmp(entry.ifa_name, start, std::strlen(start)) == 0) return true;
    return false;
}

} // namespace

std::vector<NetworkAddress> listNetworkAddresses() {
    std::vector<NetworkAddress> found;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return found;
    const std::map<std::string, uint32_t> metrics = routeMetrics();
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_INET) continue;
        NetworkAddress address;
        address.adapter = entry->ifa_name;
        address.address = textOf(reinterpret_cast<const sockaddr_in*>(entry->ifa_addr)->sin_addr);
        address.up = (entry->ifa_flags & IFF_UP) && (entry->ifa_flags & IFF_RUNNING);
        address.tunnel = isTunnel(*entry);
        const auto metric = metrics.find(address.adapter);
        address.metric = metric == metrics.end() ? UINT32_MAX : metric->second;
        found.push_back(std::move(address));
    }
    freeifaddrs(list);
    return found;
}

std::string localAddressTowards(const char* host, uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    if (inet_pton(AF_INET, host, &address.sin_addr) != 1) return {};
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return {};
    socklen_t length = sizeof address;
    // Connecting a datagram socket only chooses the route.
    const bool known = connect(fd, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                       getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    close(fd);
    return known ? textOf(address.sin_addr) : std::string();
}

bool systemRandom(void* out, size_t length) {
    // Up to 256 bytes come whole or not at all.
    if (length > 256) return false;
    return getrandom(out, length, 0) == static_cast<ssize_t>(length);
}

} // namespace vt
