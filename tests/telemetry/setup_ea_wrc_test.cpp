#include "base/json_read.h"
#include "telemetry/readers/ea_wrc_layout.h"
#include "telemetry/setup/ea_wrc_setup.h"
#include "telemetry/setup_desk.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vt {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

// As the game writes it, with the entries of two other tools and keys that nobody knows.
constexpr const char* kConfig = R"({
	"schema": 3,
	"udp":
	{
		"enabled": true,
		"packets": [
			{
				"structure": "wrc",
				"packet": "session_update",
				"ip": "192.168.1.44",
				"port": 20777,
				"frequencyHz": 60,
				"bEnabled": true
			},
			{
				"structure": "wheel_base",
				"packet": "session_update",
				"ip": "127.0.0.1",
				"port": 20782,
				"frequencyHz": -1,
				"bEnabled": false,
				"note": "für den Lüfter",
				"gain": 0.1
			}
		]
	},
	"lcd": { "bDisplayGears": true, "aaa": null },
	"dBox": { "bLightsEnabled": true }
})";

class EaWrcSetup : public test::SetupDesk {
protected:
    fs::path folder() const { return fs::path(documents()) / "My Games/WRC/telemetry"; }
    fs::path config() const { return folder() / "config.json"; }
    fs::path backup() const { return folder() / "config.json.vt.bak"; }
    fs::path packet() const { return folder() / "udp/vantorel2.json"; }

    void install(const std::string& text = kConfig) {
        fs::create_directories(folder() / "udp");
        put(config(), text);
    }
    /// The config with `ours` in its list of receivers, behind the others.
    std::string configWith(const Json& ours) {
        Json tree = Json::parse(kConfig);
        for (const Json& entry : ours)
            tree["udp"]["packets"].push_back(entry);
        return tree.dump();
    }
    bool run() {
        report.clear();
        return eaWrcAutoSetup(documents(), report);
    }
    bool reported(const std::string& part) const {
        return std::any_of(report.begin(), report.end(), [&](const std::string& line) {
            return line.find(part) != std::string::npos;
        });
    }
    bool ready() const {
        EaWrcStatus status;
        return eaWrcCheck(documents(), status) && eaWrcReady(status);
    }

    std::vector<std::string> report;
    const Json ourEntry = {{"structure", "vantorel2"}, {"packet", "session_update"},
                           {"ip", "127.0.0.1"},        {"port", 20791},
                           {"frequencyHz", -1},        {"bEnabled", true}};
};

TEST_F(EaWrcSetup, ThePacketTextListsTheChannelsOfThePacketInItsOrder) {
    const Json text = Json::parse(kEaWrcPacketText);
    EXPECT_EQ(text["versions"].dump(), R"({"schema":1,"data":2})");
    EXPECT_EQ(text["id"], "vantorel2");
    ASSERT_EQ(text["packets"].size(), 1u);
    EXPECT_EQ(text["packets"][0]["id"], "session_update");
    std::vector<std::string> names = text["header"]["channels"];
    for (const Json& name : text["packets"][0]["channels"])
        names.push_back(name);
    ASSERT_EQ(names.size(), std::size(kEaWrcChannels));
    size_t bytes = 0;
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i], kEaWrcChannels[i].name);
        EXPECT_EQ(kEaWrcChannels[i].offset, bytes) << names[i];
        bytes += kEaWrcChannels[i].bytes;
    }
    EXPECT_EQ(bytes, 201u);
    EXPECT_EQ(std::string(kEaWrcPacketText).find('\r'), std::string::npos);
    EXPECT_EQ(get(VT_SOURCE_DIR "/data/vantorel2.json"), kEaWrcPacketText)
        << "the file for those who do it by hand";
}

TEST_F(EaWrcSetup, AddsItselfAndLeavesEverythingElse) {
    install();
    EXPECT_FALSE(ready());
    ASSERT_TRUE(run());
    const Json before = Json::parse(kConfig);
    Json after = Json::parse(get(config()));
    EXPECT_EQ(after["udp"]["packets"].back().dump(), ourEntry.dump()); // and the order of its keys
    after["udp"]["packets"].erase(2);
    EXPECT_EQ(after.dump(), before.dump()) << "order and values of what is not ours";
    EXPECT_EQ(get(backup()), kConfig);
    EXPECT_EQ(get(packet()), kEaWrcPacketText);
    EXPECT_TRUE(ready());
    const std::vector<std::string> expected = {
        "Installed the packet file: " + packet().string(),
        "Backed up your original config to:",
        backup().string(),
        "Added Vantorel to " + config().string(),
        "Left your 2 other telemetry tools in that file untouched.",
        "Restart EA Sports WRC now. It reads both files when it starts, so the change does nothing "
        "until then."};
    EXPECT_EQ(report, expected);
}

