#include "streaming/lan_address.h"

#include <cstdio>

namespace vt {

namespace {

// A routing target; nothing is sent there.
constexpr const char* kOutside = "8.8.8.8";
constexpr uint16_t kOutsidePort = 53;

bool usable(const std::string& address) {
    return !address.empty() && address != "0.0.0.0" && address != "127.0.0.1" &&
           address.rfind("169.254.", 0) != 0; // link-local: no server gave it an address
}

int scoreOf(const std::string& address) {
    int a = 0, b = 0;
    std::sscanf(address.c_str(), "%d.%d.", &a, &b);
    if (a == 192 && b == 168) return 30;
    if (a == 10) return 30;
    if (a == 172 && b >= 16 && b <= 31) return 25;
    if (a == 100 && b >= 64 && b <= 127) return 5; // behind a carrier's NAT
    return 10;
}

} // namespace

std::string chooseLanAddress(const std::vector<NetworkAddress>& addresses) {
    const NetworkAddress* best = nullptr;
    for (const NetworkAddress& candidate : addresses) {
        if (!candidate.up || candidate.tunnel || !usable(candidate.address)) continue;
        const int score = scoreOf(candidate.address), bestScore = best ? scoreOf(best->address) : 0;
        if (!best || score > bestScore || (score == bestScore && candidate.metric < best->metric))
            best = &candidate;
    }
    return best ? best->address : std::string();
}

std::string currentLanAddress() {
    const std::string routed = localAddressTowards(kOutside, kOutsidePort);
    if (!routed.empty() && routed != "0.0.0.0" && routed != "127.0.0.1") return routed;
    return chooseLanAddress(listNetworkAddresses());
}

} // namespace vt
