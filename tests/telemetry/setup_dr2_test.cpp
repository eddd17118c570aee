#include "telemetry/setup/dr2_setup.h"
#include "telemetry/setup_desk.h"

#include <functional>

namespace vt {
namespace {

namespace fs = std::filesystem;

// As the game writes it: tabs, a comment with an old line, another tool's element.
const std::string kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n"
                          "<hardware_settings_config version=\"55\" deviceId=\"0x1b80\">\r\n"
                          "\t<!-- <udp enabled=\"true\" port=\"1\" /> -->\r\n"
                          "\t<audio_card speechRecognition=\"\"/>\r\n"
                          "\t<motion_platform>\r\n\t\t<dbox enabled=\"true\" />\r\n\t\t";
const std::string kTail = "\r\n\t\t<custom_udp enabled=\"false\" filename=\"packet.xml\" "
                          "ip=\"127.0.0.1\" port=\"20777\" delay=\"1\" />\r\n"
                          "\t\t<fanatec enabled=\"true\" pedalVibrationScale=\"1.0\" />\r\n"
                          "\t</motion_platform>\r\n</hardware_settings_config>\r\n";
const std::string kOff = "<udp enabled=\"false\" extradata=\"0\" ip=\"127.0.0.1\" "
                         "port=\"20777\" delay=\"1\" />";
const std::string kLine = "<udp enabled=\"true\" extradata=\"3\" ip=\"127.0.0.1\" "
                          "port=\"20787\" delay=\"1\" />";

bool nothingRuns(std::vector<std::string>& names) {
    names = {"bash"};
    return true;
}
bool theGameRuns(std::vector<std::string>& names) {
    names = {"bash", "DirtRally2.exe"};
    return true;
}

class Dr2Setup : public test::SetupDesk {
protected:
    fs::path folder() const {
        return fs::path(documents()) / "My Games/DiRT Rally 2.0/hardwaresettings";
    }
    fs::path normal() const { return folder() / "hardware_settings_config.xml"; }
    fs::path vr() const { return folder() / "hardware_settings_config_vr.xml"; }
    fs::path backup() const { return folder() / "hardware_settings_config.xml.vt-backup"; }

    void SetUp() override {
        SetupDesk::SetUp();
        view.documents = documents();
    }
    bool fix(Dr2File file = kDr2Normal, ProcessLister lister = nothingRuns) {
        return dr2Fix(view, file, lister, message);
    }

