#include "platform/paths.h"
#include "telemetry/setup/beamng_version.h"
#include "telemetry/setup/game_documents.h"
#include "telemetry/setup/seen_file.h"
#include "telemetry/setup/setup_tick.h"
#include "telemetry/setup_desk.h"

#include <cstdlib>

namespace vt {
namespace {

namespace fs = std::filesystem;

class SetupTicks : public ::testing::Test {
protected:
    SetupTickState state;
    SetupTickInput input;
    std::string seen[kSetupSimCount], version;
    bool dr2Bad = true, wrcBad = true, fileWorks = true;
    int looks = 0;

    SetupTickResult tick() {
        const SetupQuestions questions{
            [this] { return ++looks, dr2Bad; }, [this] { return ++looks, wrcBad; },
            [this] { return version; }, [this](SetupSim s) { return seen[static_cast<int>(s)]; }};
        const SetupTickResult result = setupTick(state, input, questions);
        if (result.write && fileWorks) seen[static_cast<int>(result.sim)] = result.seen;
        return result;
    }
    /// Number of the tick that opened a window, from 1; 0 when none of `ticks` did.
    int opensAt(int ticks) {
        for (int i = 1; i <= ticks; ++i)
            if (tick().open) return i;
        return 0;
    }
};

TEST_F(SetupTicks, OffersOnceAfterTwentySecondsOfSilence) {
    input.wrcRunning = true;
    EXPECT_EQ(opensAt(9), 0);
    const SetupTickResult offer = tick();
    EXPECT_TRUE(offer.open && offer.noTelemetry && offer.write);
    EXPECT_EQ(offer.sim, SetupSim::eaWrc);
    EXPECT_EQ(opensAt(100), 0) << "once per run";
    EXPECT_EQ(looks, 1);
    input.wrcRunning = false;
    tick();
    input.wrcRunning = true;
    EXPECT_EQ(opensAt(20), 10);
    EXPECT_EQ(seen[2], "shown");
    input.connected = true;
    tick();
    input.connected = false;
    wrcBad = false;
    looks = 0;
    EXPECT_EQ(opensAt(50), 0) << "everything is set up";
    EXPECT_EQ(looks, 1) << "looked at once, not offered";
}

TEST_F(SetupTicks, AConnectionStartsTheCountAnew) {
    input.f1WithoutFeed = true;
    EXPECT_EQ(opensAt(9), 0);
    input.connected = true;
    tick();
    input.connected = false;
    seen[0] = "before";
    for (int i = 0; i < 9; ++i)
        EXPECT_FALSE(tick().open);
    const SetupTickResult offer = tick();
    EXPECT_TRUE(offer.open);
    EXPECT_FALSE(offer.write) << "it was not empty";
}

TEST_F(SetupTicks, OneWindowAtATime) {
    input.f1WithoutFeed = input.dirtRally2Running = true;
    EXPECT_EQ(opensAt(10), 10);
    input.windowOpen = true;
    EXPECT_EQ(opensAt(5), 0);
    EXPECT_EQ(looks, 0);
    input.windowOpen = false;
    const SetupTickResult offer = tick();
    EXPECT_TRUE(offer.open);
    EXPECT_EQ(offer.sim, SetupSim::dirtRally2);
}

TEST_F(SetupTicks, BeamNgComesBackWithEveryNewVersion) {
    EXPECT_FALSE(tick().open);
    input.beamNgRunning = true;
    const struct {
        std::string seen, version;
        bool opens;
        std::string after;
    } cases[] = {
        {"", "0.34.2", true, "0.34.2"},
        {"0.34.2", "0.34.2", false, "0.34.2"},
        {"0.34.2", "0.35.0", true, "0.35.0"},
        {"shown", "0.35.0", false, "0.35.0"},
        {"", "", true, "shown"},
        {"shown", "", false, "shown"},
        {"0.35.0", "", false, "0.35.0"},
    };
    for (const auto& c : cases) {
        state = {};
        seen[3] = c.seen;
        version = c.version;
        const SetupTickResult first = tick();
        EXPECT_EQ(first.open, c.opens) << c.seen << " " << c.version;
        EXPECT_FALSE(first.noTelemetry);
        EXPECT_EQ(seen[3], c.after);
        EXPECT_EQ(opensAt(3), 0);
    }
    state = {};
    fileWorks = false;
    version = "0.36.0";
    EXPECT_EQ(opensAt(5), 1);
    EXPECT_EQ(opensAt(50), 0) << "though the file cannot be written";
}

class SetupFiles : public test::SetupDesk {
protected:
    /// Sets a variable of the environment until the test ends.
    void setEnvironment(const char* name, const std::string& value) {
        const char* old = std::getenv(name);
        kept.emplace_back(name, old ? old : "\x01");
        setenv(name, value.c_str(), 1);
    }
    void TearDown() override {
        for (const auto& [name, value] : kept)
            value == "\x01" ? unsetenv(name.c_str()) : setenv(name.c_str(), value.c_str(), 1);
        SetupDesk::TearDown();
    }
    std::vector<std::pair<std::string, std::string>> kept;
};

TEST_F(SetupFiles, SeenKeepsWhatElseStandsInTheFile) {
    const std::string data = (root / "config/Vantorel").string();
    const fs::path file = fs::path(data) / "overlay_onboard.ini";
    EXPECT_EQ(seenGet(data, SetupSim::f1), "");
    ASSERT_TRUE(seenSet(data, SetupSim::beamNg, "0.34.2.0"));
    EXPECT_EQ(get(file), "[seen]\nbeamng=0.34.2.0\n");
    put(file, "; mine\r\n[other]\r\nf1=no\r\n\r\n[Seen]\r\n ; f1=1\r\nDR2 = yes = no \r\n\r\n"
              "[more]\r\neawrc=2");
    EXPECT_EQ(seenGet(data, SetupSim::f1), "");
    EXPECT_EQ(seenGet(data, SetupSim::dirtRally2), "yes = no");
    EXPECT_EQ(seenGet(data, SetupSim::eaWrc), "");
    ASSERT_TRUE(seenSet(data, SetupSim::f1, "1"));
    ASSERT_TRUE(seenSet(data, SetupSim::dirtRally2, "2\n[x]"));
    EXPECT_EQ(get(file), "; mine\n[other]\nf1=no\n\n[Seen]\n ; f1=1\ndr2=2\nf1=1\n\n[more]\n"
                         "eawrc=2\n");
    EXPECT_FALSE(seenSet((file / "below").string(), SetupSim::f1, "1"));
    EXPECT_FALSE(seenSet("", SetupSim::f1, "1"));
}

TEST_F(SetupFiles, GamesUnderACompatibilityLayerHaveTheirOwnDocuments) {
    setEnvironment("HOME", root.string());
    setEnvironment("XDG_DOCUMENTS_DIR", "");
    setEnvironment("LOCALAPPDATA", "");
    const fs::path shop = root / ".local/share/Steam", other = root / "mnt/more games";
    const std::string disk = "steamapps/compatdata/1849250/pfx/drive_c/users/steamuser/";
    fs::create_directories(shop / "steamapps");
    fs::create_directories(root / ".steam");
    fs::create_symlink(shop, root / ".steam/steam"); // the same folder by two names
    fs::create_directories(other / disk / "Documents/My Games/WRC");
    EXPECT_EQ(gameDocumentsFolders(1849250), std::vector<std::string>{documents()});
    put(shop / "steamapps/libraryfolders.vdf",
        "\"libraryfolders\"\n{\n\t\"0\"\n\t{\n\t\t\"path\"\t\t\"" + shop.string() +
            "\"\n\t}\n\t\"1\"\n\t{\n\t\t\"path\"\t\t\"" + other.string() +
            "\"\n\t\t\"label\"\t\t\"a \\\"quoted\\\" label\"\n\t}\n\t\"2\"\t\t\"/not/there\"\n}");
    const std::vector<std::string> folders = gameDocumentsFolders(1849250);
    const std::string inLayer = (other / disk / "Documents").string();
    EXPECT_EQ(folders, (std::vector<std::string>{documents(), inLayer}));
    EXPECT_EQ(gameDocumentsFolders(690790), std::vector<std::string>{documents()});
    EXPECT_EQ(documentsOfGame(folders, "My Games/WRC"), inLayer);
    EXPECT_EQ(documentsOfGame(folders, "My Games/Other"), documents());
    fs::create_directories(fs::path(documents()) / "My Games/WRC");
    EXPECT_EQ(documentsOfGame(folders, "My Games/WRC"), documents()) << "the user's own first";
    EXPECT_EQ(documentsOfGame({}, "My Games/WRC"), "");
}

TEST_F(SetupFiles, VersionOfBeamNg) {
    EXPECT_EQ(beamNgVersionFrom(" 0.35.1.0 ", "0.34"), "0.35.1.0");
    EXPECT_EQ(beamNgVersionFrom("", "  0.34.2 \t\r\nsecond line"), "0.34.2");
    EXPECT_EQ(beamNgVersionFrom(" ", "\n0.34"), "");
    setEnvironment("HOME", root.string());
    setEnvironment("LOCALAPPDATA", "");
    const fs::path disk = root / ".steam/steam/steamapps/compatdata/284160/pfx";
    EXPECT_EQ(BeamNgVersion().get(0), "");
    put(disk / "drive_c/users/steamuser/AppData/Local/BeamNG.drive/version.txt", "0.33.1\r\n");
    EXPECT_EQ(BeamNgVersion().get(0), "0.33.1");
    put(disk / "user.reg",
        "WINE REGISTRY Version 2\n\n[Software\\\\BeamNG\\\\Other] 1\n"
        "\"version\"=\"1\"\n\n[Software\\\\BeamNG\\\\BeamNG.drive] 17120\n"
        "#time=1\n\"rootpath\"=\"C:\\\\x \\\"y\\\"\"\n\"Version\"=\"0.35.1.0\"\n");
    BeamNgVersion looked;
    EXPECT_EQ(looked.get(0), "0.35.1.0");
    fs::remove(disk / "user.reg");
    EXPECT_EQ(looked.get(29'999), "0.35.1.0");
    EXPECT_EQ(looked.get(30'000), "0.33.1");
}

} // namespace
} // namespace vt
