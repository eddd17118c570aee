// The server as viewers meet it: real sockets, good and bad ones.
#include "browser_client.h"
#include "streaming/browser_source.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

using namespace vt;
using vt::test::BrowserClient;

namespace {

const std::string kKey = "00112233445566778899aabbccddeeff";
const std::string kWatch = "/ws?slot=relative&key=" + kKey;

template <typename Condition>
bool until(Condition condition, int milliseconds = test::kPatience) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

BrowserLimits shortLimits() {
    BrowserLimits limits;
    limits.headerTime = std::chrono::milliseconds(500);
    limits.lingerTime = std::chrono::milliseconds(100);
    limits.idleTime = std::chrono::milliseconds(3000);
    limits.requestsAtOnce = 16;
    limits.viewersAtOnce = 6;
    return limits;
}

struct Server : testing::Test {
    Server() {
        EXPECT_EQ(server.start(0, false, kKey), ListenResult::listening);
        port = server.port();
        hub.running = true;
        sender = std::thread([this] { hubSend(hub); });
    }
    ~Server() override {
        hub.running = false;
        hub.wake.wake();
        sender.join();
        server.stop();
        EXPECT_TRUE(hub.clients.empty()) << "viewers end with the server";
    }
    void capture(int width, int height, uint8_t value) {
        const std::vector<uint8_t> bytes(static_cast<size_t>(width) * height * 4, value);
        hubCapture(hub, kSlotRelative, {bytes.data(), width, height, width * 4});
    }
    int viewers() const { return hub.subscriberCount[kSlotRelative]; }
    int status(const std::string& method, const std::string& target,
               const std::string& fields = {}) const {
        return BrowserClient(port).ask(method, target, fields);
    }

    FrameHub hub;
    BrowserServer server{hub, shortLimits()};
    std::thread sender;
    int port = 0;
};

} // namespace