TEST_F(EaWrcSetup, ASecondRunChangesNothing) {
    install();
    ASSERT_TRUE(run());
    const auto before = everything();
    const auto written = fs::last_write_time(config());
    ASSERT_TRUE(run());
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(fs::last_write_time(config()), written);
    EXPECT_TRUE(reported("Packet file already up to date: "));
    EXPECT_TRUE(reported("Vantorel was already listed in "));
    EXPECT_FALSE(reported("Backed up"));
    // A later change by the user, then a run: the backup stays the very first original.
    put(config(), configWith(Json::array()));
    ASSERT_TRUE(run());
    EXPECT_EQ(get(backup()), kConfig);
}

TEST_F(EaWrcSetup, EntriesOfEarlierVersionsGo) {
    Json tree = Json::parse(R"({"packets":[{"structure":"vantorel2"}],"udp":{"packets":[
        {"structure":"vantorel","port":1},{"structure":"other","port":2}]}})");
    install(tree.dump());
    put(folder() / "udp/vantorel.json", "{}");
    put(packet(), "something older");
    ASSERT_TRUE(run());
    EXPECT_TRUE(reported("Updated the packet file: "));
    EXPECT_TRUE(reported("Removed the packet file this version replaces: "));
    EXPECT_TRUE(reported("Removed a stale Vantorel entry from the wrong part of config.json."));
    EXPECT_TRUE(reported("Removed the Vantorel entry this version replaces."));
    EXPECT_TRUE(reported("Left your 1 other telemetry tool in that file untouched."));
    EXPECT_FALSE(fs::exists(folder() / "udp/vantorel.json"));
    const Json after = Json::parse(get(config()));
    EXPECT_FALSE(after.contains("packets"));
    EXPECT_EQ(after["udp"]["packets"].dump(),
              Json::array({{{"structure", "other"}, {"port", 2}}, ourEntry}).dump());
    // A list at the top with the entry of another tool stays, without ours.
    install(R"({"packets":[{"structure":"vantorel2"},{"structure":"other"}]})");
    ASSERT_TRUE(run());
    EXPECT_EQ(Json::parse(get(config()))["packets"].dump(), R"([{"structure":"other"}])");
}

TEST_F(EaWrcSetup, OurEntryIsSetRightAndKeepsWhatElseStandsInIt) {
    struct Case {
        const char* key;
        Json value;
    };
    for (const Case& c : {Case{"frequencyHz", 60}, Case{"port", 20777}, Case{"port", "20791"},
                          Case{"ip", "192.168.0.2"}, Case{"bEnabled", false}, Case{"bEnabled", 1},
                          Case{"packet", "session_start"}}) {
        Json ours = ourEntry;
        ours["bHighPriority"] = true;
        ours[c.key] = c.value;
        install(configWith(Json::array({ours, ourEntry}))); // and a second one of ours
        EaWrcStatus status;
        ASSERT_TRUE(eaWrcCheck(documents(), status));
        EXPECT_TRUE(status.entryExists);
        EXPECT_FALSE(status.entryCorrect) << c.key;
        EXPECT_EQ(status.otherReceivers, 2);
        ASSERT_TRUE(run());
        Json expected = ourEntry;
        expected["bHighPriority"] = true;
        const Json after = Json::parse(get(config()));
        ASSERT_EQ(after["udp"]["packets"].size(), 3u);
        EXPECT_EQ(after["udp"]["packets"][2].dump(), expected.dump()) << c.key;
        EXPECT_TRUE(ready());
    }
}

