#include "streaming/browser_source.h"

#include "base/format.h"
#include "base/log.h"
#include "base/translate.h"
#include "platform/network.h"
#include "streaming/lan_address.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <system_error>

namespace vt {

namespace {

constexpr const char* kTitle = "Vantorel Overlays";
constexpr size_t kKeyBytes = 16;

std::string newKey() {
    std::array<uint8_t, kKeyBytes> bytes{};
    if (!systemRandom(bytes.data(), bytes.size())) {
        const Clock clock;
        const int64_t counter = clockTicks(clock);
        const uint64_t ticks = clockMs(clock);
        std::memcpy(bytes.data(), &counter, sizeof counter);
        std::memcpy(bytes.data() + sizeof counter, &ticks, sizeof ticks);
    }
    constexpr const char* kDigits = "0123456789abcdef";
    std::string key;
    for (const uint8_t byte : bytes) {
        key += kDigits[byte >> 4];
        key += kDigits[byte & 15];
    }
    return key;
}

/// May others connect? Asks for the rule when it is missing and asking is allowed.
bool ruleAtHand(BrowserSource& source, bool askUser) {
    const BrowserFirewall& firewall = source.firewall;
    if (firewall.ruleExists()) return true;
    if (!askUser || !firewall.ask) return false;
    if (!firewall.ask(
            kTitle, Translate("To let OBS on another PC connect, Vantorel Overlays needs a Windows "
                              "Firewall rule. It covers private networks only.\r\n\r\nWindows will "
                              "ask for admin permission. Add the rule now?")))
        return false;
    if (AddFirewallRule(source)) return true;
    if (firewall.tell)
        firewall.tell(kTitle,
                      Translate("The firewall rule was not added, so other PCs cannot connect yet. "
                                "OBS on this PC still works.\r\n\r\nTo try again, press Allow "
                                "through firewall in App Settings, under Stream."));
    return false;
}

void findLanAddress(BrowserSource& source) {
    source.advertisedHost.clear();
    if (source.lan)
        source.advertisedHost = source.lanAddress ? source.lanAddress() : currentLanAddress();
}

} // namespace

bool BrowserSourceStart(BrowserSource& source, AppConfig& config, bool askUser) {
    BrowserSourceStop(source);
    source.statusWord.clear();
    source.followedEnabled = config.browserSourceEnabled;
    source.followedLan = config.browserSourceLan;
    source.followedPort = config.browserSourcePort;
    source.lan = source.firewallBlocks = source.networkIsPublic = false;
    if (!config.browserSourceEnabled) return false;
    if (config.browserSourceLan) {
        source.lan = ruleAtHand(source, askUser);
        source.firewallBlocks = !source.lan;
        source.networkIsPublic = source.lan && source.firewall.networkIsPublic();
    }
    source.port = std::clamp(config.browserSourcePort, 1, 65535);
    const std::string key = config.browserSourceKey.empty() ? newKey() : config.browserSourceKey;
    const ListenResult result = source.server.start(source.port, source.lan, key, source.listed);
    if (result != ListenResult::listening) {
        if (result == ListenResult::portInUse) source.statusWord = "port-in-use";
        logStatus("[browser source] could not start on port %d\n", source.port);
        return false;
    }
    source.accessKey = key;
    findLanAddress(source);
    source.hub.running.store(true);
    try {
        source.sender = std::thread([&hub = source.hub] { hubSend(hub); });
    } catch (const std::system_error& e) {
        logStatus("[browser source] %s\n", e.what());
        BrowserSourceStop(source);
        return false;
    }
    logStatus("[browser source] serving on port %d%s\n", source.port,
              source.lan ? ", other PCs may connect" : "");
    if (key == config.browserSourceKey) return false;
    config.browserSourceKey = key;
    config.settingsDirty = true;
    return true;
}

bool BrowserSourceFollow(BrowserSource& source, AppConfig& config, bool askUser) {
    if (source.followedEnabled == config.browserSourceEnabled &&
        source.followedLan == config.browserSourceLan &&
        source.followedPort == config.browserSourcePort)
        return false;
    return BrowserSourceStart(source, config, askUser);
}

void BrowserSourceStop(BrowserSource& source) {
    // The sender first: it hands messages to the server's threads.
    source.hub.running.store(false);
    source.hub.wake.wake();
    if (source.sender.joinable()) source.sender.join();
    source.server.stop();
    hubClear(source.hub);
    source.accessKey.clear();
    source.advertisedHost.clear();
}

std::string BrowserSourceKey(const BrowserSource& source) {
    return source.hub.running ? source.accessKey : std::string();
}

std::string BrowserSourceUrl(BrowserSource& source, int slot) {
    const OverlaySlot* known = overlaySlot(slot);
    if (!source.hub.running || !known) return {};
    findLanAddress(source);
    const std::string host = source.advertisedHost.empty() ? "127.0.0.1" : source.advertisedHost;
    return "http://" + host + ":" + std::to_string(source.port) + "/overlay/" + known->key +
           "?key=" + source.accessKey;
}

const std::string& BrowserSourceStatus(const BrowserSource& source) {
    return source.statusWord;
}

std::string BrowserSourceStatusText(BrowserSource& source, const AppConfig& config) {
    if (!config.browserSourceEnabled) return {};
    if (!source.hub.running)
        return source.statusWord == "port-in-use"
                   ? Translate("Could not start: another program is already using that port. Step "
                               "the port and try again.")
                   : Translate("Could not start. Try a different port.");
    findLanAddress(source);
    char text[256];
    if (source.lan && !source.advertisedHost.empty())
        formatText(text, sizeof text, Translate("Running. Other PCs reach it at %s on port %d."),
                   source.advertisedHost.c_str(), source.port);
    else if (source.lan)
        formatText(text, sizeof text,
                   Translate("Running on port %d, open to other PCs on your network."),
                   source.port);
    else if (config.browserSourceLan && source.firewallBlocks)
        formatText(text, sizeof text,
                   Translate("Running on this PC only, port %d. Windows Firewall is keeping other "
                             "PCs out until you allow them below."),
                   source.port);
    else
        formatText(text, sizeof text, Translate("Running. Serving at 127.0.0.1 on port %d."),
                   source.port);
    return text;
}

std::string BrowserSourceNetworkHint(const BrowserSource& source) {
    if (!source.hub.running || !source.networkIsPublic) return {};
    return Translate(
        "Your network is set to Public in Windows, so other PCs are still turned away. "
        "Set it to Private in Windows Settings, under Network and internet.");
}

bool AddFirewallRule(BrowserSource& source) {
    return source.firewall.addRule();
}

} // namespace vt
