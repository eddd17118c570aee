// The browser source: overlays as pages for a streaming program on this PC or in the home network.
// One record, owned by the program; all operations on the main thread.
#pragma once
#include "overlay/settings/app_config.h"
#include "streaming/browser_server.h"
#include "streaming/frame_hub.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace vt {

/// What keeps other PCs out, where the system has such a thing. The defaults are those of a system
/// that has none. `addRule` may ask for rights; it takes at most 8 s.
struct BrowserFirewall {
    std::function<bool()> ruleExists = [] { return true; };
    std::function<bool()> addRule = [] { return true; };
    std::function<bool()> networkIsPublic = [] { return false; };
    /// A question with yes and no, and a plain message. Empty: nobody can be asked.
    std::function<bool(const char* title, const char* text)> ask;
    std::function<void(const char* title, const char* text)> tell;
};

struct BrowserSource {
    FrameHub hub;
    BrowserServer server{hub};
    std::thread sender;
    BrowserFirewall firewall;
    std::function<std::string()> lanAddress; // empty: that of this PC
    std::vector<int> listed;                 // slots on the index page

    int port = 0;
    bool lan = false; // others may connect: the setting is on and the firewall lets them
    bool firewallBlocks = false, networkIsPublic = false;
    std::string advertisedHost; // as of the last address that was asked for
    std::string accessKey;
    std::string statusWord; // empty, or "port-in-use"

    // The settings that the last start followed.
    bool followedEnabled = false, followedLan = false;
    int followedPort = 0;
};

/// Stops, then starts as the settings say. Does nothing more while they say off. `askUser`: a
/// missing firewall rule may be asked for. Returns true when `config.browserSourceKey` got a new
/// value, which must be saved.
bool BrowserSourceStart(BrowserSource& source, AppConfig& config, bool askUser);
/// Starts anew when the enable, LAN or port setting is not the one of the last start. As `Start`.
bool BrowserSourceFollow(BrowserSource& source, AppConfig& config, bool askUser);
/// Every viewer is disconnected and all memory given back when it returns.
void BrowserSourceStop(BrowserSource& source);

/// Of the running server; empty while stopped.
std::string BrowserSourceKey(const BrowserSource& source);
/// The address of an overlay's page; empty while stopped and for a slot that is none.
std::string BrowserSourceUrl(BrowserSource& source, int slot);
/// Empty, or "port-in-use".
const std::string& BrowserSourceStatus(const BrowserSource& source);
/// One sentence for the settings page; empty when switched off.
std::string BrowserSourceStatusText(BrowserSource& source, const AppConfig& config);
/// Why others still cannot connect; empty when nothing is known to keep them out.
std::string BrowserSourceNetworkHint(const BrowserSource& source);
bool AddFirewallRule(BrowserSource& source);

/// To be called after each paint of a slot. Without a viewer it is one atomic read.
inline void BrowserSourceCapture(BrowserSource& source, int slot, const Bitmap& picture) {
    if (hubWants(source.hub, slot)) hubCapture(source.hub, slot, bitmapPixels(picture));
}

} // namespace vt