    Dr2View view;
    std::string message;
};

TEST(Dr2State, OfTheLine) {
    const auto with = [](const std::string& what, const std::string& put) {
        std::string line = kLine;
        return line.replace(line.find(what), what.size(), put);
    };
    const struct {
        std::string element;
        Dr2FileState state;
    } cases[] = {
        {kLine, Dr2FileState::ready},
        {with("127.0.0.1", "localhost"), Dr2FileState::ready},
        {with("\"true\"", "\"True\""), Dr2FileState::ready},
        {with("\"true\"", "\"1\""), Dr2FileState::ready},
        {with("<udp ", "<udp\r\n\t"), Dr2FileState::ready},
        {with(" ip=", " skip=\"10.0.0.1\" ip="), Dr2FileState::ready},
        {with("\"true\"", "\"TRUE\""), Dr2FileState::off},
        {with("enabled=\"true\" ", ""), Dr2FileState::off},
        {kOff, Dr2FileState::off},
        {"<udp/>", Dr2FileState::off},
        {"<udp>", Dr2FileState::off},
        {with("\"3\"", "\"1\""), Dr2FileState::wrongLevelOrPort},
        {with("20787", "20777"), Dr2FileState::wrongLevelOrPort},
        {with("20787\"", "20787"), Dr2FileState::wrongLevelOrPort}, // the quote is missing
        {with("127.0.0.1", "192.168.1.2"), Dr2FileState::wrongAddress},
        {"", Dr2FileState::noLine},
        {"<!-- " + kLine + " -->", Dr2FileState::noLine},
        {"<!-- " + kLine, Dr2FileState::noLine},
        {"<udp_extra enabled=\"true\" />", Dr2FileState::noLine},
        {"<!-- > --" + kLine + "--> " + kOff, Dr2FileState::off},
    };
    for (const auto& c : cases)
        EXPECT_EQ(dr2StateOf(kHead + c.element + kTail), c.state) << c.element;
    EXPECT_EQ(dr2StateOf("<udp"), Dr2FileState::noLine);
    EXPECT_EQ(dr2StateOf("<udp "), Dr2FileState::off);
    EXPECT_EQ(dr2Line(), kLine);
}

TEST(Dr2Edit, TouchesNothingButItsElement) {
    std::string out, reason;
    for (const std::string& element :
         {kOff, std::string("<udp/>"), std::string("<udp\n  ip='>'\n/>")}) {
        ASSERT_TRUE(dr2WithLine(kHead + element + kTail, out, reason)) << element;
        EXPECT_EQ(out, kHead + kLine + kTail);
    }
    // No line: behind the opening tag of the section, with the file's own line end.
    const size_t inside = kHead.find("<motion_platform>") + 17;
    ASSERT_TRUE(dr2WithLine(kHead + kTail, out, reason));
    EXPECT_EQ(out, kHead.substr(0, inside) + "\r\n    " + kLine + kHead.substr(inside) + kTail);
    ASSERT_TRUE(
        dr2WithLine("\xEF\xBB\xBF<a><motion_platform x='1'></motion_platform></a>\n", out, reason));
    EXPECT_EQ(out,
              "\xEF\xBB\xBF<a><motion_platform x='1'>\n    " + kLine + "</motion_platform></a>\n");
}

TEST(Dr2Edit, RefusesWhatItCannotPlace) {
    const std::string unread = "has a motion platform section Vantorel could not read";
    const std::string none = "has no motion platform section to add the line to";
    const struct {
        std::string xml, reason;
    } cases[] = {
        // Up to the next "/>" would take the neighbour with it.
        {"<motion_platform><udp enabled=\"true\"></udp><fan /></motion_platform>", unread},
        {"<motion_platform><udp enabled=\"true\"", unread},
        {"<motion_platform", none},
        {"<motion_platform enabled=\"true\"", unread},
        {"<motion_platform/>", unread}, // behind it would be outside of it
        {"", none},
        {"<!-- <motion_platform> -->", none},
        {"<motion_platform_2></motion_platform_2>", none},
        {std::string("<\0m\0o\0t\0i\0o\0n\0", 14), none},
    };
    for (const auto& c : cases) {
        std::string out, reason;
        EXPECT_FALSE(dr2WithLine(c.xml, out, reason)) << c.xml;
        EXPECT_EQ(reason, c.reason) << c.xml;
    }
}

TEST_F(Dr2Setup, FixesWithABackupMadeOnce) {
    const std::string original = kHead + kOff + kTail;
    put(normal(), original);
    dr2Scan(view);
    EXPECT_EQ(view.normal, Dr2FileState::off);
    EXPECT_FALSE(view.hasVr());
    ASSERT_TRUE(fix());
    EXPECT_EQ(view.normal, Dr2FileState::ready);
    EXPECT_EQ(get(normal()), kHead + kLine + kTail);
    EXPECT_EQ(get(backup()), original);
    EXPECT_EQ(message.substr(0, 5), "Done.");
    const auto before = everything();
    EXPECT_TRUE(fix());
    EXPECT_EQ(everything(), before);
    put(normal(), kHead + kTail);
    ASSERT_TRUE(fix());
    EXPECT_EQ(get(backup()), original) << "the first original";
}

TEST_F(Dr2Setup, NeedsAttention) {
    EXPECT_FALSE(dr2NeedsAttention(""));
    EXPECT_TRUE(dr2NeedsAttention(documents())) << "a missing file counts";
    put(normal(), kHead + kLine + kTail);
    EXPECT_FALSE(dr2NeedsAttention(documents())) << "no headset, no second file";
    put(vr(), kHead + kOff + kTail);
    EXPECT_TRUE(dr2NeedsAttention(documents()));
    dr2Scan(view);
    EXPECT_EQ(view.vr, Dr2FileState::off);
    ASSERT_TRUE(fix(kDr2Vr));
    EXPECT_FALSE(dr2NeedsAttention(documents()));
}

TEST_F(Dr2Setup, EveryStepMayFailAndTheOriginalStays) {
    const std::string original = kHead + kOff + kTail;
    const std::string name = "Nothing was changed. hardware_settings_config.xml: ";
    const auto block = [](const fs::path& path) { fs::create_directories(path / "in the way"); };
    const struct {
        std::string says;
        std::function<void()> spoil;
        Dr2FileState state;
    } cases[] = {
        {name + "could not be read",
         [&] {
             fs::remove(normal());
             block(normal());
         },
         Dr2FileState::unreadable},
        {name + "could not be read", [&] { put(normal(), std::string((4u << 20) + 1, ' ')); },
         Dr2FileState::unreadable},
        {name + "this file does not exist yet. Run DiRT Rally 2.0 once and quit, then try again.",
         [&] { fs::remove(normal()); }, Dr2FileState::missing},
        {name + "could not be backed up, so nothing was changed", [&] { block(backup()); },
         Dr2FileState::off},
        {name + "could not be written to. It may be read only",
         [&] { fs::permissions(normal(), fs::perms(0444)); }, Dr2FileState::off},
        {name + "could not be written to. It may be read only",
         [&] { block(normal().string() + ".vt.tmp"); }, Dr2FileState::off},
        {name + "has no motion platform section to add the line to",
         [&] { put(normal(), "<!-- nothing but this -->"); }, Dr2FileState::noLine},
    };
    for (const auto& c : cases) {
        put(normal(), original);
        c.spoil();
        auto before = everything();
        EXPECT_FALSE(fix());
        EXPECT_EQ(message, c.says);
        EXPECT_EQ(view.normal, c.state) << c.says;
        auto after = everything();
        after.erase(backup().string()); // a backup more does no harm
        before.erase(backup().string());
        EXPECT_EQ(after, before) << c.says;
        fs::remove_all(folder());
    }
    put(normal(), original);
    const auto before = everything();
    EXPECT_FALSE(fix(kDr2Normal, theGameRuns));
    EXPECT_EQ(message.substr(0, 26), "Close DiRT Rally 2.0 first");
    EXPECT_EQ(everything(), before);
    view.documents.clear();
    EXPECT_FALSE(fix());
    EXPECT_EQ(message, "Nothing was changed: the Documents folder could not be found.");
}

} // namespace
} // namespace vt
