// What the server decides without a socket: who gets what, and under which address it is reached.
#include "streaming/browser_page.h"
#include "streaming/browser_request.h"
#include "streaming/browser_source.h"
#include "streaming/lan_address.h"

#include <gtest/gtest.h>

#include <cstdint>

using namespace vt;

namespace {

const std::string kKey = "0123456789abcdef0123456789abcdef";

int codeOf(std::string method, std::string target, std::string host = "127.0.0.1:8998",
           const char* origin = nullptr, bool upgrade = false) {
    BrowserRequest request{method, target, host, origin ? origin : "", origin != nullptr, upgrade};
    return answerRequest(request, kKey).code;
}

int upgradeFrom(const char* host, const char* origin) {
    return codeOf("GET", "/ws?slot=fuel&key=" + kKey + "&v=2", host, origin, true);
}

NetworkAddress nic(const char* address, uint32_t metric = 100, bool up = true,
                   bool tunnel = false) {
    return {"x", address, up, tunnel, metric};
}

} // namespace

TEST(BrowserRequest, MissingThingsComeBeforeLockedOnesAndOnlyTheWholeKeyOpens) {
    const std::string good = "/overlay/fuel?key=" + kKey;
    EXPECT_EQ(codeOf("GET", good), 200);
    EXPECT_EQ(codeOf("GET", "/overlay/fuel?x=1&key=" + kKey + "&key=no#key=x"), 200);
    EXPECT_EQ(codeOf("GET", "/overlay/fuel?key=%30" + kKey.substr(1)), 200);
    EXPECT_EQ(codeOf("GET", "/?key=" + kKey), 200);
    for (const char* path : {"/overlay/nothing", "/overlay/", "/overlay", "/favicon.ico", "", "*",
                             "/overlay/fuel/", "/Overlay/fuel", "/ws?slot=unknown", "/ws"}) {
        EXPECT_EQ(codeOf("GET", path), 404) << path;
        EXPECT_EQ(codeOf("POST", std::string(path) + "?key=" + kKey), 404) << path;
    }
    EXPECT_EQ(codeOf("GET", std::string("/overlay/fuel\0x?key=", 20) + kKey), 404);
    for (const std::string& key : {std::string(), kKey.substr(1), kKey + "0", "1" + kKey.substr(1),
                                   std::string("%00"), std::string("%")}) {
        EXPECT_EQ(codeOf("GET", "/overlay/fuel?key=" + key), 403) << key;
        EXPECT_EQ(codeOf("GET", "/ws?slot=fuel&key=" + key, "127.0.0.1", nullptr, true), 403);
    }
    EXPECT_EQ(codeOf("POST", good), 405);
    EXPECT_EQ(codeOf("GET", good, ""), 400);
    EXPECT_EQ(codeOf("GET", "/ws?slot=fuel&key=" + kKey), 426);
    EXPECT_FALSE(keyMatches("", "")) << "without a key nothing is open";
}

TEST(BrowserRequest, PagesFromElsewhereGetNothing) {
    for (const char* host : {"127.0.0.1:8998", "localhost:8998", "192.168.1.20:8998", "10.0.0.5",
                             "[::1]:8998", "LOCALHOST"}) {
        EXPECT_EQ(upgradeFrom(host, nullptr), 101) << host; // a program
        EXPECT_EQ(upgradeFrom(host, ("http://" + std::string(host)).c_str()), 101) << host;
        for (const char* origin : {"http://evil.example", "https://127.0.0.1:8998", "null", "",
                                   "file://", "http://127.0.0.1:8999", "http://127.0.0.1:8998.x"})
            EXPECT_EQ(upgradeFrom(host, origin), 403) << host << " from " << origin;
    }
    // A name that its owner lets point at this PC makes both fields agree.
    for (const char* host : {"evil.example:8998", "1.2.3.4.evil.example", "127.0.0.1.nip.io:8998",
                             "127.0.0.1:", "127.0.0.1:x", "localhost.evil.example", "1.2.3", "[x]"})
        EXPECT_EQ(upgradeFrom(host, ("http://" + std::string(host)).c_str()), 403) << host;
}

TEST(BrowserPage, HasNoPlaceholderLeftAndListsWhatThereIs) {
    const std::string page = overlayPage("fuel", kKey);
    EXPECT_EQ(page.find("__"), std::string::npos);
    EXPECT_NE(page.find("<title>Vantorel - fuel</title>"), std::string::npos);
    EXPECT_NE(page.find("\"" + kKey + "\""), std::string::npos);
    const std::string index = overlayIndexPage({kSlotFuel, kSlotRelative, 99}, kKey);
    EXPECT_EQ(index.find("__"), std::string::npos);
    EXPECT_NE(index.find("/overlay/relative?key=" + kKey), std::string::npos);
}

TEST(LanAddress, TheHomeNetworkWinsOverEverythingElse) {
    EXPECT_EQ(chooseLanAddress({nic("127.0.0.1"), nic("169.254.3.4"), nic("0.0.0.0")}), "");
    EXPECT_EQ(chooseLanAddress({nic("100.64.0.1"), nic("8.1.2.3"), nic("172.20.0.2"),
                                nic("10.0.0.3", 600), nic("192.168.1.2", 50)}),
              "192.168.1.2");
    EXPECT_EQ(chooseLanAddress({nic("192.168.1.2", 50), nic("10.0.0.3", 20)}), "10.0.0.3");
    EXPECT_EQ(chooseLanAddress({nic("192.168.7.7", UINT32_MAX), nic("192.168.1.2", 600)}),
              "192.168.1.2");
    EXPECT_EQ(chooseLanAddress({nic("192.168.1.2", 1, false), nic("10.8.0.2", 1, true, true),
                                nic("172.31.0.2")}),
              "172.31.0.2");
    EXPECT_EQ(chooseLanAddress({nic("172.32.0.2"), nic("100.127.0.1"), nic("172.15.0.2", 5)}),
              "172.15.0.2");
    EXPECT_EQ(chooseLanAddress({nic("100.128.0.1"), nic("100.100.0.1")}), "100.128.0.1");
}