TEST_F(EaWrcSetup, MakesWhatIsMissingInsideTheFileOnly) {
    EXPECT_FALSE(run());
    EXPECT_TRUE(reported("EA Sports WRC has never been launched on this PC"));
    EXPECT_TRUE(everything().empty());
    EaWrcStatus status;
    EXPECT_FALSE(eaWrcCheck(documents(), status));
    fs::create_directories(folder() / "udp");
    EXPECT_FALSE(run());
    EXPECT_TRUE(reported("Could not read " + config().string()));
    EXPECT_FALSE(fs::exists(config()));
    EXPECT_TRUE(eaWrcCheck(documents(), status));
    EXPECT_TRUE(status.packetFileMatches);
    EXPECT_FALSE(status.configRead);
    for (const char* text : {"{}", R"({"udp":{}})", R"({"udp":{"packets":[]}})"}) {
        install(text);
        ASSERT_TRUE(run()) << text;
        EXPECT_EQ(Json::parse(get(config()))["udp"]["packets"].dump(),
                  Json::array({ourEntry}).dump());
        EXPECT_FALSE(reported("other telemetry"));
    }
    report.clear();
    EXPECT_FALSE(eaWrcAutoSetup("", report));
    EXPECT_TRUE(reported("Could not work out where your Documents folder is"));
    EXPECT_FALSE(eaWrcCheck("", status));
}

TEST_F(EaWrcSetup, AFileThatIsNotUnderstoodStaysAsItIs) {
    const std::string malformed = "Your config.json could not be read as valid JSON:";
    const std::string unread = "Could not read ", noList = "receiver list that is not a list";
    const std::string unsafe = "could not be processed safely";
    const struct {
        std::string text, says;
    } cases[] = {
        {"", malformed},
        {"// only a comment\n", malformed},
        {R"({"udp": {"packets": [] /* mine */}})", malformed},
        {R"({"udp": {"packets": [{"structure": "x",}]}})", malformed},
        {std::string("\xEF\xBB\xBF") + kConfig, malformed},
        {std::string("\xFF\xFE{\0}\0", 6), malformed},
        {R"({"name": ")"
         "\xFC"
         R"("})",
         malformed}, // not UTF-8
        {std::string(100'000, '['), malformed},
        {std::string(1000, '[') + std::string(1000, ']'), malformed},
        {"{}" + std::string((4u << 20) - 1, ' '), unread}, // a byte above 4 MiB
        {R"({"udp": {"packets": {"structure": "vantorel2"}}})", noList},
        {R"({"packets": [{"structure": "vantorel"}], "udp": {"packets": null}})", noList},
        {"[1, 2]", unsafe},
        {"7", unsafe},
        {R"({"udp": "off"})", unsafe},
    };
    for (const auto& c : cases) {
        install(c.text);
        EXPECT_FALSE(run());
        EXPECT_TRUE(reported(c.says)) << c.text.substr(0, 60) << "\n" << report.back();
        EXPECT_FALSE(reported("Removed")) << "nothing was";
        EXPECT_EQ(get(config()), c.text);
        EXPECT_FALSE(ready());
        fs::remove_all(folder());
    }
}

TEST_F(EaWrcSetup, EveryStepMayFailAndTheOriginalStays) {
    const auto block = [](const fs::path& path) { fs::create_directories(path / "in the way"); };
    const auto temporary = [](fs::path path) { return path += ".vt.tmp"; };
    const struct {
        const char* says;
        std::function<void()> spoil;
    } cases[] = {
        {"Could not write the packet file: ", [&] { fs::remove_all(folder() / "udp"); }},
        {"Could not write the packet file: ", [&] { block(packet()); }},
        {"Could not write the packet file: ", [&] { block(temporary(packet())); }},
        {"Could not back up your config.json to:", [&] { block(backup()); }},
        {"Could not write ", [&] { block(temporary(config())); }},
        {"Could not write ", [&] { fs::permissions(config(), fs::perms(0444)); }},
    };
    for (const auto& c : cases) {
        install();
        c.spoil();
        EXPECT_FALSE(run());
        EXPECT_TRUE(reported(c.says)) << report.back();
        EXPECT_FALSE(reported("Added"));
        EXPECT_EQ(get(config()), kConfig) << c.says;
        EXPECT_FALSE(fs::is_regular_file(temporary(config())));
        fs::remove_all(folder());
    }
}

TEST_F(EaWrcSetup, ALinkIsFollowedAndPermissionsStay) {
    install();
    const fs::path real = root / "synced/config.json";
    fs::create_directories(real.parent_path());
    fs::rename(config(), real);
    fs::permissions(real, fs::perms(0600));
    fs::create_symlink(real, config());
    ASSERT_TRUE(run());
    EXPECT_TRUE(fs::is_symlink(config()));
    EXPECT_NE(get(real), kConfig);
    EXPECT_EQ(fs::status(real).permissions(), fs::perms(0600));
    EXPECT_TRUE(ready());
}

} // namespace
} // namespace vt
