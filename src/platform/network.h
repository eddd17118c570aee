// What the machine knows of its own place on the network (IPv4), and the system's random bytes.
// Any thread.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vt {

/// One IPv4 address of one network adapter.
struct NetworkAddress {
    std::string adapter; // "eth0"
    std::string address; // "192.168.1.20"
    bool up = false;     // the adapter is switched on and has a link
    bool tunnel = false; // a VPN's or another point-to-point adapter
    uint32_t metric = 0; // of its best route, lower = preferred; UINT32_MAX = no route leads there
};

std::vector<NetworkAddress> listNetworkAddresses();

/// The address that this machine would send from to reach `host` (an IPv4 address). Nothing is
/// sent. Empty without a route.
std::string localAddressTowards(const char* host, uint16_t port);

/// Random bytes fit for keys. False when the system has none to give; then `out` is untouched.
bool systemRandom(void* out, size_t length);

} // namespace vt
