// Under which of its addresses this PC is reached from the home network.
#pragma once
#include "platform/network.h"

#include <string>
#include <vector>

namespace vt {

/// The likeliest home address of the list: adapters that are up and no tunnels; 192.168.x.x and
/// 10.x.x.x before 172.16-31.x.x, those before anything else, carriers' 100.64-127.x.x last; equals
/// by the lower metric. Empty when there is none.
std::string chooseLanAddress(const std::vector<NetworkAddress>& addresses);

/// The address that traffic to the outside leaves from, else the likeliest one of all adapters.
/// Empty without a network.
std::string currentLanAddress();

} // namespace vt