TEST_F(Server, AnswersRequestsAndOutlastsBadOnes) {
    BrowserClient page(port);
    EXPECT_EQ(page.ask("GET", "/overlay/relative?key=" + kKey), 200);
    EXPECT_NE(page.answer.find("Content-Type: text/html; charset=utf-8"), std::string::npos);
    EXPECT_NE(page.answer.find("Cache-Control: no-store"), std::string::npos);
    EXPECT_NE(page.rest().find("Vantorel - relative"), std::string::npos);
    BrowserClient locked(port);
    EXPECT_EQ(locked.ask("GET", "/overlay/relative?key=" + kKey.substr(1) + "0"), 403);
    EXPECT_EQ(locked.rest(), "") << "an empty body";
    EXPECT_EQ(status("GET", "/overlay/none?key=" + kKey), 404);
    EXPECT_EQ(status("POST", "/?key=" + kKey, "Content-Length: 100000\r\n"), 405);
    EXPECT_EQ(status("GET", "/?key=" + kKey, "Host: 127.0.0.1:2\r\n"), 400);

    EXPECT_EQ(status("GET", "/", "Filler: " + std::string(9000, 'x') + "\r\n"), 431);
    EXPECT_EQ(status("GET", "/" + std::string(60000, 'x')), 431);
    EXPECT_EQ(status("GE\x01T", "/"), 400);
    EXPECT_EQ(status("GET", "/\xff\xfe bad"), 400);

    // Headers that never come to an end, byte by byte, and connections that say nothing.
    std::vector<std::unique_ptr<BrowserClient>> silent;
    for (int i = 0; i < 40; ++i)
        silent.push_back(std::make_unique<BrowserClient>(port));
    EXPECT_EQ(status("GET", "/?key=" + kKey), 200) << "they keep nobody out";
    for (int i = 0; i < 20; ++i) {
        silent.back()->say(i == 0 ? "GET / HTTP/1.1\r\nA: " : "x");
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    for (auto& each : silent)
        EXPECT_TRUE(each->ended());
}

TEST_F(Server, AViewerIsToldTheSizeAndSentThePixelsOnceItAnswered) {
    for (const char* target :
         {"/ws?slot=relative", "/ws?slot=relative&key=", "/ws?slot=relative&key=x"})
        EXPECT_EQ(BrowserClient(port).upgrade(target), 403) << target;
    EXPECT_EQ(BrowserClient(port).upgrade("/ws?slot=none&key=" + kKey), 404);
    EXPECT_EQ(BrowserClient(port).upgrade(kWatch, "Origin: http://evil.example\r\n"), 403);
    EXPECT_EQ(viewers(), 0);

    BrowserClient page(port);
    ASSERT_EQ(page.upgrade(kWatch + "&v=2", "Origin: http://127.0.0.1:1\r\n"), 101);
    ASSERT_TRUE(until([&] { return viewers() == 1; }));
    EXPECT_TRUE(hub.captureWanted);
    capture(300, 200, 255);
    EXPECT_EQ(page.message().bytes, R"({"type":"size","w":300,"h":200})");
    EXPECT_EQ(page.message(50).kind, -1) << "not before it answers";
    page.acknowledge();
    const BrowserClient::Message pixels = page.message();
    EXPECT_EQ(pixels.kind, 2);
    EXPECT_EQ(pixels.bytes, std::string(300 * 200 * 4, '\xff'));

    // A second one, which answers nothing, gets both of the picture that stands.
    BrowserClient plain(port);
    ASSERT_EQ(plain.upgrade(kWatch), 101);
    EXPECT_EQ(plain.message().kind, 1);
    EXPECT_EQ(plain.message().bytes.size(), 300u * 200 * 4);
    capture(2, 1, 255);
    EXPECT_EQ(plain.message().bytes, R"({"type":"size","w":2,"h":1})");
    EXPECT_EQ(plain.message().bytes.size(), 8u);
}

TEST_F(Server, BadViewersAreClosedAndTheOthersKeepTheirPace) {
    BrowserClient good(port);
    ASSERT_EQ(good.upgrade(kWatch + "&v=2"), 101);
    // Stops reading in the middle of a picture; its socket takes little.
    BrowserClient stuck(port, 4096);
    ASSERT_EQ(stuck.upgrade(kWatch), 101);
    auto vanished = std::make_unique<BrowserClient>(port);
    ASSERT_EQ(vanished->upgrade(kWatch), 101);
    BrowserClient large(port), noise(port), unmasked(port);
    for (BrowserClient* each : {&large, &noise, &unmasked})
        ASSERT_EQ(each->upgrade(kWatch + "&v=2"), 101);
    ASSERT_TRUE(until([&] { return viewers() == 6; }));
    EXPECT_EQ(BrowserClient(port).upgrade(kWatch), 503);

    vanished.reset();
    for (int i = 0; i < 4; ++i) // fragments that never come to an end
        large.sendFrame(i == 0 ? 0x01 : 0x00, std::string(400, 'k'));
    noise.sendFrame(0x81, "\xc0\xff\xfe"); // text that is no UTF-8
    unmasked.say("\x81\x01k");
    for (BrowserClient* each : {&large, &noise, &unmasked})
        EXPECT_TRUE(each->ended());
    EXPECT_TRUE(until([&] { return viewers() == 2; }));

    for (int pictures = 0; pictures < 5;) {
        capture(700, 700, static_cast<uint8_t>(pictures));
        const BrowserClient::Message message = good.message();
        ASSERT_TRUE(message.kind == 1 || message.bytes.size() == 700u * 700 * 4);
        if (message.kind == 2) ++pictures;
        good.acknowledge();
    }
    EXPECT_EQ(viewers(), 2) << "nobody waited until the stuck one was closed";
    EXPECT_TRUE(until([&] { return viewers() == 1; })) << "the one that does not read";
}

TEST(BrowserSource, StartsFollowsItsSettingsAndSaysWhatItDoes) {
    AppConfig config;
    BrowserSource source;
    source.lanAddress = [] { return std::string("192.168.1.20"); };
    EXPECT_FALSE(BrowserSourceStart(source, config, true));
    EXPECT_EQ(BrowserSourceStatusText(source, config), "");
    EXPECT_EQ(BrowserSourceUrl(source, kSlotFuel), "");

    // A port that is taken.
    FrameHub otherHub;
    BrowserServer other(otherHub);
    ASSERT_EQ(other.start(0, false, kKey), ListenResult::listening);
    config.browserSourceEnabled = true;
    config.browserSourcePort = other.port();
    EXPECT_FALSE(BrowserSourceFollow(source, config, true));
    EXPECT_EQ(BrowserSourceStatus(source), "port-in-use");
    EXPECT_EQ(BrowserSourceStatusText(source, config).substr(0, 38),
              "Could not start: another program is al");
    EXPECT_FALSE(source.sender.joinable());

    // It is free again; there has been a connection, which the system remembers for a minute.
    EXPECT_EQ(BrowserClient(other.port()).ask("GET", "/"), 403);
    other.stop();
    ASSERT_TRUE(BrowserSourceStart(source, config, true)) << "a key was made";
    EXPECT_TRUE(config.settingsDirty);
    const std::string port = std::to_string(config.browserSourcePort),
                      key = config.browserSourceKey;
    EXPECT_EQ(key.size(), 32u);
    EXPECT_EQ(key.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(BrowserSourceUrl(source, kSlotFuel),
              "http://192.168.1.20:" + port + "/overlay/fuel?key=" + key);
    EXPECT_EQ(BrowserSourceUrl(source, 43), "");
    EXPECT_EQ(BrowserSourceStatusText(source, config),
              "Running. Other PCs reach it at 192.168.1.20 on port " + port + ".");
    source.lanAddress = [] { return std::string(); };
    EXPECT_EQ(BrowserSourceUrl(source, kSlotFuel).substr(0, 17), "http://127.0.0.1:");
    EXPECT_EQ(BrowserSourceStatusText(source, config),
              "Running on port " + port + ", open to other PCs on your network.");
    {
        BrowserClient viewer(config.browserSourcePort);
        ASSERT_EQ(viewer.upgrade("/ws?slot=fuel&key=" + key), 101);
        EXPECT_FALSE(BrowserSourceFollow(source, config, true)) << "nothing changed";
        config.browserSourceLan = false;
        EXPECT_FALSE(BrowserSourceFollow(source, config, true)) << "the key stays";
        EXPECT_TRUE(viewer.ended());
    }
    EXPECT_EQ(BrowserSourceKey(source), key);
    EXPECT_EQ(BrowserSourceStatusText(source, config),
              "Running. Serving at 127.0.0.1 on port " + port + ".");
    EXPECT_EQ(BrowserClient(config.browserSourcePort).ask("GET", "/?key=" + key), 200);
    config.browserSourceKey.clear();
    EXPECT_TRUE(BrowserSourceStart(source, config, true));
    EXPECT_EQ(BrowserClient(config.browserSourcePort).ask("GET", "/?key=" + key), 403);
    config.browserSourceEnabled = false;
    BrowserSourceFollow(source, config, true);
    EXPECT_FALSE(BrowserClient(config.browserSourcePort).connected());
}

TEST(BrowserSource, AFirewallIsAskedAndWithoutItsRuleOthersStayOut) {
    FrameHub hub;
    BrowserServer probe(hub);
    ASSERT_EQ(probe.start(0, false, kKey), ListenResult::listening);
    AppConfig config;
    config.browserSourceEnabled = true;
    config.browserSourcePort = probe.port();
    probe.stop();
    BrowserSource source;
    source.lanAddress = [] { return std::string("10.0.0.9"); };
    bool yes = false, works = false;
    int asked = 0, told = 0;
    source.firewall.ruleExists = [] { return false; };
    source.firewall.addRule = [&] { return works; };
    source.firewall.networkIsPublic = [] { return true; };
    source.firewall.ask = [&](const char*, const char*) { return ++asked, yes; };
    source.firewall.tell = [&](const char*, const char*) { ++told; };
    struct Case {
        bool mayAsk, yes, works, lan;
        int asked, told;
    };
    for (const Case& c :
         {Case{false, true, true, false, 0, 0}, Case{true, false, true, false, 1, 0},
          Case{true, true, false, false, 1, 1}, Case{true, true, true, true, 1, 0}}) {
        yes = c.yes, works = c.works, asked = told = 0;
        BrowserSourceStart(source, config, c.mayAsk);
        EXPECT_EQ(asked, c.asked);
        EXPECT_EQ(told, c.told);
        EXPECT_EQ(source.lan, c.lan);
        EXPECT_EQ(BrowserSourceUrl(source, 0).substr(0, 15),
                  c.lan ? "http://10.0.0.9" : "http://127.0.0.");
        EXPECT_EQ(BrowserSourceNetworkHint(source).empty(), !c.lan);
        EXPECT_EQ(BrowserSourceStatusText(source, config).find("Windows Firewall is keeping") ==
                      std::string::npos,
                  c.lan);
    }
    BrowserSourceStop(source);
}
